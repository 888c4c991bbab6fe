#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace StandardStreamsTests {
namespace {

using namespace Host;
using namespace Input;
using ::testing::HasSubstr;

std::string const examples = CLOCKPATH_EXAMPLES;

// A Tolvane behind a file, which comes up when the file is there.
constexpr char mappedTolvane[] = R"({
   "access": { "kind": "mmap", "path": "space", "size": 16384 },
   "gpos": [ { "name": "osc0Reset", "offset": 8192, "bit": 4 } ],
   "chips": [ { "kind": "tolvane", "name": "osc0", "offset": 12288, "resetGpoName": "osc0Reset" } ] })";
constexpr std::size_t enableAt = 12288;

class StandardStreams : public ::testing::Test {
 protected:
   // What the shell says of the command with these words and redirections; its standard error is kept.
   int shell( std::string const & words ) {
      errorsKept = folder.path( "errors" );
      return WEXITSTATUS( std::system( ( CLOCKPATH_COMMAND " " + words + " 2>'" + errorsKept + "'" ).c_str() ) );
   }
   std::string errors() const { return folder.content( "errors" ); }
   void hardwareArrives() const { folder.file( "space", std::string( 16384, '\0' ) ); }

   Folder const folder;
   std::string errorsKept;
};

TEST_F( StandardStreams, NoFileTakesThePlaceOfOneThatIsClosed ) {
   std::string const scenario = examples + "single.json";
   std::string const log = folder.path( "events" );
   EXPECT_EQ( shell( "simulate '" + scenario + "' --events '" + log + "' >&-" ), 0 );
   EXPECT_EQ( folder.content( "events" ), run( { "simulate", scenario, "--events", "-" } ).output );
}

TEST_F( StandardStreams, LostOutputIsTheExitCode2OfEveryCommand ) {
   if ( ::access( "/dev/full", W_OK ) != 0 ) GTEST_SKIP() << "there is no /dev/full, the device without room";
   std::string const card = "'" + examples + "single-card.json'";
   std::string const scenario = "'" + examples + "single.json'";
   std::string const log = folder.path( "log.events" );
   ASSERT_EQ( run( { "simulate", examples + "single.json", "--events", log } ).result, 0 );
   for ( std::string const & words : std::vector<std::string>{
            "simulate " + scenario, "dump " + card, "peek " + card + " ptp0Reset",
            "poke " + card + " ptp0Reset=inactive --yes", "audit " + card, "check " + card, "types", "--help",
            "sequence '" + examples + "short.ops'", "journal '" + log + "'", "explain --json '" + log + "'",
            "replay '" + log + "'", "wave '" + log + "'" } ) {
      EXPECT_EQ( shell( words + " >/dev/full" ), 2 ) << words;
      EXPECT_THAT( errors(), HasSubstr( "clockpath: standard output cannot be written in full; is there room" ) )
         << words;
   }
}

TEST_F( StandardStreams, OfAReaderThatHasGoneNothingIsTold ) {
   int ends[2];
   ASSERT_EQ( ::pipe( ends ), 0 );
   ::close( ends[0] );
   constexpr int named = 9;   // a number that every shell takes
   ASSERT_EQ( ::dup2( ends[1], named ), named );
   ::close( ends[1] );
   EXPECT_EQ( shell( "dump '" + examples + "single-card.json' >&9" ), 2 );
   EXPECT_EQ( errors(), "" );
   ::close( named );
}

TEST_F( StandardStreams, TheAgentGoesOnWithoutAReader ) {
   Process agent( { "agent", folder.file( "card.json", mappedTolvane ) } );
   ASSERT_TRUE( agent.outputHas( "waiting for the card" ) );
   agent.readerGoes();
   hardwareArrives();
   auto const isUp = [&] { return folder.content( "space" ).at( enableAt ) == 2; };
   for ( int waitedMs = 0; !isUp() && waitedMs < 20'000; ++waitedMs )
      std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
   EXPECT_TRUE( isUp() );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 2 );
   EXPECT_THAT( agent.errors(), ::testing::StartsWith( "clockpath: stopping" ) );
   EXPECT_EQ( agent.errors().find( "standard output" ), std::string::npos );
}

TEST_F( StandardStreams, TheEventLogTakesNoInputsPlace ) {
   std::string const card = folder.file(
      "card.json",
      with( with( wholeCard, shortSequence, R"("a.ops")" ), R"("simulated" })", R"("simulated", "socket": "s" })" ) );
   folder.file( "a.ops", "read 0x30 0x5e\n" );
   std::string const scenario = folder.file( "scenario.json", R"({ "card": "card.json" })" );
   std::string const other = folder.path( "other" );
   auto const refused = [&]( std::vector<std::string> words, std::string const & input ) {
      std::string const content = folder.content( input );
      std::filesystem::remove( other );
      std::filesystem::create_hard_link( folder.path( input ), other );
      for ( char const * const word : { "--events", "other" } ) words.emplace_back( word );
      words.back() = other;
      Ran const ran = run( words );
      EXPECT_EQ( ran.result, 2 ) << words[0] << input;
      EXPECT_EQ(
         ran.errors, "clockpath: " + other + ": expected another file to write to, found " + folder.path( input ) +
                        ", which is read\n" );
      EXPECT_TRUE( folder.content( input ) == content ) << words[0] << input;
   };
   for ( char const * const input : { "scenario.json", "card.json", "a.ops" } ) {
      refused( { "simulate", scenario }, input );
      refused( { "hardware", scenario }, input );
   }
   ASSERT_EQ( run( { "simulate", scenario, "--events", folder.path( "events" ) } ).result, 0 );
   refused( { "replay", folder.path( "events" ) }, "events" );
   hardwareArrives();
   std::string const mapped = folder.file( "mapped.json", mappedTolvane );
   refused( { "agent", mapped }, "mapped.json" );
   refused( { "agent", mapped }, "space" );
   std::filesystem::create_symlink( folder.path( "state.db" ), folder.path( "named.db" ) );
   Ran const state =
      run( { "agent", mapped, "--state", folder.path( "state.db" ), "--events", folder.path( "named.db" ) } );
   EXPECT_EQ( state.result, 2 ) << state.errors;
   EXPECT_THAT( state.errors, HasSubstr( folder.path( "state.db" ) + ", which is read" ) );
}

TEST_F( StandardStreams, ASimulationModeInTheEnvironmentIsToldWhereACardIsWorkedOn ) {
   hardwareArrives();
   std::string const card = folder.file( "card.json", mappedTolvane );
   std::string const warning = "clockpath: warning: SIMULATION_VMID is in the environment: ";
   EXPECT_EQ( run( { "peek", card, "osc0Reset" } ).errors, "" );
   ::setenv( "SIMULATION_VMID", "", 1 );
   EXPECT_THAT( run( { "peek", card, "osc0Reset" } ).errors, ::testing::StartsWith( warning ) );
   EXPECT_EQ( run( { "peek", examples + "single-card.json", "ptp0Reset" } ).errors, "" );
   EXPECT_EQ( run( { "simulate", examples + "single.json" } ).errors, "" );
   Process agent( { "agent", card } );
   EXPECT_TRUE( agent.outputHas( "osc0      ready" ) );
   ::unsetenv( "SIMULATION_VMID" );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_THAT( agent.errors(), ::testing::StartsWith( warning ) );
   EXPECT_EQ( agent.errors().find( "warning", warning.size() ), std::string::npos ) << agent.errors();
}

}   // namespace
}   // namespace StandardStreamsTests
