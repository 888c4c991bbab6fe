#include "service/TimeSyncInput.h"

#include "tests/service/LiveCard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Host::TimeSyncInputTests {
namespace {

using PtpTimeSync::OperationalState;
using Redundancy::RedundancyMode;
using testing::HasSubstr;

constexpr double locked = 10;   // seconds, after which the card's chips have their lock

OperationalState timeSyncOf( U32 number ) { return static_cast<OperationalState>( number ); }
RedundancyMode modeOf( U32 number ) { return static_cast<RedundancyMode>( number ); }

void goAndReturn( Card const & card ) {
   card.hamImpl()->hardwarePresentIs( false );
   card.hamImpl()->hardwarePresentIs( true );
}

TEST( TimeSyncInputTest, NoMachineIsMadeBeforeTheFirstAnswer ) {
   LiveCard live;
   live.input.look();
   EXPECT_FALSE( live.input.answered() );
   EXPECT_FALSE( live.input.mayBegin() );
   EXPECT_EQ( live.input.longestWait(), 10 );
   EXPECT_EQ( live.status->heldBack(), "the source has not answered yet: no machine is made for 10 s" );
   live.input.said( PtpTimeSync::locked_ );
   EXPECT_TRUE( live.input.mayBegin() );
   EXPECT_EQ( live.timeSync(), 3u );
   EXPECT_EQ( live.status->timeSyncSource(), "locked" );
   EXPECT_EQ( live.status->heldBack(), "" );
}

TEST( TimeSyncInputTest, TheFirstAnswerIsWaitedForForABoundedTime ) {
   LiveCard live;
   live.run( 9.5 );
   EXPECT_FALSE( live.input.mayBegin() );
   EXPECT_NEAR( live.input.longestWait(), 0.5, 0.001 );
   live.run( 1 );
   live.input.look();
   EXPECT_TRUE( live.input.mayBegin() );
   EXPECT_FALSE( live.input.answered() );
   EXPECT_EQ( live.status->heldBack(), "the source has not answered: the machines are told enabling" );
}

TEST( TimeSyncInputTest, AChipThatLocksIsToldOfNothingButZero ) {
   LiveCard live;
   live.input.said( PtpTimeSync::enabling_ );
   live.makeMachines();
   ASSERT_EQ( live.chip()->state(), Hardware::Max24305::locking_ );
   live.input.said( PtpTimeSync::locked_ );
   EXPECT_EQ( live.timeSync(), 1u );
   EXPECT_EQ( live.status->timeSyncSource(), "locked" );
   EXPECT_EQ( live.status->heldBack(), "ptp0 locks, and would be programmed again: the machines are told enabling" );
   live.run( locked );
   EXPECT_EQ( live.timeSync(), 3u );
   EXPECT_EQ( live.status->heldBack(), "" );
   EXPECT_EQ( live.attempts["ptp0"], 1 );
   EXPECT_EQ( live.chip()->state(), Hardware::Max24305::ready_ );
}

TEST( TimeSyncInputTest, ZeroIsToldAtOnce ) {
   LiveCard live;
   live.input.said( PtpTimeSync::enabling_ );
   live.makeMachines();
   live.input.said( PtpTimeSync::disabled_ );
   EXPECT_EQ( live.timeSync(), 0u );
   EXPECT_EQ( live.chip()->state(), Hardware::Max24305::uninitialized_ );
   live.run( locked );
   EXPECT_EQ( live.attempts["ptp0"], 1 );
}

TEST( TimeSyncInputTest, AnActiveSupervisorIsToldOneUntilItsChipsAreReady ) {
   LiveCard live;
   live.input.modeIs( Redundancy::active_ );
   live.input.said( PtpTimeSync::holdover_ );
   EXPECT_EQ( live.timeSync(), 1u );
   EXPECT_EQ(
      live.status->heldBack(), "the supervisor is active, and ptp0 is not ready: the machines are told enabling" );
   live.makeMachines();
   EXPECT_EQ( live.mode(), 5u );
   live.run( locked );
   EXPECT_EQ( live.timeSync(), 4u );
   EXPECT_EQ( live.status->heldBack(), "" );
   EXPECT_EQ( live.attempts["ptp0"], 1 );
}

// A replaced card goes and returns within one look of the agent at its file.
TEST( TimeSyncInputTest, ACardThatReturnsFindsAnActiveSupervisorAtOne ) {
   LiveCard live;
   live.input.modeIs( Redundancy::active_ );
   live.input.said( PtpTimeSync::locked_ );
   live.makeMachines();
   live.run( locked );
   ASSERT_EQ( live.timeSync(), 3u );
   goAndReturn( live.card() );
   EXPECT_EQ( live.timeSync(), 1u );
   EXPECT_THAT( live.status->heldBack().stdString(), HasSubstr( "ptp0 is not ready" ) );
   live.run( locked );
   EXPECT_EQ( live.timeSync(), 3u );
   EXPECT_EQ( live.attempts["osc0"], 2 ) << "once for each time that the card came";
   EXPECT_EQ( live.attempts["ptp1"], 2 );
}

TEST( TimeSyncInputTest, AChipOfAnActiveSupervisorThatLosesItsClockIsProgrammedAtOne ) {
   LiveCard live;
   live.input.modeIs( Redundancy::active_ );
   live.input.said( PtpTimeSync::locked_ );
   live.makeMachines();
   live.run( locked );
   live.card().resetGpoOf( "ptp1" )->hamIs( nullptr );
   live.input.look();
   EXPECT_EQ( live.timeSync(), 1u );
   EXPECT_EQ( live.attempts["ptp0"], 1 ) << "it is ready, and left alone";
   live.card().resetGpoOf( "ptp1" )->hamIs( live.card().ham() );
   live.run( locked );
   EXPECT_EQ( live.timeSync(), 3u );
   EXPECT_EQ( live.attempts["ptp0"], 1 );
   EXPECT_EQ( live.attempts["ptp1"], 2 );
}

TEST( TimeSyncInputTest, ASupervisorBecomesActiveWhenNoChipLocksAtARunningState ) {
   LiveCard live;
   live.input.said( PtpTimeSync::acquiring_ );
   live.makeMachines();
   ASSERT_EQ( live.chip()->state(), Hardware::Max24305::locking_ );
   live.input.modeIs( Redundancy::active_ );
   EXPECT_EQ( live.mode(), 3u );
   EXPECT_EQ( live.timeSync(), 2u );
   EXPECT_EQ(
      live.status->heldBack(),
      "ptp0 locks, and would be programmed again: the machines are told acquiring; the mode stays standby until ptp0 "
      "is ready or told otherwise" );
   live.run( locked );
   EXPECT_EQ( live.mode(), 5u );
   EXPECT_EQ( live.timeSync(), 2u );
   EXPECT_EQ( live.attempts["ptp0"], 1 );
}

TEST( TimeSyncInputTest, WhoAsksForWhatWouldStopTheProcessIsToldWhy ) {
   LiveCard live;
   live.input.said( PtpTimeSync::locked_ );
   live.makeMachines();
   EXPECT_EQ( live.input.whyRefused( PtpTimeSync::locked_ ), "" ) << "a standby";
   EXPECT_EQ(
      live.input.whyRefused( Redundancy::active_ ),
      "time sync is locked, and ptp0 is not ready: the gate of an active supervisor stops the process; set it when the "
      "chip is ready" );
   EXPECT_EQ( live.input.whyRefused( Redundancy::switchover_ ), "" );
   live.run( locked );
   EXPECT_EQ( live.input.whyRefused( Redundancy::active_ ), "" );
   live.input.modeIs( Redundancy::active_ );
   EXPECT_EQ( live.input.whyRefused( PtpTimeSync::locked_ ), "" );
   EXPECT_EQ(
      live.input.whyRefused( "osc0", "doProgramTolvane" ), "the supervisor is active and time sync is locked: osc0 "
                                                           "feeds ptp0, whose gate stops the process as osc0 returns; "
                                                           "set time sync to enabling first" );
   EXPECT_EQ( live.input.whyRefused( "ptp0", "doProgramMax24305" ), "" );
   live.chipIs( Hardware::Max24305::failed_, Hardware::Kiv::ClockStatus::failed_ );
   EXPECT_EQ(
      live.input.whyRefused( PtpTimeSync::holdover_ ),
      "the supervisor is active, and ptp0 is not ready: at time sync holdover its gate stops the process; set it when "
      "the chip is ready" );
   EXPECT_EQ( live.input.whyRefused( PtpTimeSync::enabling_ ), "" );
   live.input.said( PtpTimeSync::disabled_ );
   EXPECT_EQ(
      live.input.whyRefused( "ptp0", "doProgramMax24305" ),
      "time sync is disabled, for which doProgramMax24305 stops the process" );
   EXPECT_EQ( live.input.whyRefused( "ptp0", "handleSwitchoverStage" ), "" );
}

// A gate that stops the process would stop this test.
class EveryTransition : public testing::TestWithParam<U32> {
 protected:
   enum class Chips { absent, locking, ready, failed };
   static constexpr Chips allChips[] = { Chips::absent, Chips::locking, Chips::ready, Chips::failed };

