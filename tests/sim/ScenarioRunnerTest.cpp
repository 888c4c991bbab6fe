#include "sim/ScenarioRunner.h"

#include "framework/ActivityManager.h"
#include "framework/TimerWheel.h"
#include "hardware/Max24305Config.h"
#include "sim/SimulatedGpo.h"
#include "sim/SimulatedHam.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Sim::ScenarioRunnerTests {
namespace {

// What happened, one text each: "TIME what".
struct Notes : CardListener {
   void add( U64 ns, std::string_view what ) { lines.push_back( std::to_string( ns ) + ' ' + std::string( what ) ); }
   void onScenario( U64 ns, std::string_view what ) override { add( ns, what ); }
   std::vector<std::string> lines;
};

class Timer final : public Jor::TimerWheel::NotifieeConst {
 public:
   Timer( Vor::Ptr<Jor::TimerWheel const> const & wheel, std::function<void( Timer & )> action )
      : action_( std::move( action ) ) {
      vorAttach( wheel );
   }
   void onTime() override { action_( *this ); }

 private:
   std::function<void( Timer & )> action_;
};

struct TimeSyncWatch final : PtpTimeSync::Status::NotifieeConst {
   TimeSyncWatch( Vor::Ptr<PtpTimeSync::Status> const & status, std::function<void()> action )
      : action( std::move( action ) ) {
      vorAttach( status );
   }
   void onState() override { action(); }
   std::function<void()> action;
};

using Lines = std::vector<std::string>;

class ScenarioRunnerTest : public testing::Test {
 protected:
   ScenarioRunnerTest() {
      events.listenerAdd( notes );
      targets.cards = { &card };
      targets.timeSync = timeSync;
      targets.redundancy = redundancy;
      targets.hamImpls = { hamImpl };
   }

