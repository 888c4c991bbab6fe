#include "sm/Max24305Sm.h"

#include "framework/Allocate.h"
#include "framework/Assert.h"
#include "framework/Describe.h"
#include "framework/TypeRegistry.h"
#include "hal/Max24305Hal.h"
#include "platform/SimulationVmid.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "sm/Max24305WithTolvaneInputSm.h"
#include "util/Utils.h"

#include <limits>

namespace Hardware {

using Max24305SmModule::traceHandle;

namespace {

constexpr double never = std::numeric_limits<double>::infinity();

constexpr U32 maxAttempts = 10;
constexpr U32 resetActiveNs = 300'000'000;
constexpr U32 resetRecoveryNs = 500'000'000;
constexpr U32 retryPauseNs = 1'000'000'000;

}   // namespace

Max24305Sm::Max24305Sm(
   Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
   Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
   Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
   Vor::Ptr<Fru::Gpo const> const & resetGpo )
   : status_( status ), pllStatus_( pllStatus ), resetGpo_( resetGpo ) {
   redundancyStatus_.notifierIs( redundancyStatus );
   config_.notifierIs( config );
   timeSyncStatus_.notifierIs( timeSyncStatus );
}

Vor::Ptr<Max24305Sm> Max24305Sm::Max24305SmIs(
   Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
   Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
   Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
   Vor::Ptr<Fru::Gpo const> const & resetGpo ) {
   auto const machine =
      Vor::allocate<Max24305Sm>( redundancyStatus, config, status, pllStatus, timeSyncStatus, resetGpo );
   machine->hasNotificationActiveIs( true );
   return machine;
}

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
   bool const simulated = simulationVmid();
   bool const hardwarePresent = hamImpl()->hardwarePresent();
   bool const sequenceValid = config()->opsToDoValid();
   bool const outputUsable = simulated || setClearGpo()->ham();
   if ( !hardwarePresent || !sequenceValid || !outputUsable ) {
      if ( !hardwarePresent ) VOR_TRACE( traceHandle, 1, __func__ << " Kiv hardware not present" );
      if ( !sequenceValid ) VOR_TRACE( traceHandle, 1, __func__ << " Invalid programming sequence." );
      if ( !outputUsable ) VOR_TRACE( traceHandle, 1, __func__ << " Gpo ham not available yet" );
      publishedStatesReset();
      return;
   }
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ << " state : " << timeSyncStatus()->state() );
   VOR_TRACE( traceHandle, 1, " status : " << status()->state() << " pllStatus : " << pllStatus()->state() );
   if ( timeSyncStatus()->state() == PtpTimeSync::disabled_ ) {
      publishedStatesReset();
      VOR_TRACE( traceHandle, 1, __func__ << " TimeSync not enabled" );
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
      VOR_TRACE( traceHandle, 0, "Switchover in progress. Wait for Dovra to become writable." );
      return;
   }
   publishedStatesReset();
   VOR_ASSERT( resetGpo() );
   VOR_ASSERT( timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_ );

   for ( U32 attempts = maxAttempts; attempts > 0; --attempts ) {
      pulseReset();
      kivSpiIntf()->doResetHwSm();
      kivSpiIntf()->doReset();

      bool failed = false;
      Vor::Ptr<Max24305::Config const> const programmed = config();   // held, whatever a nested change does
      for ( auto place = programmed->opsToDo().begin(); !failed && place != programmed->opsToDo().end(); ++place ) {
         Max24305::Op const op = place->value();
         auto const address = static_cast<U16>( op.address );
         switch ( op.type ) {
         case Max24305::read_: {
            U8 const byte = kivSpiIntf()->doRead( address );
            VOR_TRACE( traceHandle, 1, "Verify Read " << Vor::format( "0x%x at 0x%x.", op.value, op.address ) );
            failed = byte != op.value;   // the whole number: one above 255 never matches
            if ( failed ) VOR_TRACE( traceHandle, 1, "Value read incorrect " << Vor::format( "0x%x", byte ) );
            break;
         }
         case Max24305::write_:
            VOR_TRACE( traceHandle, 1, "Write " << Vor::format( "0x%x to 0x%x.", op.value, op.address ) );
            failed = !kivSpiIntf()->doWrite( address, static_cast<U8>( op.value ) );
            break;
         case Max24305::sleep_:
            nsleep( op.value );
            break;
         default:
            VOR_ASSERT( 0 );
         }
      }
      if ( !failed ) {
         status()->stateIs( Max24305::locking_ );
         lockPollCountIs( 0 );
         lockStatusClock()->timeMinIs( timerWheel()->clock()->now() );
         return;
      }
      status()->stateIs( Max24305::failed_ );
      pllStatus()->stateIs( Kiv::ClockStatus::failed_ );
      VOR_TRACE( traceHandle, 1, "Max24305 Programming sequence failed. Retrying." );
      nsleep( retryPauseNs );
   }
   Max24305SmModule::logInitFailed();
}

