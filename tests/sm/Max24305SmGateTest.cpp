// The gate: when the chip may be programmed, and what the machine says and publishes while it may not.
#include "tests/sm/Max24305Rig.h"

namespace SmTest::Gate {
namespace {

using namespace Hardware::Max24305;
using PtpTimeSync::OperationalState;

constexpr char const * gate = "virtual void Hardware::Max24305Sm::handleEnvironmentChanges()";
constexpr OperationalState beyondHoldover = static_cast<OperationalState>( 5 );

std::string const noHardware = gateSays( " Kiv hardware not present" );
std::string const noSequence = gateSays( " Invalid programming sequence." );
std::string const noGpoHam = gateSays( " Gpo ham not available yet" );
Lines const statesReset{ told( "status", "uninitialized" ), told( "clock", "notReady" ) };

class Max24305SmGateTest : public Max24305World {
 protected:
   // A machine whose gate was not evaluated yet.
   Vor::Ptr<Max24305Sm> machineBeforeItsGate() {
      auto machine = bareMachine();
      machine->handleInitialized();
      machine->initializedIs( true );
      diary.take();
      return machine;
   }
   void publish( State state, ClockStatus::State clock ) {
      status->stateIs( state );
      pllStatus->stateIs( clock );
      diary.take();
   }
};
class Max24305SmGateDeathTest : public Max24305SmGateTest {};

// --- closed ---

TEST_F( Max24305SmGateTest, EveryUnmetConditionIsTracedThenTheStatesAreReset ) {
   for ( U32 met = 0; met < 7; ++met ) {
      SCOPED_TRACE( met );
      bool const present = met & 1, valid = met & 2, gpoHam = met & 4;
      auto const machine = machineBeforeItsGate();
      machine->initializedIs( false );
      chip->hardwarePresentIs( present );
      config->opsToDoValidIs( valid );
      gpoReset->hamIs( gpoHam ? Vor::Ptr<Fru::Ham const>( ham ) : nullptr );
      machine->initializedIs( true );
      publish( ready_, ClockStatus::ready_ );
      machine->handleEnvironmentChanges();
      Lines expected;
      if ( !present ) expected.push_back( noHardware );
      if ( !valid ) expected.push_back( noSequence );
      if ( !gpoHam ) expected.push_back( noGpoHam );
      EXPECT_EQ( diary.take(), expected + statesReset );
   }
}

TEST_F( Max24305SmGateTest, AClosedGateSetsTheStatesEachTime ) {
   auto const machine = machineBeforeItsGate();
   chip->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{ noHardware } );   // the states are 0 already
   publish( failed_, ClockStatus::failed_ );
   machine->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), Lines{ noHardware } + statesReset );
}

TEST_F( Max24305SmGateTest, InSimulationTheOutputsHandleDoesNotMatter ) {
   Rig::simulationVmidIs( "" );
   auto machine = machineBeforeItsGate();
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{} );   // not watched either
   machine->handleEnvironmentChanges();
   EXPECT_EQ( status->state(), locking_ );
   chip->hardwarePresentIs( false );
   config->opsToDoValidIs( false );
   diary.take();
   machine->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), ( Lines{ noHardware, noSequence } ) );
}

TEST_F( Max24305SmGateTest, PresenceOfTheVariableIsLookedUpEachTime ) {
   auto const machine = machineBeforeItsGate();
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{ noGpoHam } );
   Rig::simulationVmidIs( "" );
   machine->handleEnvironmentChanges();
   EXPECT_EQ( status->state(), locking_ );
}

// --- time synchronisation ---

TEST_F( Max24305SmGateTest, WithTimeSyncDisabledTheStatesAreResetBeforeItIsTraced ) {
   auto const machine = readyMachine();
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_EQ(
      diary.take(),
      gateOpen( "disabled", "ready", "ready" ) + statesReset + Lines{ gateSays( " TimeSync not enabled" ) } );
}

TEST_F( Max24305SmGateTest, WhileTimeSyncRunsAReadyChipIsLeftAlone ) {
   auto const machine = readyMachine();
   for ( auto const state : { PtpTimeSync::locked_, PtpTimeSync::holdover_, PtpTimeSync::acquiring_ } ) {
      timeSync->stateIs( state );
      EXPECT_EQ(
         diary.take(), gateOpen( Vor::stringValue( state ).stdString(), "ready", "ready" ) +
                          Lines{ gateSays( " Already started" ) } );
   }
}

TEST_F( Max24305SmGateTest, AlreadyStartedLooksAtTheChipsStatusOnly ) {
   auto const machine = readyMachine();
   publish( ready_, ClockStatus::failed_ );
   timeSync->stateIs( PtpTimeSync::holdover_ );
   EXPECT_EQ( diary.take(), gateOpen( "holdover", "ready", "failed" ) + Lines{ gateSays( " Already started" ) } );
}

