#include "sm/Max24305Sm.h"

#include "framework/ActivityManager.h"
#include "framework/Assert.h"
#include "framework/Describe.h"
#include "hal/Max24305Hal.h"
#include "platform/SimulationVmid.h"
#include "sm/InitFailed.h"
#include "sm/ResetPulse.h"
#include "sm/Steps.h"
#include "util/Utils.h"

#include <limits>

namespace Hardware {

using namespace Max24305SmModule;

namespace {

constexpr double never = std::numeric_limits<double>::infinity();

constexpr U32 maxAttempts = 10;
constexpr U32 resetActiveNs = 300'000'000;
constexpr U32 resetRecoveryNs = 500'000'000;
constexpr U32 retryPauseNs = 1'000'000'000;

constexpr char switchoverTrace[] = "Switchover in progress. Wait for Dovra to become writable.";

// What "now" is for the lock timer.
double now() { return Vor::activityManager().config().clock()->now(); }

}   // namespace

void Max24305Sm::handleInitialized() {
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   VOR_ASSERT( config() );
   VOR_ASSERT( status() );
   VOR_ASSERT( pllStatus() );
   VOR_ASSERT( timeSyncStatus() );
   VOR_ASSERT( resetGpo() );
   if ( !simulationVmid() ) {
      setClearGpoIs( Vor::ptrCast<SetClearGpo const>( resetGpo() ) );
      VOR_ASSERT( setClearGpo() );
   }
   timerWheelIs( Vor::activityManager().config().clock(), 100, 3000, true, 1024 );
   lockStatusClockIs( timerWheel() );
   VOR_ASSERT( lockStatusClock() );
   lockStatusClock()->timeMinIs( never );
   hamImplIs( config()->ham()->hamImpl() );
   VOR_ASSERT( hamImpl() );
   kivSpiIntfIs( config()->configOffset(), hamImpl(), config()->spiResetSupported() );
   VOR_ASSERT( kivSpiIntf() );
}

void Max24305Sm::handleEnvironmentChanges() {
   if ( !initialized() ) return;
   wired( hamImpl() );
   wired( config() );
   if ( !simulationVmid() ) wired( setClearGpo() );
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
   wired( timeSyncStatus() );
   if ( GateRow const & row = rows[timeSyncPlace]; !row.met ) {
      publishedStatesReset();
      VOR_TRACE( traceHandle, 1, __func__ << row.trace );
      return;
   }
   if ( running( timeSyncStatus()->state() ) ) {
      VOR_ASSERT( redundancyStatus()->mode() != Redundancy::active_ || status()->state() == Max24305::ready_ );
      VOR_ASSERT(
         redundancyStatus()->mode() != Redundancy::active_ ||
         pllStatus()->state() == Hardware::Kiv::ClockStatus::ready_ );
      if ( status()->state() == Max24305::ready_ ) {
         VOR_TRACE( traceHandle, 1, __func__ << " Already started" );
         return;
      }
   }
   doProgramMax24305();
}

void Max24305Sm::doProgramMax24305() {
   if ( !initialized() ) return;
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   if ( status()->state() == Max24305::ready_ && pllStatus()->state() == Kiv::ClockStatus::ready_ ) {
      VOR_TRACE( traceHandle, 1, __func__ << " Max24305 is already programmed" );
      return;
   }
   if ( redundancyStatus()->mode() == Redundancy::switchover_ && !dovraWritable() ) {
      VOR_TRACE( traceHandle, 0, switchoverTrace );
      return;
   }
   publishedStatesReset();
   VOR_ASSERT( resetGpo() );
   VOR_ASSERT( timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_ );

   for ( U32 attempt = 1; attempt <= maxAttempts; ++attempt ) {
      tellStep( *this, Steps::AttemptBegun{ attempt, maxAttempts } );
      pulseReset( resetGpo(), resetActiveNs, resetRecoveryNs );
      tellStep( *this, Steps::ResetPulsed{} );
      kivSpiIntf()->doResetHwSm();
      kivSpiIntf()->doReset();
      tellStep( *this, Steps::CleanedUp{} );

      Vor::Ptr<Max24305::Config const> const programmed = config();   // held, whatever a nested change does
      Steps::OperationDone done;
      done.of = static_cast<U32>( programmed->opsToDo().count() );
      for ( auto place = programmed->opsToDo().begin();
            done.outcome == Steps::Outcome::done_ && place != programmed->opsToDo().end(); ++place ) {
         Max24305::Op const op = place->value();
         ++done.place;
         done.operation = op;
         done.byteRead.reset();
         auto const address = static_cast<U16>( op.address );
         switch ( op.type ) {
         case Max24305::read_: {
            U8 const byte = kivSpiIntf()->doRead( address );
            VOR_TRACE( traceHandle, 1, "Verify Read " << Vor::format( "0x%x at 0x%x.", op.value, op.address ) );
            done.byteRead = byte;
            if ( byte != op.value ) {   // the whole number: one above 255 never matches
               done.outcome = Steps::Outcome::readMismatch_;
               VOR_TRACE( traceHandle, 1, "Value read incorrect " << Vor::format( "0x%x", byte ) );
            }
            break;
         }
         case Max24305::write_:
            VOR_TRACE( traceHandle, 1, "Write " << Vor::format( "0x%x to 0x%x.", op.value, op.address ) );
            if ( !kivSpiIntf()->doWrite( address, static_cast<U8>( op.value ) ) )
               done.outcome = Steps::Outcome::writeNotSent_;
            break;
         case Max24305::sleep_:
            nsleep( op.value );
            break;
         default:
            VOR_ASSERT( 0 );
         }
         tellStep( *this, done );
      }
      if ( done.outcome == Steps::Outcome::done_ ) {
         publish( *this, status(), Max24305::locking_, Steps::ProgrammingEnded{ attempt, true } );
         lockPollCountIs( 0 );
         lockStatusClock()->timeMinIs( now() );
         return;
      }
      publish( *this, status(), Max24305::failed_ );
      publish( *this, pllStatus(), Kiv::ClockStatus::failed_, Steps::AttemptFailed{ attempt, maxAttempts, done } );
      VOR_TRACE( traceHandle, 1, "Max24305 Programming sequence failed. Retrying." );
      nsleep( retryPauseNs );
   }
   tellStep( *this, Steps::ProgrammingEnded{ maxAttempts, false } );
   logInitFailed( initFailed() );
}

void Max24305Sm::doWaitForLock() {
   if ( !initialized() || !kivSpiIntf() || status()->state() != Max24305::locking_ ) return;
   VOR_ASSERT( timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_ );
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   lockPollCountInc( 1 );
   U8 const byteRead = kivSpiIntf()->doRead( ApllStatus::address() );
   tellStep( *this, Steps::LockPolled{ lockPollCount(), maxLockPollIterations + 1, byteRead } );
   ApllStatus const apllStatus( byteRead );
   VOR_TRACE( traceHandle, 0, "APLL status = 0x" << Vor::format( "%x", apllStatus.value() ) );
   if ( apllStatus.bothLocked() ) {
      lockStatusClock()->timeMinIs( never );
      U32 value = 0;
      hamImpl()->read32( config()->statusOffset() + Max24305Status::address(), value );
      U32 const frequencyInHz = Max24305Status( value ).frequencyInHz();
      tellStep( *this, Steps::FrequencyRead{ frequencyInHz } );
      VOR_TRACE( traceHandle, 1, "Success. Output clock frequency ( in Hz ) = " << frequencyInHz );
      publish( *this, status(), Max24305::ready_ );
      publish( *this, pllStatus(), Kiv::ClockStatus::ready_ );
      return;
   }
   // The count was moved before it is looked at, so that the poll after the hundredth is the last.
   if ( lockPollCount() <= maxLockPollIterations ) {
      lockStatusClock()->timeMinIs( now() + lockPollPeriod );
      return;
   }
   logInitFailed( initFailed() );
   publish( *this, status(), Max24305::failed_ );
   publish( *this, pllStatus(), Kiv::ClockStatus::failed_ );
   VOR_TRACE( traceHandle, 1, "Could not get APLL lock. FAILED" );
   lockStatusClock()->timeMinIs( never );
}

void Max24305Sm::handleSwitchoverStage( Vor::String stage ) {
   if ( !initialized() ) return;
   VOR_TRACE( traceHandle, 1, __func__ << " Redundancy mode = " << redundancyStatus()->mode() << " Stage = " << stage );
   if ( stage == dovraWritableSwitchoverStage && dovraWritable() ) handleEnvironmentChanges();
}

void Max24305Sm::publishedStatesReset() {
   publish( *this, status(), Max24305::uninitialized_ );
   publish( *this, pllStatus(), Kiv::ClockStatus::notReady_ );
}

Gate Max24305Sm::gate() const {
   Gate rows{
      hardwareRow( hamImpl(), " Kiv hardware not present" ), sequenceRow( config(), " Invalid programming sequence." ),
      inputRow_(), timeSyncRow( timeSyncStatus(), " TimeSync not enabled" ) };
   if ( !redundancyStatus() )
      rows.push_back( { "redundancy", "missing" } );
   else if ( redundancyStatus()->mode() == Redundancy::switchover_ )
      rows.push_back(
         { "switchover", Vor::String( dovraWritable() ? "" : "not " ) + dovraWritableSwitchoverStage, dovraWritable(),
           switchoverTrace } );
   return rows;
}

bool Max24305Sm::dovraWritable() const {
   return redundancyStatus()->switchoverStage().value( dovraWritableSwitchoverStage );
}

Vor::Type const & Max24305Sm::staticType() { return Vor::typeOf<Max24305Sm, "Hardware::Max24305Sm">(); }

}   // namespace Hardware
