// A block with two registers at one address.
#include "hal/Block.h"

class First : public Hal::Register<0x10> {
 public:
   using Register::Register;
   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register>;
};
#ifdef FORBIDDEN
class Second : public Hal::Register<0x10> {
#else
class Second : public Hal::Register<0x20> {
#endif
 public:
   using Register::Register;
   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register>;
};

constexpr auto registers = Hal::block<First, Second>();
std::size_t count() { return registers.size(); }
