// A register with a bit that belongs to two fields.
#include "hal/Reg32.h"

class Mixed : public Hal::Register<0x40> {
   using High = Hal::Field<"high", 8, 15, U8>;
#ifdef FORBIDDEN
   using Low = Hal::Field<"low", 0, 8, U16>;
#else
   using Low = Hal::Field<"low", 0, 7, U8>;
#endif

 public:
   using Register::Register;
   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, High, Low>;
};

std::size_t count() { return Mixed::Attributes::count; }
