// The supervisor's switchover: its stages, and the guard that they lift.
#include "tests/sm/Max24305Rig.h"

namespace SmTest::Switchover {
namespace {

using namespace Hardware::Max24305;

std::string stageTrace( std::string const & mode, std::string const & stage ) {
   return trace( 1, "handleSwitchoverStage", "handleSwitchoverStage Redundancy mode = " + mode + " Stage = " + stage );
}

class Max24305SwitchoverTest : public Max24305World {};

TEST_F( Max24305SwitchoverTest, EveryStageIsTracedWhateverTheMode ) {
   auto const machine = readyMachine();
   redundancy->switchoverStageIs( "Begun", true );
   EXPECT_EQ( diary.take(), Lines{ stageTrace( "standby", "Begun" ) } );
   redundancy->modeIs( static_cast<Redundancy::RedundancyMode>( 9 ) );
   redundancy->switchoverStageIs( "Begun", false );
   EXPECT_EQ( diary.take(), Lines{ stageTrace( "9", "Begun" ) } );
   redundancy->switchoverStageDel( "Begun" );
   EXPECT_EQ( diary.take(), Lines{ stageTrace( "9", "Begun" ) } );
}

TEST_F( Max24305SwitchoverTest, TheWritableStageRunsTheGateInEveryMode ) {
   auto const machine = readyMachine();
   for ( auto const & [mode, text] :
         { std::pair( Redundancy::standby_, "standby" ), std::pair( Redundancy::switchover_, "switchover" ),
           std::pair( Redundancy::active_, "active" ) } ) {
      redundancy->modeIs( mode );
      redundancy->switchoverStageIs( "DovraWritable", true );
      EXPECT_EQ(
         diary.take(), Lines{ stageTrace( text, "DovraWritable" ) } + gateOpen( "acquiring", "ready", "ready" ) +
                          Lines{ gateSays( " Already started" ) } );
      redundancy->switchoverStageIs( "DovraWritable", false );   // traced, and no more
      EXPECT_EQ( diary.take(), Lines{ stageTrace( text, "DovraWritable" ) } );
   }
}

TEST_F( Max24305SwitchoverTest, AStageThatGoesOnlyLeavesATrace ) {
   auto const machine = readyMachine();
   redundancy->switchoverStageIs( "DovraWritable", true );
   diary.take();
   redundancy->switchoverStageDel( "DovraWritable" );
   EXPECT_EQ( diary.take(), Lines{ stageTrace( "standby", "DovraWritable" ) } );
}

TEST_F( Max24305SwitchoverTest, AnotherStageDoesNotRunTheGateWhileTheWritableOneStands ) {
   auto const machine = readyMachine();
   redundancy->switchoverStageIs( "DovraWritable", true );
   diary.take();
   redundancy->switchoverStageIs( "Later", true );
   EXPECT_EQ( diary.take(), Lines{ stageTrace( "standby", "Later" ) } );
}

TEST_F( Max24305SwitchoverTest, TheStageIsLookedUpNotTakenFromTheCall ) {
   auto const machine = readyMachine();
   machine->handleSwitchoverStage( "DovraWritable" );   // not there
   EXPECT_EQ( diary.take(), Lines{ stageTrace( "standby", "DovraWritable" ) } );
}

TEST_F( Max24305SwitchoverTest, AChipThatWaitedIsProgrammedWhenTheStageArrives ) {
   redundancy->modeIs( Redundancy::switchover_ );
   auto const machine = stuffedClockMachine();
   EXPECT_EQ( diary.take().back(), switchoverWait );
   redundancy->switchoverStageIs( "DovraWritable", false );
   EXPECT_EQ( diary.take(), Lines{ stageTrace( "switchover", "DovraWritable" ) } );
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( diary.count( gpo( true ) ), 1u );
}

TEST_F( Max24305SwitchoverTest, TheEndOfTheSwitchoverItselfIsNotWatched ) {
   redundancy->modeIs( Redundancy::switchover_ );
   auto const machine = stuffedClockMachine();
   diary.take();
   redundancy->modeIs( Redundancy::active_ );
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( status->state(), uninitialized_ );
}

TEST_F( Max24305SwitchoverTest, AChipThatKeptRunningIsLeftAlone ) {
   auto const machine = readyMachine();
   timeSync->stateIs( PtpTimeSync::enabling_ );
   redundancy->modeIs( Redundancy::switchover_ );
   diary.take();
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ(
      diary.take(), ( Lines{ stageTrace( "switchover", "DovraWritable" ) } + gateOpen( "enabling", "ready", "ready" ) +
                      Lines{ programmingTrace, alreadyProgrammed } ) );
}

}   // namespace
}   // namespace SmTest::Switchover
