#include "sm/TolvaneSm.h"

#include "framework/Allocate.h"
#include "framework/Assert.h"
#include "framework/Describe.h"
#include "framework/Log.h"
#include "framework/TypeRegistry.h"
#include "hal/KivHal.h"
#include "platform/SimulationVmid.h"
#include "util/Utils.h"

namespace Hardware {

namespace {

Vor::TraceHandle const traceHandle( "Hardware::TolvaneSm" );

Vor::LogHandle const initFailed(
   "TOLVANE_INIT_FAILED", 3, "Possible hardware error with the Tolvane chip.",
   "Initialization of the Tolvane chip has failed.", Vor::CallSupportIfPersists, 0.0, 1.0, 0 );

constexpr U32 resetActiveNs = 100'000'000;
constexpr U32 resetRecoveryNs = 200'000'000;
constexpr U32 enableNs = 500'000'000;

}   // namespace

TolvaneSm::TolvaneSm(
   Vor::Ptr<Tolvane::Config const> const & config, Vor::Ptr<Tolvane::Status> const & status,
   Vor::Ptr<Fru::Gpo const> const & resetGpo )
   : config_( config ), status_( status ), resetGpo_( resetGpo ) {
   handleInitialized();
}

Vor::Ptr<TolvaneSm> TolvaneSm::TolvaneSmIs(
   Vor::Ptr<Tolvane::Config const> const & config, Vor::Ptr<Tolvane::Status> const & status,
   Vor::Ptr<Fru::Gpo const> const & resetGpo ) {
   auto const machine = Vor::allocate<TolvaneSm>( config, status, resetGpo );
   machine->hasNotificationActiveIs( true );
   return machine;
}

void TolvaneSm::handleInitialized() {
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
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
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   bool const simulated = simulationVmid();
   if ( hamImpl()->hardwarePresent() && status() && ( simulated || setClearGpo()->ham() ) )
      doProgramTolvane();
   else
      status()->stateIs( Tolvane::uninitialized_ );
}

void TolvaneSm::doProgramTolvane() {
   if ( !initialized() ) return;
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   status()->stateIs( Tolvane::uninitialized_ );
   VOR_ASSERT( resetGpo() );
   // The run counts for itself: a change during one of its sleeps may start another run within it.
   for ( U32 retries = maxAttempts; retries > 0; --retries ) {
      numRetries_ = retries;
      if ( attempt() ) {
         status()->stateIs( Tolvane::ready_ );
         return;
      }
      status()->stateIs( Tolvane::failed_ );
      VOR_TRACE( traceHandle, 1, "Tolvane initialization failed. Retrying." );
   }
   numRetries_ = 0;
   if ( Vor::okToLog( initFailed.id() ) ) Vor::log( initFailed.id(), nullptr, 0 );
}

/// Resets and enables the chip; true when it answers.
bool TolvaneSm::attempt() {
   resetGpo()->impl()->doEnable();
   nsleep( resetActiveNs );
   resetGpo()->impl()->doDisable();
   nsleep( resetRecoveryNs );

   U32 const address = config()->offset() + TolvaneEnable::address();
   U32 value = 0;
   hamImpl()->read32( address, value );
   TolvaneEnable enable( value );
   enable.enableIs( 1 );
   hamImpl()->write32( address, enable.value() );
   nsleep( enableNs );
   hamImpl()->read32( address, value );
   enable.valueIs( value );
   // Either bit shows that the chip is there.
   return enable.powerGood() || enable.enable();
}

Vor::Type const & TolvaneSm::staticType() {
   static constinit auto const type = Vor::describe<TolvaneSm, &TolvaneSm::TolvaneSmIs>( "Hardware::TolvaneSm" );
   return type;
}

void registerTolvaneSm( Vor::Module & module ) { module.typeNodeIs( TolvaneSm::staticType() ); }

}   // namespace Hardware