   void note( std::string_view what ) { notes.add( clock->nowNs(), what ); }
   void sleep( U64 ns ) { clock->sleep( ns ); }
   // `times`, in nanoseconds, in order.
   void timersAt( std::vector<U64> const & times ) {
      for ( U64 const ns : times ) {
         timers.push_back( new Timer( wheel, [this]( Timer & ) { note( "timer" ); } ) );
         timers.back()->timeMinIs( VirtualClock::secondsOf( ns ) );
      }
   }
   void run() { ScenarioRunner( clock, events, targets, scenario ).run(); }

   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   VirtualTime const virtualTime{ clock };
   SimulatedCard card{
      clock,
      { .outputs = { { .name = "ptp0Reset", .offset = 8192, .bit = 1 } },
        .max24305s = { { .name = "ptp0", .configOffset = 256, .statusOffset = 512, .resetGpoName = "ptp0Reset" } },
        .tolvanes = { { .name = "osc0", .offset = 12288 } } } };
   CardEvents events{ clock };
   Notes notes;
   Vor::Ptr<Jor::TimerWheel> const wheel = Jor::TimerWheel::TimerWheelIs( clock, 100, 3000, true, 1024 );
   std::vector<Vor::Ptr<Timer>> timers;
   Vor::Ptr<PtpTimeSync::Status> const timeSync = PtpTimeSync::statusFactory( "timeSync" );
   Vor::Ptr<Redundancy::RedundancyStatus> const redundancy = Redundancy::redundancyStatusFactory( "redundancy" );
   Vor::Ptr<Fru::HamImpl> const hamImpl = new SimulatedHam( "kiv", card, events );
   ScenarioTargets targets;
   Scenario scenario;
};

TEST_F( ScenarioRunnerTest, WithNothingToDoTimePassesToTheEnd ) {
   scenario.untilNs = 5'000'000'000;
   run();
   EXPECT_EQ( clock->nowNs(), 5'000'000'000u );
   EXPECT_EQ( notes.lines, Lines{} );
}

TEST_F( ScenarioRunnerTest, WithoutAnEndItRunsUntilNothingIsLeft ) {
   timersAt( { 3'000'000'000 } );
   scenario.events = {
      { 7'000'000'000, { { .key = "fault", .name = "ptp0", .fault = { .kind = FaultKind::spiDead_ } } } } };
   run();
   EXPECT_EQ( clock->nowNs(), 7'000'000'000u );
   EXPECT_EQ( notes.lines, ( Lines{ "3000000000 timer", "7000000000 fault spiDead at ptp0" } ) );
}

TEST_F( ScenarioRunnerTest, EventsAndTimersComeAtTheirTimeEventsFirst ) {
   timersAt( { 1'000'000'000, 2'000'000'000, 2'500'000'000 } );
   scenario.events = {
      { 0, { { .key = "timeSync", .value = 1 } } },
      { 2'000'000'000, { { .key = "redundancyMode", .value = 4 }, { .key = "timeSync", .value = 2 } } },
      { 2'000'000'000, { { .key = "switchoverStage", .name = "DovraWritable", .value = true } } } };
   scenario.untilNs = 3'000'000'000;
   run();
   EXPECT_EQ(
      notes.lines,
      ( Lines{
         "0 time-sync state 1", "1000000000 timer", "2000000000 redundancy mode 4", "2000000000 time-sync state 2",
         "2000000000 switchover stage DovraWritable reached", "2000000000 timer", "2500000000 timer" } ) );
   EXPECT_EQ( timeSync->state(), PtpTimeSync::acquiring_ );
   EXPECT_EQ( redundancy->mode(), Redundancy::switchover_ );
   EXPECT_TRUE( redundancy->switchoverStage().value( "DovraWritable" ) );
}

TEST_F( ScenarioRunnerTest, WhatFallsOnTheEndStillComesAndWhatIsLaterDoesNot ) {
   timersAt( { 2'000'000'000, 2'000'000'001 } );
   scenario.events = {
      { 2'000'000'000, { { .key = "timeSync", .value = 1 } } },
      { 2'000'000'001, { { .key = "timeSync", .value = 2 } } } };
   scenario.untilNs = 2'000'000'000;
   run();
   EXPECT_EQ( notes.lines, ( Lines{ "2000000000 time-sync state 1", "2000000000 timer" } ) );
   EXPECT_EQ( clock->nowNs(), 2'000'000'000u );
}

TEST_F( ScenarioRunnerTest, ASleepMayGoPastTheEndAndThenNothingFollows ) {
   Vor::Ptr<TimeSyncWatch> const watch = new TimeSyncWatch( timeSync, [this] {
      note( "begins" );
      sleep( 5'000'000'000 );
      note( "ends" );
   } );
   timersAt( { 1'000'000'000, 1'500'000'000 } );
   scenario.events = {
      { 1'000'000'000, { { .key = "timeSync", .value = 1 }, { .key = "timeSync", .value = 2 } } },
      { 2'000'000'000, { { .key = "timeSync", .value = 3 } } } };
   scenario.untilNs = 3'000'000'000;
   run();
   EXPECT_EQ( notes.lines, ( Lines{ "1000000000 time-sync state 1", "1000000000 begins", "6000000000 ends" } ) );
   EXPECT_EQ( clock->nowNs(), 6'000'000'000u );
}

TEST_F( ScenarioRunnerTest, ChangesOfEntitiesWaitForTheLoopAndFaultsDoNot ) {
   Vor::Ptr<TimeSyncWatch> const watch = new TimeSyncWatch( timeSync, [this] {
      note( "begins" );
      sleep( 1'000'000'000 );
      note( "ends" );
   } );
   timersAt( { 1'200'000'000 } );
   scenario.events = {
      { 1'000'000'000, { { .key = "timeSync", .value = 1 } } },
      { 1'100'000'000, { { .key = "redundancyMode", .value = 5 } } },
      { 1'500'000'000, { { .key = "fault", .name = "osc0", .fault = { .kind = FaultKind::noPower_ } } } },
      { 1'900'000'000, { { .key = "hardwarePresent", .value = true } } } };
   scenario.untilNs = 3'000'000'000;
   run();
   EXPECT_EQ(
      notes.lines,
      ( Lines{
         "1000000000 time-sync state 1", "1000000000 begins", "1500000000 fault noPower at osc0", "2000000000 ends",
         "2000000000 redundancy mode 5", "2000000000 hardware present", "2000000000 timer" } ) );
   EXPECT_TRUE( hamImpl->hardwarePresent() );
}

TEST_F( ScenarioRunnerTest, FaultsDueAtTheStartAreThereBeforeTheMachines ) {
   scenario.events = { { 0, { { .key = "fault", .fault = { .kind = FaultKind::hardwareGone_, .forNs = 1'000 } } } } };
   ScenarioRunner runner( clock, events, targets, scenario );
   EXPECT_EQ( card.read32( 0 ), 0xFFFFFFFF );
   sleep( 1'000 );
   EXPECT_EQ( card.read32( 0 ), 0u );
}

TEST_F( ScenarioRunnerTest, AFaultOfTheCardReachesEveryCard ) {
   SimulatedCard second( clock, {} );
   targets.cards.push_back( &second );
   scenario.events = { { 0, { { .key = "fault", .fault = { .kind = FaultKind::hardwareGone_ } } } } };
   run();
   EXPECT_EQ( card.read32( 0 ), 0xFFFFFFFF );
   EXPECT_EQ( second.read32( 0 ), 0xFFFFFFFF );
}

TEST_F( ScenarioRunnerTest, ChipsGetTheirOutputsHandleAndTheirSequencesHandOver ) {
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "kiv" );
   Vor::Ptr<Hardware::SetClearGpo> const gpo = new SimulatedGpo( "ptp0Reset", events );
   Vor::Ptr<Hardware::Max24305::Config> const config = Hardware::Max24305::configFactory(
      "ptp0", Fru::GenerationId( 1 ), 256, 512, ham, "ptp0Reset", Hardware::Max24305::timeSync_,
      Hardware::Max24305::Input( 1 ), 0, Fru::SlotId( 0 ), false );
   targets.chips["ptp0"] = { gpo, ham, config };
   scenario.events = {
      { 1,
        { { .key = "gpoHam", .name = "ptp0", .value = true },
          { .key = "opsToDoValid", .name = "ptp0", .value = true } } } };
   run();
   EXPECT_EQ( gpo->ham(), ham );
   EXPECT_TRUE( config->opsToDoValid() );

   scenario.events = {
      { 2,
        { { .key = "opsToDoValid", .name = "ptp0", .value = false },
          { .key = "gpoHam", .name = "ptp0", .value = false } } } };
   run();
   EXPECT_EQ( gpo->ham(), nullptr );
   EXPECT_FALSE( config->opsToDoValid() );
}

TEST_F( ScenarioRunnerTest, AnEventWithNothingToActUponIsRefused ) {
   targets = {};
   std::vector<std::pair<Action, std::string>> const wrong = {
      { { .key = "timeSync", .value = 1 }, "time-sync state 1" },
      { { .key = "redundancyMode", .value = 5 }, "redundancy mode 5" },
      { { .key = "switchoverStage", .name = "S", .value = true }, "switchover stage S reached" },
      { { .key = "hardwarePresent", .value = true }, "hardware present" },
      { { .key = "gpoHam", .name = "ptp0", .value = true }, "reset output of ptp0 has its handle" },
      { { .key = "opsToDoValid", .name = "ptp0", .value = true }, "sequence of ptp0 handed over" },
      { { .key = "fault", .name = "ptp9", .fault = { .kind = FaultKind::spiDead_ } }, "fault spiDead at ptp9" },
      { { .key = "fault", .fault = { .kind = FaultKind::hardwareGone_ } }, "fault hardwareGone" } };
   for ( auto const & [action, text] : wrong ) {
      scenario.events = { { 0, { action } } };
      try {
         run();
         ADD_FAILURE() << text;
      } catch ( std::invalid_argument const & error ) {
         EXPECT_EQ( error.what(), "the scenario's " + text + " finds nothing to act upon" );
      }
   }
}

TEST_F( ScenarioRunnerTest, AnActionOfNoKindIsRefused ) {
   scenario.events = { { 0, { { .key = "gpoham" } } } };
   EXPECT_THROW( run(), std::invalid_argument );
}

TEST_F( ScenarioRunnerTest, ATimerArmedForNowComesAtTheNextTurnOfTheSameTime ) {
   int left = 3;
   timers.push_back( new Timer( wheel, [this, &left]( Timer & timer ) {
      note( "timer" );
      if ( --left > 0 ) timer.timeMinIs( clock->now() );
   } ) );
   timers.back()->timeMinIs( 1.0 );
   scenario.untilNs = 1'000'000'000;
   run();
   EXPECT_EQ( notes.lines, ( Lines{ "1000000000 timer", "1000000000 timer", "1000000000 timer" } ) );
}

TEST_F( ScenarioRunnerTest, APollOnceASecondKeepsItsNanoseconds ) {
   int left = 100;
   timers.push_back( new Timer( wheel, [this, &left]( Timer & timer ) {
      sleep( 4'000 );
      note( "polled" );
      if ( --left > 0 ) timer.timeMinIs( clock->now() + 1.0 );
   } ) );
   timers.back()->timeMinIs( 1.3 );
   run();
   ASSERT_EQ( notes.lines.size(), 100u );
   EXPECT_EQ( notes.lines.front(), "1300004000 polled" );
   EXPECT_EQ( notes.lines.back(), "100300400000 polled" );
}

TEST_F( ScenarioRunnerTest, TimeThatCannotPassIsAnError ) {
   timers.push_back( new Timer( wheel, [this]( Timer & timer ) { timer.timeMinIs( clock->now() ); } ) );
   timers.back()->timeMinIs( 2.0 );
   scenario.untilNs = 3'000'000'000;
   EXPECT_THROW( run(), std::runtime_error );
   EXPECT_EQ( clock->nowNs(), 2'000'000'000u );
}

}   // namespace
}   // namespace Sim::ScenarioRunnerTests
