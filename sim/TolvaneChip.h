// The Tolvane companion chip: a supply, an enable bit, and the register that shows both.
//
// `enable` is stored while the chip has its supply and is not held in reset; losing the supply or being reset clears
// it. `powerGood` is set while the chip has its supply and is enabled. The other bits of the register read 0.
#pragma once

#include "framework/Types.h"
#include "sim/Fault.h"
#include "sim/RegisterBlock.h"

namespace Sim {

class TolvaneChip final : public RegisterBlock {
 public:
   /// The faults outlive the chip.
   explicit TolvaneChip( FaultBoard & faults );

   Hal::Registers registers() const override;
   U32 read( U32 address ) override;
   void write( U32 address, U32 value ) override;
   /// What its reset line says.
   void resetIs( bool asserted );

 private:
   FaultBoard & faults_;
   bool inReset_ = false;
   bool enabled_ = false;
};

}   // namespace Sim
