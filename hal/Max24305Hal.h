// The registers of the MAX24305 itself that the driver interprets, read over SPI a byte at a time.
#pragma once

#include "hal/Block.h"

namespace Vor {
class Module;
}

namespace Hardware {

/// The first byte of an SPI transaction: what it does with the register whose address follows.
enum SpiInstruction : U8 { spiWrite_ = 2, spiRead_ = 3 };

/// Lock of the two analogue PLLs. The chip's register has 8 bits; the others stay 0.
class ApllStatus : public Hal::Register<7, Hal::readOnly_> {
   using Apll2Locked = Hal::Field<"apll2Locked", 4, 4, bool>;
   using Apll1Locked = Hal::Field<"apll1Locked", 0, 0, bool>;

 public:
   using Register::Register;

   bool apll2Locked() const { return field<Apll2Locked>(); }
   void apll2LockedIs( U32 locked ) { fieldIs<Apll2Locked>( locked ); }
   bool apll1Locked() const { return field<Apll1Locked>(); }
   void apll1LockedIs( U32 locked ) { fieldIs<Apll1Locked>( locked ); }

   /// The output may be used only when both have locked.
   bool bothLocked() const { return apll1Locked() && apll2Locked(); }

   static Vor::Type const & staticType();
   using Attributes = Hal::RegisterAttributes<Register, Apll2Locked, Apll1Locked>;
};

/// The registers of the chip that have a type.
inline constexpr auto max24305Block = Hal::block<ApllStatus>();

/// Registers this module's types.
void registerMax24305Hal( Vor::Module & module );

}   // namespace Hardware
