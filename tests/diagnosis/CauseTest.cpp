// Causes of recordings made by hand: what the situations in tests/diagnosis/faults/ do not come to, and the texts.
#include "diagnosis/Cause.h"

#include "input/Json.h"
#include "tests/input/Cards.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Diagnosis::CauseTests {
namespace {

using namespace Hardware::Steps;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr U64 second = 1'000'000'000;

class Telling {
 public:
   Telling() : story_( { 1, "", "", Input::cardOf( Input::wholeCard ), {} } ) {}

   Telling & at( U64 ns ) {
      ns_ = ns;
      return *this;
   }
   Telling & event( auto what ) {
      story_.take( { ns_, 0, std::move( what ) } );
      return *this;
   }
   Telling & step( std::string const & chip, Hardware::Step const & step ) {
      return event( Recording::Step{ chip, step } );
   }
   Telling & gate( std::string const & chip, char const * condition, char const * value, bool met ) {
      return event( Recording::Gate{ chip, { { condition, value, met } } } );
   }
   Telling & ready( std::string const & chip ) {
      step( chip, AttemptBegun{ 1, 10 } ).step( chip, ProgrammingEnded{ 1, true } );
      step( chip, LockPolled{ 1, 101, 0x11 } ).step( chip, FrequencyRead{ 10'000'000 } );
      return step( chip, Published{ Hardware::Max24305::ready_, Hardware::Kiv::ClockStatus::ready_ } );
   }
   std::vector<Cause> causes( std::vector<ChipAudit> const & looks = {} ) const { return causesOf( story_, looks ); }
   Cause cause( std::vector<ChipAudit> const & looks = {} ) const {
      std::vector<Cause> const all = causes( looks );
      EXPECT_EQ( all.size(), 1u );
      return all.empty() ? Cause() : all.front();
   }

