#include "report/Narrator.h"

#include "tests/input/Cards.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Host::NarratorTests {
namespace {

using namespace Hardware::Steps;
using testing::ElementsAre;
using ChipState = Hardware::Max24305::State;
using Clock = Hardware::Kiv::ClockStatus;

// A narrator of the whole card, and what it says of events that are told by hand.
class NarratorTest : public testing::Test {
 protected:
   explicit NarratorTest( NarratorOptions options = { .traceLevel = 1 } )
      : narrator( Input::cardOf( Input::wholeCard ), options, [this]( JournalLine const & line ) {
           constexpr char const * tones[] = { "plain", "good", "bad", "busy", "quiet", "strong" };
           std::ostringstream text;
           text << line.ns << ' ' << line.chip << ": " << line.what << " | " << line.details << " | "
                << tones[static_cast<std::size_t>( line.tone )];
           lines.push_back( text.str() );
        } ) {}

   template<class What> void tell( U64 ns, What what ) { narrator.take( { ns, 0, std::move( what ) } ); }
   void step( U64 ns, std::string const & chip, Hardware::Step const & step ) {
      tell( ns, Recording::Step{ chip, step } );
   }
   // The counts that a poll of an SPI master reads, that of ptp0 unless told.
   void poll( U32 commands, U32 responses, U32 base = 256 ) {
      tell( 0, Recording::Read32{ base + 0x20, commands << 16 | responses } );
   }
   // How far a poll finds the FIFOs is chance.
   void attemptFails( U32 number, U64 ns, U8 found ) {
      step( ns, "ptp0", AttemptBegun{ number, 10 } );
      poll( 7, 0 );
      step( ns + 5, "ptp0", CleanedUp{} );
      poll( number, 0 );
      poll( number, 0 );
      poll( 3, 3, 1024 );
      poll( 0, 1 );
      OperationDone const done{ 3, 3, { 2, Hardware::Max24305::read_, 16, 0x3C }, found, Outcome::readMismatch_ };
      step( ns + 4'005, "ptp0", done );
      if ( number == 1 ) step( ns + 4'005, "ptp0", Published{ ChipState::failed_, Clock::notReady_ } );
      step( ns + 4'009, "ptp0", AttemptFailed{ number, 10, done } );
      step( ns + 4'009, "ptp0", Published{ ChipState::failed_, Clock::failed_ } );
   }
   std::vector<std::string> told() { return std::exchange( lines, {} ); }

   std::vector<std::string> lines;
   Narrator narrator;
};

std::string const failure =
   "operation 3 of 3, card.json: /chips/0/sequence/2, read 0x10: expected 0x3c, found 0x3d; FIFOs ";

TEST_F( NarratorTest, AFailureHasItsOperationAndWhatItsPollsRead ) {
   attemptFails( 1, 100, 0x3D );
   EXPECT_THAT(
      told(), ElementsAre(
                 "100 ptp0: attempt 1 | reset pulse | plain",
                 "4109 ptp0: failed | " + failure + "1/0 2 times, 0/1 | bad", "4109 ptp0: clock failed |  | bad" ) );
}

TEST_F( NarratorTest, AWriteAndATolvaneMayFailToo ) {
   OperationDone const write{ 2, 3, { 1, Hardware::Max24305::write_, 16, 60 }, {}, Outcome::writeNotSent_ };
   step( 5, "ptp0", AttemptFailed{ 1, 10, write } );
   step( 6, "osc0", AttemptFailed{ 1, 5, EnableDone{ 0, false } } );
   EXPECT_THAT(
      told(),
      ElementsAre(
         "5 ptp0: failed | operation 2 of 3, card.json: /chips/0/sequence/1, write 0x3c to 0x10: not sent | bad",
         "6 osc0: failed | neither enable nor power good reads back | bad" ) );
}

TEST_F( NarratorTest, OfTheTwoRecordsOfAChipTheOneThatChangedIsTold ) {
   step( 1, "ptp0", Published{ ChipState::uninitialized_, Clock::notReady_ } );
   EXPECT_THAT( told(), ElementsAre() );
   step( 2, "ptp0", Published{ ChipState::locking_, Clock::notReady_ } );
   EXPECT_THAT( told(), ElementsAre( "2 ptp0: locking |  | busy" ) );
   step( 3, "ptp0", LockPolled{ 1, 101, 0x11 } );
   step( 3, "ptp0", FrequencyRead{ 25 } );
   step( 3, "ptp0", Published{ ChipState::ready_, Clock::notReady_ } );
   EXPECT_THAT(
      told(), ElementsAre(
                 "3 ptp0: lock poll 1 | APLL status 0x11: APLL 1 locked, APLL 2 locked | plain",
                 "3 ptp0: ready | after 1 poll, output 25 Hz | good" ) );
   step( 4, "ptp0", Published{ ChipState::ready_, Clock::ready_ } );
   EXPECT_THAT( told(), ElementsAre( "4 ptp0: clock ready |  | good" ) );
   step( 5, "ptp0", Published{ ChipState::ready_, Clock::ready_ } );
   EXPECT_THAT( told(), ElementsAre() );
   step( 6, "ptp0", Published{ ChipState::uninitialized_, Clock::notReady_ } );
   EXPECT_THAT( told(), ElementsAre( "6 ptp0: uninitialized |  | busy", "6 ptp0: clock notReady |  | busy" ) );
}

TEST_F( NarratorTest, TheStatesOfATolvaneAreToldOnce ) {
   step( 1, "osc0", AttemptBegun{ 1, 5 } );
   step( 800'000'001, "osc0", TolvanePublished{ Hardware::Tolvane::ready_ } );
   step( 800'000'001, "osc0", TolvanePublished{ Hardware::Tolvane::ready_ } );
   step( 900'000'000, "osc0", TolvanePublished{ Hardware::Tolvane::uninitialized_ } );
   EXPECT_THAT(
      told(), ElementsAre(
                 "1 osc0: attempt 1 | reset pulse | plain", "800000001 osc0: ready | 0.800 s after its reset | good",
                 "900000000 osc0: uninitialized |  | busy" ) );
}

TEST_F( NarratorTest, APollIsToldWhenItReadsSomethingNewAndTheLastOfALock ) {
   step( 1, "ptp0", Published{ ChipState::locking_, Clock::notReady_ } );
   step( 2, "ptp0", LockPolled{ 1, 101, 0 } );
   step( 3, "ptp0", LockPolled{ 2, 101, 0 } );
   step( 4, "ptp0", LockPolled{ 3, 101, 0xFF } );
   step( 5, "ptp0", LockPolled{ 4, 101, 0xFF } );
   narrator.end();
   std::string const none = "APLL status 0x00: APLL 1 not locked, APLL 2 not locked | plain";
   std::string const all = "APLL status 0xff: APLL 1 locked, APLL 2 locked, or no answer | plain";
   EXPECT_THAT(
      told(), ElementsAre(
                 "1 ptp0: locking |  | busy", "2 ptp0: lock poll 1 | " + none, "4 ptp0: lock poll 3 | " + all,
                 "5 ptp0: lock poll 4 | " + all ) );
}

TEST_F( NarratorTest, InputsAreToldAsScenariosTellThem ) {
   tell( 1, Recording::InputChange{ "timeSync", "", 2 } );
   tell( 2, Recording::InputChange{ "gpoHam", "osc0", 0 } );
   tell( 3, Recording::InputChange{ "weather", "here", 7 } );
   EXPECT_THAT(
      told(), ElementsAre(
                 "1 : input | time-sync state 2 | strong", "2 : input | reset output of osc0 has no handle | strong",
                 "3 : input | weather here 7 | strong" ) );
}

TEST_F( NarratorTest, AMessageThatNobodyDeclaredIsItsIdentifier ) {
   tell( 1, Recording::Log{ "SOME_OTHER" } );
   tell( 2, Recording::Log{ "MAX24305_INIT_FAILED" } );
   EXPECT_THAT(
      told(),
      ElementsAre(
         "1 : log | SOME_OTHER | bad",
         testing::StartsWith( "2 : log | MAX24305_INIT_FAILED: Initialization of the Max24305 chip has failed. " ) ) );
}

TEST_F( NarratorTest, AssertionsAreToldAndTracesUpToTheLevel ) {
   tell( 1, Recording::Trace{ "F", 1, "Source", "function", "a\x02" } );
   tell( 2, Recording::Trace{ "F", 2, "Source", "function", "b" } );
   tell( 3, Recording::Abort{ "0", "Max24305Sm", "void f()", 77 } );
   EXPECT_THAT(
      told(), ElementsAre(
                 "1 : trace 1 | Source function: a\\x02 | quiet",
                 "3 : stopped | assertion `0' failed in Max24305Sm, line 77 | bad" ) );
}

TEST_F( NarratorTest, AChipThatTheCardDoesNotHaveIsPassedOver ) {
   step( 1, "ptp9", AttemptBegun{ 1, 10 } );
   tell( 1, Recording::Gate{ "ptp9", {} } );
   EXPECT_THAT( told(), ElementsAre() );
}

class SummingNarratorTest : public NarratorTest {
 protected:
   SummingNarratorTest() : NarratorTest( { .sumUp = true } ) {}
};

TEST_F( SummingNarratorTest, AttemptsThatFailAlikeAreOneLine ) {
   for ( U32 number = 1; number <= 10; ++number ) attemptFails( number, number * 2'400'000'000ULL, 0x3D );
   step( 30'000'000'000, "ptp0", Published{ ChipState::uninitialized_, Clock::notReady_ } );
   std::vector<std::string> const lines = told();
   EXPECT_THAT(
      lines,
      ElementsAre(
         "2400000000 ptp0: attempt 1 | reset pulse | plain", testing::HasSubstr( failure ),
         "2400004009 ptp0: clock failed |  | bad", "4800000000 ptp0: attempts | 2 to 10: the same, 19.200 s | bad",
         "30000000000 ptp0: uninitialized |  | busy", "30000000000 ptp0: clock notReady |  | busy" ) );
}

TEST_F( SummingNarratorTest, AnotherFailureASuccessAndOtherChipsAreNotTheSame ) {
   attemptFails( 1, 10'000, 0x3D );
   attemptFails( 2, 20'000, 0x3D );
   attemptFails( 3, 30'000, 0x3E );
   step( 40'000, "ptp0", AttemptBegun{ 4, 10 } );
   step( 41'000, "osc0", TolvanePublished{ Hardware::Tolvane::uninitialized_ } );
   step( 42'000, "ptp0", ProgrammingEnded{ 4, true } );
   step( 50'000, "ptp0", AttemptBegun{ 1, 10 } );
   EXPECT_THAT(
      told(),
      ElementsAre(
         "10000 ptp0: attempt 1 | reset pulse | plain", testing::HasSubstr( failure ),
         "14009 ptp0: clock failed |  | bad", "20000 ptp0: attempt 2 | the same, 0.000004 s | bad",
         "30000 ptp0: attempt 3 | reset pulse | plain", testing::HasSubstr( "found 0x3e" ),
         "40000 ptp0: attempt 4 | reset pulse | plain", testing::HasSubstr( "ptp0: programming | 0/3 operations" ),
         "50000 ptp0: attempt 1 | reset pulse | plain" ) );
}

TEST_F( SummingNarratorTest, WhatWasKeptBackIsToldAtTheEnd ) {
   attemptFails( 1, 10'000, 0x3D );
   attemptFails( 2, 20'000, 0x3D );
   step( 30'000, "ptp0", AttemptBegun{ 3, 10 } );
   told();
   narrator.end();
   EXPECT_THAT(
      told(),
      ElementsAre(
         "20000 ptp0: attempt 2 | the same, 0.000004 s | bad", "30000 ptp0: attempt 3 | reset pulse | plain" ) );
}

class OperationsNarratorTest : public NarratorTest {
 protected:
   OperationsNarratorTest() : NarratorTest( { .inputs = false, .operations = true } ) {}
};

TEST_F( OperationsNarratorTest, EachOperationHasALineWhereAskedFor ) {
   step( 100, "ptp0", CleanedUp{} );
   poll( 1, 0 );
   step( 4'100, "ptp0", OperationDone{ 2, 3, { 1, Hardware::Max24305::write_, 16, 60 }, {}, Outcome::done_ } );
   step(
      20'004'100, "ptp0", OperationDone{ 9, 9, { 1, Hardware::Max24305::sleep_, 0, 20'000'000 }, {}, Outcome::done_ } );
   tell( 20'004'100, Recording::InputChange{ "timeSync", "", 2 } );
   EXPECT_THAT(
      told(),
      ElementsAre(
         "4100 ptp0: operation 2 | card.json: /chips/0/sequence/1, write 0x3c to 0x10; FIFOs 1/0; 0.000004 s | plain",
         "20004100 ptp0: operation 9 | sleep 0.020 s; 0.020 s | plain" ) );
}

TEST_F( OperationsNarratorTest, WhoReadsAMasterForDaysFillsNoMemory ) {
   for ( U32 read = 0; read < 100; ++read ) poll( read % 50, 0 );
   step( 1, "ptp0", OperationDone{ 1, 3, { 0, Hardware::Max24305::read_, 48, 94 }, 94, Outcome::done_ } );
   std::string const line = told().at( 0 );
   EXPECT_EQ( std::count( line.begin(), line.end(), '/' ), 4 + 16 ) << line;
   EXPECT_THAT( line, testing::HasSubstr( "FIFOs 34/0, 35/0" ) );
}

}   // namespace
}   // namespace Host::NarratorTests
