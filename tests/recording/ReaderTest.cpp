#include "recording/Reader.h"

#include "card/SimulatedWorld.h"
#include "framework/Assert.h"
#include "framework/Log.h"
#include "framework/Trace.h"
#include "recording/EventLog.h"
#include "recording/Recorder.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace Recording::ReaderTests {
namespace {

using Hardware::Max24305::Op;
using testing::ElementsAre;
using testing::HasSubstr;

class ReaderTest : public testing::Test {
 protected:
   // The log with what is written into it behind a first line.
   void write( auto const & what ) const {
      std::ofstream file( path, std::ios::binary );
      EventLog log( file );
      log.onRecording( header() );
      what( log );
   }
   Header header() const {
      folder.file(
         "ptp0.ops", "# two\nValue('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', 'address': 48, "
                     "'value': 94})\n\nValue('Hardware::Max24305::Op', ** {'key': 1, 'type': 'sleep', "
                     "'address': 0, 'value': 7})\n" );
      std::string const card = Input::with( Input::wholeCard, Input::shortSequence, R"("ptp0.ops")" );
      Header header;
      header.program = "1.2.3";
      header.began = "2026-11-21T17:30:00.123Z";
      header.card = Input::readCard( folder.file( "card.json", card ) );
      header.start = {
         { "simulationVmid", "", 0 }, { "timeSync", "", 7 }, { "gpoHam", "osc0", 1 }, { "gpoHam", "ptp0", 0 } };
      return header;
   }
   std::string withLine( std::string const & line ) const {
      write( []( EventLog & ) {} );
      std::ofstream( path, std::ios::binary | std::ios::app ) << line;
      return line;
   }
   std::string error() const {
      try {
         Reader reader( path );
         while ( reader.next() ) {
         }
      } catch ( Input::InputError const & error ) {
         return error.what();
      }
      return "none";
   }
   // What was read, written again, so that what is equal was read as it was written; what it consists of is noted.
   std::string rewritten() {
      std::ostringstream out;
      EventLog log( out );
      Reader reader( path );
      log.onRecording( reader.header() );
      std::size_t line = 1;
      while ( std::optional<Event> const event = reader.next() ) {
         EXPECT_EQ( event->line, ++line );
         read.insert( event->what.index() );
         if ( auto const * step = std::get_if<Step>( &event->what ) ) steps.insert( step->step.index() );
         log.onEvent( *event );
      }
      EXPECT_EQ( reader.skipped(), 0u );
      EXPECT_EQ( reader.cutOff(), "" );
      log.flush();
      return out.str();
   }

