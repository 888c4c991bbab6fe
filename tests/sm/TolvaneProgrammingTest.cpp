#include "framework/Reflection.h"
#include "tests/sm/TolvaneRig.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace SmTest::TolvaneProgramming {
namespace {

using namespace Hardware::Tolvane;

class TolvaneProgrammingTest : public TolvaneWorld {
 protected:
   TolvaneProgrammingTest() {
      handle->hardwarePresentIs( false );
      made = machine();
      diary.take();
   }

   // Opens the gate.
   Lines bringUp() {
      handle->hardwarePresentIs( true );
      return diary.take();
   }
   static Lines begun() { return { gateTrace, programTrace }; }
   static Lines attemptFailed( U32 found, U32 readBack, bool told_ ) {
      return attempt( found, readBack ) + ( told_ ? Lines{ told( "tolvane", "failed" ) } : Lines{} ) +
             Lines{ retryTrace };
   }
   static Lines allFailed() {
      return attemptFailed( 0, 0, true ) + times( 4, attemptFailed( 0, 0, false ) ) + Lines{ initFailedLog };
   }

   Vor::Ptr<TolvaneSm> made;
};

// One attempt.

TEST_F( TolvaneProgrammingTest, ResetsEnablesAndChecksTheChip ) {
   answersAre( { 0, 3 } );
   EXPECT_EQ(
      bringUp(), ( Lines{
                    gateTrace, programTrace, "gpo reset on", "sleep 100000000", "gpo reset off", "sleep 200000000",
                    "read32 0x3000 gives 0x0", "write32 0x3000 0x2", "sleep 500000000", "read32 0x3000 gives 0x3",
                    "tolvane ready" } ) );
   EXPECT_EQ( rig.clock->nowNs(), 800'000'000u );
   EXPECT_EQ( rig.turns(), 0u );
}

TEST_F( TolvaneProgrammingTest, FetchesTheOutputsImplementationForEachEdge ) {
   answersAre( { 0, 3 } );
   bringUp();
   EXPECT_EQ( gpoReset->fetched(), 2u );
}

TEST_F( TolvaneProgrammingTest, EnablingKeepsAllOtherBits ) {
   struct Words {
      U32 found, written;
   };
   for ( auto const & [found, written] :
         { Words{ 0, 2 }, Words{ 1, 3 }, Words{ 2, 2 }, Words{ 3, 3 }, Words{ 4, 6 }, Words{ 0x80000001, 0x80000003 },
           Words{ 0xFFFFFFFC, 0xFFFFFFFE }, Words{ 0xFFFFFFFD, 0xFFFFFFFF }, Words{ 0xFFFFFFFF, 0xFFFFFFFF },
           Words{ 0xA5A5A5A4, 0xA5A5A5A6 } } ) {
      answersAre( { found, 2 } );
      Lines const lines = bringUp();
      EXPECT_THAT( lines, testing::Contains( write32( tolvaneOffset, written ) ) ) << found;
      EXPECT_EQ( lines.back(), "tolvane ready" );
      handle->hardwarePresentIs( false );
   }
}

TEST_F( TolvaneProgrammingTest, EitherOfTheTwoLowBitsReadBackIsSuccess ) {
   for ( U32 const readBack : { 1u, 2u, 3u, 0xFFFFFFFFu, 0xFFFFFFFDu, 0xFFFFFFFEu } ) {
      answersAre( { 0, readBack } );
      EXPECT_EQ( bringUp(), begun() + attempt( 0, readBack ) + Lines{ told( "tolvane", "ready" ) } ) << readBack;
      handle->hardwarePresentIs( false );
      diary.take();
   }
}

TEST_F( TolvaneProgrammingTest, NoOtherBitReadBackIsSuccess ) {
   for ( U32 const readBack : { 0u, 4u, 0x80000000u, 0xFFFFFFFCu } ) {
      answersAre( { 3, readBack, 0, 3 } );
      EXPECT_EQ(
         bringUp(),
         begun() + attemptFailed( 3, readBack, true ) + attempt( 0, 3 ) + Lines{ told( "tolvane", "ready" ) } )
         << readBack;
      handle->hardwarePresentIs( false );
      diary.take();
   }
}

TEST_F( TolvaneProgrammingTest, TheRegisterStandsAtTheConfiguredOffset ) {
   for ( U32 const offset : { 0u, 0x12345678u, 0xFFFFFFFCu } ) {
      config = configFactory( "osc1", Fru::GenerationId( 1 ), offset, ham, "osc1Reset", timeSync_, Fru::SlotId( 3 ) );
      handle->hardwarePresentIs( false );
      made = machine();
      diary.take();
      handle->answersAre( offset, { 0x50, 0x53 } );
      EXPECT_EQ( bringUp(), begun() + attempt( 0x50, 0x53, offset ) + Lines{ told( "tolvane", "ready" ) } );
   }
}

// Failed attempts.

TEST_F( TolvaneProgrammingTest, AChipThatNeverAnswersIsTriedFiveTimesWithoutAPauseAndReportedLast ) {
   answersAre( std::vector<U32>( 10, 0 ) );
   EXPECT_EQ( bringUp(), begun() + allFailed() );
   EXPECT_EQ( rig.clock->nowNs(), 4'000'000'000u );
   EXPECT_EQ( gpoReset->fetched(), 10u );
   EXPECT_EQ( status->state(), failed_ );
   EXPECT_EQ( rig.turns(), 0u );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( TolvaneProgrammingTest, AFailedChipIsTriedFiveTimesMoreWhenItsInputsChange ) {
   handle->answerIs( tolvaneOffset, 0 );
   bringUp();
   gpoReset->hamIs( otherGpoHam );
   EXPECT_EQ( diary.take(), begun() + Lines{ told( "tolvane", "uninitialized" ) } + allFailed() );
   made->doProgramTolvane();
   EXPECT_EQ( diary.take(), Lines{ programTrace } + Lines{ told( "tolvane", "uninitialized" ) } + allFailed() );
   handle->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

TEST_F( TolvaneProgrammingTest, TheThirdAttemptMaySucceed ) {
   answersAre( { 0, 0, 8, 4, 0x10, 1 } );
   EXPECT_EQ(
      bringUp(), begun() + attemptFailed( 0, 0, true ) + attemptFailed( 8, 4, false ) + attempt( 0x10, 1 ) +
                    Lines{ told( "tolvane", "ready" ) } );
}

TEST_F( TolvaneProgrammingTest, TheFifthAttemptMaySucceedWithoutALoggedMessage ) {
   answersAre( { 0, 0, 0, 0, 0, 0, 0, 0, 0, 3 } );
   EXPECT_EQ(
      bringUp(), begun() + attemptFailed( 0, 0, true ) + times( 3, attemptFailed( 0, 0, false ) ) + attempt( 0, 3 ) +
                    Lines{ told( "tolvane", "ready" ) } );
}

TEST_F( TolvaneProgrammingTest, TheAttemptsLeftAreCountedDownAfterTheFailureWasPublished ) {
   Vor::Reflected const reflected{ Vor::Ptr<Vor::PtrInterface>( made ) };
   auto const left = [&] { return std::get<U64>( reflected.get( "numRetries" ) ); };
   std::vector<U64> seen;
   EXPECT_EQ( left(), 5u );
   for ( int i = 0; i < 5; ++i ) rig.inSleep( 500'000'000, [&] { seen.push_back( left() ); } );
   statusWatch->action = [&] { seen.push_back( 100 + left() ); };
   handle->answerIs( tolvaneOffset, 0 );
   bringUp();
   EXPECT_THAT( seen, testing::ElementsAre( 5, 105, 4, 3, 2, 1 ) );
   EXPECT_EQ( left(), 0u );
}

TEST_F( TolvaneProgrammingTest, FailuresAreSilentOnlyInTheTracesWhileThoseAreOff ) {
   Rig::tracesAre( false );
   handle->answerIs( tolvaneOffset, 0 );
   EXPECT_EQ(
      bringUp(),
      attempt( 0, 0 ) + Lines{ told( "tolvane", "failed" ) } + times( 4, attempt( 0, 0 ) ) + Lines{ initFailedLog } );
}

TEST( TolvaneInitFailedTest, TheMessageIsDeclaredAtLoad ) {
   auto const handles = Vor::logHandles();
   auto const found = std::find_if(
      handles.begin(), handles.end(), []( auto const * handle ) { return handle->id() == "TOLVANE_INIT_FAILED"; } );
   ASSERT_NE( found, handles.end() );
   Vor::LogHandle const & message = **found;
   EXPECT_EQ( message.severity(), 3u );
   EXPECT_EQ( message.cause(), "Possible hardware error with the Tolvane chip." );
   EXPECT_EQ( message.event(), "Initialization of the Tolvane chip has failed." );
   EXPECT_EQ( message.recommendedAction(), Vor::CallSupportIfPersists );
   EXPECT_EQ( message.intervalSeconds(), 0.0 );
   EXPECT_EQ( message.burst(), 1.0 );
   EXPECT_FALSE( message.once() );
   EXPECT_TRUE( Vor::okToLog( message.id() ) );
}

// Changes during a run.

TEST_F( TolvaneProgrammingTest, ARunWithinARunLeavesTheOuterItsFiveAttempts ) {
   // The inner run succeeds within the first attempt of the outer, which then fails five times.
   answersAre( { 0, 3 } );
   handle->answerIs( tolvaneOffset, 0 );
   rig.inSleep( 100'000'000, [this] {
      handle->hardwarePresentIs( false );
      handle->hardwarePresentIs( true );
   } );
   Lines const outer = attemptFailed( 0, 0, true );
   Lines const before( outer.begin(), outer.begin() + 2 );
   Lines const inner = Lines{ gateTrace } + begun() + attempt( 0, 3 ) + Lines{ told( "tolvane", "ready" ) };
   Lines const after( outer.begin() + 2, outer.end() );
   EXPECT_EQ(
      bringUp(), begun() + before + inner + after + times( 4, attemptFailed( 0, 0, false ) ) + Lines{ initFailedLog } );
}

TEST_F( TolvaneProgrammingTest, AFailedRunWithinARunLeavesTheOuterItsFiveAttempts ) {
   handle->answerIs( tolvaneOffset, 0 );
   // Within the second attempt of the outer run.
   rig.inSleep( 500'000'000, [this] { rig.inSleep( 500'000'000, [this] { gpoReset->hamIs( otherGpoHam ); } ); } );
   Lines const lines = bringUp();
   auto const count = [&]( std::string const & line ) { return std::count( lines.begin(), lines.end(), line ); };
   EXPECT_EQ( count( programTrace ), 2 );
   EXPECT_EQ( count( gpo( true ) ), 10 );
   EXPECT_EQ( count( retryTrace ), 10 );
   EXPECT_EQ( count( initFailedLog ), 2 );
   EXPECT_EQ( lines.back(), initFailedLog );
   EXPECT_EQ( rig.clock->nowNs(), 8'000'000'000u );
}

TEST_F( TolvaneProgrammingTest, TheHardwareLostDuringARunDoesNotEndIt ) {
   answersAre( { 0, 0, 0, 3 } );
   // In the second attempt, while the state is failed.
   rig.inSleep( 200'000'000, [this] { rig.inSleep( 200'000'000, [this] { handle->hardwarePresentIs( false ); } ); } );
   Lines const second = attempt( 0, 3 );
   Lines const before( second.begin(), second.begin() + 4 );
   Lines const lost = { gateTrace, told( "tolvane", "uninitialized" ) };
   Lines const after( second.begin() + 4, second.end() );
   EXPECT_EQ(
      bringUp(), begun() + attemptFailed( 0, 0, true ) + before + lost + after + Lines{ told( "tolvane", "ready" ) } );
}

TEST_F( TolvaneProgrammingTest, AnObserverOfReadyMayStartTheNextRun ) {
   answersAre( { 0, 3, 0, 3 } );
   statusWatch->action = [this] {
      if ( status->state() == ready_ ) {
         statusWatch->action = nullptr;
         gpoReset->hamIs( otherGpoHam );
      }
   };
   Lines const up = attempt( 0, 3 ) + Lines{ told( "tolvane", "ready" ) };
   EXPECT_EQ( bringUp(), begun() + up + begun() + Lines{ told( "tolvane", "uninitialized" ) } + up );
}

// A machine that is dropped while it works finishes its run, and goes.

TEST_F( TolvaneProgrammingTest, AnObserverOfItsStateMayDropTheMachine ) {
   U64 const others = TolvaneSm::staticType().allocated() - 1;
   statusWatch->action = [this] { made = nullptr; };
   answersAre( { 0, 0, 0, 3 } );
   EXPECT_EQ(
      bringUp(), begun() + attemptFailed( 0, 0, true ) + attempt( 0, 3 ) + Lines{ told( "tolvane", "ready" ) } );
   EXPECT_EQ( TolvaneSm::staticType().allocated(), others );
   handle->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( status->state(), ready_ );
}

TEST_F( TolvaneProgrammingTest, AMachineMayBeDroppedWithinASleepAndWithinItsGate ) {
   U64 const others = TolvaneSm::staticType().allocated() - 1;
   rig.inSleep( 100'000'000, [this] { made = nullptr; } );
   answersAre( { 0, 3 } );
   EXPECT_EQ( bringUp(), begun() + attempt( 0, 3 ) + Lines{ told( "tolvane", "ready" ) } );
   EXPECT_EQ( TolvaneSm::staticType().allocated(), others );

   answersAre( { 0, 3 } );
   made = machine();
   diary.take();
   statusWatch->action = [this] { made = nullptr; };
   handle->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
   EXPECT_EQ( TolvaneSm::staticType().allocated(), others );
}

TEST_F( TolvaneProgrammingTest, AMachineMayBeDroppedWithinARunWithinARun ) {
   U64 const others = TolvaneSm::staticType().allocated() - 1;
   rig.inSleep( 100'000'000, [this] {
      rig.inSleep( 100'000'000, [this] { made = nullptr; } );
      gpoReset->hamIs( otherGpoHam );
   } );
   answersAre( { 0, 3, 0, 3 } );
   Lines const lines = bringUp();
   EXPECT_EQ( std::count( lines.begin(), lines.end(), gpo( true ) ), 2 );
   EXPECT_EQ( TolvaneSm::staticType().allocated(), others );
   EXPECT_EQ( status->state(), ready_ );
}

}   // namespace
}   // namespace SmTest::TolvaneProgramming