   static void bring( LiveCard & live, Chips chips ) {
      live.input.said( PtpTimeSync::enabling_ );
      if ( chips == Chips::absent ) live.card().hamImpl()->hardwarePresentIs( false );
      live.makeMachines();
      if ( chips == Chips::ready || chips == Chips::failed ) live.run( locked );
      if ( chips == Chips::failed ) live.chipIs( Hardware::Max24305::failed_, Hardware::Kiv::ClockStatus::failed_ );
   }
   static void expectHarmless( LiveCard const & live ) {
      bool const ready = live.card().allReady();
      EXPECT_TRUE( live.mode() != 5 || !running( timeSyncOf( live.timeSync() ) ) || ready );
   }
   // What comes later: the card goes and returns, the switchover ends.
   static void goOn( LiveCard & live ) {
      goAndReturn( live.card() );
      expectHarmless( live );
      live.run( locked );
      expectHarmless( live );
      live.card().redundancy()->switchoverStageIs( "DovraWritable", true );
      live.run( locked );
      expectHarmless( live );
   }
};

TEST_P( EveryTransition, OfTimeSyncEndsNoProcessAndProgramsNoChipThatLocksOrIsReady ) {
   for ( U32 const from : { 0, 1, 2, 3, 4, 5 } )
      for ( U32 const to : { 0, 1, 2, 3, 4, 5 } )
         for ( Chips const chips : allChips ) {
            SCOPED_TRACE( testing::Message() << "from " << from << " to " << to << ", chips " << int( chips ) );
            LiveCard live;
            bring( live, chips );
            live.input.modeIs( modeOf( GetParam() ) );
            live.input.said( timeSyncOf( from ) );
            expectHarmless( live );
            live.input.said( timeSyncOf( to ) );
            expectHarmless( live );
            live.run( locked );
            expectHarmless( live );
            if ( from != 0 && to != 0 && ( chips == Chips::locking || chips == Chips::ready ) ) {
               EXPECT_EQ( live.attempts["ptp0"], 1 );
               EXPECT_EQ( live.timeSync(), to );
            }
            goOn( live );
         }
}

TEST_P( EveryTransition, OfTheModeEndsNoProcessAndProgramsNoChipThatLocksOrIsReady ) {
   for ( U32 const mode : { 0, 1, 2, 3, 4, 5 } )
      for ( U32 const timeSync : { 0, 1, 2, 3, 4, 5 } )
         for ( Chips const chips : allChips ) {
            SCOPED_TRACE( testing::Message() << "to " << mode << " at " << timeSync << ", chips " << int( chips ) );
            LiveCard live;
            bring( live, chips );
            live.input.said( timeSyncOf( timeSync ) );
            live.input.modeIs( modeOf( GetParam() ) );
            live.input.modeIs( modeOf( mode ) );
            expectHarmless( live );
            live.run( locked );
            expectHarmless( live );
            EXPECT_EQ( live.mode(), mode );
            if ( timeSync != 0 && ( chips == Chips::locking || chips == Chips::ready ) ) {
               EXPECT_EQ( live.attempts["ptp0"], 1 );
            }
            goOn( live );
         }
}

INSTANTIATE_TEST_SUITE_P( OfTheMode, EveryTransition, testing::Range( 0U, 6U ) );

}   // namespace
}   // namespace Host::TimeSyncInputTests
