// The machine of a MAX24305 that is fed by a Tolvane: its wiring and its own gate.
#include "framework/Reflection.h"
#include "hardware/TolvaneStatus.h"
#include "sm/Max24305WithTolvaneInputSm.h"
#include "tests/sm/Max24305Rig.h"

#include <csignal>

namespace SmTest::TolvaneInput {
namespace {

using namespace Hardware::Max24305;
using Hardware::Max24305WithTolvaneInputSm;
using PtpTimeSync::OperationalState;
using TolvaneStatus = Hardware::Tolvane::Status;

constexpr char machineName[] = "Max24305WithTolvaneInputSm";
constexpr char gate[] = "virtual void Hardware::Max24305WithTolvaneInputSm::handleEnvironmentChanges()";

std::string const noHardware = gateSays( " Kiv hardware not present" );
std::string const noSequence = gateSays( " Invalid programming sequence." );
std::string const noTolvane = gateSays( " Tolvane does not exist or its not ready." );
std::string const notInitialized = gateSays( " Max24305QithTolvaneInputSm not initialized yet." );
std::string const alreadyStarted = gateSays( " Already started" );
std::string const enabling = gateSays( " Enabling" );
std::string const timeSyncOff = gateSays( " TimeSync not enabled" );
Lines const statesReset{ told( "status", "uninitialized" ), told( "clock", "notReady" ) };
Lines const wiringTraces{
   trace( 1, "handleInitialized", "virtual void Hardware::Max24305WithTolvaneInputSm::handleInitialized()" ),
   trace( 1, "handleInitialized", "virtual void Hardware::Max24305Sm::handleInitialized()" ) };

class TolvaneInputTest : public Max24305World {
 protected:
   TolvaneInputTest() { tolvane->stateIs( Hardware::Tolvane::ready_ ); }

   Vor::Ptr<Max24305WithTolvaneInputSm> machineOf( Vor::Ptr<Fru::Gpo const> const & output ) {
      return Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
         redundancy, config, status, pllStatus, timeSync, output, tolvane );
   }
   Vor::Ptr<Max24305WithTolvaneInputSm> machine() { return machineOf( gpoReset ); }

   // A machine whose Tolvane was not ready yet; the diary is empty.
   Vor::Ptr<Max24305WithTolvaneInputSm> waitingMachine() {
      tolvane->stateIs( Hardware::Tolvane::uninitialized_ );
      auto const made = machine();
      diary.take();
      return made;
   }
   // One that waits, with its Tolvane ready, its notification off and its published states as given.
   Vor::Ptr<Max24305WithTolvaneInputSm> pausedMachine( State state, ClockStatus::State clock ) {
      auto const made = waitingMachine();
      made->hasNotificationActiveIs( false );
      tolvane->stateIs( Hardware::Tolvane::ready_ );
      publish( state, clock );
      return made;
   }
   void publish( State state, ClockStatus::State clock ) {
      status->stateIs( state );
      pllStatus->stateIs( clock );
      diary.take();
   }
   // A machine with a locked chip; the diary is empty.
   Vor::Ptr<Max24305WithTolvaneInputSm> lockedMachine() {
      chip->readIs( 7, 0x11 );
      auto const made = machine();
      rig.turns();
      EXPECT_EQ( status->state(), ready_ );
      diary.take();
      return made;
   }
   static Lines open( char const * timeSync, char const * state, char const * clock ) {
      return gateOpen( timeSync, state, clock, machineName );
   }
   std::size_t pulses() const { return diary.count( gpo( true ) ); }

