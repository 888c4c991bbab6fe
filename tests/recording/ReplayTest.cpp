#include "recording/Replay.h"

#include "card/SimulatedWorld.h"
#include "input/InputError.h"
#include "input/ScenarioFile.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "report/TracesOn.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Recording::ReplayTests {
namespace {

using testing::HasSubstr;

class ReplayTest : public testing::Test {
 protected:
   // Records a simulation of the whole card, and gives the log.
   std::string record( Sim::Scenario const & scenario, U32 traceLevels = Vor::traceLevels ) const {
      LogFile file( path, EventLog::largePiece );
      Host::SimulatedWorld world( Input::cardOf( Input::wholeCard ), scenario );
      Recorder const recorder( file.log(), world.events(), world.card() );
      Host::TracesOn const tracesOn( traceLevels );
      world.run();
      file.finish();
      return folder.content( "events" );
   }
   std::string recordFaulty() const {
      Sim::Fault const flip{ .kind = Sim::FaultKind::bitFlip_, .address = 16, .mask = 1, .count = 1 };
      Sim::Scenario scenario;
      scenario.events = { { 0, { { .key = "fault", .name = "ptp0", .fault = flip } } } };
      return record( scenario );
   }
   // Replays what stands in the file now; `events` has the log of that.
   Replayed replayed() {
      std::ostringstream out;
      Host::TracesOn const tracesOn( hasTraces( path ) ? Vor::traceLevels : 0 );
      Replayed const result = replay( path, out );
      events = out.str();
      return result;
   }
   std::string error() {
      try {
         replayed();
      } catch ( Input::InputError const & error ) {
         return error.what();
      }
      return "none";
   }

