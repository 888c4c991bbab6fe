#include "diagnosis/Page.h"

#include "card/SimulatedWorld.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "report/History.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <regex>

namespace Diagnosis::PageTests {
namespace {

using testing::HasSubstr;
using testing::Not;

// The whole card with a sequence of four operations, of which the third fails in the first two of three attempts.
Input::Json history() {
   Input::Folder const folder;
   std::string const path = folder.path( "events" );
   {
      Sim::Scenario scenario;
      Sim::Fault const fault{ .kind = Sim::FaultKind::bitFlip_, .address = 16, .mask = 1, .count = 2 };
      scenario.events.push_back( { 0, { { .key = "fault", .name = "ptp0", .fault = fault } } } );
      Host::SimulatedWorld world( Input::cardOf( Input::wholeCard ), scenario );
      Recording::LogFile file( path, Recording::EventLog::largePiece );
      Recording::Recorder const recorder( file.log(), world.events(), world.card() );
      world.run();
      file.finish();
   }
   Recording::Reader reader( path );
   return Host::historyOf( reader );
}

std::string const cause = "Cause: ptp0: <register 0x10> & more\n  do     look at </script> it\n";

// The page as a browser has drawn it, and what it said meanwhile.
struct Drawn {
   std::string document;
   std::string messages;
};

class PageTest : public testing::Test {
 protected:
   static void SetUpTestSuite() {
      if ( std::system( "command -v chromium >/dev/null" ) != 0 ) return;
      Input::Folder const folder;
      std::string const file = folder.file( "page.html", page( history(), cause ) );
      std::string const command = "timeout 60 chromium --headless --no-sandbox --disable-gpu --enable-logging=stderr "
                                  "--user-data-dir='" +
                                  folder.path( "profile" ) + "' --dump-dom 'file://" + file + "' >'" +
                                  folder.path( "document" ) + "' 2>'" + folder.path( "messages" ) + "'";
      int const result = std::system( command.c_str() );
      drawn = Drawn{ folder.content( "document" ), folder.content( "messages" ) };
      ASSERT_EQ( result, 0 ) << drawn->messages;
   }
   void SetUp() override {
      if ( !drawn ) GTEST_SKIP() << "there is no chromium; scripts/setup test installs it";
   }

   // What the first group of the expression found, everywhere.
   static std::vector<std::string> found( std::string const & text, std::string const & expression ) {
      std::regex const regex( expression );
      std::vector<std::string> all;
      for ( std::sregex_iterator at( text.begin(), text.end(), regex ); at != std::sregex_iterator(); ++at )
         all.push_back( ( *at )[1] );
      return all;
   }
   // What was drawn into a lane's row of that name.
   static std::string rowOf( std::string const & chip, std::string const & name ) {
      std::string const & text = drawn->document;
      std::size_t const lane = text.find( "data-chip=\"" + chip + "\"" );
      std::size_t const row = text.find( "data-name=\"" + name + "\"", lane );
      return row == std::string::npos ? "" : text.substr( row, text.find( "</g>", row ) - row );
   }
   static std::vector<std::string> barsOf( std::string const & chip, std::string const & name ) {
      return found( rowOf( chip, name ), "<rect class=\"([a-zA-Z]+)\"" );
   }