   Vor::Ptr<TolvaneStatus> const tolvane =
      Hardware::Tolvane::statusFactory( "osc0", Fru::GenerationId( 1 ), Hardware::Tolvane::timeSync_ );
};
class TolvaneInputDeathTest : public TolvaneInputTest {};

// Wiring.

TEST_F( TolvaneInputTest, WiresTheBaseFirstAndDecidesOnceWithItsOwnGate ) {
   auto const made = machine();
   EXPECT_TRUE( made->initialized() );
   EXPECT_TRUE( made->hasNotificationActive() );
   EXPECT_EQ( made->tolvaneStatus(), tolvane );
   EXPECT_EQ( made->setClearGpo(), gpoReset );
   Lines const programs = { enabling, programmingTrace };
   EXPECT_EQ( takeTraces(), wiringTraces + open( "acquiring", "uninitialized", "notReady" ) + programs );
   EXPECT_EQ( status->state(), locking_ );
}

TEST_F( TolvaneInputTest, IsMadeAndKnownByItsType ) {
   Vor::Type const & type = Max24305WithTolvaneInputSm::staticType();
   EXPECT_STREQ( type.name(), "Hardware::Max24305WithTolvaneInputSm" );
   EXPECT_EQ( type.attributes().back().name, "tolvaneStatus" );
   using Attributes = Hardware::Max24305Sm::Attributes;
   EXPECT_EQ( type.attributes().size(), Attributes::count + 1 );
   std::vector<Vor::NamedValue> const arguments = {
      { "tolvaneStatus", Vor::toValue( Vor::Ptr<TolvaneStatus const>( tolvane ) ) },
      { "redundancyStatus", Vor::toValue( Vor::Ptr<Redundancy::RedundancyStatus const>( redundancy ) ) },
      { "config", Vor::toValue( Vor::Ptr<Max24305Config const>( config ) ) },
      { "status", Vor::toValue( status ) },
      { "pllStatus", Vor::toValue( pllStatus ) },
      { "timeSyncStatus", Vor::toValue( Vor::Ptr<PtpTimeSync::Status const>( timeSync ) ) },
      { "resetGpo", Vor::toValue( Vor::Ptr<Fru::Gpo const>( gpoReset ) ) } };
   Vor::Ptr<Vor::PtrInterface> const made = type.make( arguments );
   EXPECT_EQ( &made->fwkType(), &type );
   EXPECT_EQ( std::get<Vor::Ptr<Vor::PtrInterface const>>( Vor::Reflected( made ).get( "tolvaneStatus" ) ), tolvane );
   EXPECT_EQ( status->state(), locking_ );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   EXPECT_EQ( status->state(), uninitialized_ );
}

TEST_F( TolvaneInputTest, BeforeItIsInitializedItsGateSaysSoAndNothingElse ) {
   auto const made = lockedMachine();
   made->initializedIs( false );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   chip->hardwarePresentIs( false );
   config->opsToDoValidIs( false );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), times( 5, { notInitialized } ) );
   EXPECT_EQ( status->state(), ready_ );
}

TEST_F( TolvaneInputTest, TheOtherMachinesSayNothingBeforeTheyAreInitialized ) {
   auto const bare = bareMachine();
   bare->handleEnvironmentChanges();
   auto const stuffed = stuffedClockMachine();
   diary.take();
   stuffed->initializedIs( false );
   stuffed->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( TolvaneInputTest, EveryInputOfTheBaseReachesTheGate ) {
   auto const made = waitingMachine();
   config->opsToDoValidIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ noSequence, noTolvane } ) );
   chip->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ noHardware, noSequence, noTolvane } ) );
   timeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ( diary.take(), ( Lines{ noHardware, noSequence, noTolvane } ) );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), ( Lines{ noHardware, noSequence, noTolvane } ) );
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ( diary.take().size(), 4u );   // the stage's own trace before them
}

// The gate closed.