   Input::Folder const folder;
   std::string const path = folder.path( "events" );
   std::string events;
};

std::vector<std::string> linesOf( std::string const & text ) {
   std::vector<std::string> lines;
   std::istringstream stream( text );
   for ( std::string line; std::getline( stream, line ); ) lines.push_back( line );
   return lines;
}

std::string textOf( std::vector<std::string> const & lines ) {
   std::string text;
   for ( std::string const & line : lines ) text += line + "\n";
   return text;
}

// From 0: the line of that occurrence of the piece, from 1.
std::size_t lineWith( std::vector<std::string> const & lines, std::string const & piece, std::size_t occurrence = 1 ) {
   for ( std::size_t i = 0; i < lines.size(); ++i )
      if ( lines[i].find( piece ) != std::string::npos && --occurrence == 0 ) return i;
   ADD_FAILURE() << "no line has " << piece;
   return 0;
}

// Each kind of fault, from the beginning and when all chips are up.
TEST_F( ReplayTest, EveryFaultGivesTheSameBytes ) {
   constexpr U64 upNs = 30'000'000'000;
   std::size_t count = 0;
   for ( Sim::FaultKind const kind : Sim::faultKinds() )
      for ( Sim::ScenarioChip const & chip : Input::cardOf( Input::wholeCard ).scenarioChips() )
         for ( U64 const atNs : { U64{ 0 }, upNs } ) {
            bool const ofCard = Sim::faultFits( kind, Sim::FaultTarget::card_ );
            if ( chip.name == "ptp1" || ( !ofCard && !Sim::faultFits( kind, chip.target ) ) ) continue;
            Sim::Fault const fault{
               .kind = kind, .address = 16, .mask = 1, .value = 1, .bits = 3, .periodNs = 2'000, .lockedNs = 1'000 };
            Sim::Scenario scenario;
            scenario.events = {
               { atNs, { { .key = "fault", .name = ofCard ? "" : chip.name, .fault = fault } } },
               { upNs + 1'000'000'000, { { .key = "gpoHam", .name = "osc0", .value = 0 } } },
               { upNs + 2'000'000'000, { { .key = "gpoHam", .name = "osc0", .value = 1 } } } };
            scenario.untilNs = upNs + 30'000'000'000;
            std::string const recorded = record( scenario );
            Replayed const result = replayed();
            EXPECT_FALSE( result.difference ) << Sim::faultKindText( kind ) << ": " << result.difference->now;
            EXPECT_EQ( result.cutOff, "" );
            EXPECT_TRUE( events == recorded ) << Sim::faultKindText( kind ) << " of " << chip.name << " at " << atNs;
            ++count;
         }
   EXPECT_GE( count, 36u );
}

TEST_F( ReplayTest, EveryInputGivesTheSameBytes ) {
   Sim::Scenario scenario;
   scenario.start.simulationVmid = true;
   scenario.start.actions = {
      { .key = "timeSync", .value = 2 },
      { .key = "switchoverStage", .name = "B", .value = 0 },
      { .key = "hardwarePresent", .value = 0 },
      { .key = "opsToDoValid", .name = "ptp0", .value = 0 } };
   scenario.events = {
      { 0, { { .key = "hardwarePresent", .value = 1 } } },
      { 1'000, { { .key = "opsToDoValid", .name = "ptp0", .value = 1 } } },
      { 20'000'000'000, { { .key = "redundancyMode", .value = 4 }, { .key = "hardwarePresent", .value = 0 } } },
      { 20'000'000'000, { { .key = "switchoverStage", .name = "B", .value = 1 } } },
      { 20'000'000'001, { { .key = "timeSync", .value = 9 }, { .key = "hardwarePresent", .value = 1 } } } };
   for ( U32 const traceLevels : { Vor::traceLevels, U32{ 0 } } ) {
      std::string const recorded = record( scenario, traceLevels );
      Replayed const result = replayed();
      EXPECT_FALSE( result.difference );
      EXPECT_EQ( result.lines, linesOf( recorded ).size() );
      EXPECT_EQ( events, recorded );
   }
}

TEST_F( ReplayTest, ARemovedAccessIsToldAtItsLine ) {
   std::vector<std::string> lines = linesOf( recordFaulty() );
   std::size_t const removed = lineWith( lines, R"("ev":"read32","address":288)", 5 );
   std::string const access = lines[removed];
   std::string const next = lines[removed + 1];
   lines.erase( lines.begin() + static_cast<std::ptrdiff_t>( removed ) );
   folder.file( "events", textOf( lines ) );
   Replayed const result = replayed();
   ASSERT_TRUE( result.difference );
   EXPECT_EQ( result.difference->line, removed + 1 );
   EXPECT_EQ( result.difference->recorded, next );
   EXPECT_EQ( result.difference->now, Input::with( access, R"("value":1)", R"("value":0)" ) ) << "nothing answers it";
   EXPECT_EQ( result.difference->during, "operation 1 of ptp0" );
   EXPECT_EQ( result.lines, removed );
   lines.resize( removed );
   EXPECT_EQ( events, textOf( lines ) );
}

TEST_F( ReplayTest, AChangedReadIsToldWhereTheLibraryTurnsElsewhere ) {
   std::vector<std::string> lines = linesOf( recordFaulty() );
   // The answer of the third operation, at its second attempt: the first found the flipped bit.
   std::size_t const failed = lineWith( lines, R"("step":"OperationDone","place":3)" );
   std::size_t const done =
      lineWith( lines, R"("step":"OperationDone","place":3)", 3 );   // the second is in AttemptFailed
   EXPECT_THAT( lines[failed], HasSubstr( "readMismatch" ) );
   std::size_t read = done;
   while ( lines[read].find( R"("address":272)" ) == std::string::npos ) --read;
   lines[read] = Input::with( lines[read], "\"value\":2147483708", "\"value\":2147483709" );
   folder.file( "events", textOf( lines ) );
   Replayed const result = replayed();
   ASSERT_TRUE( result.difference );
   EXPECT_GT( result.difference->line, read + 1 );
   EXPECT_LE( result.difference->line, done + 1 );
   EXPECT_EQ( result.difference->during, "operation 3 of ptp0" );
}

TEST_F( ReplayTest, AnInputThatIsToldTwiceIsADifference ) {
   Sim::Scenario scenario;
   scenario.events = { { 20'000'000'000, { { .key = "timeSync", .value = 2 } } } };
   std::vector<std::string> lines = linesOf( record( scenario ) );
   std::size_t const input = lineWith( lines, R"("ev":"input")" );
   lines.insert( lines.begin() + static_cast<std::ptrdiff_t>( input ), lines[input] );
   folder.file( "events", textOf( lines ) );
   Replayed const result = replayed();
   ASSERT_TRUE( result.difference );
   EXPECT_EQ( result.difference->line, input + 2 );
}

TEST_F( ReplayTest, WhatTheLibraryDoesNoMoreIsADifference ) {
   std::vector<std::string> lines = linesOf( record( {} ) );
   lines.push_back( R"({"ns":99000000000,"ev":"read32","address":288,"value":0})" );
   folder.file( "events", textOf( lines ) );
   Replayed const result = replayed();
   ASSERT_TRUE( result.difference );
   EXPECT_EQ( result.difference->line, lines.size() );
   EXPECT_EQ( result.difference->now, "" );
}

TEST_F( ReplayTest, AccessesOfOthersArePassedOver ) {
   std::vector<std::string> lines = linesOf( record( {} ) );
   std::string const recorded = textOf( lines );
   std::size_t const at = lineWith( lines, R"("ev":"write32")", 20 );
   std::vector<std::string> const aside = {
      R"({"ns":5,"ev":"aside","by":"poke","begins":true})", R"({"ns":5,"ev":"write32","address":256,"value":1})",
      R"({"ns":5,"ev":"spi","chip":"ptp0","bytes":[2,0,16,60],"response":0})",
      R"({"ns":5,"ev":"aside","by":"poke","begins":false})" };
   lines.insert( lines.begin() + static_cast<std::ptrdiff_t>( at ), aside.begin(), aside.end() );
   folder.file( "events", textOf( lines ) );
   Replayed const result = replayed();
   EXPECT_FALSE( result.difference );
   EXPECT_EQ( result.lines, lines.size() );
   EXPECT_EQ( events, recorded );
}

// A real card takes longer than the sleeps.
TEST_F( ReplayTest, TheTimesOfARealCardAreNotCompared ) {
   Sim::Scenario scenario;
   scenario.events = {
      { 30'000'000'000, { { .key = "gpoHam", .name = "osc0", .value = 0 } } },
      { 31'000'000'000, { { .key = "gpoHam", .name = "osc0", .value = 1 } } } };
   std::vector<std::string> lines = linesOf( record( scenario ) );
   lines[0] = Input::with( lines[0], R"("cardFile")", R"("began":"2026-11-21T17:30:00.123Z","cardFile")" );
   for ( std::size_t i = 1; i < lines.size(); ++i ) {
      std::size_t const comma = lines[i].find( ',' );
      U64 const ns = std::stoull( lines[i].substr( 6, comma - 6 ) );
      lines[i] = "{\"ns\":" + std::to_string( ns + ns / 10 + 1'000 * i ) + lines[i].substr( comma );
   }
   folder.file( "events", textOf( lines ) );
   Replayed result = replayed();
   EXPECT_FALSE( result.difference ) << result.difference->line << result.difference->now;
   EXPECT_EQ( result.lines, lines.size() );
   std::erase_if( lines, []( std::string const & line ) { return line.find( R"("ev":"spi")" ) != std::string::npos; } );
   std::vector<std::string> const again = linesOf( events );
   ASSERT_EQ( again.size(), lines.size() );
   for ( std::size_t i = 1; i < lines.size(); ++i )
      EXPECT_EQ( again[i].substr( again[i].find( ',' ) ), lines[i].substr( lines[i].find( ',' ) ) );

   // A signal may interrupt a sleep.
   std::size_t const sleep = lineWith( lines, R"("ev":"sleep","forNs":500000000)" );
   U64 const ns = std::stoull( lines[sleep].substr( 6 ) ) + 1'000;
   std::vector<std::string> interrupted = lines;
   interrupted.insert(
      interrupted.begin() + static_cast<std::ptrdiff_t>( sleep ) + 1,
      "{\"ns\":" + std::to_string( ns ) + R"(,"ev":"sleep","forNs":499999000})" );
   folder.file( "events", textOf( interrupted ) );
   result = replayed();
   EXPECT_FALSE( result.difference ) << result.difference->line << result.difference->now;
   EXPECT_EQ( linesOf( events ).size(), lines.size() );

   // It may end with any of them, and is then no different.
   lines.resize( lineWith( lines, R"("step":"OperationDone","place":2)" ) );
   folder.file( "events", textOf( lines ) );
   result = replayed();
   EXPECT_FALSE( result.difference );
   EXPECT_EQ( result.lines, lines.size() );
   EXPECT_EQ( result.cutOff, path + ":" + std::to_string( lines.size() ) + ": the recording ends within a bring-up" );
}

TEST_F( ReplayTest, ALogThatWasCutOffIsReplayedUpToThere ) {
   std::string const recorded = record( {} );
   folder.file( "events", recorded.substr( 0, recorded.size() / 2 ) );
   Replayed const result = replayed();
   EXPECT_FALSE( result.difference );
   EXPECT_EQ( result.lines, linesOf( events ).size() );
   EXPECT_TRUE( recorded.starts_with( events ) );
   EXPECT_THAT( result.cutOff, HasSubstr( "the line has no end" ) );
   // A simulation's is written in large pieces: where whole lines are missing, it is another log.
   std::vector<std::string> lines = linesOf( recorded );
   lines.resize( lineWith( lines, R"("step":"OperationDone")" ) );
   folder.file( "events", textOf( lines ) );
   Replayed const shorter = replayed();
   ASSERT_TRUE( shorter.difference );
   EXPECT_EQ( shorter.difference->line, lines.size() + 1 );
   EXPECT_EQ( shorter.difference->recorded, "" );
}

TEST_F( ReplayTest, ALogWithoutItsFirstLinesIsRefused ) {
   std::vector<std::string> lines = linesOf( record( {} ) );
   std::string const first = lines[0];
   lines.erase( lines.begin() );
   folder.file( "events", textOf( lines ) );
   EXPECT_THAT( error(), HasSubstr( ":1: /ev: expected \"recording\"" ) );
   Input::Json header = Input::Json::parse( first );
   header.erase( "card" );
   folder.file( "events", header.dump() + "\n" + textOf( lines ) );
   EXPECT_EQ( error(), path + ":1: expected the card description under \"card\", found none" );
   header = Input::Json::parse( first );
   header["start"]["gpoHam"]["ptp9"] = true;
   folder.file( "events", header.dump() + "\n" + textOf( lines ) );
   EXPECT_EQ( error(), path + ": the scenario's reset output of ptp9 has its handle finds nothing to act upon" );
}

}   // namespace
}   // namespace Recording::ReplayTests
