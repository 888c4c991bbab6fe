// `clockpath check` and `sequence`, and what other commands say of files beside.
#include "input/Json.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace FileCommandsTests {
namespace {

using namespace Host;
using Input::Folder;

std::string example( std::string const & name ) { return CLOCKPATH_EXAMPLES + name; }

std::string const unknownOpCard =
   Input::with( Input::wholeCard, "'type': 'write', 'address': 16", "'type': 'unknownOp', 'address': 16" );

TEST( CheckCommand, ASoundFileGivesItsTimesAndNothingElse ) {
   Ran const ran = run( { "check", example( "ptp0.ops" ), "--strict" } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ( ran.errors, "" );
   EXPECT_TRUE( ran.output.starts_with( "Bring-up" ) ) << ran.output;
   EXPECT_TRUE( ran.output.ends_with( "\n0 mistakes, 0 warnings.\n" ) ) << ran.output;
}

TEST( CheckCommand, WarningsGiveOneWhenTheyCount ) {
   Folder const folder;
   std::string const path = folder.file( "f.ops", "write 1 1\nsleep 2s" );
   std::string const warnings =
      "warning: " + path +
      ":1: expected a read-back behind each write, found 1 register without, 0x0001 first [notReadBack]\nwarning: " +
      path + ":2: expected a pause of 1 s at most, found 2000000000 ns, in which the agent stands still [longPause]\n";
   Ran const ran = run( { "check", path } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_TRUE( ran.output.starts_with( warnings ) ) << ran.output;
   EXPECT_TRUE( ran.output.ends_with( "\n0 mistakes, 2 warnings.\n" ) ) << ran.output;
   EXPECT_EQ( run( { "check", path, "--strict" } ).result, 1 );
}

TEST( CheckCommand, MistakesGiveTwoAndAreToldAllAtOnce ) {
   Folder const folder;
   std::string const path = folder.file( "f.ops", "write 1 y\nread 1 x" );
   Ran const ran = run( { "check", path } );
   EXPECT_EQ( ran.result, 2 );
   EXPECT_EQ( ran.errors, "" );
   EXPECT_EQ(
      ran.output, "mistake: " + path + ":1:9: expected a value from 0 to 0xffffffff, found 'y'\nmistake: " + path +
                     ":2:8: expected a value from 0 to 0xffffffff, found 'x'\n2 mistakes, 0 warnings.\n" );
   EXPECT_EQ( run( { "check", folder.path( "absent" ) } ).result, 2 );
}

TEST( CheckCommand, TellsTheSameToPrograms ) {
   Folder const folder;
   std::string const path = folder.file( "f.ops", "write 1 1" );
   Ran const ran = run( { "check", path, "--json" } );
   EXPECT_EQ( ran.result, 0 );
   Input::Json const json = Input::Json::parse( ran.output );
   EXPECT_EQ( json.at( "mistakes" ), Input::Json::array() );
   ASSERT_EQ( json.at( "warnings" ).size(), 1u );
   EXPECT_EQ( json.at( "warnings" )[0].at( "check" ), "notReadBack" );
   EXPECT_EQ( json.at( "warnings" )[0].at( "place" ), path + ":1" );
   ASSERT_EQ( json.at( "bringUpTimes" ).size(), 1u );
   EXPECT_EQ( json.at( "bringUpTimes" )[0].at( "chip" ), path );
   EXPECT_LT( json.at( "bringUpTimes" )[0].at( "bestNs" ), json.at( "bringUpTimes" )[0].at( "worstNs" ) );
   Ran const wrong = run( { "check", folder.file( "g.ops", "wr\xFF" ), "--json" } );
   EXPECT_EQ( wrong.result, 2 );
   EXPECT_EQ( Input::Json::parse( wrong.output ).at( "mistakes" ).size(), 1u );
}

TEST( SequenceCommand, ConvertsThereAndBack ) {
   Folder const folder;
   Ran const shortForm = run( { "sequence", example( "ptp0.ops" ) } );
   EXPECT_EQ( shortForm.result, 0 );
   EXPECT_TRUE( shortForm.output.starts_with( "read 0x30 0x5e\nread 0x31 0xf1\n" ) );
   Ran const back = run( { "sequence", folder.file( "f.ops", shortForm.output ), "--op" } );
   EXPECT_EQ( back.result, 0 );
   std::istringstream lines( Input::readFile( example( "ptp0.ops" ) ) );
   std::string operations;
   for ( std::string line; std::getline( lines, line ); )
      if ( line.starts_with( "Value" ) ) operations += line + "\n";
   EXPECT_EQ( back.output, operations );
}

TEST( SequenceCommand, TakesListsInAndAddsReadBacks ) {
   Folder const folder;
   std::string const list = folder.file( "f.csv", "10;3C\n0x0011,0x01\n" );
   EXPECT_EQ( run( { "sequence", list, "--list" } ).output, "write 0x10 0x3c\nwrite 0x11 0x01\n" );
   EXPECT_EQ(
      run( { "sequence", list, "--list", "--read-back" } ).output,
      "write 0x10 0x3c\nread 0x10 0x3c\nwrite 0x11 0x01\nread 0x11 0x01\n" );
   Ran const wrong = run( { "sequence", list } );
   EXPECT_EQ( wrong.result, 2 );
   EXPECT_EQ(
      wrong.errors, "clockpath: " + list + ":1:1: expected \"Value('Hardware::Max24305::Op', ** {\", found '10;3C'\n" );
}

TEST( SequenceCommand, ComparesWhatTwoLeaveInTheRegisters ) {
   Folder const folder;
   std::string const a = folder.file( "a", "write 1 1\nwrite 1 0x102\nread 1 2\nsleep 1ms\nwrite 2 2\nwrite 4 4\n" );
   std::string const b = folder.file( "b", "write 4 4\nwrite 3 3\nwrite 2 2\nwrite 1 3\n" );
   Ran const ran = run( { "sequence", a, "--compare", b } );
   EXPECT_EQ( ran.result, 1 );
   std::string const blanks( a.size() - 2, ' ' );
   EXPECT_EQ(
      ran.output, "Register  " + a + "  " + b + "\n0x0001    0x02" + blanks + "0x03\n0x0003    -" + blanks +
                     "   0x03\n2 of 4 registers differ.\n" );
   Ran const same = run( { "sequence", a, "--compare", a } );
   EXPECT_EQ( same.result, 0 );
   EXPECT_EQ( same.output, "Both leave the same in 3 registers.\n" );
}

TEST( AgentCommand, RefusesAnUnknownOperation ) {
   Folder const folder;
   std::string const path = folder.file( "card.json", unknownOpCard );
   Ran const ran = run( { "agent", path } );
   EXPECT_EQ( ran.result, 2 );
   EXPECT_EQ( ran.output, "" );
   EXPECT_EQ(
      ran.errors, "clockpath: " + path +
                     ": /chips/0/sequence/1: expected read, write or sleep, found unknownOp, which stops the process "
                     "when the sequence comes to it\n" );
}

TEST( SimulateCommand, TellsOfWarningsAndGoesOn ) {
   Folder const folder;
   folder.file( "card.json", Input::with( Input::wholeCard, R"("sequence": [])", R"("sequence": [ "sleep 2s" ])" ) );
   std::string const scenario = folder.file( "s.json", R"({ "card": "card.json" })" );
   Ran const ran = run( { "simulate", scenario } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ( ran.errors, "clockpath: 1 warning: clockpath check " + scenario + " shows it\n" );
}

TEST( SimulateCommand, WarnsOfAnUnknownOperation ) {
   Folder const folder;
   Ran const ran = run( { "simulate", folder.file( "s.json", "{ \"card\": " + unknownOpCard + " }" ) } );
   EXPECT_LT( ran.result, 0 );
   EXPECT_TRUE( ran.errors.starts_with(
      "clockpath: warning: " + folder.path( "s.json" ) + ": /card/chips/0/sequence/1: expected read" ) )
      << ran.errors;
}

}   // namespace
}   // namespace FileCommandsTests
