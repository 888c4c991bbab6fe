#include "report/History.h"

#include "card/SimulatedWorld.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace Host::HistoryTests {
namespace {

using Input::Json;

// The history of a scenario of the whole card, whose ptp0 has its sequence from a file.
Json historyOfScenario( Sim::Scenario const & scenario ) {
   Input::Folder const folder;
   folder.file( "ptp0.ops", "# identification\nread 0x30 0x5e\n\nwrite 0x10 0x3c\nread 0x10 0x3c\nsleep 1ms\n" );
   std::string const card = Input::with( Input::wholeCard, Input::shortSequence, R"("ptp0.ops")" );
   {
      SimulatedWorld world( Input::readCard( folder.file( "card.json", card ) ), scenario );
      Recording::LogFile file( folder.path( "events" ), Recording::EventLog::largePiece );
      Recording::Recorder const recorder( file.log(), world.events(), world.card() );
      world.run();
      file.finish();
   }
   Recording::Reader reader( folder.path( "events" ) );
   Json history = historyOf( reader );
   // Files are named with their folder.
   std::string const text = history.dump();
   std::string const folderName = folder.path( "" );
   std::string plain;
   for ( std::size_t at = 0; at < text.size(); )
      if ( text.compare( at, folderName.size(), folderName ) == 0 )
         at += folderName.size();
      else
         plain += text[at++];
   return Json::parse( plain );
}

Sim::Scenario bitFlips( U32 times ) {
   Sim::Scenario scenario;
   Sim::Fault const fault{ .kind = Sim::FaultKind::bitFlip_, .address = 16, .mask = 1, .count = times };
   scenario.events.push_back( { 0, { { .key = "fault", .name = "ptp0", .fault = fault } } } );
   return scenario;
}

TEST( History, HasTheAttemptsOfEachChipWithTheirOperations ) {
   Json const history = historyOfScenario( bitFlips( 1 ) );
   EXPECT_EQ( history["card"], "card.json" );
   ASSERT_EQ( history["chips"].size(), 3u );
   Json const & ptp0 = history["chips"][1];
   EXPECT_EQ( ptp0["chip"], "ptp0" );
   ASSERT_EQ( ptp0["attempts"].size(), 2u );
   Json failed = ptp0["attempts"][0];
   ASSERT_EQ( failed["operations"].size(), 3u );
   EXPECT_EQ( failed["operations"][1], Json::parse( R"({ "place": 2, "of": 4, "file": "ptp0.ops", "line": 4,
      "type": "write", "address": 16, "value": 60, "outcome": "done", "begunNs": 2110004000, "endNs": 2110008000,
      "fifos": [ [ 3, 0 ], [ 2, 0 ], [ 1, 0 ], [ 0, 0 ], [ 0, 0 ] ] })" ) );
   EXPECT_EQ( failed["operations"][2], Json::parse( R"({ "place": 3, "of": 4, "file": "ptp0.ops", "line": 5,
      "type": "read", "address": 16, "want": 60, "got": 61, "outcome": "readMismatch", "begunNs": 2110008000,
      "endNs": 2110012000, "fifos": [ [ 3, 0 ], [ 2, 0 ], [ 1, 0 ], [ 0, 1 ] ] })" ) );
   failed.erase( "operations" );
   EXPECT_EQ( failed, Json::parse( R"({ "number": 1, "of": 10, "begunNs": 800000000, "pulsedNs": 1600000000,
      "cleanNs": 2110000000, "endNs": 2110012000, "succeeded": false })" ) );
   EXPECT_EQ( ptp0["attempts"][1]["succeeded"], true );
   EXPECT_EQ( ptp0["attempts"][1]["operations"].size(), 4u );
}

TEST( History, HasPollsFrequenciesGatesAndStates ) {
   Sim::Scenario scenario;
   scenario.events.push_back( { 20'000'000'000, { { .key = "timeSync", .value = 2 } } } );
   Json const history = historyOfScenario( scenario );
   Json const & ptp0 = history["chips"][1];
   ASSERT_GE( ptp0["polls"].size(), 2u );
   EXPECT_EQ( ptp0["polls"][0]["number"], 1 );
   EXPECT_EQ( ptp0["polls"][0]["status"], 0 );
   EXPECT_EQ( ptp0["polls"][0]["fifos"], Json::parse( "[ [ 3, 0 ], [ 2, 0 ], [ 1, 0 ], [ 0, 1 ] ]" ) );
   EXPECT_EQ( ptp0["polls"].back()["status"], 0x11 );
   ASSERT_EQ( ptp0["frequencies"].size(), 1u );
   EXPECT_EQ( ptp0["frequencies"][0]["frequencyInHz"], 10'000'000 );
   ASSERT_EQ( ptp0["gates"].size(), 2u ) << "it is told of rows that change";
   EXPECT_EQ( ptp0["gates"][0]["open"], true );
   EXPECT_EQ(
      ptp0["gates"][0]["rows"][0], Json::parse( R"({ "condition": "hardware", "value": "present", "met": true })" ) );
   EXPECT_EQ( ptp0["gates"][1]["ns"], 20'000'000'000 );
   EXPECT_EQ( ptp0["states"].back()["state"], "ready" );
   EXPECT_EQ( ptp0["states"].back()["clock"], "ready" );
   EXPECT_EQ( history["endNs"], 20'000'000'000 );
}

TEST( History, HasTheEnableOfATolvaneAndNoOperations ) {
   Json const osc0 = historyOfScenario( {} )["chips"][0];
   EXPECT_EQ( osc0["chip"], "osc0" );
   ASSERT_EQ( osc0["attempts"].size(), 1u );
   EXPECT_EQ( osc0["attempts"][0]["enable"], Json::parse( R"({ "word": 3, "answers": true })" ) );
   EXPECT_EQ( osc0["attempts"][0]["operations"].size(), 0u );
   EXPECT_EQ( osc0["states"].back()["state"], "ready" );
}

TEST( History, HasTheLinesThatPeopleRead ) {
   Json const lines = historyOfScenario( bitFlips( 1 ) )["lines"];
   auto const failed =
      std::find_if( lines.begin(), lines.end(), []( Json const & line ) { return line["what"] == "failed"; } );
   ASSERT_NE( failed, lines.end() );
   EXPECT_EQ( *failed, Json::parse( R"({ "ns": 2110012000, "chip": "ptp0", "what": "failed", "details":
      "operation 3 of 4, ptp0.ops:5, read 0x10: expected 0x3c, found 0x3d; FIFOs 3/0, 2/0, 1/0, 0/1",
      "tone": "bad" })" ) );
}

}   // namespace
}   // namespace Host::HistoryTests