TEST_F( Max24305SmGateTest, BelowAndAboveTheRunningStatesAReadyChipIsHandedToProgramming ) {
   auto const machine = readyMachine();
   for ( auto const & [state, text] :
         { std::pair( PtpTimeSync::enabling_, "enabling" ), std::pair( beyondHoldover, "5" ),
           std::pair( static_cast<OperationalState>( 0xFFFFFFFF ), "4294967295" ) } ) {
      timeSync->stateIs( state );
      EXPECT_EQ( diary.take(), ( gateOpen( text, "ready", "ready" ) + Lines{ programmingTrace, alreadyProgrammed } ) );
   }
}

TEST_F( Max24305SmGateTest, BelowAndAboveTheRunningStatesOneRecordThatIsNotReadyProgramsAgain ) {
   auto const machine = readyMachine();
   for ( auto const state : { PtpTimeSync::enabling_, beyondHoldover } ) {
      publish( ready_, ClockStatus::failed_ );
      timeSync->stateIs( state );
      EXPECT_EQ( diary.count( gpo( true ) ), 1u );
      EXPECT_EQ( status->state(), locking_ );
   }
}

TEST_F( Max24305SmGateTest, ALockingChipIsNotStartedAndIsProgrammedAgain ) {
   auto const machine = machineBeforeItsGate();
   machine->handleEnvironmentChanges();
   EXPECT_EQ( status->state(), locking_ );
   diary.take();
   timeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ(
      takeDeeds(), Lines{ told( "status", "uninitialized" ) } + attemptStart() + Lines{ told( "status", "locking" ) } );
}

// --- what is watched ---

TEST_F( Max24305SmGateTest, EveryWatchedInputRunsTheGate ) {
   auto const machine = readyMachine();
   auto const runs = [this]( auto const & change ) {
      change();
      return diary.take() != Lines{};
   };
   EXPECT_TRUE( runs( [&] { timeSync->stateIs( PtpTimeSync::locked_ ); } ) );
   EXPECT_TRUE( runs( [&] { redundancy->switchoverStageIs( "DovraWritable", true ); } ) );
   EXPECT_TRUE( runs( [&] { gpoReset->hamIs( nullptr ); } ) );
   EXPECT_TRUE( runs( [&] { config->opsToDoValidIs( false ); } ) );
   EXPECT_TRUE( runs( [&] { chip->hardwarePresentIs( false ); } ) );
}

TEST_F( Max24305SmGateTest, NothingElseIsWatched ) {
   auto const machine = readyMachine();
   redundancy->modeIs( Redundancy::active_ );
   redundancy->modeIs( Redundancy::switchover_ );
   config->opsToDoEnq( Op( 1, write_, 1, 1 ) );
   config->opsToDoMetadataIs( Max24305Config::OpsToDoMetadata( 0, 1 ) );
   gpoReset->offsetIs( 4 );
   gpoReset->bitIs( 3 );
   gpoReset->activeTypeIs( Fru::activeLow_ );
   chip->sizeIs( 0x1000 );
   chip->kindIs( "other" );
   ham->hamImplIs( nullptr );
   ham->hamImplIs( chip );
   EXPECT_EQ( diary.take(), Lines{} );
   status->stateIs( failed_ );
   pllStatus->stateIs( ClockStatus::notReady_ );
   EXPECT_EQ( diary.take(), ( Lines{ told( "status", "failed" ), told( "clock", "notReady" ) } ) );
}

TEST_F( Max24305SmGateTest, AnEqualValueIsNoChange ) {
   auto const machine = readyMachine();
   timeSync->stateIs( PtpTimeSync::acquiring_ );
   chip->hardwarePresentIs( true );
   config->opsToDoValidIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305SmGateTest, ReactorsMadeAfterActivationAreLive ) {
   auto const machine = bareMachine();   // active from here on; output and handle are watched from initializing on
   machine->handleInitialized();
   machine->initializedIs( true );
   diary.take();
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{ noGpoHam } );
   chip->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ noHardware, noGpoHam } ) );
   gpoReset->hamIs( ham );
   chip->hardwarePresentIs( true );
   EXPECT_EQ( status->state(), locking_ );
   diary.take();
   EXPECT_TRUE( rig.turn() );
   EXPECT_EQ( diary.count( chipRead( 7, 0 ) ), 1u );
}

