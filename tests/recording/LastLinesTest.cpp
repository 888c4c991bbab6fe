#include "recording/LastLines.h"

#include "recording/EventLog.h"
#include "recording/Reader.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <ostream>

namespace Recording::LastLinesTests {
namespace {

constexpr char first[] =
   "{\"ns\":0,\"ev\":\"recording\",\"version\":1,\"program\":\"1\",\"cardFile\":\"\",\"sequences\":[],"
   "\"start\":{}}\n";

struct Kept {
   explicit Kept( std::size_t bytes ) : lines( bytes ), out( &lines ), log( out, 1 ) {
      log.onRecording( { 1, "1", "", {}, {} } );
   }
   LastLines lines;
   std::ostream out;
   EventLog log;
};

TEST( LastLinesTest, AShortLogIsWhole ) {
   Kept kept( 1000 );
   EXPECT_EQ( kept.lines.text(), first );
   kept.log.onSleep( 1, 2 );
   EXPECT_EQ( kept.lines.text(), std::string( first ) + "{\"ns\":1,\"ev\":\"sleep\",\"forNs\":2}\n" );
}

TEST( LastLinesTest, ALongOneKeepsItsEndItsFirstLineAndItsInputs ) {
   std::string const line = "{\"ns\":100,\"ev\":\"sleep\",\"forNs\":200}\n";
   Kept kept( 10 * line.size() );
   kept.log.onSleep( 100, 200 );
   kept.log.tell( 100, InputChange{ "timeSync", "", 2 } );
   for ( U64 i = 0; i < 300; ++i ) {
      kept.log.onSleep( 101 + i, 200 );
      ASSERT_LE( kept.lines.text().size(), 12 * line.size() + sizeof first + 50 ) << "after " << i;
   }
   Input::Folder const folder;
   Reader reader( folder.file( "kept", kept.lines.text() ) );
   std::vector<Event> events;
   while ( std::optional<Event> const event = reader.next() ) events.push_back( *event );
   ASSERT_GE( events.size(), 7u );
   EXPECT_EQ( std::get<InputChange>( events[0].what ).value, 2u );
   // All but the input were sleeps.
   EXPECT_EQ( std::get<Dropped>( events[1].what ).lines + events.size() - 2, 301u );
   EXPECT_EQ( events[1].ns, events[2].ns );
   EXPECT_EQ( events.back().ns, 400u );
   EXPECT_EQ( reader.skipped(), 0u );
}

}   // namespace
}   // namespace Recording::LastLinesTests