TEST_F( TolvaneInputTest, EveryUnmetConditionIsTracedInOrderThenTheStatesAreReset ) {
   for ( U32 met = 0; met < 7; ++met ) {
      SCOPED_TRACE( met );
      bool const present = met & 1, valid = met & 2, tolvaneReady = met & 4;
      auto const made = pausedMachine( ready_, ClockStatus::ready_ );
      chip->hardwarePresentIs( present );
      config->opsToDoValidIs( valid );
      tolvane->stateIs( tolvaneReady ? Hardware::Tolvane::ready_ : Hardware::Tolvane::failed_ );
      made->handleEnvironmentChanges();
      Lines expected;
      if ( !present ) expected.push_back( noHardware );
      if ( !valid ) expected.push_back( noSequence );
      if ( !tolvaneReady ) expected.push_back( noTolvane );
      EXPECT_EQ( diary.take(), expected + statesReset );
   }
}

TEST_F( TolvaneInputTest, AFailedTolvaneIsTheOneThingTold ) {
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   publish( locking_, ClockStatus::failed_ );
   auto const made = machine();
   EXPECT_EQ( diary.take(), wiringTraces + Lines{ noTolvane } + statesReset );
}

TEST_F( TolvaneInputTest, OnlyTheTolvanesReadyOpensTheGate ) {
   auto const made = waitingMachine();
   // The numbers that mean ready and failed for a MAX24305 are failed and nothing here.
   for ( U32 const state : { 2u, 3u, 0u, 17u } ) {
      tolvane->stateIs( static_cast<Hardware::Tolvane::State>( state ) );
      EXPECT_EQ( diary.take(), Lines{ noTolvane } ) << state;
   }
   tolvane->stateIs( static_cast<Hardware::Tolvane::State>( 1 ) );
   EXPECT_EQ( status->state(), locking_ );
}

TEST_F( TolvaneInputTest, TheResetOutputsHandleDoesNotMatter ) {
   gpoReset->hamIs( nullptr );
   auto const made = machine();
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( pulses(), 1u );
}

TEST_F( TolvaneInputTest, TheGateDoesNotLookAtTheSimulation ) {
   auto const made = pausedMachine( uninitialized_, ClockStatus::notReady_ );
   gpoReset->hamIs( nullptr );
   for ( bool const simulated : { true, false } ) {
      if ( simulated )
         Rig::simulationVmidIs( "" );
      else
         Rig::simulationVmidDel();
      chip->hardwarePresentIs( false );
      made->handleEnvironmentChanges();
      diary.take();
      chip->hardwarePresentIs( true );
      made->handleEnvironmentChanges();
      EXPECT_EQ( status->state(), locking_ ) << simulated;
      EXPECT_EQ( pulses(), 1u );
   }
}

TEST_F( TolvaneInputTest, InSimulationAnyKindOfOutputWillDo ) {
   Rig::simulationVmidIs( "" );
   auto const made = machineOf( new OtherGpo( diary ) );
   EXPECT_FALSE( made->setClearGpo() );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( pulses(), 1u );
}

// The gate open.

TEST_F( TolvaneInputTest, WithTimeSyncDisabledTheStatesAreResetBeforeItIsTraced ) {
   timeSync->stateIs( PtpTimeSync::disabled_ );
   auto const made = waitingMachine();
   publish( ready_, ClockStatus::ready_ );
   tolvane->stateIs( Hardware::Tolvane::ready_ );
   EXPECT_EQ( diary.take(), open( "disabled", "ready", "ready" ) + statesReset + Lines{ timeSyncOff } );
}

struct Decision {
   U32 timeSync;
   char const * timeSyncText;
   bool chipReady;
   bool clockReady;
   std::vector<std::string> says;   // before programming
   bool programs;
   bool already;   // and finds the chip programmed
};

