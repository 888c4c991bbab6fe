// The library's machine on the modelled card: what each fault does to a bring-up, and when.
#include "framework/Log.h"
#include "hardware/Max24305Status.h"
#include "platform/ClockStatus.h"
#include "sim/CardEvents.h"
#include "sim/ScenarioRunner.h"
#include "sim/SimulatedGpo.h"
#include "sim/SimulatedHam.h"
#include "sm/Max24305WithStuffedClockInputSm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Sim {
namespace {

using Hardware::Max24305::Op;

constexpr U64 ms = 1'000'000;
constexpr U64 second = 1'000 * ms;
// Reset pulse 300 and 500 ms, clean-up of the SPI master 500 ms, its reset 10 ms; a failed attempt waits 1 s.
constexpr U64 firstOpNs = 1'310 * ms;
constexpr U64 opNs = 4'000;   // 3,200 ns on the wire, polled every microsecond

struct Seen final : CardListener {
   using Line = std::pair<U64, std::string>;

   void onGpo( U64 ns, std::string_view name, bool active ) override {
      gpos.emplace_back( ns, std::string( name ) + ( active ? " on" : " off" ) );
   }
   void onState( U64 ns, StateChange const & change ) override {
      bool const ofChip = change.entity.find( "chip" ) != std::string_view::npos;
      states.emplace_back( ns, ( ofChip ? "chip " : "clock " ) + std::string( change.text ) );
   }
   void onLog( U64 ns, Vor::LogRecord const & record ) override { logs.emplace_back( ns, record.id.stdString() ); }
   void onSpi( U64 ns, std::string_view, std::array<U8, 4> const & bytes, U8 response ) override {
      if ( bytes[0] == 3 && bytes[2] == 7 ) polls.emplace_back( ns, std::to_string( response ) );
      ++transactions;
   }

   std::vector<Line> gpos, states, logs, polls;
   int transactions = 0;
};

using Lines = std::vector<Seen::Line>;

class BringUpTest : public testing::Test {
 protected:
   BringUpTest() {
      events.listenerAdd( seen );
      events.cardAdd( card );
      events.statusAdd<Hardware::Max24305::Status>( status );
      events.statusAdd<Hardware::Kiv::ClockStatus>( clockStatus );
      hamImpl->hardwarePresentIs( true );
      ham->hamImplIs( hamImpl );
      resetGpo->hamIs( ham );
      resetGpo->offsetIs( 8192 );
      timeSync->stateIs( PtpTimeSync::enabling_ );
      ops(
         { { 0, Hardware::Max24305::read_, 0x30, 0x5E },
           { 1, Hardware::Max24305::write_, 0x10, 0x3C },
           { 2, Hardware::Max24305::read_, 0x10, 0x3C } } );
      scenario.untilNs = 300 * second;
   }

   void ops( std::vector<Op> const & operations ) {
      config->doCleanup();
      for ( Op const & op : operations ) config->opsToDoEnq( op );
      config->opsToDoValidIs( true );
   }
   void faultAt( U64 ns, Fault const & fault, std::string const & chip = "ptp0" ) {
      scenario.events.push_back( { ns, { { .key = "fault", .name = chip, .fault = fault } } } );
   }
   void run() {
      ScenarioTargets targets;
      targets.cards = { &card };
      targets.hamImpls = { hamImpl };
      ScenarioRunner runner( clock, events, targets, scenario );
      auto const machine = Hardware::Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
         redundancy, config, status, clockStatus, timeSync, resetGpo );
      runner.run();
   }
   // Reset pulses that were begun: one for each attempt.
   int attempts() const { return static_cast<int>( seen.gpos.size() / 2 ); }

   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   VirtualTime const virtualTime{ clock };
   SimulatedCard card{
      clock,
      { .outputs = { { .name = "ptp0Reset", .offset = 8192, .bit = 0 } },
        .max24305s = {
           { .name = "ptp0",
             .configOffset = 256,
             .statusOffset = 512,
             .spiResetSupported = true,
             .resetGpoName = "ptp0Reset",
             .outputFrequencyInHz = 10'000'000 } } } };
   CardEvents events{ clock };
   Seen seen;
   Vor::Ptr<Fru::HamImpl> const hamImpl = new SimulatedHam( "kiv", card, events );
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "kiv" );
   Vor::Ptr<Hardware::SetClearGpo> const resetGpo = new SimulatedGpo( "ptp0Reset", events );
   Vor::Ptr<Hardware::Max24305::Config> const config = Hardware::Max24305::configFactory(
      "ptp0", Fru::GenerationId( 1 ), 256, 512, ham, "ptp0Reset", Hardware::Max24305::timeSync_,
      Hardware::Max24305::Input( 1 ), 10'000'000, Fru::SlotId( 0 ), true );
   Vor::Ptr<Hardware::Max24305::Status> const status =
      Hardware::Max24305::statusFactory( "chip", Fru::GenerationId( 1 ), Hardware::Max24305::timeSync_ );
   Vor::Ptr<Hardware::Kiv::ClockStatus> const clockStatus = Hardware::Kiv::clockStatusFactory( "clock" );
   Vor::Ptr<PtpTimeSync::Status> const timeSync = PtpTimeSync::statusFactory( "timeSync" );
   Vor::Ptr<Redundancy::RedundancyStatus> const redundancy = Redundancy::redundancyStatusFactory( "redundancy" );
   Scenario scenario;
};

