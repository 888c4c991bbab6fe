// What the machines make of hardware that is not as described, and of chips that settle, change or flip their bits.
#include "card/SimulatedWorld.h"
#include "input/ScenarioFile.h"
#include "sim/CardListener.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <utility>

namespace BuiltTests {
namespace {

using namespace Input;

// How a run of the scenario on the card ended: states, reset pulses and the last frequency that was read, by name.
struct Outcome final : Sim::CardListener {
   explicit Outcome( std::string const & scenario, std::string const & card = wholeCard ) {
      JsonDocument const file( "s.json", scenario );
      CardDescription const description = cardOf( card );
      Host::SimulatedWorld world( description, readScenario( file.root(), description ) );
      world.events().listenerAdd( *this );
      world.run();
      for ( auto const & [name, status] : world.card().max24305StatusDir()->max24305() )
         states[name.string().stdString()] = status->state();
      osc0 = world.card().tolvaneStatusDir()->tolvane( "osc0" )->state();
   }
   void onGpo( U64, std::string_view name, bool active ) override { pulses[std::string( name )] += active; }
   void onRead32( U64, U32 address, U32 value ) override {
      ++reads[address];
      if ( value != 0 ) lastRead[address] = value;
   }
   void onSpi( U64, std::string_view chip, std::array<U8, 4> const & bytes, U8 ) override {
      if ( bytes[0] == 2 ) written.insert( std::string( chip ) );
   }

