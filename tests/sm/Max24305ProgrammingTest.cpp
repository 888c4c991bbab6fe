// Programming: the reset pulse, the master's clean-up, the operations, and what follows a failure.
#include "framework/ActivityManager.h"
#include "tests/sm/Max24305Rig.h"

#include <algorithm>

namespace SmTest::Programming {
namespace {

using namespace Hardware::Max24305;

constexpr char const * programming = "void Hardware::Max24305Sm::doProgramMax24305()";

std::string const retrying = trace( 1, "doProgramMax24305", "Max24305 Programming sequence failed. Retrying." );
std::string written( std::string const & text ) { return trace( 1, "doProgramMax24305", "Write " + text ); }
std::string verified( std::string const & text ) { return trace( 1, "doProgramMax24305", "Verify Read " + text ); }
std::string incorrect( std::string const & text ) {
   return trace( 1, "doProgramMax24305", "Value read incorrect " + text );
}
Lines const locking{ told( "status", "locking" ) };

// A machine that programs when the test calls it, so that the gate's own steps stay out of the diary.
class Max24305ProgrammingTest : public Max24305World {
 protected:
   Max24305ProgrammingTest() {
      machine->handleInitialized();
      machine->initializedIs( true );
      machine->hasNotificationActiveIs( false );
      diary.take();
   }
   Lines program() {
      machine->doProgramMax24305();
      return diary.take();
   }
   void publish( State state, ClockStatus::State clock ) {
      status->stateIs( state );
      pllStatus->stateIs( clock );
      diary.take();
   }
   Vor::Ptr<Max24305Sm> const machine = bareMachine();
};
class Max24305ProgrammingDeathTest : public Max24305ProgrammingTest {};

// --- the first steps, in their order ---

TEST_F( Max24305ProgrammingTest, BothRecordsReadyMeansProgrammed ) {
   publish( ready_, ClockStatus::ready_ );
   EXPECT_EQ( program(), ( Lines{ programmingTrace, alreadyProgrammed } ) );
   EXPECT_EQ( gpoReset->fetched(), 0u );
}

TEST_F( Max24305ProgrammingTest, OneRecordReadyDoesNot ) {
   publish( ready_, ClockStatus::failed_ );
   EXPECT_EQ(
      program(), ( Lines{ programmingTrace, told( "status", "uninitialized" ), told( "clock", "notReady" ) } +
                   attemptStart() + locking ) );
   publish( failed_, ClockStatus::ready_ );
   EXPECT_EQ(
      program(), ( Lines{ programmingTrace, told( "status", "uninitialized" ), told( "clock", "notReady" ) } +
                   attemptStart() + locking ) );
}

TEST_F( Max24305ProgrammingTest, AReadyChipIsFoundBeforeTheSwitchoverIsLookedAt ) {
   redundancy->modeIs( Redundancy::switchover_ );
   publish( ready_, ClockStatus::ready_ );
   EXPECT_EQ( program(), ( Lines{ programmingTrace, alreadyProgrammed } ) );
}

TEST_F( Max24305ProgrammingTest, InASwitchoverTheChipWaitsAndItsStatesStay ) {
   redundancy->modeIs( Redundancy::switchover_ );
   publish( failed_, ClockStatus::failed_ );
   EXPECT_EQ( program(), ( Lines{ programmingTrace, switchoverWait } ) );   // the stage was not named yet
   redundancy->switchoverStageIs( "Other", true );
   EXPECT_EQ( program(), ( Lines{ programmingTrace, switchoverWait } ) );
   redundancy->switchoverStageIs( "DovraWritable", false );
   EXPECT_EQ( program(), ( Lines{ programmingTrace, switchoverWait } ) );
   EXPECT_EQ( redundancy->switchoverStage().count(), 2u );
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ( program().back(), locking.front() );
   redundancy->switchoverStageDel( "DovraWritable" );
   EXPECT_EQ( program().back(), switchoverWait );
}

TEST_F( Max24305ProgrammingTest, InNoOtherModeIsTheStageAskedFor ) {
   for ( U32 const mode : { 0u, 1u, 2u, 3u, 5u, 6u } ) {
      SCOPED_TRACE( mode );
      redundancy->modeIs( static_cast<Redundancy::RedundancyMode>( mode ) );
      redundancy->switchoverStageIs( "DovraWritable", false );
      EXPECT_EQ( program().back(), locking.front() );
   }
}

TEST_F( Max24305ProgrammingTest, TheSwitchoverGuardComesBeforeTheAssertions ) {
   redundancy->modeIs( Redundancy::switchover_ );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_EQ( program(), ( Lines{ programmingTrace, switchoverWait } ) );
}

TEST_F( Max24305ProgrammingDeathTest, DisabledTimeSyncStopsTheProcessAfterTheStatesWereReset ) {
   publish( failed_, ClockStatus::failed_ );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_DEATH(
      program(), assertionOf(
                    programming, "timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_",
                    { programmingTrace, told( "status", "uninitialized" ), told( "clock", "notReady" ) } ) );
}

TEST_F( Max24305ProgrammingDeathTest, AMissingOutputStopsTheProcessAfterTheStatesWereReset ) {
   auto const without = Max24305Sm::Max24305SmIs( redundancy, config, status, pllStatus, timeSync, nullptr );
   without->hasNotificationActiveIs( false );
   without->initializedIs( true );
   publish( failed_, ClockStatus::failed_ );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_DEATH(
      without->doProgramMax24305(),
      assertionOf( programming, "resetGpo()", { told( "status", "uninitialized" ), told( "clock", "notReady" ) } ) );
}

// --- an attempt ---

TEST_F( Max24305ProgrammingTest, AnEmptyQueueGoesStraightToLocking ) {
   machine->lockPollCountIs( 42 );
   rig.clock->nowNsIs( 5'000'000'000 );
   EXPECT_EQ( program(), Lines{ programmingTrace } + attemptStart() + locking );
   EXPECT_EQ( machine->lockPollCount(), 0u );
   EXPECT_EQ( rig.clock->nowNs(), 6'310'000'000u );
   EXPECT_EQ( machine->lockStatusClock()->timeMin(), rig.clock->now() );
   EXPECT_EQ( pllStatus->state(), ClockStatus::notReady_ );
}

TEST_F( Max24305ProgrammingTest, TheTimerFiresAtTheNextTurnNeverInsideTheSetter ) {
   machine->hasNotificationActiveIs( true );
   EXPECT_EQ( program().back(), locking.front() );
   EXPECT_EQ( Vor::activityManager().nextTime(), rig.clock->now() );
   Vor::activityManager().turn();
   EXPECT_EQ( diary.count( chipRead( 7, 0 ) ), 1u );
}

TEST_F( Max24305ProgrammingTest, WithoutTheMastersResetAnAttemptSkipsIt ) {
   machine->kivSpiIntfIs( configOffset, chip, false );
   EXPECT_EQ(
      program(), ( Lines{
                    programmingTrace, gpo( true ), sleep( 300'000'000 ), gpo( false ), sleep( 500'000'000 ), spiClose,
                    sleep( 500'000'000 ), told( "status", "locking" ) } ) );
}

TEST_F( Max24305ProgrammingTest, WriteAndReadBack ) {
   opsAre( { { write_, 16, 60 }, { read_, 16, 60 } } );
   EXPECT_EQ(
      program(), ( Lines{ programmingTrace } + attemptStart() +
                   Lines{
                      written( "0x3c to 0x10." ), chipWrite( 0x10, 0x3c ),      // traced before it is written
                      chipRead( 0x10, 0x3c ), verified( "0x3c at 0x10." ) } +   // traced after it was read
                   locking ) );
}

TEST_F( Max24305ProgrammingTest, OperationsRunInTheQueuesOrderNotTheKeys ) {
   config->opsToDoEnq( Op( 9, write_, 9, 9 ) );
   config->opsToDoEnq( Op( 1, write_, 1, 1 ) );
   config->opsToDoIs( 7, Op( 0, write_, 7, 7 ) );
   config->opsToDoIs( 1, Op( 3, write_, 3, 3 ) );
   machine->doProgramMax24305();
   EXPECT_EQ( diary.of( { "chip" } ), ( Lines{ chipWrite( 9, 9 ), chipWrite( 3, 3 ), chipWrite( 7, 7 ) } ) );
}

TEST_F( Max24305ProgrammingTest, TheQueueIsWalkedNotConsumed ) {
   opsAre( { { write_, 1, 1 }, { write_, 2, 2 } } );
   for ( U32 run = 0; run < 2; ++run ) {
      machine->doProgramMax24305();
      EXPECT_EQ( diary.of( { "chip" } ), ( Lines{ chipWrite( 1, 1 ), chipWrite( 2, 2 ) } ) );
      diary.take();
   }
   EXPECT_EQ( config->opsToDo().count(), 2u );
}

TEST_F( Max24305ProgrammingTest, AddressesAndValuesAreCutForTheBusAndWholeInTheTraces ) {
   opsAre( { { write_, 0x12345, 0x1ff } } );
   chip->readIs( 0x2345, 0 );
   EXPECT_EQ(
      program(), ( Lines{ programmingTrace } + attemptStart() +
                   Lines{ written( "0x1ff to 0x12345." ), chipWrite( 0x2345, 0xff ) } + locking ) );
}

TEST_F( Max24305ProgrammingTest, AnExpectedValueAbove255NeverMatches ) {
   opsAre( { { read_, 0x12345, 0x13c } } );
   chip->readIs( 0x2345, 0x3c );
   Lines const lines = program();
   EXPECT_EQ( std::count( lines.begin(), lines.end(), verified( "0x13c at 0x12345." ) ), 10 );
   EXPECT_EQ( std::count( lines.begin(), lines.end(), incorrect( "0x3c" ) ), 10 );
   EXPECT_EQ( lines.back(), initFailed );
}

TEST_F( Max24305ProgrammingTest, ADeadReadMatchesAnExpected255 ) {
   opsAre( { { read_, 1, 0xFF } } );
   chip->deadReadsAre( 1 );
   EXPECT_EQ( program().back(), locking.front() );
}

TEST_F( Max24305ProgrammingTest, Sleeps ) {
   opsAre( { { sleep_, 99, 0 }, { sleep_, 0, 1'500'000'000 }, { sleep_, 0, 4'294'967'295 } } );
   rig.clock->nowNsIs( 0 );
   EXPECT_EQ(
      program(), ( Lines{ programmingTrace } + attemptStart() +
                   Lines{ sleep( 0 ), sleep( 1'500'000'000 ), sleep( 4'294'967'295 ) } + locking ) );
}

// --- failure ---

TEST_F( Max24305ProgrammingTest, AWrongValueFailsTheAttemptAndTheNextOneBeginsWithTheReset ) {
   opsAre( { { read_, 16, 0x3c }, { write_, 17, 1 } } );
   chip->readsAre( 16, { 0x3d, 0x3c } );
   EXPECT_EQ(
      program(),
      ( Lines{ programmingTrace } + attemptStart() +
        Lines{
           chipRead( 16, 0x3d ), verified( "0x3c at 0x10." ), incorrect( "0x3d" ), told( "status", "failed" ),
           told( "clock", "failed" ), retrying, sleep( 1'000'000'000 ) } +
        attemptStart() +
        Lines{ chipRead( 16, 0x3c ), verified( "0x3c at 0x10." ), written( "0x1 to 0x11." ), chipWrite( 17, 1 ) } +
        locking ) );
   EXPECT_EQ( pllStatus->state(), ClockStatus::failed_ );   // until the lock wait knows better
}

TEST_F( Max24305ProgrammingTest, AWriteThatDoesNotLeaveTheFifoFailsTheAttempt ) {
   opsAre( { { write_, 1, 1 }, { write_, 2, 2 } } );
   chip->stuckWritesAre( 1 );
   EXPECT_EQ(
      program(),
      ( Lines{ programmingTrace } + attemptStart() +
        Lines{
           written( "0x1 to 0x1." ), chipWrite( 1, 1 ),
           trace( 1, "doWrite", "SPI ERROR: Write failed. Write FIFO count = \x04" ), told( "status", "failed" ),
           told( "clock", "failed" ), retrying, sleep( 1'000'000'000 ), gpo( true ), sleep( 300'000'000 ), gpo( false ),
           sleep( 500'000'000 ), spiClose, sleep( 500'000'000 ), spiReset( 1 ), sleep( 5'000'000 ), spiReset( 0 ),
           sleep( 5'000'000 ) } +
        Lines{ written( "0x1 to 0x1." ), chipWrite( 1, 1 ), written( "0x2 to 0x2." ), chipWrite( 2, 2 ) } + locking ) );
}

TEST_F( Max24305ProgrammingTest, TenAttemptsThenTheLog ) {
   opsAre( { { read_, 1, 1 } } );
   chip->readIs( 1, 0xAB );
   Lines const tried{ chipRead( 1, 0xAB ), verified( "0x1 at 0x1." ), incorrect( "0xab" ) };
   Lines const failed{ retrying, sleep( 1'000'000'000 ) };
   EXPECT_EQ(
      program(), ( Lines{ programmingTrace } + attemptStart() + tried +
                   Lines{ told( "status", "failed" ), told( "clock", "failed" ) } + failed +
                   times( 9, attemptStart() + tried + failed ) + Lines{ initFailed } ) );
   EXPECT_EQ( status->state(), failed_ );
   EXPECT_EQ( pllStatus->state(), ClockStatus::failed_ );
   EXPECT_EQ( rig.clock->nowNs() / 1'000'000, 23'100u );   // 10 x 2.31 s, and the polls
   EXPECT_FALSE( rig.turn() );                             // no timer was armed
}

TEST_F( Max24305ProgrammingTest, TheMessageAsItIsDeclared ) {
   auto const handles = Vor::logHandles();
   auto const found = std::find_if(
      handles.begin(), handles.end(), []( auto const * handle ) { return handle->id() == "MAX24305_INIT_FAILED"; } );
   ASSERT_NE( found, handles.end() );
   Vor::LogHandle const & message = **found;
   EXPECT_EQ( message.severity(), 3u );
   EXPECT_EQ( message.cause(), "Possible hardware error with the Max24305 chip." );
   EXPECT_EQ( message.event(), "Initialization of the Max24305 chip has failed." );
   EXPECT_EQ( message.recommendedAction(), Vor::CallSupportIfPersists );
   EXPECT_EQ( message.intervalSeconds(), 0.0 );
   EXPECT_EQ( message.burst(), 1.0 );
   EXPECT_FALSE( message.once() );
}

TEST_F( Max24305ProgrammingTest, TheTenthAttemptMaySucceed ) {
   opsAre( { { read_, 1, 1 } } );
   chip->readsAre( 1, { 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 } );
   EXPECT_EQ( program().back(), locking.front() );
   EXPECT_EQ( gpoReset->fetched(), 20u );
}

TEST_F( Max24305ProgrammingTest, StatesAreResetOncePerCallNotBetweenAttempts ) {
   opsAre( { { read_, 1, 1 } } );
   chip->readsAre( 1, { 0, 0, 1 } );
   publish( ready_, ClockStatus::failed_ );
   machine->doProgramMax24305();
   EXPECT_EQ(
      diary.of( { "status", "clock" } ),
      ( Lines{
         told( "status", "uninitialized" ), told( "clock", "notReady" ), told( "status", "failed" ),
         told( "clock", "failed" ), told( "status", "locking" ) } ) );
}

TEST_F( Max24305ProgrammingTest, EachCallHasTenAttemptsOfItsOwn ) {
   opsAre( { { read_, 1, 1 } } );
   chip->readIs( 1, 0 );
   for ( U32 call = 0; call < 2; ++call ) {
      machine->doProgramMax24305();
      EXPECT_EQ( diary.count( gpo( true ) ), 10u );
      EXPECT_EQ( diary.take().back(), initFailed );
   }
}

// --- operations that cannot be run ---

TEST_F( Max24305ProgrammingDeathTest, AnUnknownOperationStopsTheProcessAfterThoseBeforeItRan ) {
   opsAre( { { write_, 1, 1 }, { unknownOp_, 0, 0 }, { write_, 2, 2 } } );
   EXPECT_DEATH( program(), assertionOf( programming, "0", { written( "0x1 to 0x1." ), chipWrite( 1, 1 ) } ) );
}

TEST_F( Max24305ProgrammingDeathTest, SoDoesATypeBeyondTheKnownOnes ) {
   opsAre( { { 4, 0, 0 } } );
   EXPECT_DEATH( program(), assertionOf( programming, "0", attemptStart() ) );
}

TEST_F( Max24305ProgrammingTest, AnUnknownOperationBehindAFailedOneIsNotReached ) {
   opsAre( { { read_, 1, 1 }, { unknownOp_, 0, 0 } } );
   chip->readIs( 1, 0 );
   EXPECT_EQ( program().back(), initFailed );
}

// --- the queue changes meanwhile ---

TEST_F( Max24305ProgrammingTest, OperationsAppendedDuringASleepAreRun ) {
   opsAre( { { sleep_, 0, 77'000 } } );
   rig.inSleep( 77'000, [this] { opsAre( { { write_, 5, 5 } } ); } );
   machine->doProgramMax24305();
   EXPECT_EQ( diary.of( { "chip" } ), Lines{ chipWrite( 5, 5 ) } );
}

TEST_F( Max24305ProgrammingTest, AQueueEmptiedDuringASleepIsDone ) {
   opsAre( { { sleep_, 0, 77'000 }, { write_, 5, 5 } } );
   rig.inSleep( 77'000, [this] { config->opsToDoDelAll(); } );
   EXPECT_EQ( program().back(), locking.front() );
}

TEST_F( Max24305ProgrammingTest, WithoutTracesTheSameIsDone ) {
   opsAre( { { read_, 1, 1 }, { write_, 2, 2 } } );
   chip->readsAre( 1, { 0, 1 } );
   Rig::tracesAre( false );
   EXPECT_EQ(
      program(), ( attemptStart() + Lines{ chipRead( 1, 0 ) } + attemptFailed() + attemptStart() +
                   Lines{ chipRead( 1, 1 ), chipWrite( 2, 2 ) } + locking ) );
}

}   // namespace
}   // namespace SmTest::Programming
