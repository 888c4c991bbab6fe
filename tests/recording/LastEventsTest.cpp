#include "recording/LastEvents.h"

#include "recording/Reader.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace Recording::LastEventsTests {
namespace {

constexpr char first[] =
   "{\"ns\":0,\"ev\":\"recording\",\"version\":1,\"program\":\"1\",\"cardFile\":\"\",\"sequences\":[],"
   "\"start\":{}}\n";

struct Kept {
   explicit Kept( std::size_t max ) : events( max ) { events.onRecording( { 1, "1", "", {}, {} } ); }
   LastEvents events;
};

TEST( LastEventsTest, AShortRecordingIsWhole ) {
   Kept kept( 2 );
   EXPECT_EQ( kept.events.text(), first );
   kept.events.onSleep( 1, 2 );
   kept.events.onSleep( 3, 4 );
   EXPECT_EQ(
      kept.events.text(), std::string( first ) + "{\"ns\":1,\"ev\":\"sleep\",\"forNs\":2}\n"
                                                 "{\"ns\":3,\"ev\":\"sleep\",\"forNs\":4}\n" );
}

TEST( LastEventsTest, ALongOneKeepsItsEndItsFirstLineAndItsInputs ) {
   Kept kept( 10 );
   kept.events.onSleep( 100, 200 );
   kept.events.tell( 100, InputChange{ "timeSync", "", 1 } );   // which the next one replaces
   kept.events.tell( 100, InputChange{ "timeSync", "", 2 } );
   for ( U64 i = 0; i < 300; ++i ) kept.events.onSleep( 101 + i, 200 );
   Input::Folder const folder;
   Reader reader( folder.file( "kept", kept.events.text() ) );
   EXPECT_EQ( reader.header().program, "1" );
   std::vector<Event> events;
   while ( std::optional<Event> const event = reader.next() ) events.push_back( *event );
   ASSERT_EQ( events.size(), 12u );
   EXPECT_EQ( std::get<InputChange>( events[0].what ).value, 2u );
   EXPECT_EQ( events[0].ns, 100u );
   // All but the inputs were sleeps.
   EXPECT_EQ( std::get<Dropped>( events[1].what ).lines, 291u );
   EXPECT_EQ( events[1].ns, events[2].ns );
   EXPECT_EQ( events[2].ns, 391u );
   EXPECT_EQ( events.back().ns, 400u );
   EXPECT_EQ( reader.skipped(), 0u );
}

}   // namespace
}   // namespace Recording::LastEventsTests
