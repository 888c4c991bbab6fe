#include "report/SystemJournal.h"

#include "card/SimulatedWorld.h"
#include "report/Journal.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"
#include "tests/report/DatagramSocket.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <sstream>

namespace Host::SystemJournalTests {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::StartsWith;

class SystemJournalTest : public ::testing::Test {
 protected:
   void TearDown() override { ::unsetenv( "JOURNAL_STREAM" ); }

   Input::Folder const folder;
   std::string const path = folder.path( "journal" );
   DatagramSocket socket{ path };
};

TEST_F( SystemJournalTest, AnEntryHasItsFields ) {
   EXPECT_TRUE( SystemJournal( path ).tell( { "ptp0: ready", Priority::info_, "ptp0", "ready" } ) );
   EXPECT_TRUE( SystemJournal( path ).tell( { "waits", Priority::warning_ } ) );
   EXPECT_THAT(
      socket.taken(), ElementsAre(
                         "MESSAGE=ptp0: ready\nPRIORITY=6\nSYSLOG_IDENTIFIER=clockpath\nCHIP=ptp0\nEVENT=ready\n",
                         "MESSAGE=waits\nPRIORITY=4\nSYSLOG_IDENTIFIER=clockpath\n" ) );
}

TEST_F( SystemJournalTest, AMessageOfSeveralLinesHasItsLengthBeforeIt ) {
   EXPECT_TRUE( SystemJournal( path ).tell( { "Cause: dead\n  do  look\n", Priority::warning_, "", "cause" } ) );
   EXPECT_THAT(
      socket.taken(), ElementsAre( "MESSAGE\n\x16\0\0\0\0\0\0\0Cause: dead\n  do  look\n"
                                   "PRIORITY=4\nSYSLOG_IDENTIFIER=clockpath\nEVENT=cause\n"s ) );
}

TEST_F( SystemJournalTest, WithoutASocketNothingIsTaken ) {
   EXPECT_FALSE( SystemJournal( folder.path( "nobody" ) ).tell( { "lost" } ) );
   EXPECT_FALSE( SystemJournal( folder.path( std::string( 200, 'x' ) ) ).tell( { "lost" } ) );
}

TEST_F( SystemJournalTest, TheServiceManagerSaysWhichDescriptorLeadsThere ) {
   EXPECT_EQ( systemJournalOf( STDOUT_FILENO ), std::nullopt );
   struct stat found {};
   ASSERT_EQ( ::fstat( STDOUT_FILENO, &found ), 0 );
   ::setenv( "JOURNAL_STREAM", fmt::format( "{}:{}", found.st_dev, found.st_ino ).c_str(), 1 );
   EXPECT_EQ( systemJournalOf( STDOUT_FILENO ), "/run/systemd/journal/socket" );
   ::setenv( "JOURNAL_STREAM", fmt::format( "{}:{}", found.st_dev, found.st_ino + 1 ).c_str(), 1 );
   EXPECT_EQ( systemJournalOf( STDOUT_FILENO ), std::nullopt ) << "somebody has led it elsewhere since";
}

TEST_F( SystemJournalTest, PrioritiesTellFailures ) {
   auto const priority = []( JournalLine const & line, bool gone = false ) { return entryOf( line, gone ).priority; };
   EXPECT_EQ( priority( { 0, "ptp0", "failed", "operation 3", Tone::bad_ } ), Priority::error_ );
   EXPECT_EQ( priority( { 0, "", "stopped", "assertion", Tone::bad_ } ), Priority::error_ );
   EXPECT_EQ( priority( { 0, "ptp0", "gate closed", "", Tone::bad_ } ), Priority::warning_ );
   EXPECT_EQ( priority( { 0, "", "input", "the hardware is gone", Tone::strong_ }, true ), Priority::warning_ );
   EXPECT_EQ( priority( { 0, "ptp0", "ready", "", Tone::good_ } ), Priority::info_ );
}

TEST_F( SystemJournalTest, AnEventHasNoNumbers ) {
   auto const event = []( char const * what ) { return entryOf( { 0, "ptp0", what, "" }, false ).event; };
   EXPECT_EQ( event( "attempt 12" ), "attempt" );
   EXPECT_EQ( event( "lock poll 1" ), "lock poll" );
   EXPECT_EQ( event( "gate closed" ), "gate closed" );
   EXPECT_EQ( event( "" ), "" );
}

TEST_F( SystemJournalTest, AnAgentsJournalGoesThereInPlaceOfItsLines ) {
   SimulatedWorld world( Input::cardOf( Input::wholeCard ), {} );
   std::ostringstream out;
   Journal const journal( out, Style( false ), false, world.events(), world.card(), {}, path );
   journal.line( "waiting for the card" );
   world.card().hamImpl()->hardwarePresentIs( false );
   journal.text( "Cause: none\n" );
   EXPECT_EQ( out.str(), "" );
   EXPECT_THAT(
      socket.taken(),
      ElementsAre(
         "MESSAGE=waiting for the card\nPRIORITY=6\nSYSLOG_IDENTIFIER=clockpath\n",
         StartsWith( "MESSAGE=input hardware not present\nPRIORITY=4\n" ), StartsWith( "MESSAGE=Cause: none\n" ) ) );
}

TEST_F( SystemJournalTest, WhereItCannotBeReachedTheLinesGoOn ) {
   SimulatedWorld world( Input::cardOf( Input::wholeCard ), {} );
   std::ostringstream out;
   Journal const journal( out, Style( false ), false, world.events(), world.card(), {}, folder.path( "nobody" ) );
   journal.line( "waiting for the card" );
   journal.text( "Cause: none\n" );
   EXPECT_THAT( out.str(), testing::HasSubstr( "waiting for the card\nCause: none\n" ) );
}

}   // namespace
}   // namespace Host::SystemJournalTests