void Max24305Sm::doWaitForLock() {
   if ( !initialized() || !kivSpiIntf() || status()->state() != Max24305::locking_ ) return;
   VOR_ASSERT( timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_ );
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   lockPollCountInc( 1 );
   ApllStatus const apllStatus( kivSpiIntf()->doRead( ApllStatus::address() ) );
   VOR_TRACE( traceHandle, 0, "APLL status = 0x" << Vor::format( "%x", apllStatus.value() ) );
   if ( apllStatus.bothLocked() ) {
      lockStatusClock()->timeMinIs( never );
      U32 value = 0;
      hamImpl()->read32( config()->statusOffset() + Max24305Status::address(), value );
      VOR_TRACE(
         traceHandle, 1, "Success. Output clock frequency ( in Hz ) = " << Max24305Status( value ).frequencyInHz() );
      status()->stateIs( Max24305::ready_ );
      pllStatus()->stateIs( Kiv::ClockStatus::ready_ );
      return;
   }
   // The count was moved before it is looked at, so that the poll after the hundredth is the last.
   if ( lockPollCount() <= maxLockPollIterations ) {
      lockStatusClock()->timeMinIs( timerWheel()->clock()->now() + lockPollPeriod );
      return;
   }
   Max24305SmModule::logInitFailed();
   status()->stateIs( Max24305::failed_ );
   pllStatus()->stateIs( Kiv::ClockStatus::failed_ );
   VOR_TRACE( traceHandle, 1, "Could not get APLL lock. FAILED" );
   lockStatusClock()->timeMinIs( never );
}

void Max24305Sm::handleSwitchoverStage( Vor::String stage ) {
   if ( !initialized() ) return;
   VOR_TRACE( traceHandle, 1, __func__ << " Redundancy mode = " << redundancyStatus()->mode() << " Stage = " << stage );
   if ( stage == dovraWritableSwitchoverStage && dovraWritable() ) handleEnvironmentChanges();
}

void Max24305Sm::publishedStatesReset() {
   status()->stateIs( Max24305::uninitialized_ );
   pllStatus()->stateIs( Kiv::ClockStatus::notReady_ );
}

bool Max24305Sm::dovraWritable() const {
   return redundancyStatus()->switchoverStage().value( dovraWritableSwitchoverStage );
}

void Max24305Sm::pulseReset() {
   resetGpo()->impl()->doEnable();
   nsleep( resetActiveNs );
   resetGpo()->impl()->doDisable();
   nsleep( resetRecoveryNs );
}

void Max24305Sm::kivSpiIntfIs( U32 base, Vor::Ptr<Fru::HamImpl> const & hamImpl, bool resetSupported ) {
   kivSpiIntf_ = kivSpiInterfaceFactory( base, hamImpl, resetSupported );
}

void Max24305Sm::timerWheelIs(
   Vor::Ptr<Vor::Clock const> const & systemClock, U32 tickMsecs, U32 initialMaxTicks, bool preserveOrder,
   U32 defaultBucketSize ) {
   timerWheel_ =
      Jor::TimerWheel::TimerWheelIs( systemClock, tickMsecs, initialMaxTicks, preserveOrder, defaultBucketSize );
}

Vor::Type const & Max24305Sm::staticType() {
   static constinit auto const type = Vor::describe<Max24305Sm, &max24305SmFactory>( "Hardware::Max24305Sm" );
   return type;
}

Vor::Ptr<Max24305Sm> max24305SmFactory(
   Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
   Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
   Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
   Vor::Ptr<Fru::Gpo const> const & resetGpo ) {
   return Max24305Sm::Max24305SmIs( redundancyStatus, config, status, pllStatus, timeSyncStatus, resetGpo );
}

namespace Max24305SmModule {

Vor::TraceHandle const traceHandle( "Hardware::Max24305Sm" );

namespace {

Vor::LogHandle const initFailed(
   "MAX24305_INIT_FAILED", 3, "Possible hardware error with the Max24305 chip.",
   "Initialization of the Max24305 chip has failed.", Vor::CallSupportIfPersists, 0.0, 1.0, 0 );

}   // namespace

void logInitFailed() {
   if ( Vor::okToLog( initFailed.id() ) ) Vor::log( initFailed.id(), nullptr, 0 );
}

void registerTypes( Vor::Module & module ) {
   module.typeNodeIs( KivSpiInterface::staticType() );
   module.typeNodeIs( Max24305WithTolvaneInputSm::staticType() );
   module.typeNodeIs( Max24305WithStuffedClockInputSm::staticType() );
   module.typeNodeIs( Max24305Sm::staticType() );
}

}   // namespace Max24305SmModule

}   // namespace Hardware