TEST_F( TolvaneInputTest, EnablingIsTracedWhereTheChipIsHandedToProgrammingButNotAboveHoldover ) {
   Decision const decisions[] = {
      { 1, "enabling", false, false, { enabling }, true, false },
      { 1, "enabling", false, true, { enabling }, true, false },
      { 1, "enabling", true, false, { enabling }, true, false },
      { 1, "enabling", true, true, { enabling }, true, true },
      { 2, "acquiring", false, false, { enabling }, true, false },
      { 2, "acquiring", true, false, { alreadyStarted }, false, false },
      { 2, "acquiring", true, true, { alreadyStarted }, false, false },
      { 3, "locked", false, true, { enabling }, true, false },
      { 3, "locked", true, true, { alreadyStarted }, false, false },
      { 4, "holdover", false, false, { enabling }, true, false },
      { 4, "holdover", true, true, { alreadyStarted }, false, false },
      { 5, "5", false, false, {}, true, false },
      { 5, "5", true, true, {}, true, true },
      { 0xFFFFFFFF, "4294967295", true, false, {}, true, false },
   };
   for ( Decision const & decision : decisions ) {
      SCOPED_TRACE(
         std::string( decision.timeSyncText ) + ( decision.chipReady ? " chip" : "" ) +
         ( decision.clockReady ? " clock" : "" ) );
      auto const made = pausedMachine(
         decision.chipReady ? ready_ : uninitialized_,
         decision.clockReady ? ClockStatus::ready_ : ClockStatus::notReady_ );
      timeSync->stateIs( static_cast<OperationalState>( decision.timeSync ) );
      made->handleEnvironmentChanges();
      EXPECT_EQ( pulses(), decision.programs && !decision.already ? 1u : 0u );
      Lines expected = open(
                          Vor::stringValue( static_cast<OperationalState>( decision.timeSync ) ).charPtr(),
                          decision.chipReady ? "ready" : "uninitialized", decision.clockReady ? "ready" : "notReady" ) +
                       decision.says;
      if ( decision.programs ) expected.push_back( programmingTrace );
      if ( decision.already ) expected.push_back( alreadyProgrammed );
      EXPECT_EQ( takeTraces(), expected );
   }
}

TEST_F( TolvaneInputTest, OnTheActiveSupervisorAReadyChipIsLeftAlone ) {
   auto const made = pausedMachine( ready_, ClockStatus::ready_ );
   redundancy->modeIs( Redundancy::active_ );
   made->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), open( "acquiring", "ready", "ready" ) + Lines{ alreadyStarted } );
}

TEST_F( TolvaneInputTest, OnTheActiveSupervisorAnyOtherChipIsEnabledBelowAndAboveTheRunningStates ) {
   redundancy->modeIs( Redundancy::active_ );
   for ( U32 const state : { 1u, 5u } ) {
      auto const made = pausedMachine( uninitialized_, ClockStatus::notReady_ );
      timeSync->stateIs( static_cast<OperationalState>( state ) );
      made->handleEnvironmentChanges();
      EXPECT_EQ( pulses(), 1u );
   }
}

TEST_F( TolvaneInputDeathTest, OnTheActiveSupervisorAnythingButReadyStopsItWhileTimeSyncRuns ) {
   redundancy->modeIs( Redundancy::active_ );
   for ( OperationalState const state : { PtpTimeSync::acquiring_, PtpTimeSync::locked_, PtpTimeSync::holdover_ } ) {
      timeSync->stateIs( state );
      auto const made = pausedMachine( locking_, ClockStatus::failed_ );
      EXPECT_DEATH(
         made->handleEnvironmentChanges(),
         assertionOf(
            gate, "redundancyStatus()->mode() != Redundancy::active_ || status()->state() == Max24305::ready_" ) );
      publish( ready_, ClockStatus::failed_ );
      EXPECT_DEATH(
         made->handleEnvironmentChanges(),
         assertionOf(
            gate, "redundancyStatus()->mode() != Redundancy::active_ || pllStatus()->state() == "
                  "Hardware::Kiv::ClockStatus::ready_" ) );
   }
}

// Broken wiring.

