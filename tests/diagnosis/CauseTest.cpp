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
   std::vector<Cause> causes() const { return causesOf( story_ ); }
   Cause cause() const {
      std::vector<Cause> const all = causes();
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
