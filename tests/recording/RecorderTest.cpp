#include "recording/Recorder.h"

#include "card/SimulatedWorld.h"
#include "input/Json.h"
#include "recording/EventLog.h"
#include "tests/input/Cards.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Recording::RecorderTests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// The lines of one run on the whole card of the tests.
std::vector<std::string> linesOf( Sim::Scenario const & scenario ) {
   std::stringstream out;
   EventLog log( out );
   {
      Host::SimulatedWorld world( Input::cardOf( Input::wholeCard ), scenario );
      Recorder const recorder( log, world.events(), world.card() );
      world.run();
   }
   log.flush();
   std::vector<std::string> lines;
   for ( std::string line; std::getline( out, line ); ) lines.push_back( line );
   return lines;
}

std::vector<std::string> linesWith( std::vector<std::string> lines, std::string const & piece ) {
   std::erase_if( lines, [&]( std::string const & line ) { return line.find( piece ) == std::string::npos; } );
   return lines;
}

TEST( RecorderTest, TheFirstLineHoldsTheInputsAtTheStart ) {
   Sim::Scenario scenario;
   scenario.start.simulationVmid = true;
   scenario.start.actions = {
      { .key = "timeSync", .value = 2 },
      { .key = "switchoverStage", .name = "B", .value = 0 },
      { .key = "switchoverStage", .name = "A", .value = 1 },
      { .key = "hardwarePresent", .value = 0 },
      { .key = "opsToDoValid", .name = "ptp1", .value = 0 },
      { .key = "gpoHam", .name = "osc0", .value = 0 } };
   Input::Json const first = Input::Json::parse( linesOf( scenario ).at( 0 ) );
   EXPECT_EQ( first["ev"], "recording" );
   EXPECT_EQ( first["version"], 1 );
   EXPECT_EQ( first["program"], CLOCKPATH_VERSION );
   EXPECT_FALSE( first.contains( "began" ) ) << "virtual time has no wall time";
   EXPECT_EQ( first["cardFile"], "card.json" );
   EXPECT_EQ( first["card"]["chips"][0]["sequence"].size(), 3u );
   EXPECT_EQ( first["sequences"].size(), 0u ) << "no sequence comes from a file";
   EXPECT_EQ(
      first["start"].dump(),
      R"({"simulationVmid":true,"timeSync":2,"redundancyMode":3,"switchoverStage":{"A":true,"B":false},)"
      R"("hardwarePresent":false,"opsToDoValid":{"ptp0":true,"ptp1":false},)"
      R"("gpoHam":{"osc0":false,"ptp0":true,"ptp1":true}})" );
}

TEST( RecorderTest, EachInputIsToldAsItChangesBeforeTheMachinesLook ) {
   Sim::Scenario scenario;
   scenario.start.actions = { { .key = "hardwarePresent", .value = 0 } };
   constexpr U64 at = 1'000'000'000;
   scenario.events = {
      { at, { { .key = "redundancyMode", .value = 5 } } },
      { at, { { .key = "timeSync", .value = 2 } } },
      { at, { { .key = "switchoverStage", .name = "DovraWritable", .value = 1 } } },
      { at, { { .key = "opsToDoValid", .name = "ptp1", .value = 0 } } },
      { at, { { .key = "gpoHam", .name = "osc0", .value = 0 } } },
      { at, { { .key = "gpoHam", .name = "osc0", .value = 0 } } },   // no change
      { at, { { .key = "hardwarePresent", .value = 1 } } } };
   std::vector<std::string> const lines = linesOf( scenario );
   EXPECT_THAT(
      linesWith( lines, R"("ev":"input")" ),
      ElementsAre(
         R"({"ns":1000000000,"ev":"input","what":"redundancyMode","value":5})",
         R"({"ns":1000000000,"ev":"input","what":"timeSync","value":2})",
         R"({"ns":1000000000,"ev":"input","what":"switchoverStage","of":"DovraWritable","value":true})",
         R"({"ns":1000000000,"ev":"input","what":"opsToDoValid","of":"ptp1","value":false})",
         R"({"ns":1000000000,"ev":"input","what":"gpoHam","of":"osc0","value":false})",
         R"({"ns":1000000000,"ev":"input","what":"hardwarePresent","value":true})" ) );
   auto const present = std::ranges::find_if(
      lines, []( auto & line ) { return line.find( R"("what":"hardwarePresent","value":true)" ) != line.npos; } );
   ASSERT_LT( present + 1, lines.end() );
   EXPECT_THAT( *( present + 1 ), HasSubstr( R"({"ns":1000000000,"ev":"gate","chip":)" ) );
   EXPECT_THAT( *( present + 1 ), HasSubstr( R"({"condition":"hardware","value":"present","met":true})" ) );
}

TEST( RecorderTest, StepsStandWhereTheMachinesTellThem ) {
   std::vector<std::string> const lines = linesOf( {} );
   std::vector<std::string> const ofTolvane = linesWith( lines, R"("ev":"step","chip":"osc0")" );
   EXPECT_THAT(
      ofTolvane, ElementsAre(
                    HasSubstr( R"("step":"AttemptBegun","number":1,"of":5})" ), HasSubstr( R"("step":"ResetPulsed"})" ),
                    HasSubstr( R"("step":"EnableDone","word":)" ),
                    HasSubstr( R"("step":"ProgrammingEnded","attempts":1,"succeeded":true})" ),
                    HasSubstr( R"("step":"TolvanePublished","state":"ready"})" ) ) );
   auto const published = std::ranges::find( lines, ofTolvane.back() );
   EXPECT_THAT(
      linesWith( { lines.begin(), published }, R"(tolvane/status/osc0","attr":"state","value":"ready")" ),
      testing::SizeIs( 1 ) )
      << "the state is stored first";
   EXPECT_THAT(
      linesWith( lines, R"("chip":"ptp0","step":"OperationDone","place":1,)" ),
      ElementsAre( HasSubstr(
         R"("of":3,"operation":{"key":0,"type":"read","address":48,"value":94},"byteRead":94,"outcome":"done"})" ) ) );
}

TEST( RecorderTest, TheSameRunGivesTheSameLog ) { EXPECT_EQ( linesOf( {} ), linesOf( {} ) ); }

}   // namespace
}   // namespace Recording::RecorderTests
