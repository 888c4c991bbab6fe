#include "sm/TolvaneSm.h"

#include "framework/Assert.h"
#include "framework/Describe.h"
#include "framework/TypeRegistry.h"
#include "hal/KivHal.h"
#include "platform/SimulationVmid.h"
#include "sm/InitFailed.h"
#include "sm/ResetPulse.h"
#include "sm/Steps.h"

namespace Hardware {

namespace {

Vor::TraceHandle const tolvaneTrace( "Hardware::TolvaneSm" );

// The message is declared with the module's type.
Vor::LogHandle const & tolvaneInitFailed() {
   static Vor::LogHandle const handle(
      "TOLVANE_INIT_FAILED", 3, "Possible hardware error with the Tolvane chip.",
      "Initialization of the Tolvane chip has failed.", Vor::CallSupportIfPersists, 0.0, 1.0, 0 );
   return handle;
}

constexpr U32 tolvaneResetNs = 100'000'000;
constexpr U32 tolvaneRecoveryNs = 200'000'000;
constexpr U32 enableNs = 500'000'000;

// Resets and enables the chip, and asks whether it answers.
Steps::EnableDone attempt( TolvaneSm const & machine ) {
   pulseReset( machine.resetGpo(), tolvaneResetNs, tolvaneRecoveryNs );
   tellStep( machine, Steps::ResetPulsed{} );

   U32 const address = machine.config()->offset() + TolvaneEnable::address();
   U32 value = 0;
   machine.hamImpl()->read32( address, value );
   TolvaneEnable enable( value );
   enable.enableIs( 1 );
   machine.hamImpl()->write32( address, enable.value() );
   nsleep( enableNs );
   machine.hamImpl()->read32( address, value );
   enable.valueIs( value );
   // Either bit shows that the chip is there.
   return { value, enable.powerGood() || enable.enable() };
}

}   // namespace

void TolvaneSm::handleInitialized() {
   VOR_TRACE( tolvaneTrace, 1, __PRETTY_FUNCTION__ );
   VOR_ASSERT( config() );
   VOR_ASSERT( status() );
   VOR_ASSERT( resetGpo() );
   if ( !simulationVmid() ) {
      setClearGpoIs( Vor::ptrCast<SetClearGpo const>( resetGpo() ) );
      VOR_ASSERT( setClearGpo() );
   }
   hamImplIs( config()->ham()->hamImpl() );
   VOR_ASSERT( hamImpl() );
   // Reactors first, flag next, decision last: nothing that happens while they attach decides too early.
   initializedIs( true );
   handleEnvironmentChanges();
}

void TolvaneSm::handleEnvironmentChanges() {
   if ( !initialized() ) return;
   VOR_TRACE( tolvaneTrace, 1, __PRETTY_FUNCTION__ );
   wired( hamImpl() );
   Gate const rows = gate();
   // It stops at the first row that is not met: behind it, missing wiring is of no matter.
   if ( rows.front().met && !simulationVmid() ) wired( setClearGpo() );
   tellStep( *this, Steps::GateEvaluated{ rows } );
   if ( allMet( rows ) )
      doProgramTolvane();
   else
      publish( *this, status(), Tolvane::uninitialized_ );
}

Gate TolvaneSm::gate() const { return { hardwareRow( hamImpl() ), resetOutputRow( setClearGpo() ) }; }

void TolvaneSm::doProgramTolvane() {
   if ( !initialized() ) return;
   VOR_TRACE( tolvaneTrace, 1, __PRETTY_FUNCTION__ );
   publish( *this, status(), Tolvane::uninitialized_ );
   VOR_ASSERT( resetGpo() );
   // The run counts for itself: a change during one of its sleeps may start another run within it.
   for ( U32 retries = maxAttempts; retries > 0; --retries ) {
      numRetries_ = retries;
      U32 const number = maxAttempts + 1 - retries;
      tellStep( *this, Steps::AttemptBegun{ number, maxAttempts } );
      Steps::EnableDone const done = attempt( *this );
      tellStep( *this, done );
      if ( done.answers ) {
         publish( *this, status(), Tolvane::ready_, Steps::ProgrammingEnded{ number, true } );
         return;
      }
      publish( *this, status(), Tolvane::failed_, Steps::AttemptFailed{ number, maxAttempts, done } );
      VOR_TRACE( tolvaneTrace, 1, "Tolvane initialization failed. Retrying." );
   }
   numRetries_ = 0;
   tellStep( *this, Steps::ProgrammingEnded{ maxAttempts, false } );
   logInitFailed( tolvaneInitFailed() );
}

Vor::Type const & TolvaneSm::staticType() { return Vor::typeOf<TolvaneSm, "Hardware::TolvaneSm">(); }

void registerTolvaneSm( Vor::Module & module ) {
   module.typesAdd<TolvaneSm>();
   tolvaneInitFailed();
}

}   // namespace Hardware
