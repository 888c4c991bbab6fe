// The MAX24305 machine for a chip whose reference is a stuffed clock, an oscillator that is always there: the base
// machine, completed.
#pragma once

#include "sm/Max24305Sm.h"

namespace Hardware {

class Max24305WithStuffedClockInputSm final : public Max24305Sm {
 public:
   /// Takes what the base takes, wires the machine and evaluates its gate once, which may bring the chip up before this
   /// returns.
   explicit Max24305WithStuffedClockInputSm( auto const &... parameters ) : Max24305Sm( parameters... ) {
      handleInitialized();
   }

   /// A new machine with its notification switched on; takes what its constructor takes.
   static Vor::Ptr<Max24305WithStuffedClockInputSm> Max24305WithStuffedClockInputSmIs( auto const &... parameters ) {
      return Vor::factoryOf<Max24305WithStuffedClockInputSm>( parameters... );
   }

   void handleInitialized() override;

   Vor::Type const & fwkType() const override { return staticType(); }
   static Vor::Type const & staticType();
};

}   // namespace Hardware