TEST_F( Max24305SmGateTest, WithoutTheCreatorNotificationIsOffUntilItIsSwitchedOn ) {
   Vor::Ptr<Max24305WithStuffedClockInputSm> const machine = new Max24305WithStuffedClockInputSm(
      redundancy, config, status, pllStatus, timeSync, Vor::Ptr<Fru::Gpo const>( gpoReset ) );
   EXPECT_EQ( status->state(), locking_ );
   diary.take();
   timeSync->stateIs( PtpTimeSync::disabled_ );
   chip->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   config->opsToDoValidIs( false );
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ( diary.take(), Lines{} );
   machine->hasNotificationActiveIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
   timeSync->stateIs( PtpTimeSync::acquiring_ );
   EXPECT_EQ( takeTraces(), ( Lines{ noHardware, noSequence, noGpoHam } ) );
   machine->hasNotificationActiveIs( false );
   chip->hardwarePresentIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305SmGateTest, PointingAReactorElsewhereIsSilent ) {
   auto const machine = readyMachine();
   Vor::Ptr<ScriptedChip> const otherChip = new ScriptedChip( diary );
   Vor::Ptr<NotingGpo> const otherGpo = new NotingGpo( diary );
   auto const otherTimeSync = PtpTimeSync::statusFactory( "other" );
   otherTimeSync->stateIs( PtpTimeSync::acquiring_ );
   machine->hamImplIs( otherChip );
   machine->setClearGpoIs( otherGpo );
   machine->timeSyncStatusIs( otherTimeSync );
   EXPECT_EQ( diary.take(), Lines{} );
   chip->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_EQ( diary.take(), Lines{} );
   otherTimeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ( takeTraces(), Lines{ noHardware } );
   otherGpo->hamIs( nullptr );
   EXPECT_EQ( takeTraces(), ( Lines{ noHardware, noGpoHam } ) );
}

TEST_F( Max24305SmGateTest, TheGateThatReactorsRunIsTheMostDerivedOne ) {
   struct Counting final : Max24305Sm {
      using Max24305Sm::Max24305Sm;
      void handleEnvironmentChanges() override { ++runs; }
      U32 runs = 0;
   };
   Vor::Ptr<Counting> const machine =
      new Counting( redundancy, config, status, pllStatus, timeSync, Vor::Ptr<Fru::Gpo const>( gpoReset ) );
   machine->hasNotificationActiveIs( true );
   machine->handleInitialized();
   machine->initializedIs( true );
   timeSync->stateIs( PtpTimeSync::locked_ );
   config->opsToDoValidIs( false );
   chip->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ( machine->runs, 5u );
}

// --- an active supervisor ---

TEST_F( Max24305SmGateDeathTest, AnActiveSupervisorMustHaveAReadyChipWhileTimeSyncRuns ) {
   auto const machine = machineBeforeItsGate();
   redundancy->modeIs( Redundancy::active_ );
   constexpr char const * expression =
      "redundancyStatus()->mode() != Redundancy::active_ || status()->state() == Max24305::ready_";
   for ( auto const state : { PtpTimeSync::holdover_, PtpTimeSync::locked_ } )
      EXPECT_DEATH(
         timeSync->stateIs( state ),
         assertionOf(
            gate, expression, gateOpen( Vor::stringValue( state ).stdString(), "uninitialized", "notReady" ) ) );
   publish( locking_, ClockStatus::ready_ );
   EXPECT_DEATH( machine->handleEnvironmentChanges(), assertionOf( gate, expression ) );
}

TEST_F( Max24305SmGateDeathTest, AnActiveSupervisorMustHaveAReadyClockWhileTimeSyncRuns ) {
   auto const machine = machineBeforeItsGate();
   redundancy->modeIs( Redundancy::active_ );
   publish( ready_, ClockStatus::failed_ );
   EXPECT_DEATH(
      machine->handleEnvironmentChanges(), assertionOf(
                                              gate, "redundancyStatus()->mode() != Redundancy::active_ || "
                                                    "pllStatus()->state() == Hardware::Kiv::ClockStatus::ready_" ) );
}

TEST_F( Max24305SmGateTest, AnActiveSupervisorWithAReadyChipGoesOn ) {
   auto const machine = readyMachine();
   redundancy->modeIs( Redundancy::active_ );
   timeSync->stateIs( PtpTimeSync::holdover_ );
   EXPECT_EQ( diary.take().back(), gateSays( " Already started" ) );
}

TEST_F( Max24305SmGateTest, OutsideTheRunningStatesAnActiveSupervisorPrograms ) {
   auto const machine = machineBeforeItsGate();
   redundancy->modeIs( Redundancy::active_ );
   for ( auto const state : { PtpTimeSync::enabling_, beyondHoldover } ) {
      timeSync->stateIs( state );
      EXPECT_EQ( status->state(), locking_ );
      status->stateIs( failed_ );
   }
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_EQ( status->state(), uninitialized_ );
}

TEST_F( Max24305SmGateTest, AClosedGateAsksNothingOfAnActiveSupervisor ) {
   auto const machine = machineBeforeItsGate();
   redundancy->modeIs( Redundancy::active_ );
   chip->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{ noHardware } );
}

}   // namespace
}   // namespace SmTest::Gate
