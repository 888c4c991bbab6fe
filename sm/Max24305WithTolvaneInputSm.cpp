#include "sm/Max24305WithTolvaneInputSm.h"

#include "framework/Assert.h"
#include "framework/Describe.h"
#include "sm/Steps.h"

namespace Hardware {

using namespace Max24305SmModule;

void Max24305WithTolvaneInputSm::handleInitialized() {
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   Max24305Sm::handleInitialized();
   VOR_ASSERT( tolvaneStatus() );
   initializedIs( true );
   handleEnvironmentChanges();
}

void Max24305WithTolvaneInputSm::handleEnvironmentChanges() {
   if ( !initialized() ) {
      // The class's name is misspelt in the text that operators' scripts know.
      VOR_TRACE( traceHandle, 1, __func__ << " Max24305QithTolvaneInputSm not initialized yet." );
      return;
   }
   wired( hamImpl() );
   wired( config() );
   Gate const rows = gate();
   tellStep( *this, Steps::GateEvaluated{ rows } );
   auto const readiness = std::span( rows ).first( timeSyncPlace );
   if ( !allMet( readiness ) ) {
      for ( GateRow const & row : readiness )
         if ( !row.met ) VOR_TRACE( traceHandle, 1, __func__ << row.trace );
      publishedStatesReset();
      return;
   }
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ << " state : " << timeSyncStatus()->state() );
   VOR_TRACE( traceHandle, 1, " status : " << status()->state() << " pllStatus : " << pllStatus()->state() );
   auto const timeSync = timeSyncStatus()->state();
   if ( GateRow const & row = rows[timeSyncPlace]; !row.met ) {
      publishedStatesReset();
      VOR_TRACE( traceHandle, 1, __func__ << row.trace );
      return;
   }
   if ( running( timeSync ) ) {
      VOR_ASSERT( redundancyStatus()->mode() != Redundancy::active_ || status()->state() == Max24305::ready_ );
      VOR_ASSERT(
         redundancyStatus()->mode() != Redundancy::active_ ||
         pllStatus()->state() == Hardware::Kiv::ClockStatus::ready_ );
      if ( status()->state() == Max24305::ready_ ) {
         VOR_TRACE( traceHandle, 1, __func__ << " Already started" );
         return;
      }
   }
   if ( timeSync <= PtpTimeSync::holdover_ ) VOR_TRACE( traceHandle, 1, __func__ << " Enabling" );
   doProgramMax24305();
}

Vor::Type const & Max24305WithTolvaneInputSm::staticType() {
   return Vor::typeOf<Max24305WithTolvaneInputSm, "Hardware::Max24305WithTolvaneInputSm">();
}

}   // namespace Hardware