TEST_F( BringUpTest, AHealthyChipIsReadyAtTheFirstPollAfterItsLock ) {
   run();
   U64 const programmedNs = firstOpNs + 3 * opNs;
   U64 const lastWriteNs = firstOpNs + opNs + 3'200;
   EXPECT_EQ( seen.gpos, ( Lines{ { 0, "ptp0Reset on" }, { 300 * ms, "ptp0Reset off" } } ) );
   // Locked 2.5 s after the last write; polled at once and then a second after each poll.
   Lines polls;
   for ( U64 i = 0; i < 4; ++i ) polls.emplace_back( programmedNs + i * ( second + opNs ) + 3'200, i < 3 ? "0" : "17" );
   EXPECT_EQ( seen.polls, polls );
   EXPECT_LT( polls[2].first, lastWriteNs + 2'500 * ms );
   EXPECT_EQ(
      seen.states, ( Lines{
                      { programmedNs, "chip locking" },
                      { programmedNs + 3 * second + 4 * opNs, "chip ready" },
                      { programmedNs + 3 * second + 4 * opNs, "clock ready" } } ) );
   EXPECT_EQ( seen.transactions, 3 + 4 );
   EXPECT_EQ( clock->nowNs(), 300 * second );
}

TEST_F( BringUpTest, AnEmptySequenceLocksAfterTheReset ) {
   ops( {} );
   run();
   // Reset is released at 300 ms, so the lock stands at 2.8 s; polls from 1.31 s on.
   ASSERT_EQ( seen.polls.size(), 3u );
   EXPECT_EQ( seen.states.back().second, "clock ready" );
   EXPECT_EQ( seen.states.back().first, firstOpNs + 2 * second + 3 * opNs );
}

TEST_F( BringUpTest, OneFlippedReadCostsOneAttempt ) {
   faultAt( 0, { .kind = FaultKind::bitFlip_, .address = 0x10, .mask = 1, .count = 1 } );
   run();
   EXPECT_EQ( attempts(), 2 );
   U64 const failedNs = firstOpNs + 3 * opNs;
   ASSERT_EQ( seen.states.size(), 5u );
   EXPECT_EQ( seen.states[0], Seen::Line( failedNs, "chip failed" ) );
   EXPECT_EQ( seen.states[1], Seen::Line( failedNs, "clock failed" ) );
   EXPECT_EQ( seen.states[2].second, "chip locking" );
   EXPECT_EQ( seen.states[3].second, "chip ready" );
   EXPECT_EQ( seen.states[4].second, "clock ready" );
   EXPECT_EQ( seen.gpos[2].first, failedNs + second );
}

struct CountedFault {
   Fault fault;
   int attempts;
};
class CountedFaultTest : public BringUpTest, public testing::WithParamInterface<CountedFault> {};

TEST_P( CountedFaultTest, CostsItsAttemptsAndNoMore ) {
   faultAt( 0, GetParam().fault );
   run();
   EXPECT_EQ( attempts(), GetParam().attempts );
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
}

INSTANTIATE_TEST_SUITE_P(
   Kinds, CountedFaultTest,
   testing::Values(
      CountedFault{ { .kind = FaultKind::spiDead_, .count = 1 }, 2 },
      CountedFault{ { .kind = FaultKind::spiDead_, .count = 9 }, 10 },
      CountedFault{ { .kind = FaultKind::spiInvalid_, .count = 2 }, 3 },
      CountedFault{ { .kind = FaultKind::spiExtra_, .count = 1 }, 2 },
      CountedFault{ { .kind = FaultKind::spiStuckWrite_, .count = 1 }, 2 },
      CountedFault{ { .kind = FaultKind::spiStuckWrite_, .count = 3 }, 4 },
      CountedFault{ { .kind = FaultKind::spiShift_, .bits = 1, .count = 2 }, 3 },
      CountedFault{ { .kind = FaultKind::spiLate_, .count = 2 }, 2 },   // the second attempt reads the first's answer
      CountedFault{ { .kind = FaultKind::misoStuck_, .value = 1, .count = 2 }, 3 },
      CountedFault{ { .kind = FaultKind::bitFlip_, .address = 0x30, .mask = 0x80, .count = 3 }, 4 },
      CountedFault{ { .kind = FaultKind::bitStuck_, .address = 0x10, .mask = 0x04, .value = 0, .count = 3 }, 4 },
      CountedFault{ { .kind = FaultKind::writeLost_, .count = 1 }, 2 },
      CountedFault{ { .kind = FaultKind::resetStuck_, .count = 2 }, 3 },
      CountedFault{ { .kind = FaultKind::loseLock_, .count = 2 }, 1 },
      CountedFault{ { .kind = FaultKind::loseLock_, .mask = 0x10, .count = 3 }, 1 },
      CountedFault{ { .kind = FaultKind::flapLock_, .periodNs = 20 * second, .lockedNs = 0, .count = 4 }, 1 },
      CountedFault{ { .kind = FaultKind::slowLock_, .extraNs = 50 * second, .count = 1 }, 1 } ),
   []( auto const & test ) {
      return std::string( faultKindText( test.param.fault.kind ) ) + std::to_string( *test.param.fault.count );
   } );

class LastingFaultTest : public BringUpTest, public testing::WithParamInterface<FaultKind> {};

TEST_P( LastingFaultTest, UsesUpAllAttempts ) {
   faultAt( 0, { .kind = GetParam(), .address = 0x30, .mask = 0x01, .value = 0x01 } );
   run();
   EXPECT_EQ( attempts(), 10 );
   EXPECT_EQ( status->state(), Hardware::Max24305::failed_ );
   ASSERT_EQ( seen.logs.size(), 1u );
   EXPECT_EQ( seen.logs[0].second, "MAX24305_INIT_FAILED" );
   EXPECT_EQ( seen.polls, Lines{} );
}

INSTANTIATE_TEST_SUITE_P(
   Kinds, LastingFaultTest,
   testing::Values(
      FaultKind::spiDead_, FaultKind::spiStuckWrite_, FaultKind::spiInvalid_, FaultKind::spiExtra_,
      FaultKind::spiShift_, FaultKind::spiLate_, FaultKind::misoStuck_, FaultKind::bitFlip_, FaultKind::bitStuck_,
      FaultKind::writeLost_, FaultKind::resetStuck_ ),
   []( auto const & test ) { return std::string( faultKindText( test.param ) ); } );

TEST_F( BringUpTest, HardwareGoneUsesUpAllAttempts ) {
   faultAt( 0, { .kind = FaultKind::hardwareGone_ }, "" );
   run();
   EXPECT_EQ( attempts(), 10 );
   EXPECT_EQ( seen.transactions, 0 );
   EXPECT_EQ( status->state(), Hardware::Max24305::failed_ );
}

TEST_F( BringUpTest, AFaultForASpanEndsInsideASleep ) {
   faultAt( 0, { .kind = FaultKind::spiDead_, .forNs = 2 * second } );
   run();
   EXPECT_EQ( attempts(), 2 );
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
}

TEST_F( BringUpTest, AChipThatNeverLocksIsPolled101Times ) {
   faultAt( 0, { .kind = FaultKind::neverLock_ } );
   run();
   ASSERT_EQ( seen.polls.size(), 101u );
   for ( std::size_t i = 1; i < seen.polls.size(); ++i )
      EXPECT_EQ( seen.polls[i].first - seen.polls[i - 1].first, second + opNs ) << i;
   EXPECT_EQ( status->state(), Hardware::Max24305::failed_ );
   EXPECT_EQ( clockStatus->state(), Hardware::Kiv::ClockStatus::failed_ );
   EXPECT_EQ( seen.logs.size(), 1u );
}

TEST_F( BringUpTest, AChipWithOneApllOutOfLockIsPolled101Times ) {
   faultAt( 0, { .kind = FaultKind::loseLock_, .mask = 0x10 } );
   run();
   ASSERT_EQ( seen.polls.size(), 101u );
   EXPECT_EQ( seen.polls.front().second, "0" );
   EXPECT_EQ( seen.polls.back().second, "1" );
   EXPECT_EQ( attempts(), 1 );
   EXPECT_EQ( status->state(), Hardware::Max24305::failed_ );
}

TEST_F( BringUpTest, AFlappingLockIsTakenForOneAtThePollThatMeetsIt ) {
   // Locked from 3.8 s on; in the periods from 7 s on for a second each, the first of which the poll at 7.3 s meets.
   faultAt( 0, { .kind = FaultKind::flapLock_, .mask = 0x01, .periodNs = 7 * second, .lockedNs = second } );
   run();
   std::vector<std::string> answers;
   for ( auto const & [ns, answer] : seen.polls ) answers.push_back( answer );
   EXPECT_EQ( answers, ( std::vector<std::string>{ "0", "0", "0", "16", "16", "16", "17" } ) );
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
   EXPECT_EQ( clock->nowNs(), 300 * second );
}

TEST_F( BringUpTest, ALockThatFlapsBetweenThePollsIsNeverSeen ) {
   faultAt( 0, { .kind = FaultKind::flapLock_, .periodNs = second, .lockedNs = 200 * ms } );
   run();
   EXPECT_EQ( seen.polls.size(), 101u );
   EXPECT_EQ( status->state(), Hardware::Max24305::failed_ );
}

TEST_F( BringUpTest, AChipThatResetsItselfDuringProgrammingCostsAnAttempt ) {
   faultAt( firstOpNs + 2 * opNs, { .kind = FaultKind::chipReset_ } );   // the write is done, its read-back is not
   run();
   EXPECT_EQ( attempts(), 2 );
   EXPECT_EQ( seen.states.front(), Seen::Line( firstOpNs + 3 * opNs, "chip failed" ) );
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
}

TEST_F( BringUpTest, AChipThatResetsItselfWhileLockingIsReadyWithoutItsSequence ) {
   U64 const resetNs = 3'500 * ms;
   faultAt( resetNs, { .kind = FaultKind::chipReset_ } );
   run();
   EXPECT_EQ( attempts(), 1 );
   ASSERT_EQ( seen.states.size(), 3u );
   EXPECT_EQ( seen.states[1].second, "chip ready" );
   EXPECT_GT( seen.states[1].first, resetNs + 2'500 * ms );
   EXPECT_LT( seen.states[1].first, resetNs + 3'500 * ms );
}

TEST_F( BringUpTest, AReadyChipThatResetsItselfIsReadyForTheMachine ) {
   faultAt( 20 * second, { .kind = FaultKind::chipReset_ } );
   run();
   EXPECT_EQ( attempts(), 1 );
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
   EXPECT_EQ( seen.polls.size(), 4u );
}

TEST_F( BringUpTest, EveryRunIsTheSame ) {
   faultAt( 1'000, { .kind = FaultKind::bitFlip_, .address = 0x10, .mask = 1, .count = 2 } );
   faultAt( 6 * second, { .kind = FaultKind::loseLock_, .forNs = 7 * second } );
   run();
   U64 const endNs = clock->nowNs();
   Seen const first = std::exchange( seen, {} );
   EXPECT_EQ( first.states.back().second, "clock ready" );

   // The same again, later, on hardware that has a past: only the times have moved on.
   for ( Event & event : scenario.events ) event.atNs += endNs;
   scenario.untilNs = 2 * endNs;
   status->stateIs( Hardware::Max24305::uninitialized_ );
   clockStatus->stateIs( Hardware::Kiv::ClockStatus::notReady_ );
   seen = {};
   run();
   auto moved = [endNs]( Lines lines ) {
      for ( Seen::Line & line : lines ) line.first += endNs;
      return lines;
   };
   EXPECT_EQ( seen.gpos, moved( first.gpos ) );
   EXPECT_EQ( seen.states, moved( first.states ) );
   EXPECT_EQ( seen.polls, moved( first.polls ) );
   EXPECT_EQ( seen.transactions, first.transactions );
}

}   // namespace
}   // namespace Sim
