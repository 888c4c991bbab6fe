#include "sm/Max24305WithStuffedClockInputSm.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Hardware {

using Max24305SmModule::traceHandle;

Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSm(
   Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
   Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
   Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
   Vor::Ptr<Fru::Gpo const> const & resetGpo )
   : Max24305Sm( redundancyStatus, config, status, pllStatus, timeSyncStatus, resetGpo ) {
   handleInitialized();
}

Vor::Ptr<Max24305WithStuffedClockInputSm> Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
   Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
   Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
   Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
   Vor::Ptr<Fru::Gpo const> const & resetGpo ) {
   auto const machine = Vor::allocate<Max24305WithStuffedClockInputSm>(
      redundancyStatus, config, status, pllStatus, timeSyncStatus, resetGpo );
   machine->hasNotificationActiveIs( true );
   return machine;
}

void Max24305WithStuffedClockInputSm::handleInitialized() {
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   Max24305Sm::handleInitialized();
   initializedIs( true );
   Max24305Sm::handleEnvironmentChanges();
}

Vor::Type const & Max24305WithStuffedClockInputSm::staticType() {
   static constinit auto const type =
      Vor::describe<Max24305WithStuffedClockInputSm, &Max24305WithStuffedClockInputSmIs>(
         "Hardware::Max24305WithStuffedClockInputSm" );
   return type;
}

}   // namespace Hardware
