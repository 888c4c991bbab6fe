#include "recording/EventLog.h"

#include "framework/Assert.h"
#include "framework/Log.h"
#include "framework/Trace.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>
#include <sstream>
#include <string>

namespace Recording {
namespace {

std::string jsonString( std::string_view text ) {
   std::string out;
   jsonStringAppend( out, text );
   return out;
}

TEST( JsonStringTest, PlainTextStaysAsItIs ) {
   EXPECT_EQ( jsonString( "" ), R"("")" );
   EXPECT_EQ( jsonString( "Write 0x3c to 0x10." ), R"("Write 0x3c to 0x10.")" );
   EXPECT_EQ( jsonString( "a/b" ), R"("a/b")" );
}

TEST( JsonStringTest, QuotesBackslashesAndControlCharactersAreEscaped ) {
   EXPECT_EQ( jsonString( R"(say "no" \ yes)" ), R"("say \"no\" \\ yes")" );
   EXPECT_EQ( jsonString( "Read count = \x02" ), R"("Read count = \u0002")" );
   EXPECT_EQ( jsonString( "Read count = \n" ), R"("Read count = \u000a")" );
   EXPECT_EQ( jsonString( std::string_view( "\0\x1f", 2 ) ), R"("\u0000\u001f")" );
}

TEST( JsonStringTest, ValidUtf8Stays ) {
   for ( char const * text : { "\u00e9", "\u07ff", "\u0800", "\ud7ff", "\uffff", "\U00010000", "\U0010ffff" } )
      EXPECT_EQ( jsonString( text ), '"' + std::string( text ) + '"' );
}

TEST( JsonStringTest, ABytesThatIsNoUtf8IsTheCharacterOfItsCode ) {
   EXPECT_EQ( jsonString( "\xe9t\xe9" ), R"("\u00e9t\u00e9")" );
   EXPECT_EQ( jsonString( "\x80" ), R"("\u0080")" );
   EXPECT_EQ( jsonString( "\xc3" ), R"("\u00c3")" );                       // cut short
   EXPECT_EQ( jsonString( "\xe2\x82" ), R"("\u00e2\u0082")" );             // cut short
   EXPECT_EQ( jsonString( "\xc0\xaf" ), R"("\u00c0\u00af")" );             // overlong
   EXPECT_EQ( jsonString( "\xe0\x9f\xbf" ), R"("\u00e0\u009f\u00bf")" );   // overlong
   EXPECT_EQ( jsonString( "\xf0\x8f\xbf\xbf" ), R"("\u00f0\u008f\u00bf\u00bf")" );
   EXPECT_EQ( jsonString( "\xed\xa0\x80" ), R"("\u00ed\u00a0\u0080")" );             // a surrogate
   EXPECT_EQ( jsonString( "\xf4\x90\x80\x80" ), R"("\u00f4\u0090\u0080\u0080")" );   // above the last code
   EXPECT_EQ( jsonString( "\xff" ), R"("\u00ff")" );
}

// Whatever bytes stand in a text, a strict parser reads the string.
TEST( JsonStringTest, EveryPairOfBytesIsValidJson ) {
   for ( int first = 0; first < 256; ++first ) {
      for ( int second = 0; second < 256; ++second ) {
         char const text[] = { static_cast<char>( first ), static_cast<char>( second ) };
         std::string const json = jsonString( { text, 2 } );
         ASSERT_TRUE( nlohmann::json::accept( json ) ) << first << ' ' << second << ' ' << json;
      }
   }
}

Vor::LogRecord logged( Vor::String const & id ) {
   static Vor::String const unsaid;
   return { id, 3, unsaid, unsaid, unsaid, {} };
}

class EventLogTest : public testing::Test {
 protected:
   std::string text() {
      log.flush();
      return out.str();
   }
   std::ostringstream out;
   EventLog log{ out };
};

TEST_F( EventLogTest, EachEventIsALineWithItsFieldsInOrder ) {
   log.onWrite32( 0, 256, 0x80001000 );
   log.onRead32( 1'000, 288, 0 );
   log.onGpo( 2'000, "ptp0Reset", true );
   log.onGpo( 2'000, "ptp0Reset", false );
   log.onSleep( 3'000, 300'000'000 );
   log.onState( 4'000, { "/hardware/max24305/status/ptp0", "state", 2, "ready" } );
   log.onState( 4'000, { "/hardware/kiv/clockStatus/ptp0", "state", 7, "" } );
   Vor::String const traced( "SPI ERROR: Read count = \x02" );
   log.onTrace( 5'000, { "Hardware::Max24305Sm", 1, "Max24305Sm", "doRead", 42, traced } );
   log.onLog( 6'000, logged( "MAX24305_INIT_FAILED" ) );
   log.onSpi( 7'000, "ptp0", { 3, 0x12, 0x34, 0 }, 0x5A );
   log.tell( 7'000, Aside{ "poke", true } );
   log.tell( 7'000, InputChange{ "gpoHam", "osc0", 1 } );
   log.tell( 7'000, InputChange{ "timeSync", "", 1 } );
   log.tell( 7'000, Dropped{ 17 } );
   log.onAbort( std::numeric_limits<U64>::max(), { "resetGpo()", "Max24305Sm", "void Machine::start()", 12 } );
   log.onScenario( 8'000, "no line" );
   std::string const expected = R"json({"ns":0,"ev":"write32","address":256,"value":2147487744}
{"ns":1000,"ev":"read32","address":288,"value":0}
{"ns":2000,"ev":"gpo","name":"ptp0Reset","active":true}
{"ns":2000,"ev":"gpo","name":"ptp0Reset","active":false}
{"ns":3000,"ev":"sleep","forNs":300000000}
{"ns":4000,"ev":"state","entity":"/hardware/max24305/status/ptp0","attr":"state","value":"ready"}
{"ns":4000,"ev":"state","entity":"/hardware/kiv/clockStatus/ptp0","attr":"state","value":7}
{"ns":5000,"ev":"trace","facility":"Hardware::Max24305Sm","level":1,"source":"Max24305Sm","function":"doRead","text":"SPI ERROR: Read count = \u0002"}
{"ns":6000,"ev":"log","id":"MAX24305_INIT_FAILED"}
{"ns":7000,"ev":"spi","chip":"ptp0","bytes":[3,18,52,0],"response":90}
{"ns":7000,"ev":"aside","by":"poke","begins":true}
{"ns":7000,"ev":"input","what":"gpoHam","of":"osc0","value":true}
{"ns":7000,"ev":"input","what":"timeSync","value":1}
{"ns":7000,"ev":"dropped","lines":17}
{"ns":18446744073709551615,"ev":"abort","expression":"resetGpo()","source":"Max24305Sm","function":"void Machine::start()","line":12}
)json";
   EXPECT_EQ( text(), expected );
}

TEST_F( EventLogTest, EveryLineIsJson ) {
   Vor::String const traced( "\x01\xff\"\\\n\t" );
   log.onTrace( 5, { "facility", 0, "source", "function", 1, traced } );
   log.onGpo( 5, "a \"quoted\" name", true );
   std::istringstream lines( text() );
   int count = 0;
   for ( std::string line; std::getline( lines, line ); ++count ) {
      auto const event = nlohmann::json::parse( line );
      EXPECT_EQ( event["ns"], 5 );
      EXPECT_EQ( event.begin().value(), event[event.begin().key()] );
   }
   EXPECT_EQ( count, 2 );
}

TEST_F( EventLogTest, LinesAreWrittenInPiecesAndNoneIsLost ) {
   int const count = 10'000;
   for ( int i = 0; i < count; ++i ) log.onSleep( static_cast<U64>( i ), 1'000 );
   EXPECT_GT( out.str().size(), 0u );
   std::istringstream lines( text() );
   int next = 0;
   for ( std::string line; std::getline( lines, line ); ++next )
      EXPECT_EQ( line, "{\"ns\":" + std::to_string( next ) + R"(,"ev":"sleep","forNs":1000})" );
   EXPECT_EQ( next, count );
}

TEST( EventLogEndTest, InPiecesOfOneByteEachLineIsWrittenAsItEnds ) {
   std::ostringstream out;
   EventLog log( out, 1 );
   log.onSleep( 1, 2 );
   EXPECT_EQ( out.str(), "{\"ns\":1,\"ev\":\"sleep\",\"forNs\":2}\n" );
   log.onRecording( {} );
   EXPECT_TRUE( out.str().ends_with( "\"start\":{}}\n" ) ) << out.str();
}

TEST_F( EventLogTest, AnAbortWritesOutAtOnce ) {
   log.onLog( 1, logged( "A" ) );
   EXPECT_EQ( out.str(), "" );
   log.onAbort( 2, { "0", "S", "f()", 3 } );
   std::string const expected = R"json({"ns":1,"ev":"log","id":"A"}
{"ns":2,"ev":"abort","expression":"0","source":"S","function":"f()","line":3}
)json";
   EXPECT_EQ( out.str(), expected );
}

TEST( EventLogEndTest, TheEndOfTheLogWritesOut ) {
   std::ostringstream out;
   { EventLog( out ).onLog( 1, logged( "A" ) ); }
   EXPECT_EQ( out.str(), "{\"ns\":1,\"ev\":\"log\",\"id\":\"A\"}\n" );
}

TEST( EventLogEndTest, AStreamThatCannotBeWrittenTellsSo ) {
   std::ostringstream out;
   out.setstate( std::ios::badbit );
   EventLog log( out );
   log.onLog( 1, logged( "A" ) );
   log.flush();
   EXPECT_FALSE( out.good() );
}

}   // namespace
}   // namespace Recording