TEST_F( TolvaneInputDeathTest, AnEmptyTolvaneStopsItAfterTheBaseIsWired ) {
   auto const make = [this]( Vor::Ptr<Fru::Gpo const> const & output ) {
      Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
         redundancy, config, status, pllStatus, timeSync, output, nullptr );
   };
   constexpr char own[] = "virtual void Hardware::Max24305WithTolvaneInputSm::handleInitialized()";
   constexpr char base[] = "virtual void Hardware::Max24305Sm::handleInitialized()";
   EXPECT_DEATH( make( gpoReset ), assertionOf( own, "tolvaneStatus()", wiringTraces ) );
   EXPECT_DEATH( make( nullptr ), assertionOf( base, "resetGpo()", wiringTraces ) );
   EXPECT_DEATH( make( new OtherGpo( diary ) ), assertionOf( base, "setClearGpo()" ) );
   ham->hamImplIs( nullptr );
   EXPECT_DEATH( make( gpoReset ), assertionOf( base, "hamImpl()" ) );
}

TEST_F( TolvaneInputDeathTest, OutsideSimulationASetClearOutputIsDemandedThoughTheGateHasNoUseForIt ) {
   EXPECT_DEATH(
      machineOf( new OtherGpo( diary ) ),
      assertionOf( "virtual void Hardware::Max24305Sm::handleInitialized()", "setClearGpo()" ) );
}

// The Tolvane as an input.

TEST_F( TolvaneInputTest, TheTolvanesReadyStartsProgrammingAndItsLossDropsTheChip ) {
   chip->readIs( 7, 0x11 );
   auto const made = waitingMachine();
   tolvane->stateIs( Hardware::Tolvane::ready_ );
   EXPECT_EQ( status->state(), locking_ );
   rig.turns();
   EXPECT_EQ( status->state(), ready_ );
   EXPECT_EQ( pulses(), 1u );
   diary.take();
   for ( auto const lost : { Hardware::Tolvane::uninitialized_, Hardware::Tolvane::failed_ } ) {
      tolvane->stateIs( lost );
      EXPECT_EQ( diary.take(), Lines{ noTolvane } + statesReset );
      tolvane->stateIs( Hardware::Tolvane::ready_ );
      EXPECT_EQ( pulses(), 1u );
      rig.turns();
      EXPECT_EQ( status->state(), ready_ );
      EXPECT_EQ( pllStatus->state(), ClockStatus::ready_ );
      diary.take();
   }
}

TEST_F( TolvaneInputTest, ATolvaneLostDuringTheLockWaitLeavesOneSilentPollAndNoSecondTrain ) {
   auto const made = machine();
   rig.turn();
   rig.turn();
   EXPECT_EQ( made->lockPollCount(), 2u );
   diary.take();
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   EXPECT_EQ( diary.take(), Lines{ noTolvane } + Lines{ told( "status", "uninitialized" ) } );
   rig.turns();
   EXPECT_EQ( diary.take(), Lines{} );
   tolvane->stateIs( Hardware::Tolvane::ready_ );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   tolvane->stateIs( Hardware::Tolvane::ready_ );
   diary.take();
   EXPECT_EQ( rig.turns(), 101u );
   EXPECT_EQ( diary.count( chipRead( 7, 0 ) ), 101u );
   EXPECT_EQ( status->state(), failed_ );
}

