// The MAX24305 machine for a chip whose reference is a stuffed clock, an oscillator that is always there: the base
// machine, completed.
#pragma once

#include "sm/Max24305Sm.h"

namespace Hardware {

class Max24305WithStuffedClockInputSm final : public Max24305Sm {
 public:
   /// Wires the machine and evaluates its gate once, which may bring the chip up before this returns.
   Max24305WithStuffedClockInputSm(
      Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
      Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
      Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
      Vor::Ptr<Fru::Gpo const> const & resetGpo );

   /// A new machine with its notification switched on.
   static Vor::Ptr<Max24305WithStuffedClockInputSm> Max24305WithStuffedClockInputSmIs(
      Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
      Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
      Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
      Vor::Ptr<Fru::Gpo const> const & resetGpo );

   void handleInitialized() override;

   Vor::Type const & fwkType() const override { return staticType(); }
   static Vor::Type const & staticType();
};

}   // namespace Hardware
