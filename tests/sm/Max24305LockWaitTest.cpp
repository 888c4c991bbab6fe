// The lock wait: polls, a second apart, until both APLLs are locked or the hundred-and-first poll says no.
#include "framework/ActivityManager.h"
#include "tests/sm/Max24305Rig.h"

#include <limits>

namespace SmTest::LockWait {
namespace {

using namespace Hardware::Max24305;

constexpr double never = std::numeric_limits<double>::infinity();
constexpr char const * waiting = "void Hardware::Max24305Sm::doWaitForLock()";

std::string const pollTrace = trace( 1, "doWaitForLock", waiting );
std::string apllStatus( std::string const & hex ) { return trace( 0, "doWaitForLock", "APLL status = 0x" + hex ); }
std::string const success = trace( 1, "doWaitForLock", "Success. Output clock frequency ( in Hz ) = 10000000" );
std::string const noLock = trace( 1, "doWaitForLock", "Could not get APLL lock. FAILED" );

// A machine whose chip was programmed and is locking.
class Max24305LockWaitTest : public Max24305World {
 protected:
   Max24305LockWaitTest() { diary.take(); }
   double timeMin() const { return machine->lockStatusClock()->timeMin(); }

   Vor::Ptr<Max24305Sm> const machine = stuffedClockMachine();
};
class Max24305LockWaitDeathTest : public Max24305LockWaitTest {};

TEST_F( Max24305LockWaitTest, ALockAtTheFirstPoll ) {
   chip->readIs( 7, 0x11 );
   EXPECT_TRUE( rig.turn() );
   EXPECT_EQ(
      diary.take(), ( Lines{
                       pollTrace, chipRead( 7, 0x11 ), apllStatus( "11" ), frequencyRead, success,
                       told( "status", "ready" ), told( "clock", "ready" ) } ) );
   EXPECT_EQ( machine->lockPollCount(), 1u );
   EXPECT_EQ( timeMin(), never );
   EXPECT_FALSE( rig.turn() );
}

TEST_F( Max24305LockWaitTest, OtherBitsDoNotMatter ) {
   chip->readIs( 7, 0x33 );
   rig.turn();
   EXPECT_EQ( diary.lines()[2], apllStatus( "33" ) );
   EXPECT_EQ( status->state(), ready_ );
}

TEST_F( Max24305LockWaitTest, OneApllIsNotEnough ) {
   for ( U8 const byte : { 0x01, 0x10, 0xEE, 0x00 } ) {
      chip->readIs( 7, byte );
      EXPECT_TRUE( rig.turn() );
      EXPECT_EQ( takeDeeds(), Lines{ chipRead( 7, byte ) } );
   }
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( pllStatus->state(), ClockStatus::notReady_ );
}

TEST_F( Max24305LockWaitTest, TheStatusIsTracedWithoutPadding ) {
   chip->readsAre( 7, { 0x01, 0xEE } );
   rig.turn();
   EXPECT_EQ( diary.take(), ( Lines{ pollTrace, chipRead( 7, 1 ), apllStatus( "1" ) } ) );
   rig.turn();
   EXPECT_EQ( diary.take(), ( Lines{ pollTrace, chipRead( 7, 0xEE ), apllStatus( "ee" ) } ) );
}

TEST_F( Max24305LockWaitTest, AReadThatIsNotAnsweredCountsAsLocked ) {
   chip->deadReadsAre( 1 );
   rig.turn();
   EXPECT_EQ( diary.lines()[2], apllStatus( "ff" ) );
   EXPECT_EQ( status->state(), ready_ );
   EXPECT_EQ( pllStatus->state(), ClockStatus::ready_ );
}

TEST_F( Max24305LockWaitTest, TheFirstPollIsDueAtOnceTheNextASecondAfterTheLastOneEnded ) {
   U64 const programmed = rig.clock->nowNs();
   EXPECT_EQ( timeMin(), rig.clock->now() );
   rig.turn();
   EXPECT_EQ( rig.clock->nowNs(), programmed + 1'000 );   // the poll of the master is part of the poll of the chip
   EXPECT_EQ( timeMin(), rig.clock->now() + 1.0 );
   rig.clock->nowNsIs( programmed + 3'700'000'000 );   // the loop comes back late
   Vor::activityManager().turn();
   EXPECT_EQ( machine->lockPollCount(), 2u );
   EXPECT_EQ( timeMin(), rig.clock->now() + 1.0 );
}

TEST_F( Max24305LockWaitTest, ATurnBeforeTheSecondIsOverPollsNothing ) {
   rig.turn();
   rig.clock->nowNsIs( rig.clock->nowNs() + 999'000'000 );
   diary.take();
   Vor::activityManager().turn();
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305LockWaitTest, TheHundredAndFirstPollIsTheLast ) {
   U64 const programmed = rig.clock->nowNs();
   EXPECT_EQ( rig.turns( 100 ), 100u );
   EXPECT_EQ( takeDeeds(), times( 100, { chipRead( 7, 0 ) } ) );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( machine->lockPollCount(), 100u );
   EXPECT_TRUE( rig.turn() );
   EXPECT_EQ(
      diary.take(), ( Lines{
                       pollTrace, chipRead( 7, 0 ), apllStatus( "0" ), initFailed, told( "status", "failed" ),
                       told( "clock", "failed" ), noLock } ) );
   EXPECT_EQ( timeMin(), never );
   EXPECT_FALSE( rig.turn() );
   EXPECT_EQ( machine->lockPollCount(), 101u );
   EXPECT_EQ( ( rig.clock->nowNs() - programmed ) / 1'000'000, 100'000u );
}

TEST_F( Max24305LockWaitTest, ALockAtTheHundredAndFirstPollIsALock ) {
   rig.turns( 100 );
   chip->readIs( 7, 0x11 );
   rig.turn();
   EXPECT_EQ( status->state(), ready_ );
   EXPECT_EQ( diary.count( initFailed ), 0u );
}

TEST_F( Max24305LockWaitTest, SuccessDisarmsBeforeItReadsTheFrequencyAndPublishes ) {
   chip->readIs( 7, 0x11 );
   std::vector<double> armed;
   statusWatch->action = [&] { armed.push_back( timeMin() ); };
   // Armed again from within a callback, the timer stays so: nothing disarms it afterwards.
   pllWatch->action = [&] { machine->lockStatusClock()->timeMinIs( 1'000.0 ); };
   machine->lockStatusClock()->timeMinIs( 500.0 );
   machine->doWaitForLock();
   EXPECT_EQ( armed, std::vector<double>{ never } );
   EXPECT_EQ( timeMin(), 1'000.0 );
}

TEST_F( Max24305LockWaitTest, FailureDisarmsAfterItPublished ) {
   machine->lockPollCountIs( 100 );
   machine->lockStatusClock()->timeMinIs( 500.0 );
   std::vector<double> armed;
   statusWatch->action = pllWatch->action = [&] { armed.push_back( timeMin() ); };
   machine->doWaitForLock();
   EXPECT_EQ( armed, ( std::vector<double>{ 500.0, 500.0 } ) );
   EXPECT_EQ( timeMin(), never );
}

TEST_F( Max24305LockWaitTest, ExpiryInAnyOtherStateDoesNothingAtAll ) {
   chip->readIs( 7, 0x11 );
   for ( State const state : { uninitialized_, ready_, failed_, static_cast<State>( 9 ) } ) {
      status->stateIs( state );
      machine->lockStatusClock()->timeMinIs( rig.clock->now() );
      timeSync->stateIs( PtpTimeSync::acquiring_ );
      diary.take();
      Vor::activityManager().turn();
      EXPECT_EQ( diary.take(), Lines{} );
      EXPECT_EQ( timeMin(), never );
      EXPECT_EQ( machine->lockPollCount(), 0u );
   }
}

TEST_F( Max24305LockWaitTest, WithoutAnInterfaceOrBeforeInitializingNothingIsPolled ) {
   machine->initializedIs( false );
   machine->doWaitForLock();
   machine->initializedIs( true );
   machine->kivSpiIntfDel();
   machine->doWaitForLock();
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( machine->lockPollCount(), 0u );
}

TEST_F( Max24305LockWaitDeathTest, DisabledTimeSyncStopsTheProcessBeforeAnythingElse ) {
   timeSync->stateIs( PtpTimeSync::disabled_ );
   status->stateIs( locking_ );   // someone else's doing: the gate had set it to 0
   diary.take();
   EXPECT_DEATH(
      machine->doWaitForLock(),
      testing::AllOf(
         assertionOf( waiting, "timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_" ),
         testing::Not( testing::HasSubstr( pollTrace ) ) ) );
}

TEST_F( Max24305LockWaitTest, LevelsAreSwitchedOneByOne ) {
   Vor::traceLevelIs( "Hardware::Max24305Sm", 1, false );
   rig.turn();
   EXPECT_EQ( takeTraces(), Lines{ apllStatus( "0" ) } );
}

// --- the time ---

TEST_F( Max24305LockWaitTest, TheTimerStaysWithItsWheelAfterTheMachineHasDroppedIt ) {
   machine->timerWheelDel();
   EXPECT_TRUE( rig.turn() );
   EXPECT_EQ( timeMin(), rig.clock->now() + 1.0 );
   chip->readIs( 7, 0x11 );
   EXPECT_TRUE( rig.turn() );
   EXPECT_EQ( status->state(), ready_ );
}

TEST_F( Max24305LockWaitTest, NowIsTheActivityManagersTimeWhateverClockTheWheelHas ) {
   Vor::Ptr<Sim::VirtualClock> const other = new Sim::VirtualClock;
   other->nowNsIs( 5'000'000'000'000 );
   machine->timerWheelIs( other, 100, 3000, true, 1024 );
   machine->doWaitForLock();
   EXPECT_EQ( timeMin(), rig.clock->now() + 1.0 );
   machine->handleEnvironmentChanges();   // programs the chip anew
   EXPECT_EQ( timeMin(), rig.clock->now() );
}

}   // namespace
}   // namespace SmTest::LockWait
