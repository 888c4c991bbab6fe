#include "input/Json.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <set>

namespace {

using namespace Host;
using namespace Input;

std::string example( std::string const & name ) { return CLOCKPATH_EXAMPLES + name; }

std::vector<Input::Json> eventsOf( std::string const & text ) {
   std::vector<Input::Json> events;
   std::istringstream lines( text );
   for ( std::string line; std::getline( lines, line ); ) events.push_back( Input::Json::parse( line ) );
   return events;
}

// Of the examples' card: the programme of ptp1 is one of 10 MHz, and its description says 25 MHz.
std::string oneWarning( std::string const & scenario ) {
   return "clockpath: 1 warning: clockpath check " + scenario + " shows it\n";
}

std::string scenarioOf( std::string const & card, std::string const & more = "" ) {
   return "{ \"card\": " + card + more + " }";
}

TEST( Command, WordsThatAreWrongGiveAHintAndTwo ) {
   Ran const none = run( {} );
   EXPECT_EQ( none.result, 2 );
   EXPECT_EQ( none.errors, "A subcommand is required\nRun with --help for more information.\n" );
   Ran const unknown = run( { "simulte", "x" } );
   EXPECT_EQ( unknown.result, 2 );
   EXPECT_EQ(
      unknown.errors,
      "clockpath: there is no command \"simulte\"; did you mean \"simulate\"? Expected \"simulate\", "
      "\"agent\", \"role\", \"demo-switchover\", \"hardware\", \"peek\", "
      "\"poke\", \"dump\", \"status\", \"inspect\", \"watch\", \"set\", \"call\", \"retry\", \"types\", "
      "\"explain\", \"audit\", \"selftest\", \"check\", \"sequence\", \"replay\", \"wave\", "
      "\"bundle\", \"journal\", \"page\", \"help\" or \"completion\". Run "
      "clockpath --help for more.\n" );
   for ( std::vector<std::string> const & words : std::vector<std::vector<std::string>>{
            { "simulate" },
            { "simulate", "a", "b" },
            { "simulate", "a", "--events" },
            { "simulate", "a", "--trace", "x" },
            { "simulate", "a", "--trace", "32" },
            { "agent" },
            { "peek", "card" },
            { "poke", "card" },
            { "peek", "--after", "s.json" },
            { "audit" },
            { "audit", "card", "--after", "s.json" },
            { "audit", "card", "--tolerance", "-1" },
            { "dump" },
            { "check" },
            { "replay" },
            { "wave", "a", "-o" },
            { "bundle", "a", "b" },
            { "journal" },
            { "page", "a", "b" },
            { "sequence", "a", "--op", "--compare", "b" },
            { "--nothing" } } ) {
      Ran const ran = run( words );
      EXPECT_EQ( ran.result, 2 ) << words[0];
      EXPECT_NE( ran.errors.find( "Run with --help for more information." ), std::string::npos ) << ran.errors;
      EXPECT_EQ( ran.output, "" );
   }
}

TEST( Command, SaysItsVersionAndItsWords ) {
   Ran const version = run( { "--version" } );
   EXPECT_EQ( version.result, 0 );
   EXPECT_THAT( version.output, ::testing::MatchesRegex( "clockpath [0-9]+\\.[0-9]+\\.[0-9]+\n" ) );
   Ran const help = run( { "--help" } );
   EXPECT_EQ( help.result, 0 );
   for ( char const * word :
         { "simulate", "agent", "peek", "poke", "dump", "explain", "audit", "selftest", "check", "sequence", "replay",
           "wave", "bundle", "journal", "page", "Exit codes" } )
      EXPECT_NE( help.output.find( word ), std::string::npos ) << word;
}

TEST( Command, TheDemoBringsUpTheWholeCard ) {
   Ran const ran = run( { "simulate", example( "demo.json" ) } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ( ran.errors, oneWarning( example( "demo.json" ) ) );
   for ( char const * piece :
         { "osc0  Tolvane   ready", "ptp0  MAX24305  ready  ready  1         431/431",
           "ptp1  MAX24305  ready  ready  1         5/5", "All chips are ready." } )
      EXPECT_NE( ran.output.find( piece ), std::string::npos ) << piece << "\n" << ran.output;
   EXPECT_EQ( ran.output.find( '\033' ), std::string::npos );
}

TEST( Command, EveryExampleRunsToTheEndThatItsNameTells ) {
   std::set<std::string> const warned{ "tolvane-loss.json", "hardware-loss.json" };
   for ( auto const & [name, result] : std::vector<std::pair<std::string, int>>{
            { "single.json", 0 },
            { "never-lock.json", 1 },
            { "bit-flip.json", 0 },
            { "tolvane-loss.json", 0 },
            { "switchover.json", 0 },
            { "hardware-loss.json", 0 } } ) {
      Ran const ran = run( { "simulate", example( name ) } );
      EXPECT_EQ( ran.result, result ) << name;
      EXPECT_EQ( ran.errors, warned.contains( name ) ? oneWarning( example( name ) ) : "" ) << name;
   }
}

TEST( Command, TheEventLogGoesToAFileAndIsTheSameEveryTime ) {
   Folder const folder;
   Ran const ran = run( { "simulate", example( "demo.json" ), "--events", folder.path( "events" ) } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_NE( ran.output.find( "All chips are ready." ), std::string::npos );
   std::string const events = folder.content( "events" );
   std::set<std::string> kinds;
   U64 ns = 0;
   for ( Input::Json const & event : eventsOf( events ) ) {
      EXPECT_GE( event.at( "ns" ).get<U64>(), ns );
      ns = event.at( "ns" ).get<U64>();
      kinds.insert( event.at( "ev" ).get<std::string>() );
   }
   EXPECT_EQ(
      kinds,
      ( std::set<std::string>{
         "gate", "gpo", "input", "read32", "recording", "sleep", "spi", "state", "step", "trace", "write32" } ) );
   Ran const again = run( { "simulate", example( "demo.json" ), "--events", "-" } );
   EXPECT_EQ( again.result, 0 );
   EXPECT_EQ( again.output, events );
   EXPECT_EQ( again.errors, oneWarning( example( "demo.json" ) ) );
}

TEST( Command, AnEventsFileThatCannotBeWrittenIsAnError ) {
   Folder const folder;
   std::string const path = folder.path( "absent/events" );
   Ran const ran = run( { "simulate", example( "single.json" ), "--events", path } );
   EXPECT_EQ( ran.result, 2 );
   EXPECT_EQ( ran.errors, "clockpath: " + path + ": the event log cannot be written: No such file or directory\n" );
   EXPECT_EQ( ran.output, "" );
}

TEST( Command, AnEventsFileWithoutRoomIsAnError ) {
   if ( ::access( "/dev/full", W_OK ) != 0 ) GTEST_SKIP() << "there is no /dev/full, the device without room";
   Ran const full = run( { "simulate", example( "single.json" ), "--events", "/dev/full" } );
   EXPECT_EQ( full.result, 2 );
   EXPECT_EQ( full.errors, "clockpath: /dev/full: the event log cannot be written in full; is there room for it?\n" );
}

TEST( Command, AChipThatIsNotReadyGivesOne ) {
   Folder const folder;
   Ran const ran = run(
      { "simulate", folder.file( "s.json", scenarioOf( wholeCard, R"(, "start": { "hardwarePresent": false })" ) ) } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_NE( ran.output.find( "Not every chip is ready." ), std::string::npos );
}

TEST( Command, TracesAreShownUpToTheirLevel ) {
   Folder const folder;
   std::string const scenario = folder.file( "s.json", scenarioOf( wholeCard ) );
   EXPECT_EQ( run( { "simulate", scenario } ).output.find( "trace" ), std::string::npos );
   std::string const zero = run( { "simulate", scenario, "--trace", "0" } ).output;
   EXPECT_NE( zero.find( "trace 0         Max24305Sm doWaitForLock: APLL status = 0x11" ), std::string::npos ) << zero;
   EXPECT_EQ( zero.find( "trace 1" ), std::string::npos );
   std::string const one = run( { "simulate", scenario, "--trace", "1" } ).output;
   EXPECT_NE( one.find( "Max24305Sm doProgramMax24305: Write 0x3c to 0x10." ), std::string::npos );
}

TEST( Command, ErrorsInFilesNameTheirPlaceAndGiveTwo ) {
   Folder const folder;
   auto const error = [&]( std::string const & content ) {
      Ran const ran = run( { "simulate", folder.file( "s.json", content ) } );
      EXPECT_EQ( ran.result, 2 );
      EXPECT_EQ( ran.output, "" );
      return ran.errors;
   };
   std::string const start = "clockpath: " + folder.path( "s.json" );
   EXPECT_EQ(
      error( "{}" ), start + ": /card: expected the path of a card description, or a card description in place, "
                             "found nothing: the key is missing\n" );
   EXPECT_EQ(
      error( R"({"card":"absent.json"})" ), start + ": /card: the card description " + folder.path( "absent.json" ) +
                                               ": cannot be read: No such file or directory\n" );
   EXPECT_EQ(
      error( "{" ), start + ":1:2: syntax error while parsing object key - unexpected end of input; expected "
                            "string literal\n" );
   EXPECT_EQ(
      error( scenarioOf( with( wholeCard, R"("genId": 7)", R"("genId": "x")" ) ) ),
      start + ": /card/genId: expected a whole number from 0 to 4294967295, found \"x\"\n" );
   EXPECT_EQ(
      error( scenarioOf( wholeCard, R"(, "events": [ { "atNs": 0, "gpoHam": { "chip": "x", "value": true } } ])" ) ),
      start + ": /events/0/gpoHam/chip: the card has no chip \"x\"; expected \"osc0\", \"ptp0\" or \"ptp1\"\n" );
   EXPECT_EQ(
      error( scenarioOf( with( wholeCard, "stuffedClock", "noInput" ) ) ),
      start +
         ": the chip \"ptp1\" has the input \"noInput\", from which it cannot be brought up; expected \"tolvane\" or "
         "\"stuffedClock\"\n" );
   EXPECT_EQ(
      error( scenarioOf(
         with( wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "mmap", "path": "f", "size": 16384 })" ) ) ),
      start + ": /access/kind: only a simulated card can be simulated; expected \"simulated\", found \"mmap\"\n" );
   Ran const absent = run( { "simulate", folder.path( "absent.json" ) } );
   EXPECT_EQ( absent.result, 2 );
   EXPECT_EQ(
      absent.errors, "clockpath: " + folder.path( "absent.json" ) + ": cannot be read: No such file or directory\n" );
}

TEST( Command, AnErrorInASequenceFileNamesItsLine ) {
   Folder const folder;
   folder.file( "bad.ops", "# one\nread 5\n" );
   folder.file( "empty.ops", "" );
   for ( auto const & [name, words] : std::vector<std::pair<std::string, std::string>>{
            { "bad.ops", ":2:1: expected \"Value('Hardware::Max24305::Op', ** {\", found 'read 5'\n" },
            { "empty.ops", ": expected at least one operation, such as Value('Hardware::Max24305::Op', ** {'key': 0, "
                           "'type': 'read', "
                           "'address': 0, 'value': 36}), found none\n" } } ) {
      Ran const ran = run(
         { "simulate",
           folder.file(
              "s.json", scenarioOf( with( wholeCard, R"("sequence": [])", "\"sequence\": \"" + name + "\"" ) ) ) } );
      EXPECT_EQ( ran.result, 2 );
      EXPECT_EQ( ran.errors, "clockpath: " + folder.path( name ) + words );
   }
}

TEST( Command, TheEventLogIsCompleteWhenAnAssertionEndsTheProcess ) {
   Folder const folder;
   std::string const unknown =
      R"json("sequence": ["Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'write', 'address': 16, 'value': 60})",
                          "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'unknownOp', 'address': 0, 'value': 0})"])json";
   Ran const ran = run(
      { "simulate", folder.file( "s.json", scenarioOf( with( wholeCard, R"("sequence": [])", unknown ) ) ), "--events",
        folder.path( "events" ) } );
   EXPECT_EQ( ran.result, -SIGABRT );
   std::vector<Input::Json> const events = eventsOf( folder.content( "events" ) );
   ASSERT_FALSE( events.empty() );
   EXPECT_EQ( events.back().at( "ev" ), "abort" );
   EXPECT_EQ( events.back().at( "expression" ), "0" );
   EXPECT_EQ( events.back().at( "source" ), "Max24305Sm" );
   EXPECT_NE( ran.output.find( "assertion `0' failed in Max24305Sm" ), std::string::npos );
   EXPECT_NE( ran.errors.find( "Assertion `0' failed." ), std::string::npos );
}

}   // namespace
