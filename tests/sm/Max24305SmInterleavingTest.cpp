// What happens when things happen at the same time: changes during the lock wait, changes inside a sleep of the
// machine's own, and machines that go.
#include "framework/ActivityManager.h"
#include "tests/sm/Max24305Rig.h"

#include <limits>

namespace SmTest::Interleaving {
namespace {

using namespace Hardware::Max24305;

constexpr double never = std::numeric_limits<double>::infinity();
constexpr U64 resetActiveNs = 300'000'000;
constexpr U64 retryPauseNs = 1'000'000'000;

class Max24305SmInterleavingTest : public Max24305World {
 protected:
   Max24305SmInterleavingTest() { Rig::tracesAre( false ); }
   std::size_t polls() const { return diary.count( chipRead( 7, 0 ) ); }
   Lines states() const { return diary.of( { "status", "clock" } ); }
   /// A pulse of the card's presence; the gate runs twice.
   void blink() {
      chip->hardwarePresentIs( false );
      chip->hardwarePresentIs( true );
   }
};
class Max24305SmInterleavingDeathTest : public Max24305SmInterleavingTest {};

TEST_F( Max24305SmInterleavingTest, AFreshChipThatFailsOnceShowsNoZerosInBetween ) {
   opsAre( { { read_, 1, 1 } } );
   chip->readsAre( 1, { 0, 1 } );
   chip->readIs( 7, 0x11 );
   auto const machine = stuffedClockMachine();
   rig.turns();
   EXPECT_EQ(
      states(), ( Lines{
                   told( "status", "failed" ), told( "clock", "failed" ), told( "status", "locking" ),
                   told( "status", "ready" ), told( "clock", "ready" ) } ) );
}

// --- during the lock wait ---

TEST_F( Max24305SmInterleavingTest, AGateThatClosesDoesNotDisarmTheTimerWhoseExpiryIsSilent ) {
   auto const machine = stuffedClockMachine();
   rig.turn();
   double const armedFor = machine->lockStatusClock()->timeMin();
   diary.take();
   chip->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{ told( "status", "uninitialized" ) } );
   EXPECT_EQ( machine->lockStatusClock()->timeMin(), armedFor );
   Rig::tracesAre( true );
   EXPECT_TRUE( rig.turn() );
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( machine->lockStatusClock()->timeMin(), never );
}

TEST_F( Max24305SmInterleavingTest, ReopeningTheGateMovesTheOneTimer ) {
   auto const machine = stuffedClockMachine();
   rig.turns( 3 );
   EXPECT_EQ( polls(), 3u );
   rig.clock->nowNsIs( rig.clock->nowNs() + 900'000'000 );
   chip->hardwarePresentIs( false );
   diary.take();
   chip->hardwarePresentIs( true );   // takes longer than what the timer had left
   EXPECT_EQ( machine->lockPollCount(), 0u );
   EXPECT_EQ( machine->lockStatusClock()->timeMin(), rig.clock->now() );
   U64 const programmed = rig.clock->nowNs();
   for ( U64 second = 0; second < 50; ++second ) {
      EXPECT_TRUE( rig.turn() );
      EXPECT_EQ( polls(), second + 1 );
      EXPECT_EQ( ( rig.clock->nowNs() - programmed ) / 1'000'000, second * 1'000 );
   }
   EXPECT_EQ( rig.turns(), 51u );
   EXPECT_EQ( status->state(), failed_ );
}

TEST_F( Max24305SmInterleavingTest, AStandbyThatIsLockingProgramsAgainAsTimeSyncBegins ) {
   timeSync->stateIs( PtpTimeSync::enabling_ );
   auto const machine = stuffedClockMachine();
   rig.turns( 2 );
   diary.take();
   timeSync->stateIs( PtpTimeSync::acquiring_ );
   EXPECT_EQ(
      takeDeeds(), Lines{ told( "status", "uninitialized" ) } + attemptStart() + Lines{ told( "status", "locking" ) } );
   EXPECT_EQ( machine->lockPollCount(), 0u );
}

TEST_F( Max24305SmInterleavingDeathTest, AnActiveSupervisorThatIsLockingStopsAsTimeSyncBegins ) {
   redundancy->modeIs( Redundancy::active_ );
   timeSync->stateIs( PtpTimeSync::enabling_ );
   auto const machine = stuffedClockMachine();
   rig.turns( 2 );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_DEATH(
      timeSync->stateIs( PtpTimeSync::acquiring_ ),
      assertionOf(
         "virtual void Hardware::Max24305Sm::handleEnvironmentChanges()",
         "redundancyStatus()->mode() != Redundancy::active_ || status()->state() == Max24305::ready_" ) );
}

TEST_F( Max24305SmInterleavingTest, AFailedLockWaitIsTriedAgainByTheNextChange ) {
   auto const machine = stuffedClockMachine();
   EXPECT_EQ( rig.turns(), 101u );
   diary.take();
   chip->readIs( 7, 0x11 );
   timeSync->stateIs( PtpTimeSync::locked_ );
   rig.turns();
   EXPECT_EQ(
      states(), ( Lines{
                   told( "status", "uninitialized" ), told( "clock", "notReady" ), told( "status", "locking" ),
                   told( "status", "ready" ), told( "clock", "ready" ) } ) );
}

// --- inside a sleep of the machine's own ---

TEST_F( Max24305SmInterleavingTest, PresenceLostInsideASleepZeroesTheStatesAndTheAttemptGoesOn ) {
   opsAre( { { read_, 1, 1 } } );
   chip->readsAre( 1, { 0, 1 } );
   auto const machine = readyMachine();   // failed once, then locked
   status->stateIs( failed_ );
   diary.take();
   chip->readsAre( 1, { 0, 1 } );
   rig.inSleep( retryPauseNs, [this] { chip->hardwarePresentIs( false ); } );
   timeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ(
      states(), ( Lines{
                   told( "status", "uninitialized" ), told( "clock", "notReady" ),   // the call begins
                   told( "status", "failed" ), told( "clock", "failed" ),            // the attempt fails
                   told( "status", "uninitialized" ), told( "clock", "notReady" ),   // the gate closes meanwhile
                   told( "status", "locking" ) } ) );                                // the next attempt's own outcome
   EXPECT_FALSE( chip->hardwarePresent() );
   rig.turn();   // and the lock wait follows it
   EXPECT_EQ( status->state(), ready_ );
}

TEST_F( Max24305SmInterleavingTest, PresenceToggledInsideASleepProgramsWithinTheAttemptThatGoesOn ) {
   opsAre( { { write_, 5, 5 } } );
   auto const machine = readyMachine();
   pllStatus->stateIs( ClockStatus::failed_ );
   diary.take();
   rig.inSleep( resetActiveNs, [this] { blink(); } );
   timeSync->stateIs( PtpTimeSync::enabling_ );
   Lines const outerStart = attemptStart();
   auto const slept = outerStart.begin() + 2;   // the output is on, the sleep has begun
   EXPECT_EQ(
      diary.take(),
      ( Lines{ told( "status", "uninitialized" ), told( "clock", "notReady" ) } + Lines( outerStart.begin(), slept ) +
        attemptStart() + Lines{ chipWrite( 5, 5 ), told( "status", "locking" ) } + Lines( slept, outerStart.end() ) +
        Lines{ chipWrite( 5, 5 ) } ) );   // locking again, which is no change
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( machine->lockStatusClock()->timeMin(), rig.clock->now() );
   chip->readIs( 7, 0 );
   EXPECT_EQ( rig.turns(), 101u );
   EXPECT_EQ( polls(), 101u );
}

TEST_F( Max24305SmInterleavingTest, AProgrammingWithinAnAttemptHasTenAttemptsOfItsOwn ) {
   opsAre( { { sleep_, 0, 77'000 }, { read_, 1, 1 } } );
   chip->readIs( 1, 1 );
   auto const machine = readyMachine();
   pllStatus->stateIs( ClockStatus::failed_ );
   chip->readsAre( 1, { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 } );   // all ten of the inner one fail
   diary.take();
   rig.inSleep( 77'000, [this] { blink(); } );
   timeSync->stateIs( PtpTimeSync::enabling_ );
   EXPECT_EQ( diary.count( gpo( true ) ), 11u );
   EXPECT_EQ( diary.of( { "log" } ).size(), 1u );
   EXPECT_EQ(
      states(), ( Lines{
                   told( "status", "uninitialized" ), told( "clock", "notReady" ), told( "status", "failed" ),
                   told( "clock", "failed" ), told( "status", "locking" ) } ) );
}

TEST_F( Max24305SmInterleavingTest, TheSequenceTakenBackInsideASleepLeavesTheRestToNobody ) {
   opsAre( { { sleep_, 0, 77'000 }, { write_, 5, 5 } } );
   auto const machine = readyMachine();
   status->stateIs( failed_ );
   diary.take();
   rig.inSleep( 77'000, [this] { config->doCleanup(); } );
   timeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ( diary.count( chipWrite( 5, 5 ) ), 0u );
   EXPECT_EQ( status->state(), locking_ );
}

TEST_F( Max24305SmInterleavingTest, AnotherConfigurationInsideASleepCountsFromTheNextAttemptOn ) {
   opsAre( { { sleep_, 0, 77'000 }, { write_, 5, 5 }, { read_, 1, 1 } } );
   auto const other = configFactory(
      "ptp1", Fru::GenerationId( 1 ), configOffset, statusOffset, ham, "ptp0Reset", timeSync_, stuffedClock_, 0,
      Fru::SlotId( 0 ), true );
   other->opsToDoEnq( Op( 1, write_, 6, 6 ) );
   chip->readIs( 1, 1 );
   auto const machine = readyMachine();
   status->stateIs( failed_ );
   chip->readsAre( 1, { 0 } );
   diary.take();
   rig.inSleep( 77'000, [&] {
      machine->configIs( other );
      config = nullptr;
   } );
   timeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ( diary.of( { "chip" } ), ( Lines{ chipWrite( 5, 5 ), chipRead( 1, 0 ), chipWrite( 6, 6 ) } ) );
}

// --- machines that go ---

TEST_F( Max24305SmInterleavingTest, DestructionLeavesThePublishedStatesAndNothingElse ) {
   auto machine = readyMachine();
   status->stateIs( locking_ );
   pllStatus->stateIs( ClockStatus::failed_ );
   machine->lockStatusClock()->timeMinIs( rig.clock->now() );
   diary.take();
   machine = nullptr;
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( pllStatus->state(), ClockStatus::failed_ );
   EXPECT_FALSE( rig.turn() );
   EXPECT_EQ( Max24305WithStuffedClockInputSm::staticType().allocated(), 0u );
   EXPECT_EQ( Hardware::KivSpiInterface::staticType().allocated(), 0u );
   Rig::tracesAre( true );
   blink();
   timeSync->stateIs( PtpTimeSync::locked_ );
   config->opsToDoValidIs( false );
   gpoReset->hamIs( nullptr );
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305SmInterleavingTest, TheMachineHoldsWhatItNeeds ) {
   auto machine = readyMachine();
   auto & status0 = *status;
   S32 const held = status0.references();
   machine = nullptr;
   EXPECT_EQ( status0.references(), held - 1 );
   machine = stuffedClockMachine();
   S32 const chipReferences = chip->references();
   ham->hamImplIs( nullptr );
   EXPECT_EQ( chip->references(), chipReferences - 1 );   // the machine and its interface keep theirs
   rig.turns();
   EXPECT_EQ( status->state(), ready_ );
}

struct Drop {
   char const * when;
   State state;
};
class DropTest : public Max24305SmInterleavingTest, public testing::WithParamInterface<Drop> {};

TEST_P( DropTest, ACallbackMayDropTheLastReferenceToTheMachine ) {
   opsAre( { { read_, 1, 1 } } );
   chip->readIs( 1, 1 );
   auto machine = readyMachine();
   pllStatus->stateIs( ClockStatus::notReady_ );
   chip->readsAre( 1, { 0, 1 } );
   diary.take();
   statusWatch->action = [&] {
      if ( status->state() == GetParam().state ) machine = nullptr;
   };
   timeSync->stateIs( PtpTimeSync::enabling_ );
   bool const duringProgramming = GetParam().state != ready_;
   EXPECT_EQ( !machine, duringProgramming );
   EXPECT_EQ( status->state(), locking_ );   // what was under way came to its end
   EXPECT_EQ( diary.count( gpo( true ) ), 2u );
   EXPECT_EQ( rig.turn(), !duringProgramming );
   EXPECT_FALSE( machine );
   EXPECT_EQ( pllStatus->state(), duringProgramming ? ClockStatus::failed_ : ClockStatus::ready_ );
   EXPECT_EQ( Max24305WithStuffedClockInputSm::staticType().allocated(), 0u );
   EXPECT_EQ( Hardware::KivSpiInterface::staticType().allocated(), 0u );
   EXPECT_EQ( Vor::activityManager().nextTime(), never );
}

INSTANTIATE_TEST_SUITE_P(
   States, DropTest,
   testing::Values(
      Drop{ "Reset", uninitialized_ }, Drop{ "Failed", failed_ }, Drop{ "Locking", locking_ },
      Drop{ "Ready", ready_ } ),
   []( auto const & test ) { return std::string( test.param.when ); } );

TEST_F( Max24305SmInterleavingTest, ASleepMayDropTheLastReference ) {
   auto machine = readyMachine();
   status->stateIs( failed_ );
   diary.take();
   rig.inSleep( resetActiveNs, [&] { machine = nullptr; } );
   timeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( Max24305WithStuffedClockInputSm::staticType().allocated(), 0u );
   EXPECT_FALSE( rig.turn() );
}

TEST_F( Max24305SmInterleavingTest, EveryInputsCallbackMayDropIt ) {
   std::function<void()> const changes[] = {
      [this] { timeSync->stateIs( PtpTimeSync::disabled_ ); },
      [this] { config->opsToDoValidIs( false ); },
      [this] { chip->hardwarePresentIs( false ); },
      [this] { gpoReset->hamIs( nullptr ); },
      [this] {
         pllStatus->stateIs( ClockStatus::failed_ );
         timeSync->stateIs( PtpTimeSync::enabling_ );
      },
      [this] {
         redundancy->modeIs( Redundancy::switchover_ );
         status->stateIs( failed_ );
         redundancy->switchoverStageIs( "DovraWritable", true );
      } };
   for ( auto const & change : changes ) {
      chip->hardwarePresentIs( true );
      config->opsToDoValidIs( true );
      gpoReset->hamIs( ham );
      timeSync->stateIs( PtpTimeSync::acquiring_ );
      redundancy->modeIs( Redundancy::standby_ );
      auto machine = readyMachine();
      statusWatch->action = [&] {
         if ( status->state() == uninitialized_ ) machine = nullptr;
      };
      change();
      EXPECT_FALSE( machine );
      EXPECT_EQ( Max24305WithStuffedClockInputSm::staticType().allocated(), 0u );
      statusWatch->action = nullptr;
   }
}

// --- simulated mode ---

TEST_F( Max24305SmInterleavingTest, SimulatedModeNeverLocksByItself ) {
   Rig::simulationVmidIs( "" );
   chip->readIs( 6, 0xEE );   // what the hardware would say does not matter
   chip->readIs( 7, 0x11 );
   opsAre( { { write_, 5, 5 }, { read_, 5, 5 }, { read_, 6, 0 } } );
   auto const machine = stuffedClockMachine();
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( rig.turns(), 101u );
   EXPECT_EQ( status->state(), failed_ );
}

TEST_F( Max24305SmInterleavingTest, SimulatedModeLocksOnceTheSequenceSaysSo ) {
   Rig::simulationVmidIs( "" );
   opsAre( { { write_, 7, 0x11 } } );
   auto const machine = stuffedClockMachine();
   EXPECT_EQ( rig.turns(), 1u );
   EXPECT_EQ( status->state(), ready_ );
   EXPECT_EQ( pllStatus->state(), ClockStatus::ready_ );
}

TEST_F( Max24305SmInterleavingTest, SimulatedRegistersSurviveTheChipsReset ) {
   Rig::simulationVmidIs( "" );
   opsAre( { { write_, 7, 0x11 } } );
   auto const machine = stuffedClockMachine();
   config->opsToDoDelAll();
   timeSync->stateIs( PtpTimeSync::locked_ );   // locking: programs again, now without the write
   EXPECT_EQ( rig.turns(), 1u );
   EXPECT_EQ( status->state(), ready_ );
}

}   // namespace
}   // namespace SmTest::Interleaving