 private:
   Story story_;
   U64 ns_ = 0;
};

TEST( CauseTest, NothingIsSaidOfWhatHasNotBegunOrIsWell ) {
   EXPECT_THAT( Telling().causes(), IsEmpty() );
   EXPECT_THAT( Telling().ready( "ptp1" ).causes(), IsEmpty() );
   EXPECT_EQ( causesText( {}, Host::Style( false ) ), "" );
}

TEST( CauseTest, ARowKeepsItsAgeWhileItsValueStays ) {
   Telling telling;
   telling.at( second ).gate( "ptp1", "time sync", "disabled", false );
   telling.at( 2 * second ).gate( "ptp1", "time sync", "disabled", false );
   Cause const cause = telling.cause();
   EXPECT_EQ( cause.rule, "timeSyncDisabled" );
   EXPECT_EQ( cause.chip, "ptp1" );
   EXPECT_EQ( cause.what, "waits for time synchronisation, which is disabled" );
   EXPECT_EQ( cause.sinceNs, second );
   EXPECT_THAT( telling.at( 3 * second ).gate( "ptp1", "time sync", "enabling", true ).causes(), IsEmpty() );
}

TEST( CauseTest, AMissingRedundancyStatusIsTheHosts ) {
   EXPECT_EQ( Telling().gate( "ptp1", "redundancy", "missing", false ).cause().rule, "redundancyMissing" );
}

TEST( CauseTest, AChipWaitsForItsTolvaneWhereNothingIsKnownOfThat ) {
   Cause const cause = Telling().gate( "ptp0", "osc0", "uninitialized", false ).cause();
   EXPECT_EQ( cause.rule, "tolvanePending" );
   EXPECT_EQ( cause.chip, "ptp0" );
   EXPECT_EQ( cause.what, "waits for its Tolvane, which is uninitialized" );
}

TEST( CauseTest, ATolvanesOwnCauseStandsForItsChips ) {
   Telling telling;
   telling.step( "osc0", AttemptBegun{ 1, 5 } ).step( "osc0", EnableDone{ 0, false } );
   telling.at( second ).step( "osc0", AttemptFailed{ 1, 5, EnableDone{ 0, false } } );
   telling.gate( "ptp0", "osc0", "failed", false );
   Cause const cause = telling.cause();
   EXPECT_EQ( cause.rule, "tolvaneSilent" );
   EXPECT_EQ( cause.sinceNs, second );
   EXPECT_THAT( cause.seen, ElementsAre( "1 of 1 attempt failed; the register reads 0x0", "ptp0 waits for it" ) );
}

TEST( CauseTest, OneReasonOfTwoChipsIsOneCause ) {
   Telling telling;
   telling.gate( "ptp0", "time sync", "disabled", false ).gate( "ptp1", "time sync", "disabled", false );
   EXPECT_EQ( telling.cause().chip, "ptp0, ptp1" );
}

TEST( CauseTest, EachUnmetRowIsACauseOfItsOwn ) {
   Telling telling;
   telling.event(
      Recording::Gate{ "ptp1", { { "sequence", "not handed over", false }, { "time sync", "disabled", false } } } );
   std::vector<Cause> const causes = telling.causes();
   ASSERT_EQ( causes.size(), 2u );
   EXPECT_EQ( causes[0].rule, "sequenceMissing" );
   EXPECT_EQ( causes[1].rule, "timeSyncDisabled" );
}

TEST( CauseTest, AnAssertionIsToldInPlainWords ) {
   auto const stoppedBy = []( char const * expression ) {
      Telling telling;
      telling.step( "ptp0", AttemptBegun{ 1, 10 } );
      telling.at( second ).event( Recording::Abort{ expression, "Max24305Sm", "void f()", 7 } );
      return telling.cause();
   };
   Cause const timeSync = stoppedBy( "timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_" );
   EXPECT_EQ( timeSync.chip, "ptp0" );
   EXPECT_EQ( timeSync.sinceNs, second );
   EXPECT_EQ( timeSync.what, "the process stopped: time synchronisation was disabled while the chip was brought up" );
   EXPECT_THAT(
      stoppedBy( "redundancyStatus()->mode() != Redundancy::active_ || pllStatus()->state() == "
                 "Hardware::Kiv::ClockStatus::ready_" )
         .what,
      HasSubstr( "although the clock status is not ready" ) );
   Cause const wiring = stoppedBy( "resetGpo()" );
   EXPECT_EQ( wiring.what, "the process stopped: `resetGpo()' does not hold, in void f()" );
   EXPECT_THAT( wiring.seen, ElementsAre( "assertion `resetGpo()' in Max24305Sm, line 7" ) );
   EXPECT_EQ( Telling().event( Recording::Abort{ "x", "S", "f", 1 } ).cause().chip, "card" );
   EXPECT_EQ(
      Telling().event( Recording::Abort{ "0", "S", "f", 1 } ).cause().what,
      "the process stopped: an operation is of no known type (unknownOp)" );
}

TEST( CauseTest, WhatIsOverStandsWithItsSpan ) {
   Telling telling;
   telling.ready( "ptp1" );
   telling.at( second ).gate( "ptp1", "time sync", "disabled", false );
   telling.step( "ptp1", Published{ Hardware::Max24305::uninitialized_, {} } );
   telling.at( 3 * second ).gate( "ptp1", "time sync", "enabling", true ).ready( "ptp1" );
   Cause const cause = telling.cause();
   EXPECT_EQ( cause.weight, Weight::earlier_ );
   EXPECT_EQ( cause.sinceNs, second );
   EXPECT_EQ( cause.untilNs, 3 * second );
   EXPECT_THAT(
      causesText( { cause }, Host::Style( false ) ),
      HasSubstr( "Earlier: ptp1: waits for time synchronisation, which is disabled, from 1.000 s to 3.000 s\n" ) );
   EXPECT_FALSE( stands( { cause }, true ) );
}

TEST( CauseTest, ACardThatIsGoneStandsForItsChips ) {
   Telling telling;
   telling.gate( "ptp1", "sequence", "not handed over", false );
   telling.at( second ).event( Recording::InputChange{ "hardwarePresent", "", 0 } );
   Cause const cause = telling.cause();
   EXPECT_EQ( cause.rule, "cardGone" );
   EXPECT_EQ( cause.chip, "card" );
   EXPECT_EQ( cause.sinceNs, second );
}

TEST( CauseTest, OneWordOfOnesIsNotYetACardThatIsGone ) {
   constexpr U32 ones = 0xFFFF'FFFF;
   Telling telling;
   telling.event( Recording::Read32{ 0x200, ones } );
   EXPECT_THAT( telling.causes(), IsEmpty() );
   EXPECT_EQ( telling.at( second ).event( Recording::Read32{ 0x200, ones } ).cause().sinceNs, 0u );
   EXPECT_THAT( telling.event( Recording::Read32{ 0x200, 0 } ).causes(), IsEmpty() );
}

TEST( StoryTest, AnAgentThatLivesForMonthsKeepsTheLastOfAll ) {
   Story story( { 1, "", "", Input::cardOf( Input::wholeCard ), {} } );
   U64 ns = 0;
   auto const take = [&]( auto what ) { story.take( { ++ns, 0, std::move( what ) } ); };
   for ( U32 i = 0; i < 20; ++i ) {
      take( Recording::Step{ "ptp1", AttemptBegun{ 1, 10 } } );
      take( Recording::Step{ "ptp1", Published{ Hardware::Max24305::ready_, {} } } );
      take( Recording::Gate{ "ptp1", { { "hardware", "absent", false } } } );
      take( Recording::Step{ "ptp1", Published{ Hardware::Max24305::uninitialized_, {} } } );
      take( Recording::InputChange{ "hardwarePresent", "", 0 } );
      take( Recording::InputChange{ "hardwarePresent", "", 1 } );
   }
   ChipStory const & chip = story.chip( "ptp1" );
   EXPECT_EQ( chip.bringUps.size(), 16u );
   EXPECT_EQ( chip.bringUps.back().attempts.front().beganNs, ns - 5 );
   EXPECT_EQ( chip.losses.size(), 16u );
   EXPECT_EQ( story.absences().size(), 16u );
   EXPECT_EQ( story.absences().front().row.sinceNs, 4 * 6 + 5u );
   EXPECT_EQ( story.absences().back().backNs, ns );
}

// Rules for attempts.

// The chip's attempts, each of which reads another byte at the operation of that place.
Cause attemptsOf( std::string const & card, std::string const & chip, U32 place, std::vector<U8> const & bytes ) {
   Input::CardDescription const described = Input::cardOf( card );
   Story story( { 1, "", "", described, {} } );
   auto const take = [&]( auto what ) { story.take( { 0, 0, std::move( what ) } ); };
   auto const & max24305 = *described.max24305( chip );
   U32 const attempts = static_cast<U32>( bytes.size() );
   for ( U32 i = 0; i < attempts; ++i ) {
      take( Recording::Step{ chip, AttemptBegun{ i + 1, attempts } } );
      take( Recording::Read32{ max24305.configOffset + 0x20, 1 } );
      take( Recording::Read32{ max24305.configOffset + 0x10, 0x8000'0000 + bytes[i] } );
      OperationDone const done{
         place, static_cast<U32>( max24305.sequence.size() ), max24305.sequence[place - 1], bytes[i],
         Outcome::readMismatch_ };
      take( Recording::Step{ chip, done } );
      take( Recording::Step{ chip, AttemptFailed{ i + 1, attempts, done } } );
   }
   std::vector<Cause> const causes = causesOf( story );
   EXPECT_EQ( causes.size(), 1u );
   return causes.empty() ? Cause() : causes.front();
}

std::string ptp1With( std::string const & sequence ) {
   return Input::with( Input::wholeCard, R"("sequence": [])", R"("sequence": [ )" + sequence + " ]" );
}

TEST( AttemptRulesTest, AChipMayAnswerAsAnotherDoes ) {
   Cause const cause = attemptsOf( ptp1With( R"("read 0x30 0x21")" ), "ptp1", 1, { 0x5E, 0x5E } );
   EXPECT_EQ( cause.rule, "answersAsOther" );
   EXPECT_THAT( cause.what, HasSubstr( "answers as ptp0 does" ) );
   EXPECT_EQ( attemptsOf( ptp1With( R"("read 0x30 0x21")" ), "ptp1", 1, { 0x5D, 0x5D } ).rule, "otherChip" );
}

TEST( AttemptRulesTest, BytesMayBeSwapped ) {
   std::string const first = R"("read 0x30 0x5e")";
   Cause const mirrored = attemptsOf( ptp1With( first ), "ptp1", 1, { 0x7A, 0x7A } );
   EXPECT_EQ( mirrored.rule, "swapped" );
   EXPECT_THAT( mirrored.what, HasSubstr( "with their lowest bit first" ) );
   EXPECT_THAT( attemptsOf( ptp1With( first ), "ptp1", 1, { 0xE5, 0xE5 } ).what, HasSubstr( "halves exchanged" ) );
}

TEST( AttemptRulesTest, AWriteThatDidNotArriveIsLostWithoutASoftReset ) {
   std::string const written = R"("write 0x20 0x0f", "write 0x10 0x3c", "read 0x10 0x3c")";
   Cause const cause = attemptsOf( ptp1With( written ), "ptp1", 3, { 0, 0 } );
   EXPECT_EQ( cause.rule, "allZeros" ) << "nothing yet proves that the chip answers";
   std::string const proved = R"("read 0x30 0x5e", "write 0x10 0x3c", "read 0x10 0x3c")";
   EXPECT_EQ( attemptsOf( ptp1With( proved ), "ptp1", 3, { 0, 0 } ).rule, "writeLost" );
   std::string const reset = R"("read 0x30 0x5e", "write 0 0x80", "sleep 1ms", "write 0x10 0x3c", "read 0x10 0x3c")";
   EXPECT_EQ( attemptsOf( ptp1With( reset ), "ptp1", 5, { 0, 0 } ).rule, "settleTooShort" );
   std::string const resetLongAgo =
      R"("read 0x30 0x5e", "write 0 0x80", "sleep 200ms", "write 0x10 0x3c", "read 0x10 0x3c")";
   EXPECT_EQ( attemptsOf( ptp1With( resetLongAgo ), "ptp1", 5, { 0, 0 } ).rule, "writeLost" );
}

TEST( AttemptRulesTest, WhatNoRuleKnowsIsToldAsItIs ) {
   std::string const proved = R"("read 0x30 0x5e", "write 0x10 0x3c", "read 0x10 0x3c")";
   Cause const cause = attemptsOf( ptp1With( proved ), "ptp1", 3, { 0xA7, 0xA7 } );
   EXPECT_EQ( cause.rule, "otherByte" );
   EXPECT_EQ( cause.what, "register 0x10: operation 3 (card.json: /chips/2/sequence/2) reads 0xa7, expected 0x3c" );
   EXPECT_THAT(
      cause.seen, ElementsAre( "2 of 2 attempts stopped there, always 0xa7; the 2 operations before it are right" ) );
}

// Rules for lock polls.

std::string_view ruleOfPolls( std::vector<U8> const & statuses ) {
   Telling telling;
   telling.step( "ptp1", AttemptBegun{ 1, 10 } ).step( "ptp1", ProgrammingEnded{ 1, true } );
   for ( std::size_t i = 0; i < statuses.size(); ++i )
      telling.at( i * second ).step( "ptp1", LockPolled{ static_cast<U32>( i + 1 ), 101, statuses[i] } );
   std::vector<Cause> const causes = telling.causes();
   return causes.empty() ? "" : causes.front().rule;
}

TEST( LockRulesTest, EachPatternHasItsName ) {
   using Statuses = std::vector<U8>;
   EXPECT_EQ( ruleOfPolls( Statuses( 9, 0x00 ) ), "" ) << "a chip is given time";
   EXPECT_EQ( ruleOfPolls( Statuses( 10, 0x10 ) ), "oneNeverLocks" );
   EXPECT_EQ( ruleOfPolls( { 0, 0, 0, 0, 0, 0, 0, 0, 1, 1 } ), "locksLate" );
   EXPECT_EQ( ruleOfPolls( { 0, 1, 1, 1, 0, 0, 0, 0, 0, 0 } ), "lostWhileLocking" );
   EXPECT_EQ( ruleOfPolls( { 0, 1, 0, 1, 0, 1, 0, 0, 0, 0 } ), "flapping" );
   EXPECT_EQ( ruleOfPolls( { 0, 1, 0, 1, 1, 0x10, 1, 0x10, 1, 1 } ), "flapping" );
}

// Rules for ready chips.

TEST( ReadyRulesTest, ATolvaneWithoutPowerGoodIsAWarningWhileItsChipsAreWell ) {
   Telling telling;
   telling.step( "osc0", AttemptBegun{ 1, 5 } ).step( "osc0", EnableDone{ 2, true } );
   telling.step( "osc0", ProgrammingEnded{ 1, true } ).step( "osc0", TolvanePublished{ Hardware::Tolvane::ready_ } );
   EXPECT_EQ( telling.cause().rule, "noPowerGood" );
   EXPECT_EQ( telling.cause().weight, Weight::cause_ );
   telling.ready( "ptp0" );
   EXPECT_EQ( telling.cause().rule, "noPowerGood" );
   EXPECT_EQ( telling.cause().weight, Weight::warning_ );
}

TEST( ReadyRulesTest, ALookSeesWhatNoPollTells ) {
   Telling telling;
   telling.ready( "ptp0" );
   ChipAudit look{ .chip = "ptp0", .answer = ChipAudit::Answer::allOnes_, .spiCtrl = 0 };
   EXPECT_EQ( telling.cause( { look } ).rule, "silentNow" );
   look = { .chip = "ptp0", .spiCtrl = 0, .verifiedCount = 2, .apllStatus = 0x11, .frequencyInHz = 10'000'000 };
   EXPECT_THAT( telling.causes( { look } ), IsEmpty() );
   look.drift = { { { .address = 0x10, .value = 0x3C, .place = "operation 3" }, 0x3D } };
   Cause const drifted = telling.cause( { look } );
   EXPECT_EQ( drifted.rule, "drifted" );
   EXPECT_THAT( drifted.seen, ElementsAre( "1 of 2 differ; register 0x10 holds 0x3d, and operation 3 verified 0x3c" ) );
   look.drift.front().found = 0;
   EXPECT_EQ( telling.cause( { look } ).rule, "wiped" );
   look.drift.clear();
   look.apllStatus = 0x10;
   EXPECT_EQ( telling.cause( { look } ).what, "was ready, and lost its lock: APLL 1 not locked any more" );
   look.apllStatus = 0x11;
   look.frequencyInHz = 10'002'000;
   EXPECT_EQ( telling.cause( { look } ).rule, "wrongFrequency" );
}

TEST( CauseTest, TheTextHasARowForEachPieceAndBreaksLongOnes ) {
   Cause cause{ .rule = "r", .chip = "ptp0", .what = "w", .sinceNs = second, .todo = { "a", "b" } };
   cause.seen = { std::string( 80, 'x' ) + " " + std::string( 80, 'y' ) };
   cause.ruledOut = "n";
   EXPECT_EQ(
      causesText( { cause }, Host::Style( false ) ), "Cause: ptp0: w, since 1.000 s\n"
                                                     "  do     a\n"
                                                     "         b\n"
                                                     "  seen   " +
                                                        std::string( 80, 'x' ) + "\n         " +
                                                        std::string( 80, 'y' ) +
                                                        "\n"
                                                        "  not    n\n"
                                                        "  rule   r\n" );
   EXPECT_TRUE( stands( { cause }, false ) );
   cause.weight = Weight::warning_;
   EXPECT_FALSE( stands( { cause }, false ) );
   EXPECT_TRUE( stands( { cause }, true ) );
}

TEST( CauseTest, ProgramsGetAllOfIt ) {
   Cause cause{ .rule = "r", .chip = "ptp0", .what = "w", .sinceNs = 5, .todo = { "a" } };
   EXPECT_EQ(
      causesJson( { cause } ),
      Input::Json::parse( R"([{"weight":"cause","rule":"r","chip":"ptp0","what":"w","sinceNs":5,"untilNs":null,)"
                          R"("do":["a"],"seen":[],"not":""}])" ) );
}

}   // namespace
}   // namespace Diagnosis::CauseTests