   static inline std::optional<Drawn> drawn;
};

TEST_F( PageTest, TheBrowserHasNothingToSay ) { EXPECT_THAT( drawn->messages, Not( HasSubstr( ":CONSOLE" ) ) ); }

TEST_F( PageTest, NeedsNoOtherFileAndNoNetwork ) {
   EXPECT_THAT( found( drawn->document, "(src=|https?:|@import|url\\()" ), testing::ElementsAre() );
}

TEST_F( PageTest, TheCauseStandsOnTop ) {
   EXPECT_THAT(
      drawn->document, HasSubstr( "<pre id=\"cause\">Cause: ptp0: &lt;register 0x10&gt; &amp; more\n"
                                  "  do     look at &lt;/script&gt; it\n</pre>" ) );
   EXPECT_LT( drawn->document.find( "<pre id=\"cause\"" ), drawn->document.find( "<svg" ) );
}

TEST_F( PageTest, EachChipHasALane ) {
   EXPECT_THAT(
      found( drawn->document, "class=\"lane\" data-chip=\"([^\"]+)\"" ),
      testing::ElementsAre( "osc0", "ptp0", "ptp1" ) );
}

TEST_F( PageTest, AttemptsPollsStatesAndGatesAreBars ) {
   std::vector<std::string> attempts;
   for ( int attempt = 0; attempt < 2; ++attempt )
      for ( char const * bar : { "reset", "cleanUp", "programming", "operation", "operation", "failed" } )
         attempts.push_back( bar );
   for ( char const * bar : { "reset", "cleanUp", "programming", "operation", "operation", "operation" } )
      attempts.push_back( bar );
   EXPECT_EQ( barsOf( "ptp0", "attempts" ), attempts );
   EXPECT_THAT( barsOf( "osc0", "attempts" ), testing::ElementsAre( "reset", "cleanUp" ) );
   std::vector<std::string> const polls = barsOf( "ptp0", "lock polls" );
   EXPECT_GE( polls.size(), 2u );
   EXPECT_EQ( polls.front(), "notLocked" );
   EXPECT_EQ( polls.back(), "locked" );
   EXPECT_THAT(
      barsOf( "ptp0", "state" ),
      testing::ElementsAre( "uninitialized", "failed", "failed", "locking", "ready", "ready" ) );
   EXPECT_THAT( barsOf( "ptp0", "gate" ), testing::ElementsAre( "open" ) );
}

// Where it is, in pixels: within the drawing, and as long as it lasted.
TEST_F( PageTest, BarsStandWhereTheirTimesAre ) {
   std::vector<std::string> const x = found( rowOf( "ptp0", "attempts" ), "class=\"reset\"[^>]* x=\"([0-9.]+)\"" );
   ASSERT_EQ( x.size(), 3u );
   EXPECT_LT( std::stod( x[0] ), std::stod( x[1] ) );
   EXPECT_NEAR( std::stod( x[1] ) - std::stod( x[0] ), std::stod( x[2] ) - std::stod( x[1] ), 0.1 );
   std::string const shown = "class=\"operation\"[^>]*display=\"(none|inline)\"";
   EXPECT_THAT( found( rowOf( "ptp0", "attempts" ), shown ), testing::Each( "none" ) ) << "microseconds, in seconds";
   std::vector<std::string> const failed =
      found( rowOf( "ptp0", "attempts" ), "class=\"failed\"[^>]*width=\"([0-9.]+)\"" );
   EXPECT_THAT( failed, testing::ElementsAre( "5.00", "5.00" ) ) << "it can be seen all the same";
}

TEST_F( PageTest, EachFailedOperationLeadsToItsLine ) {
   std::vector<std::string> const links =
      found( rowOf( "ptp0", "attempts" ), "<a href=\"#([^\"]+)\"><rect class=\"failed\"" );
   ASSERT_EQ( links.size(), 2u );
   EXPECT_NE( links[0], links[1] );
   for ( std::string const & link : links ) {
      std::vector<std::string> const lines = found( drawn->document, "<tr id=\"" + link + "\">(.*?)</tr>" );
      ASSERT_EQ( lines.size(), 1u ) << link;
      EXPECT_THAT( lines[0], HasSubstr( "operation 3 of 3, card.json: /chips/0/sequence/2, read 0x10" ) );
   }
}

TEST_F( PageTest, TheJournalStandsBesideIt ) {
   EXPECT_EQ( found( drawn->document, "<tr id=\"(line-[0-9]+)\">" ).size(), history()["lines"].size() );
   EXPECT_THAT( drawn->document, HasSubstr( "<td class=\"good\">gate open</td>" ) );
}

TEST( Page, WithoutACauseThereIsNone ) {
   std::string const html = page( history(), "" );
   EXPECT_THAT( html, HasSubstr( R"("cause":"")" ) );
   EXPECT_THAT( html, Not( HasSubstr( "{{data}}" ) ) );
}

}   // namespace
}   // namespace Diagnosis::PageTests