   Input::Folder const folder;
   std::string const path = folder.path( "events" );
   std::set<std::size_t> read;
   std::set<std::size_t> steps;
};

TEST_F( ReaderTest, EveryKindWrittenAndReadIsEqual ) {
   namespace S = Hardware::Steps;
   write( []( EventLog & log ) {
      Vor::String const text = "SPI ERROR: \x02 \"\\ \xc3\xa9";
      Op const op( 5, Hardware::Max24305::write_, 0xFFFF'FFFF, 60 );
      S::OperationDone const done{ 3, 431, op, {}, S::Outcome::writeNotSent_ };
      std::vector<Hardware::GateRow> const rows{ { "hardware", "absent" }, { "time sync", "enabling", true } };
      log.onWrite32( 0, 256, 0x80001000 );
      log.onRead32( 1'000, 288, 0 );
      log.onGpo( 2'000, "ptp0Reset", true );
      log.onSleep( 3'000, std::numeric_limits<U64>::max() );
      log.onState( 4'000, { "/hardware/max24305/status/ptp0", "state", 2, "ready" } );
      log.onState( 4'000, { "/hardware/kiv/clockStatus/ptp0", "state", 7, "" } );
      log.onTrace( 5'000, { "Hardware::Max24305Sm", 1, "Max24305Sm", "doRead", 42, text } );
      log.onLog( 6'000, { text, 3, text, text, text, {} } );
      log.onSpi( 7'000, "ptp0", { 3, 0x12, 0x34, 0 }, 0x5A );
      log.onStep( 8'000, "ptp0", S::GateEvaluated{ rows } );
      log.onStep( 8'000, "ptp0", S::GateEvaluated{} );
      log.onStep( 8'000, "ptp0", S::AttemptBegun{ 1, 10 } );
      log.onStep( 8'000, "ptp0", S::ResetPulsed{} );
      log.onStep( 8'000, "ptp0", S::CleanedUp{} );
      log.onStep( 8'000, "ptp0", done );
      log.onStep( 8'000, "ptp0", S::OperationDone{ 4, 431, op, U8{ 0xFF }, S::Outcome::readMismatch_ } );
      log.onStep( 8'000, "osc0", S::EnableDone{ 2, true } );
      log.onStep( 8'000, "ptp0", S::AttemptFailed{ 1, 10, done } );
      log.onStep( 8'000, "osc0", S::AttemptFailed{ 1, 5, S::EnableDone{ 0, false } } );
      log.onStep( 8'000, "ptp0", S::ProgrammingEnded{ 2, true } );
      log.onStep( 8'000, "ptp0", S::LockPolled{ 1, 100, 3 } );
      log.onStep( 8'000, "ptp0", S::FrequencyRead{ 10'000'000 } );
      log.onStep( 8'000, "ptp0", S::Published{ Hardware::Max24305::ready_, Hardware::Kiv::ClockStatus::failed_ } );
      log.onStep( 8'000, "osc0", S::TolvanePublished{ static_cast<Hardware::Tolvane::State>( 9 ) } );
      log.tell( 9'000, InputChange{ "timeSync", "", 2 } );
      log.tell( 9'000, InputChange{ "gpoHam", "osc0", 0 } );
      log.tell( 9'000, Aside{ "poke", true } );
      log.tell( 9'000, Aside{ "poke", false } );
      log.tell( 9'000, Dropped{ 17 } );
      log.onAbort( 10'000, { "resetGpo()", "Max24305Sm", "void Machine::start()", 12 } );
   } );
   EXPECT_EQ( rewritten(), folder.content( "events" ) );
   EXPECT_EQ( read.size(), std::variant_size_v<What> ) << "a kind is not tested";
   EXPECT_EQ( steps.size(), std::variant_size_v<Hardware::Step> - 1 ) << "a step is not tested";
}

TEST_F( ReaderTest, AStepIsTheValueThatTheMachineTold ) {
   write( []( EventLog & log ) {
      Op const op( 5, Hardware::Max24305::read_, 48, 94 );
      Hardware::Steps::OperationDone const done{ 3, 431, op, U8{ 0x5A }, Hardware::Steps::Outcome::readMismatch_ };
      log.onStep( 7, "ptp0", Hardware::Steps::AttemptFailed{ 2, 10, done } );
   } );
   Reader reader( path );
   std::optional<Event> const event = reader.next();
   ASSERT_TRUE( event );
   EXPECT_EQ( event->ns, 7u );
   EXPECT_EQ( event->line, 2u );
   auto const & step = std::get<Step>( event->what );
   EXPECT_EQ( step.chip, "ptp0" );
   auto const & failed = std::get<Hardware::Steps::AttemptFailed>( step.step );
   EXPECT_EQ( failed.number, 2u );
   EXPECT_EQ( failed.of, 10u );
   auto const & done = std::get<Hardware::Steps::OperationDone>( failed.at );
   EXPECT_EQ( done.place, 3u );
   EXPECT_EQ( done.operation, Op( 5, Hardware::Max24305::read_, 48, 94 ) );
   EXPECT_EQ( done.byteRead, 0x5A );
   EXPECT_EQ( done.outcome, Hardware::Steps::Outcome::readMismatch_ );
   EXPECT_FALSE( reader.next() );
   EXPECT_FALSE( reader.next() );
}

TEST_F( ReaderTest, TheFirstLineNeedsNoOtherFile ) {
   write( []( EventLog & ) {} );
   std::filesystem::remove( folder.path( "ptp0.ops" ) );
   std::filesystem::remove( folder.path( "card.json" ) );
   Reader const reader( path );
   EXPECT_EQ( reader.header().version, formatVersion );
   EXPECT_EQ( reader.header().program, "1.2.3" );
   EXPECT_EQ( reader.header().began, "2026-11-21T17:30:00.123Z" );
   Input::CardDescription const & card = reader.header().card;
   EXPECT_EQ( card.file, folder.path( "card.json" ) );
   EXPECT_EQ( card.genId, 7u );
   ASSERT_EQ( card.max24305s.size(), 2u );
   Input::Max24305Description const & ptp0 = card.max24305s[0];
   EXPECT_THAT(
      ptp0.sequence,
      ElementsAre( Op( 0, Hardware::Max24305::read_, 48, 94 ), Op( 1, Hardware::Max24305::sleep_, 0, 7 ) ) );
   EXPECT_EQ( ptp0.sequenceFile, folder.path( "ptp0.ops" ) );
   EXPECT_THAT( ptp0.sequenceLines, ElementsAre( 2, 4 ) );
   EXPECT_EQ( ptp0.placeOf( 1 ), ptp0.sequenceFile + ":4" );
   EXPECT_EQ( card.max24305s[1].sequenceFile, "" );
   std::vector<InputChange> const start{
      { "simulationVmid", "", 0 }, { "timeSync", "", 7 }, { "gpoHam", "osc0", 1 }, { "gpoHam", "ptp0", 0 } };
   EXPECT_EQ( reader.header().start, start );
}

TEST_F( ReaderTest, ALogOfAWholeBringUpIsReadAsItWasWritten ) {
   Sim::Scenario scenario;
   scenario.events.push_back( { 20'000'000'000, { { .key = "timeSync", .value = 2 } } } );
   Host::SimulatedWorld world( Input::cardOf( Input::wholeCard ), scenario );
   {
      std::ofstream file( path, std::ios::binary );
      EventLog log( file );
      Recorder const recorder( log, world.events(), world.card() );
      world.run();
   }
   EXPECT_EQ( rewritten(), folder.content( "events" ) );
   EXPECT_GT( read.size(), 6u );
}

TEST_F( ReaderTest, LinesOfAnUnknownKindAreCountedAndUnknownFieldsPassedOver ) {
   withLine( "{\"ns\":1,\"ev\":\"sunrise\"}\n{\"ns\":2,\"ev\":\"sleep\",\"why\":[],\"forNs\":3}\n{\"ns\":3,\"ev\":"
             "\"dusk\"}\n" );
   Reader reader( path );
   std::optional<Event> const event = reader.next();
   ASSERT_TRUE( event );
   EXPECT_EQ( event->line, 3u );
   EXPECT_EQ( std::get<Sleep>( event->what ).forNs, 3u );
   EXPECT_FALSE( reader.next() );
   EXPECT_EQ( reader.skipped(), 2u );
}

TEST_F( ReaderTest, ALastLineWithoutItsEndIsToldAndLeftOut ) {
   withLine( "{\"ns\":1,\"ev\":\"log\",\"id\":\"A\"}\n{\"ns\":2,\"ev\":\"log\",\"id\":\"B\"}" );
   Reader reader( path );
   EXPECT_EQ( std::get<Log>( reader.next().value().what ).id, "A" );
   EXPECT_FALSE( reader.next() );
   EXPECT_EQ( reader.cutOff(), path + ":3: the line has no end, for whoever wrote it was stopped; it is left out" );
   folder.file( "events", "{\"ns\":0," );
   EXPECT_EQ(
      error(),
      path + ": expected an event log, as --events writes it, or a bundle; found a first line without an end" );
}

TEST_F( ReaderTest, AWrongLineIsAnErrorThatNamesItsPlace ) {
   for ( auto const & [line, message] : std::vector<std::pair<std::string, std::string>>{
            { "{\"ns\":1,\"ev\":\"log\"}", ":2: /id: expected a text, found nothing: the key is missing" },
            { "{\"ns\":-1,\"ev\":\"log\",\"id\":\"A\"}",
              ":2: /ns: expected a whole number from 0 to 18446744073709551615, found -1" },
            { "{\"ns\":1}", ":2: /ev: expected a text, found nothing: the key is missing" },
            { "{\"ns\":1,\"ev\":\"log\",\"id\":\"A\"", ":2:28: syntax error" },
            { "", ":2:1: " },
            { "7", ":2: expected an object, found 7" },
            { R"({"ns":1,"ev":"read32","address":4294967296,"value":0})",
              ":2: /address: expected a whole number from 0 to 4294967295, found 4294967296" },
            { R"({"ns":1,"ev":"spi","chip":"a","bytes":[1,2,3],"response":0})",
              ":2: /bytes: expected a list of 4 bytes, found a list" },
            { R"({"ns":1,"ev":"spi","chip":"a","bytes":[1,2,3,256],"response":0})",
              ":2: /bytes/3: expected a whole number from 0 to 255, found 256" },
            { R"({"ns":1,"ev":"step","chip":"a","step":"Jumped"})",
              ":2: /step: expected \"GateEvaluated\", \"AttemptBegun\"" },
            { R"({"ns":1,"ev":"step","chip":"a","step":"TolvanePublished","state":"off"})",
              ":2: /state: expected \"uninitialized\"" },
            { R"({"ns":1,"ev":"input","what":"gpoHam","of":"a","value":1})",
              ":2: /value: expected true or false, found 1" } } ) {
      withLine( line + "\n" );
      EXPECT_THAT( error(), HasSubstr( path + message ) );
   }
}

TEST_F( ReaderTest, ALineLongerThanAnyIsAnError ) {
   std::string const front = R"({"ns":1,"ev":"log","id":")";
   std::size_t const longest = Reader::longestLine - front.size() - 3;   // with the text's and the line's end
   withLine( front + std::string( longest, 'A' ) + "\"}\n" );
   Reader reader( path );
   EXPECT_EQ( std::get<Log>( reader.next().value().what ).id.size(), longest );
   withLine( front + std::string( longest + 1, 'A' ) + "\"}\n" );
   EXPECT_EQ(
      error(), path + ":2: expected a line of at most 16777216 bytes, found a longer one; is this an event log?" );
}

TEST_F( ReaderTest, WhatIsNoLogOrALaterOneIsRefused ) {
   EXPECT_EQ( error(), path + ": cannot be read: No such file or directory" );
   folder.file( "events", "" );
   EXPECT_EQ( error(), path + ": expected an event log, as --events writes it, or a bundle; found an empty file" );
   folder.file( "events", "{\n   \"access\": {} }\n" );
   EXPECT_EQ( error(), path + ": expected an event log, as --events writes it, or a bundle; found a first line \"{\"" );
   folder.file( "events", "{\"ns\":0,\"ev\":\"sleep\",\"forNs\":1}\n" );
   EXPECT_EQ(
      error(), path + ":1: /ev: expected \"recording\", with which every log of this program begins, found \"sleep\"" );
   write( []( EventLog & ) {} );
   std::string const log = folder.content( "events" );
   folder.file( "events", Input::with( log, "\"version\":1", "\"version\":2" ) );
   EXPECT_EQ( error(), path + ":1: /version: expected a format up to 1, or version 1.2.3 of the program, found 2" );
   folder.file( "events", Input::with( log, "\"lines\":[2,4]", "\"lines\":[2]" ) );
   EXPECT_EQ( error(), path + ":1: /sequences/0/lines: expected a line of each of the 2 operations, found a list" );
   folder.file( "events", Input::with( log, "\"max24305\"", "\"max\"" ) );
   EXPECT_THAT( error(), HasSubstr( path + ":1: /card: " + folder.path( "card.json" ) + ": /chips/0/kind: expected" ) );
}

}   // namespace
}   // namespace Recording::ReaderTests