TEST_F( TolvaneInputTest, SwitchingNotificationSwitchesTheTolvanesReactorToo ) {
   auto const made = lockedMachine();
   made->hasNotificationActiveIs( false );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   chip->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
   made->hasNotificationActiveIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
   tolvane->stateIs( Hardware::Tolvane::uninitialized_ );
   EXPECT_EQ( diary.take(), ( Lines{ noHardware, noTolvane } ) + statesReset );
   made->vorDoZombieReactors( true );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   chip->hardwarePresentIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( TolvaneInputTest, PointingItAtAnotherTolvaneDecidesAnew ) {
   auto const made = lockedMachine();
   made->tolvaneStatusIs( tolvane );
   EXPECT_EQ( diary.take(), Lines{} );
   Vor::Ptr<TolvaneStatus> const other =
      Hardware::Tolvane::statusFactory( "osc1", Fru::GenerationId( 1 ), Hardware::Tolvane::timeSync_ );
   made->tolvaneStatusIs( other );
   EXPECT_EQ( diary.take(), Lines{ noTolvane } + statesReset );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   EXPECT_EQ( diary.take(), Lines{} );
   other->stateIs( Hardware::Tolvane::ready_ );
   EXPECT_EQ( status->state(), locking_ );
}

TEST_F( TolvaneInputTest, WithoutATolvaneItsGateIsClosed ) {
   auto const made = lockedMachine();
   made->tolvaneStatusIs( nullptr );
   EXPECT_FALSE( made->tolvaneStatus() );
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( status->state(), ready_ );
   made->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), Lines{ noTolvane } + statesReset );
   made->tolvaneStatusIs( tolvane );   // a new reactor, which attaches silently
   EXPECT_EQ( diary.take(), Lines{} );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   EXPECT_EQ( diary.take(), Lines{ noTolvane } );
   made->tolvaneStatusDel();
   tolvane->stateIs( Hardware::Tolvane::ready_ );
   EXPECT_EQ( diary.take(), Lines{} );
   made->hasNotificationActiveIs( false );
   made->tolvaneStatusIs( tolvane );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   EXPECT_EQ( diary.take(), Lines{} );
}

// Its end.

// Tells, as it goes, whether the Tolvane's status has gone.
class LastGpo final : public Hardware::SetClearGpo {
 public:
   explicit LastGpo( std::vector<U64> & left ) : SetClearGpo( "reset" ), left_( left ) {}
   ~LastGpo() override { left_.push_back( TolvaneStatus::staticType().allocated() ); }

 private:
   std::vector<U64> & left_;
};

TEST_F( TolvaneInputTest, ItGoesInTheReverseOfItsMaking ) {
   timeSync->stateIs( PtpTimeSync::disabled_ );
   std::vector<U64> left;
   U64 const others = TolvaneStatus::staticType().allocated();
   Vor::Ptr<Max24305WithTolvaneInputSm> made = Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
      redundancy, config, status, pllStatus, timeSync, new LastGpo( left ),
      Hardware::Tolvane::statusFactory( "osc1", Fru::GenerationId( 1 ), Hardware::Tolvane::timeSync_ ) );
   EXPECT_EQ( TolvaneStatus::staticType().allocated(), others + 1 );
   EXPECT_TRUE( left.empty() );
   made = nullptr;
   EXPECT_EQ( left, std::vector<U64>{ others } );
}

TEST_F( TolvaneInputTest, ItsEndLeavesThePublishedStatesAndTheTolvaneAlone ) {
   U64 const others = Max24305WithTolvaneInputSm::staticType().allocated();
   S32 const references = tolvane->references();
   auto made = lockedMachine();
   EXPECT_EQ( Max24305WithTolvaneInputSm::staticType().allocated(), others + 1 );
   made = nullptr;
   EXPECT_EQ( Max24305WithTolvaneInputSm::staticType().allocated(), others );
   tolvane->stateIs( Hardware::Tolvane::failed_ );
   chip->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( tolvane->references(), references );
   EXPECT_EQ( status->state(), ready_ );
   EXPECT_EQ( pllStatus->state(), ClockStatus::ready_ );
}

TEST_F( TolvaneInputTest, AnObserverOfItsStateMayDropTheMachineThatTheTolvaneWoke ) {
   U64 const others = Max24305WithTolvaneInputSm::staticType().allocated();
   auto made = waitingMachine();
   statusWatch->action = [&] { made = nullptr; };
   tolvane->stateIs( Hardware::Tolvane::ready_ );
   EXPECT_EQ( Max24305WithTolvaneInputSm::staticType().allocated(), others );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( rig.turns(), 0u );
}

}   // namespace
}   // namespace SmTest::TolvaneInput
