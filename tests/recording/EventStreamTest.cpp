#include "recording/EventStream.h"

#include "card/SimulatedWorld.h"
#include "framework/Assert.h"
#include "framework/Trace.h"
#include "recording/LogFile.h"
#include "recording/Reader.h"
#include "recording/Recorder.h"
#include "report/TracesOn.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Recording::EventStreamTests {
namespace {

std::string textOf( Event const & event ) {
   std::ostringstream out;
   EventLog( out, 1 ).onEvent( event );
   return out.str();
}

TEST( EventStreamTest, HandsOnWhatALogReadsBackAs ) {
   Sim::Scenario scenario;
   scenario.start.actions = { { .key = "timeSync", .value = 0 } };
   scenario.events = { { 1'000'000'000, { { .key = "timeSync", .value = 2 } } } };
   std::vector<std::string> live;
   Header header;
   std::string const path = testing::TempDir() + "streamed.jsonl";
   {
      LogFile file( path, EventLog::largePiece );
      Host::SimulatedWorld world( Input::cardOf( Input::wholeCard ), scenario );
      EventStream stream( [&]( Event const & event ) { live.push_back( textOf( event ) ); } );
      Recorder const written( file.log(), world.events(), world.card() );
      Recorder const streamed( stream, world.events(), world.card() );
      Host::TracesOn const tracesOn( Vor::traceLevels );
      world.run();
      file.finish();
      header = stream.header();
   }
   Reader reader( path );
   EXPECT_EQ( header.start, reader.header().start );
   EXPECT_EQ( header.card.file, reader.header().card.file );
   std::vector<std::string> read;
   while ( std::optional<Event> const event = reader.next() ) read.push_back( textOf( *event ) );
   EXPECT_EQ( live, read );
   EXPECT_GT( live.size(), 100u );
}

TEST( EventStreamTest, HandsOnLogsAccessesOfOthersAndTheAbort ) {
   std::vector<Event> events;
   EventStream stream( [&]( Event const & event ) { events.push_back( event ); } );
   stream.onLog( 1, { "ID", 3, "cause", "event", "action", {} } );
   stream.onAbort( 2, { "x > 0", "Source", "void f()", 7 } );
   stream.tell( 3, Aside{ "poke", true } );
   ASSERT_EQ( events.size(), 3u );
   EXPECT_EQ( std::get<Log>( events[0].what ).id, "ID" );
   Abort const & abort = std::get<Abort>( events[1].what );
   EXPECT_EQ( abort.expression, "x > 0" );
   EXPECT_EQ( abort.function, "void f()" );
   EXPECT_EQ( abort.line, 7u );
   EXPECT_EQ( events[1].ns, 2u );
   EXPECT_EQ( std::get<Aside>( events[2].what ).by, "poke" );
   EXPECT_TRUE( std::get<Aside>( events[2].what ).begins );
}

}   // namespace
}   // namespace Recording::EventStreamTests
