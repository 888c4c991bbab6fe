// A field that leaves the 32-bit word.
#include "hal/Reg32.h"

class Wide : public Hal::Register<0x40> {
#ifdef FORBIDDEN
   using Top = Hal::Field<"top", 24, 32, U16>;
#else
   using Top = Hal::Field<"top", 24, 31, U8>;
#endif

 public:
   using Register::Register;
   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, Top>;
};

std::size_t count() { return Wide::Attributes::count; }