   std::map<std::string, Hardware::Max24305::State> states;
   Hardware::Tolvane::State osc0 = Hardware::Tolvane::uninitialized_;
   std::map<std::string, int> pulses;
   std::map<U32, int> reads;
   std::map<U32, U32> lastRead;     // that was not 0
   std::set<std::string> written;   // chips that saw a register write
};

std::string built( std::string const & what ) { return R"({ "built": { )" + what + " } }"; }
std::string builtChips( std::string const & chips ) { return built( R"("chips": { )" + chips + " }" ); }

constexpr auto ready = Hardware::Max24305::ready_;
constexpr auto failed = Hardware::Max24305::failed_;

TEST( Built, AsDescribedAllIsWell ) {
   Outcome const run( built( "" ) );
   EXPECT_EQ( run.states.at( "ptp0" ), ready );
   EXPECT_EQ( run.states.at( "ptp1" ), ready );
   EXPECT_EQ( run.osc0, Hardware::Tolvane::ready_ );
   EXPECT_EQ(
      run.pulses, ( std::map<std::string, int>{ { "osc0Reset", 1 }, { "ptp0Reset", 1 }, { "ptp1Reset", 1 } } ) );
   EXPECT_EQ( run.lastRead.at( 512 ), 10'000'000u );
   EXPECT_EQ( run.written, std::set<std::string>{ "ptp0" } );
}

TEST( Built, AnOutputOnAnotherBitOrLevelHoldsItsChipInReset ) {
   for ( char const * gpo : { R"("bit": 5)", R"("activeType": "activeHigh")" } ) {
      Outcome const run( built( R"("gpos": { "ptp0Reset": { )" + std::string( gpo ) + " } }" ) );
      EXPECT_EQ( run.states.at( "ptp0" ), failed ) << gpo;
      EXPECT_EQ( run.pulses.at( "ptp0Reset" ), 10 ) << gpo;
      EXPECT_EQ( run.states.at( "ptp1" ), ready ) << gpo;
   }
}

TEST( Built, AMasterElsewhereIsNotFound ) {
   Outcome const run( builtChips( R"("ptp0": { "configOffset": 2048 })" ) );
   EXPECT_EQ( run.states.at( "ptp0" ), failed );
   EXPECT_EQ( run.pulses.at( "ptp0Reset" ), 10 );
   EXPECT_EQ( run.states.at( "ptp1" ), ready );
}

TEST( Built, WithMastersExchangedEachChipIsResetForTheOther ) {
   Outcome const run( builtChips( R"("ptp0": { "configOffset": 1024 }, "ptp1": { "configOffset": 256 })" ) );
   // Nothing tells a machine that the chip which it programs is not the one that it has reset.
   EXPECT_EQ( run.written, std::set<std::string>{ "ptp1" } );
   EXPECT_EQ( run.pulses.at( "ptp0Reset" ), 1 );
   EXPECT_EQ( run.pulses.at( "ptp1Reset" ), 1 );
   EXPECT_EQ( run.states.at( "ptp0" ), ready );
   EXPECT_EQ( run.states.at( "ptp1" ), ready );
}

TEST( Built, AFrequencyRegisterElsewhereOrAnotherFrequencyIsNoObstacle ) {
   Outcome const elsewhere( builtChips( R"("ptp0": { "statusOffset": 2048 })" ) );
   EXPECT_EQ( elsewhere.states.at( "ptp0" ), ready );
   EXPECT_EQ( elsewhere.lastRead.count( 512 ), 0u );
   Outcome const other( builtChips( R"("ptp0": { "outputFrequencyInHz": 9999999 })" ) );
   EXPECT_EQ( other.states.at( "ptp0" ), ready );
   EXPECT_EQ( other.lastRead.at( 512 ), 9'999'999u );
}

TEST( Built, ATolvaneElsewhereIsNotFoundAndItsChipNotBegun ) {
   Outcome const run( builtChips( R"("osc0": { "offset": 16384 })" ) );
   EXPECT_EQ( run.osc0, Hardware::Tolvane::failed_ );
   EXPECT_EQ( run.pulses.at( "osc0Reset" ), 5 );
   EXPECT_EQ( run.states.at( "ptp0" ), Hardware::Max24305::uninitialized_ );
   EXPECT_EQ( run.pulses.count( "ptp0Reset" ), 0u );
}

TEST( Built, WhatStandsInTheFifosIsCleanedUp ) {
   Outcome const asDescribed( "{}" );
   // ptp1's master has no reset: its clean-up alone empties the FIFOs.
   for ( auto const & [chip, responseFifo] : { std::pair{ "ptp0", 272u }, std::pair{ "ptp1", 1040u } } ) {
      Outcome const run( builtChips( '"' + std::string( chip ) + R"(": { "spiResponses": 63, "spiCommands": 63 })" ) );
      EXPECT_EQ( run.states.at( chip ), ready ) << chip;
      EXPECT_EQ( run.reads.at( responseFifo ), asDescribed.reads.at( responseFifo ) + 63 ) << chip;
      EXPECT_EQ( run.pulses.at( std::string( chip ) + "Reset" ), 1 ) << chip;
   }
}

std::string faulty( std::string const & fault ) {
   return R"({ "events": [ { "atNs": 0, "fault": { "chip": "osc0", )" + fault + " } } ] }";
}

TEST( FaultyTolvane, FlippedBitsCostAttemptsWhileBothAreGone ) {
   // Two reads an attempt; either bit shows that the chip is there, so one flipped bit does no harm.
   Outcome const one( faulty( R"("kind": "bitFlip", "mask": 2)" ) );
   EXPECT_EQ( one.osc0, Hardware::Tolvane::ready_ );
   EXPECT_EQ( one.pulses.at( "osc0Reset" ), 1 );
   Outcome const both( faulty( R"("kind": "bitFlip", "mask": 3, "count": 4)" ) );
   EXPECT_EQ( both.osc0, Hardware::Tolvane::ready_ );
   EXPECT_EQ( both.pulses.at( "osc0Reset" ), 3 );
}

TEST( FaultyTolvane, StuckBitsKeepItDownOrHideThatItIsDown ) {
   Outcome const low( faulty( R"("kind": "bitStuck", "mask": 3, "value": 0)" ) );
   EXPECT_EQ( low.osc0, Hardware::Tolvane::failed_ );
   EXPECT_EQ( low.pulses.at( "osc0Reset" ), 5 );
   EXPECT_EQ( low.states.at( "ptp0" ), Hardware::Max24305::uninitialized_ );
   Outcome const high( R"({ "events": [ { "atNs": 0, "fault": { "kind": "noPower" } },
      { "atNs": 0, "fault": { "kind": "bitStuck", "chip": "osc0", "mask": 1, "value": 1 } } ] })" );
   EXPECT_EQ( high.osc0, Hardware::Tolvane::ready_ );
   EXPECT_EQ( high.pulses.at( "osc0Reset" ), 1 );
}

// The card with ptp0's simulated properties, and its sequence replaced.
std::string cardWith( std::string const & simulated, std::string const & operations ) {
   return with(
      with(
         wholeCard, R"("input": "tolvane", "outputFrequencyInHz")",
         R"("simulated": { )" + simulated + R"( }, "input": "tolvane", "outputFrequencyInHz")" ),
      shortSequence, "[" + operations + "]" );
}

std::string op( std::string const & type, U32 address, U32 value ) {
   return "\"Value('Hardware::Max24305::Op', ** {'key': 0, 'type': '" + type +
          "', 'address': " + std::to_string( address ) + ", 'value': " + std::to_string( value ) + "})\"";
}

TEST( SettlingChip, NeedsAPauseAfterItsSoftReset ) {
   std::string const settles = R"("settleNs": 1000000)";
   std::string const softReset = op( "write", 0, 0x80 ) + ',';
   std::string const written = op( "write", 16, 60 ) + ',' + op( "read", 16, 60 );
   Outcome const hasty( "{}", cardWith( settles, softReset + written ) );
   EXPECT_EQ( hasty.states.at( "ptp0" ), failed );
   EXPECT_EQ( hasty.pulses.at( "ptp0Reset" ), 10 );
   Outcome const patient( "{}", cardWith( settles, softReset + op( "sleep", 0, 1'000'000 ) + ',' + written ) );
   EXPECT_EQ( patient.states.at( "ptp0" ), ready );
   EXPECT_EQ( patient.pulses.at( "ptp0Reset" ), 1 );
   Outcome const unsettled( "{}", cardWith( "", softReset + written ) );
   EXPECT_EQ( unsettled.pulses.at( "ptp0Reset" ), 1 );
}

TEST( VolatileBits, FailAReadBackUntilTheyHappenToFit ) {
   std::string const written = op( "write", 16, 60 ) + ',' + op( "read", 16, 60 );
   Outcome const run( "{}", cardWith( R"("volatile": [ { "address": 16, "mask": 3 } ])", written ) );
   EXPECT_EQ( run.states.at( "ptp0" ), ready );
   EXPECT_EQ( run.pulses.at( "ptp0Reset" ), 4 );   // 61, 62, 63, 60
   Outcome const elsewhere( "{}", cardWith( R"("volatile": [ { "address": 17, "mask": 3 } ])", written ) );
   EXPECT_EQ( elsewhere.pulses.at( "ptp0Reset" ), 1 );
}

}   // namespace
}   // namespace BuiltTests
