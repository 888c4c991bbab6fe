// `clockpath replay`, `wave` and `bundle`.
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <filesystem>
#include <sstream>

namespace RecordingCommandsTests {
namespace {

using namespace Host;
using testing::HasSubstr;

class RecordingCommands : public testing::Test {
 protected:
   int record( std::string const & scenario ) const {
      return run( { "simulate", scenario, "--events", folder.path( "events" ) } ).result;
   }
   std::string scenarioOf( std::string const & card ) const {
      return folder.file( "scenario.json", "{ \"card\": " + card + " }" );
   }

   Input::Folder const folder;
   std::string const events = folder.path( "events" );
   std::string const again = folder.path( "again" );
};

TEST_F( RecordingCommands, EveryExampleIsReplayedToTheByte ) {
   int count = 0;
   for ( auto const & file : std::filesystem::directory_iterator( CLOCKPATH_EXAMPLES ) ) {
      if ( file.path().extension() != ".json" || file.path().string().ends_with( "card.json" ) ) continue;
      ASSERT_LE( record( file.path() ), 1 ) << file.path();
      Ran const ran = run( { "replay", events, "--events", again } );
      EXPECT_EQ( ran.result, 0 ) << ran.output << ran.errors;
      EXPECT_THAT( ran.output, testing::MatchesRegex( events + ": replayed alike up to line [0-9]+, its last\n" ) );
      EXPECT_TRUE( folder.content( "again" ) == folder.content( "events" ) ) << file.path();
      ++count;
   }
   EXPECT_GE( count, 8 );
}

TEST_F( RecordingCommands, AnAssertionEndsTheReplayAsItEndedTheRecording ) {
   std::string const card =
      Input::with( Input::wholeCard, "'type': 'write', 'address': 16", "'type': 'unknownOp', 'address': 16" );
   EXPECT_EQ( record( scenarioOf( card ) ), -SIGABRT );
   EXPECT_THAT( folder.content( "events" ), HasSubstr( R"("ev":"abort")" ) );
   Ran const ran = run( { "replay", events, "--events", again } );
   EXPECT_EQ( ran.result, -SIGABRT );
   EXPECT_THAT( ran.errors, HasSubstr( "Assertion `" ) );
   EXPECT_EQ( folder.content( "again" ), folder.content( "events" ) );
}

// Such as a log from before a mistake in the library was mended.
TEST_F( RecordingCommands, AnAssertionThatTheRecordingLacksIsADifference ) {
   std::string const card =
      Input::with( Input::wholeCard, "'type': 'write', 'address': 16", "'type': 'unknownOp', 'address': 16" );
   EXPECT_EQ( record( scenarioOf( card ) ), -SIGABRT );
   std::string const text = folder.content( "events" );
   std::size_t const abort = text.rfind( "{\"ns\"" );
   folder.file( "events", text.substr( 0, abort ) + "{\"ns\":1,\"ev\":\"sleep\",\"forNs\":1}\n" );
   Ran const ran = run( { "replay", events } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_THAT( ran.output, HasSubstr( "   log   {\"ns\":1,\"ev\":\"sleep\",\"forNs\":1}\n   now   {\"ns\":" ) );
}

TEST_F( RecordingCommands, TheFirstDifferenceIsToldWithItsLineAndItsOperation ) {
   ASSERT_EQ( record( CLOCKPATH_EXAMPLES "single.json" ), 0 );
   std::istringstream lines( folder.content( "events" ) );
   std::string changed;
   std::size_t number = 0;
   for ( std::string line; std::getline( lines, line ); changed += line + "\n" )
      if ( ++number == 1'000 ) line.insert( line.size() - 1, R"(,"more":"than the library tells")" );
   folder.file( "events", changed );
   Ran const ran = run( { "replay", events, "--events", "-" } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_TRUE( changed.starts_with( ran.output ) );
   EXPECT_THAT( ran.errors, HasSubstr( events + ":1000: differs, in operation 66 of ptp0 (" ) );
   EXPECT_THAT( ran.errors, HasSubstr( "\n   log   " ) );
   EXPECT_THAT( ran.errors, HasSubstr( "\n   now   " ) );
   EXPECT_TRUE( ran.errors.ends_with( events + ": replayed alike up to line 999\n" ) ) << ran.errors;
   std::istringstream told( ran.errors );
   for ( std::string line; std::getline( told, line ); )
      EXPECT_TRUE( !line.starts_with( " " ) || line.size() <= 100 ) << line;
}

TEST_F( RecordingCommands, WhatIsNoWholeRecordingIsSaidPlainly ) {
   ASSERT_EQ( record( CLOCKPATH_EXAMPLES "single.json" ), 0 );
   std::string const whole = folder.content( "events" );
   folder.file( "events", whole.substr( 0, whole.size() / 2 ) );
   Ran const cut = run( { "replay", events } );
   EXPECT_EQ( cut.result, 0 );
   EXPECT_THAT( cut.output, HasSubstr( ": the line has no end, for whoever wrote it was stopped; it is left out\n" ) );
   EXPECT_EQ( run( { "wave", events } ).result, 0 );
   std::size_t const first = whole.find( '\n' ) + 1;
   folder.file( "events", whole.substr( 0, first ) + whole.substr( first + whole.size() / 2 ) );
   folder.file( "headless", whole.substr( first ) );
   for ( char const * command : { "replay", "wave", "bundle" } ) {
      EXPECT_EQ( run( { command, folder.path( "headless" ) } ).result, 2 ) << command;
      EXPECT_EQ( run( { command, folder.path( "absent" ) } ).result, 2 ) << command;
   }
   folder.file( "events", whole.substr( 0, first ) + whole.substr( whole.find( '\n', whole.size() / 2 ) + 1 ) );
   Ran const ring = run( { "replay", events } );
   EXPECT_EQ( ring.result, 1 );
   EXPECT_THAT( ring.output, HasSubstr( "A log that has lost its first lines cannot be replayed.\n" ) );
}

TEST_F( RecordingCommands, ABundleIsOpenedLikeItsRecording ) {
   ASSERT_EQ( record( CLOCKPATH_EXAMPLES "mistyped.json" ), 1 );
   std::string const bundle = folder.path( "events.tar.gz" );
   Ran const packed = run( { "bundle", events } );
   EXPECT_EQ( packed.result, 0 ) << packed.errors;
   EXPECT_EQ( packed.output, bundle + ": recording.events card.json ptp0.ops cause.txt page.html versions.txt\n" );
   EXPECT_EQ( run( { "replay", bundle, "--events", again } ).result, 0 );
   EXPECT_TRUE( folder.content( "again" ) == folder.content( "events" ) );
   EXPECT_EQ( run( { "wave", events, "-o", folder.path( "a.vcd" ) } ).result, 0 );
   EXPECT_EQ( run( { "wave", bundle, "-o", folder.path( "b.vcd" ) } ).result, 0 );
   EXPECT_TRUE( folder.content( "a.vcd" ) == folder.content( "b.vcd" ) );
   EXPECT_EQ( run( { "bundle", bundle, "-o", folder.path( "anew.tar.gz" ) } ).result, 0 );
   EXPECT_EQ( run( { "replay", folder.path( "anew.tar.gz" ) } ).result, 0 );
   // The card and the sequences stand for themselves.
   ASSERT_EQ( std::system( ( "cd '" + folder.path( "" ) + "' && tar xzf events.tar.gz" ).c_str() ), 0 );
   EXPECT_EQ( run( { "check", folder.path( "card.json" ) } ).result, 0 );
   EXPECT_EQ(
      run( { "sequence", folder.path( "ptp0.ops" ), "--compare", CLOCKPATH_EXAMPLES "mistyped.ops" } ).result, 0 );
   EXPECT_THAT( folder.content( "versions.txt" ), HasSubstr( "recorded by clockpath " ) );
   EXPECT_EQ( folder.content( "cause.txt" ), run( { "explain", bundle } ).output );
   EXPECT_EQ( run( { "page", events } ).output, events + ".html\n" );
   EXPECT_TRUE( folder.content( "page.html" ) == folder.content( "events.html" ) );
}

TEST_F( RecordingCommands, TheFilesThatTheyWriteAreNotTheRecording ) {
   ASSERT_EQ( record( CLOCKPATH_EXAMPLES "mistyped.json" ), 1 );
   Ran const wave = run( { "wave", events, "-o", events } );
   EXPECT_EQ( wave.result, 2 );
   EXPECT_EQ(
      wave.errors,
      "clockpath: " + events + ": expected another file to write to, found " + events + ", which is read\n" );
   EXPECT_EQ( run( { "bundle", events, "-o", events } ).result, 2 );
   Ran const full = run( { "wave", events, "-o", "/dev/full" } );
   EXPECT_EQ( full.result, 2 );
   EXPECT_THAT( full.errors, HasSubstr( "/dev/full: the waveform cannot be written" ) );
   EXPECT_EQ( run( { "bundle", events, "-o", folder.path( "absent/b" ) } ).result, 2 );
   EXPECT_EQ( run( { "replay", events, "--events", "/dev/full" } ).result, 2 );
   EXPECT_EQ( run( { "replay", events, "--events", events } ).result, 2 );
   EXPECT_EQ( run( { "replay", events } ).result, 0 ) << "it is still there";
}

}   // namespace
}   // namespace RecordingCommandsTests
