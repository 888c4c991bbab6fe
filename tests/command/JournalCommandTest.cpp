#include "input/Json.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace Host::JournalCommandTests {
namespace {

using testing::HasSubstr;
using testing::Not;

// A recording of a chip that never answers, and of its Tolvane, which does.
class JournalCommandTest : public testing::Test {
 protected:
   JournalCommandTest() {
      folder.file( "ptp0.ops", "read 0x30 0x5e\nread 0x31 0xf1\n" );
      folder.file( "card.json", Input::with( Input::wholeCard, Input::shortSequence, R"("ptp0.ops")" ) );
      std::string const scenario = folder.file( "scenario.json", R"({ "card": "card.json", "events": [
         { "atNs": 0, "fault": { "kind": "bitFlip", "chip": "ptp0", "address": 49, "mask": 1 } } ] })" );
      simulated = run( { "simulate", scenario, "--events", events } );
   }

   Input::Folder const folder;
   std::string const events = folder.path( "events" );
   Ran simulated;
};

// The lines between the head and the tables, which begin with a time.
std::vector<std::string> linesOf( std::string const & text ) {
   std::vector<std::string> lines;
   std::istringstream in( text );
   for ( std::string line; std::getline( in, line ) && !line.starts_with( "Cause: " ); ) {
      EXPECT_LE( line.size(), 100u ) << line;
      if ( line.find( '.' ) < 10 && line.find_first_not_of( " 0123456789." ) > 10 ) lines.push_back( line );
   }
   return lines;
}

TEST_F( JournalCommandTest, TellsWhatSimulateToldAndFailuresThatAreAlikeOnce ) {
   Ran const ran = run( { "journal", events } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ( ran.errors, "" );
   EXPECT_THAT( ran.output, testing::StartsWith( events + ", recorded by clockpath " ) );
   EXPECT_THAT( ran.output, HasSubstr( "     2.110  ptp0      failed          operation 2 of 2, " ) );
   EXPECT_THAT( ran.output, HasSubstr( "ptp0.ops:2," ) );
   EXPECT_THAT( ran.output, HasSubstr( "     3.110  ptp0      attempts        2 to 10: the same, 19.790 s\n" ) );
   EXPECT_THAT( ran.output, HasSubstr( "ptp0  MAX24305  failed  failed  10        2/2         0\n" ) );
   std::vector<std::string> const told = linesOf( ran.output );
   std::vector<std::string> const before = linesOf( simulated.output );
   EXPECT_EQ( told.size(), before.size() - 1 - 9 * 2 + 1 ) << "the scenario's line, and attempts 2 to 10";
   for ( std::string const & line : told )
      EXPECT_TRUE( std::ranges::count( before, line ) || line.find( "attempts" ) != std::string::npos ) << line;
}

TEST_F( JournalCommandTest, ListsEachOperationWhereAskedFor ) {
   Ran const ran = run( { "journal", events, "--operations" } );
   EXPECT_EQ( ran.result, 0 );
   std::size_t operations = 0;
   for ( std::string const & line : linesOf( ran.output ) )
      operations += line.find( "  ptp0      operation " ) != std::string::npos;
   EXPECT_EQ( operations, 20u ) << ran.output;
   EXPECT_THAT( ran.output, HasSubstr( "found 0xf0; FIFOs 3/0, 2/0, 1/0, 0/1; 0.000004 s\n" ) );
   EXPECT_THAT( ran.output, Not( HasSubstr( "the same" ) ) );
}

TEST_F( JournalCommandTest, TellsProgramsAllOfIt ) {
   Ran const ran = run( { "journal", events, "--json" } );
   EXPECT_EQ( ran.result, 0 );
   Input::Json const json = Input::Json::parse( ran.output );
   Input::Json const & ptp0 = json["chips"][1];
   ASSERT_EQ( ptp0["attempts"].size(), 10u );
   EXPECT_EQ( ptp0["attempts"][9]["operations"][1]["file"], folder.path( "ptp0.ops" ) );
   EXPECT_EQ( ptp0["attempts"][9]["operations"][1]["got"], 0xF0 );
   EXPECT_GT( json["lines"].size(), 20u );
}

TEST_F( JournalCommandTest, ALogThatWasCutOffIsToldAsFarAsItGoes ) {
   std::string const log = folder.content( "events" );
   std::string const cut = folder.file( "cut", log.substr( 0, log.size() - 3 ) );
   Ran const ran = run( { "journal", cut } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_THAT( ran.output, HasSubstr( "\n" + cut + ":" ) );
   EXPECT_TRUE( ran.output.ends_with( "it is left out\n" ) ) << ran.output;
   Ran const newer = run( { "journal", folder.file( "newer", log + R"({"ns":99999999999,"ev":"weather"})" + "\n" ) } );
   EXPECT_EQ( newer.result, 0 );
   EXPECT_TRUE( newer.output.ends_with( "\nLines of kinds that this program does not know: 1\n" ) ) << newer.output;
}

TEST_F( JournalCommandTest, WhatIsNoLogIsAnError ) {
   for ( char const * command : { "journal", "page" } ) {
      Ran const ran = run( { command, folder.path( "card.json" ) } );
      EXPECT_EQ( ran.result, 2 );
      EXPECT_EQ( ran.output, "" );
      EXPECT_THAT( ran.errors, HasSubstr( "card.json: expected an event log" ) );
   }
   Ran const words = run( { "journal", events, "--json", "--operations" } );
   EXPECT_EQ( words.result, 2 );
}

TEST_F( JournalCommandTest, APageStandsBesideItsLogUnlessToldElse ) {
   Ran const beside = run( { "page", events } );
   EXPECT_EQ( beside.result, 0 );
   EXPECT_EQ( beside.output, events + ".html\n" );
   Ran const elsewhere = run( { "page", events, "-o", folder.path( "page.html" ) } );
   EXPECT_EQ( elsewhere.result, 0 );
   EXPECT_EQ( elsewhere.output, folder.path( "page.html" ) + "\n" );
   EXPECT_EQ( folder.content( "page.html" ), folder.content( "events.html" ) );
   std::string const nowhere = folder.path( "absent/page.html" );
   Ran const failed = run( { "page", events, "-o", nowhere } );
   EXPECT_EQ( failed.result, 2 );
   EXPECT_EQ( failed.errors, "clockpath: " + nowhere + ": the page cannot be written: No such file or directory\n" );
}

}   // namespace
}   // namespace Host::JournalCommandTests
