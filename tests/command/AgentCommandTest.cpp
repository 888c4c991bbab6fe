#include "framework/Assert.h"
#include "recording/Fields.h"
#include "recording/Reader.h"
#include "service/Agent.h"
#include "sim/VirtualClock.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/prctl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <regex>
#include <set>
#include <thread>

namespace {

using namespace Host;
using namespace Input;

constexpr std::size_t spaceSize = 0x4000;
std::string const mapped = R"({ "kind": "mmap", "path": "space", "size": 16384 })";
constexpr std::size_t resetAt = 0x2000;
constexpr std::size_t enableAt = 0x3000;

// A card that is plain memory in a file: what is written to the Tolvane's register reads back, so that it comes up.
class AgentTest : public ::testing::Test {
 protected:
   std::string card( std::string const & activeType ) const {
      return folder.file(
         "card.json",
         R"({ "access": { "kind": "mmap", "path": "space", "size": 16384 },
              "gpos": [ { "name": "osc0Reset", "offset": 8192, "bit": 4, "activeType": ")" +
            activeType + R"(" } ],
              "chips": [ { "kind": "tolvane", "name": "osc0", "offset": 12288, "resetGpoName": "osc0Reset" } ] })" );
   }
   // A MAX24305 on a stuffed clock; with the sequence, the chip must answer.
   std::string max24305Card( std::string const & access, std::string const & sequence ) const {
      return folder.file(
         "card.json", R"({ "access": )" + access + R"(, "gpos": [ { "name": "ptp0Reset", "offset": 8192, "bit": 4 } ],
              "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                           "resetGpoName": "ptp0Reset", "input": "stuffedClock", "outputFrequencyInHz": 10000000,
                           "spiResetSupported": true, "sequence": )" +
                         sequence + " } ] }" );
   }
   void hardwareArrives() const { folder.file( "space", std::string( spaceSize, '\0' ) ); }
   // Lines in one piece.
   static std::string unwrapped( std::string const & output ) {
      return std::regex_replace( output, std::regex( "\n {30,}" ), " " );
   }
   int byteOfSpace( std::size_t at ) const { return static_cast<unsigned char>( folder.content( "space" ).at( at ) ); }

   Folder const folder;
};

TEST_F( AgentTest, WaitsForItsCardAndEndsAtOnceWhenNothingIsUnderWay ) {
   Process agent( { "agent", card( "activeHigh" ) } );
   EXPECT_TRUE( agent.outputHas( "waiting for the card: " ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
   EXPECT_EQ( agent.errors(), "clockpath: stopping\n" );
   EXPECT_NE(
      unwrapped( agent.output() ).find( folder.path( "space" ) + ": No such file or directory" ), std::string::npos );
   EXPECT_NE( agent.output().find( "stopped, not every chip ready" ), std::string::npos );
}

TEST_F( AgentTest, BeforeTheFirstAnswerOfTheTimeSyncSourceNoMachineIsMade ) {
   std::string const path = max24305Card( R"({ "kind": "simulated" })", shortSequence );
   Process agent( { "agent", path, "--await-time-sync" } );
   ASSERT_TRUE( agent.outputHas( "waiting for the source of time synchronisation" ) );
   Ran const set = run( { "set", "--card", path, "/timeSync", "state", "enabling" } );
   EXPECT_EQ( set.result, 0 ) << set.errors;
   EXPECT_TRUE( agent.outputHas( "attempt 1" ) );
   EXPECT_EQ( agent.output().find( "gate closed" ), std::string::npos ) << agent.output();
   agent.signal( SIGKILL );
   agent.result();
}

TEST_F( AgentTest, AStopBeforeTheFirstAnswerLeavesWhatWasPublished ) {
   std::string const path = max24305Card( R"({ "kind": "simulated", "lockAfterNs": 0 })", shortSequence );
   std::vector<std::string> const words{
      "--state", folder.path( "state.db" ), "--socket", folder.path( "agent.sock" ) };
   std::vector<std::string> agentWords{
      "agent", path, "--await-time-sync", "--metrics", folder.path( "metrics.prom" ) };
   agentWords.insert( agentWords.end(), words.begin(), words.end() );
   std::vector<std::string> const state{
      "inspect", "--state", folder.path( "state.db" ), "/hardware/max24305/status/ptp0", "state" };
   {
      std::vector<std::string> serving{ "agent", path };
      serving.insert( serving.end(), words.begin(), words.end() );
      Process before( serving );
      ASSERT_TRUE( before.outputHas( "clock ready" ) );
      before.signal( SIGTERM );
      ASSERT_EQ( before.result(), 0 );
   }
   Ran const published = run( state );
   ASSERT_NE( published.output.find( "ready" ), std::string::npos ) << published.output << published.errors;
   Process agent( agentWords );
   ASSERT_TRUE( agent.outputHas( "waiting for the source of time synchronisation" ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
   EXPECT_NE( agent.output().find( "stopped, not every chip ready" ), std::string::npos ) << agent.output();
   EXPECT_EQ( run( state ).output, published.output );
   EXPECT_EQ( agent.output().find( "metrics: " ), std::string::npos ) << "it has nothing to tell: " << agent.output();
}

// Runs the agent in virtual time and ends the process as the command would; the interruption comes in the reset pulse.
[[noreturn]] void runInterrupted(
   std::string const & card, std::string const & output, std::function<void()> what,
   AgentOptions const & options = {} ) {
   if ( !std::freopen( output.c_str(), "w", stdout ) ) std::abort();
   int result = 0;
   {
      Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
      Sim::VirtualTime const virtualTime( clock );
      // Within one of the driver's sleeps, and on the agent's thread.
      Sim::TimedEvent interruption( *clock, std::move( what ) );
      interruption.atNsIs( 50'000'000 );
      ServiceManager manager;
      result = Agent( readCard( card ), options, manager ).run();
   }
   std::exit( result );
}

void interrupt() { ::raise( SIGINT ); }

using AgentDeathTest = AgentTest;

TEST_F( AgentDeathTest, TheFirstSignalLetsTheBringUpReturn ) {
   hardwareArrives();
   EXPECT_EXIT(
      runInterrupted( card( "activeHigh" ), folder.path( "output" ), interrupt ), ::testing::ExitedWithCode( 0 ),
      "^clockpath: stopping: waiting for the bring-up of osc0 to return; a second signal ends at once\n$" );
   std::string const output = folder.content( "output" );
   EXPECT_NE( output.find( "osc0      ready" ), std::string::npos ) << output;
   EXPECT_NE( output.find( "stopped, all chips ready" ), std::string::npos ) << output;
   EXPECT_EQ( byteOfSpace( enableAt ), 2 );
   EXPECT_EQ( byteOfSpace( resetAt ), 0 );
}

TEST_F( AgentDeathTest, TheSecondSignalEndsAtOnceAndLeavesTheResetInactive ) {
   hardwareArrives();
   EXPECT_EXIT(
      runInterrupted(
         card( "activeLow" ), folder.path( "output" ),
         [] {
            ::raise( SIGTERM );
            ::raise( SIGINT );
         } ),
      ::testing::ExitedWithCode( 1 ), "a second signal ends at once\n$" );
   EXPECT_EQ( byteOfSpace( resetAt ), 0x10 );
   EXPECT_EQ( byteOfSpace( enableAt ), 0 ) << "the bring-up went on";
   EXPECT_EQ( folder.content( "output" ).find( "stopped" ), std::string::npos );
}

TEST_F( AgentDeathTest, AMax24305ThatDoesNotAnswerFails ) {
   hardwareArrives();
   EXPECT_EXIT(
      runInterrupted( max24305Card( mapped, shortSequence ), folder.path( "output" ), interrupt ),
      ::testing::ExitedWithCode( 1 ), "waiting for the bring-up of ptp0 to return" );
   std::string const output = unwrapped( folder.content( "output" ) );
   EXPECT_NE( output.find( "ptp0      failed          operation 1 of 3, " ), std::string::npos ) << output;
   EXPECT_NE( output.find( "read 0x30: expected 0x5e, found 0xff" ), std::string::npos ) << output;
   EXPECT_NE( output.find( "FIFOs 0/0 10 times" ), std::string::npos ) << "plain memory: " << output;
   EXPECT_NE( output.find( "MAX24305_INIT_FAILED" ), std::string::npos ) << output;
   EXPECT_NE( output.find( "stopped, not every chip ready" ), std::string::npos ) << output;
   EXPECT_EQ( byteOfSpace( resetAt ), 0 );
}

TEST_F( AgentDeathTest, ItsThreadHasNoTimerSlackUnlessToldToLeaveIt ) {
   hardwareArrives();
   std::string const systems = std::to_string( ::prctl( PR_GET_TIMERSLACK ) );
   auto const tellSlack = [] {
      std::cout << "slack " << ::prctl( PR_GET_TIMERSLACK ) << std::endl;
      interrupt();
   };
   for ( auto const & [options, slack] : std::vector<std::pair<AgentOptions, std::string>>{
            { {}, "1" }, { { .timerSlackNs = 700 }, "700" }, { { .timerSlackNs = 0 }, systems } } ) {
      EXPECT_EXIT(
         runInterrupted( card( "activeHigh" ), folder.path( "output" ), tellSlack, options ),
         ::testing::ExitedWithCode( 0 ), "" );
      std::string const output = folder.content( "output" );
      EXPECT_NE( output.find( "slack " + slack + "\n" ), std::string::npos ) << output;
   }
}

TEST_F( AgentTest, BringsUpAMax24305OfASimulatedCardInRealTime ) {
   Process agent( { "agent", max24305Card( R"({ "kind": "simulated", "lockAfterNs": 1000000 })", shortSequence ) } );
   EXPECT_TRUE( agent.outputHas( "ptp0      clock ready" ) ) << agent.output();
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_NE( agent.output().find( "stopped, all chips ready" ), std::string::npos );
}

// Writes where the card has no register, each time that a chip's reset comes next.
struct Astray final : Hardware::StepSink {
   void step( Vor::Entity const & config, Hardware::Step const & step ) override {
      if ( std::holds_alternative<Hardware::Steps::AttemptBegun>( step ) )
         static_cast<Hardware::Max24305::Config const &>( config ).ham()->hamImpl()->write32( 0x4000, 1 );
   }
};

TEST_F( AgentDeathTest, WarnsOfAnAccessWhereASimulatedCardHasNoRegister ) {
   std::string const simulated = max24305Card( R"({ "kind": "simulated" })", shortSequence );
   auto const runAstray = [&] {
      Hardware::stepSinkIs( new Astray );
      runInterrupted( simulated, folder.path( "output" ), interrupt );
   };
   EXPECT_EXIT( runAstray(), ::testing::ExitedWithCode( 1 ), "" );
   std::string const output = folder.content( "output" );
   std::string const warning = "warning         write to 0x4000, where the card has no register:";
   EXPECT_NE( output.find( warning ), std::string::npos ) << output;
   EXPECT_NE( output.find( "it is lost\n" ), std::string::npos ) << output;
   EXPECT_EQ( output.find( warning ), output.rfind( warning ) ) << "told more than once: " << output;
}

// Time-sync is disabled, so that nothing else than the presence happens.
TEST_F( AgentTest, NoticesItsCardAsItGoesAndComes ) {
   auto const started = std::chrono::steady_clock::now();
   hardwareArrives();
   Process agent( { "agent", max24305Card( mapped, "[]" ), "--time-sync", "0" } );
   EXPECT_TRUE( agent.outputHas( "input           hardware present" ) );
   folder.file( "other", "" );
   std::filesystem::remove( folder.path( "space" ) );
   EXPECT_TRUE( agent.outputHas( "input           hardware not present" ) );
   folder.file( "arriving", std::string( spaceSize, '\0' ) );
   std::filesystem::rename( folder.path( "arriving" ), folder.path( "space" ) );
   EXPECT_TRUE( agent.outputHas( "input           hardware present", 2 ) );
   std::filesystem::resize_file( folder.path( "space" ), spaceSize - 1 );
   EXPECT_TRUE( agent.outputHas( "input           hardware not present", 2 ) );
   EXPECT_LT( std::chrono::steady_clock::now() - started, std::chrono::seconds( 10 ) ) << "found by chance, not told";
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
   EXPECT_FALSE( agent.outputHas( "input  ", 5 ) ) << agent.output();
}

// How often the process has gone to sleep: each time that it woke up, it did so again.
int sleepsOf( Process const & process ) {
   std::ifstream status( "/proc/" + std::to_string( process.pid() ) + "/status" );
   for ( std::string word; status >> word; )
      if ( word == "voluntary_ctxt_switches:" ) {
         int count = 0;
         status >> count;
         return count;
      }
   return -1;
}

TEST_F( AgentTest, TellsWhatItsChipsWaitFor ) {
   hardwareArrives();
   Process agent( { "agent", max24305Card( mapped, shortSequence ), "--time-sync", "0" } );
   EXPECT_TRUE( agent.outputHas( "ptp0      gate closed     not met: time sync disabled;" ) ) << agent.output();
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
}

TEST_F( AgentTest, SleepsWhileNothingHappens ) {
   using namespace std::chrono_literals;
   hardwareArrives();
   Process present( { "agent", max24305Card( mapped, "[]" ), "--time-sync", "0" } );
   EXPECT_TRUE( present.outputHas( "input           hardware present" ) );
   Process absent( { "agent", max24305Card( R"({ "kind": "mmap", "path": "no/space", "size": 16384 })", "[]" ) } );
   EXPECT_TRUE( absent.outputHas( "waiting for the card" ) );
   if ( sleepsOf( present ) < 0 ) GTEST_SKIP() << "/proc does not tell how often a process slept";
   for ( Process * const agent : { &present, &absent } ) {
      // It is on its way to its first long sleep; how long that takes is the machine's business.
      int sleeps = -1;
      while ( sleeps != sleepsOf( *agent ) ) {
         sleeps = sleepsOf( *agent );
         std::this_thread::sleep_for( 100ms );
      }
   }
   int const before = sleepsOf( present ) + sleepsOf( absent );
   std::this_thread::sleep_for( 1s );
   EXPECT_LE( sleepsOf( present ) + sleepsOf( absent ), before + 1 );
   for ( Process * const agent : { &present, &absent } ) {
      agent->signal( SIGTERM );
      EXPECT_EQ( agent->result(), 1 );
   }
}

// The events of a log, which is whole, and whose times never go back.
std::vector<Recording::Event> eventsOfLog( std::string const & path ) {
   Recording::Reader reader( path );
   EXPECT_NE( reader.header().began, "" );
   std::vector<Recording::Event> events;
   while ( std::optional<Recording::Event> event = reader.next() ) {
      EXPECT_TRUE( events.empty() || events.back().ns <= event->ns ) << event->line;
      events.push_back( std::move( *event ) );
   }
   EXPECT_EQ( reader.skipped(), 0u );
   EXPECT_EQ( reader.cutOff(), "" );
   return events;
}

std::size_t kindsIn( std::vector<Recording::Event> const & events ) {
   std::set<std::size_t> kinds;
   for ( Recording::Event const & event : events ) kinds.insert( event.what.index() );
   return kinds.size();
}

// What the machines write and tell until they have programmed their chip: the same at any speed.
std::vector<std::string> programmingIn( std::vector<Recording::Event> const & events ) {
   std::vector<std::string> told;
   for ( Recording::Event const & event : events ) {
      if ( auto const * write = std::get_if<Recording::Write32>( &event.what ) )
         told.push_back( std::to_string( write->address ) + " = " + std::to_string( write->value ) );
      if ( auto const * step = std::get_if<Recording::Step>( &event.what ) ) {
         told.push_back( step->chip + std::to_string( step->step.index() ) );
         if ( std::holds_alternative<Hardware::Steps::ProgrammingEnded>( step->step ) ) return told;
      }
   }
   ADD_FAILURE() << "the programming did not end";
   return told;
}

TEST_F( AgentTest, ForgetsFirstFailuresWhenAskedTo ) {
   std::filesystem::create_directory( folder.path( "failures" ) );
   std::string const first = folder.file( "failures/ptp0-first.events", "" );
   std::string const card = max24305Card( R"({ "kind": "simulated" })", shortSequence );
   for ( bool const forget : { false, true } ) {
      std::vector<std::string> words{ "agent", card, "--time-sync", "0", "--failures", folder.path( "failures" ) };
      if ( forget ) words.emplace_back( "--forget" );
      Process agent( words );
      EXPECT_TRUE( agent.outputHas( "time sync disabled" ) ) << agent.output();
      agent.signal( SIGTERM );
      EXPECT_EQ( agent.result(), 1 );
      EXPECT_EQ( std::filesystem::exists( first ), !forget );
   }
}

TEST_F( AgentTest, RecordsASimulatedCardInTheFormatOfSimulate ) {
   std::string const card = max24305Card( R"({ "kind": "simulated", "lockAfterNs": 1000000 })", shortSequence );
   Process agent( { "agent", card, "--events", folder.path( "events" ) } );
   EXPECT_TRUE( agent.outputHas( "ptp0      clock ready" ) ) << agent.output();
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_EQ( agent.output().find( "trace" ), std::string::npos ) << "traces are the log's alone";
   std::vector<Recording::Event> const events = eventsOfLog( folder.path( "events" ) );
   // All but a logged message, an abort, a change of an input, accesses of another, and what is left out.
   EXPECT_EQ( kindsIn( events ), Recording::kindNames.size() - 5 );

   std::string const scenario = folder.file( "scenario.json", R"({ "card": "card.json" })" );
   EXPECT_EQ( run( { "simulate", scenario, "--events", folder.path( "simulated" ) } ).result, 0 );
   std::string const simulated = folder.content( "simulated" );
   std::string const began = R"("began":"x",)";
   folder.file( "simulated", with( simulated, R"("cardFile")", began + R"("cardFile")" ) );
   EXPECT_EQ( programmingIn( events ), programmingIn( eventsOfLog( folder.path( "simulated" ) ) ) );
   Ran const replayed = run( { "replay", folder.path( "events" ) } );
   EXPECT_EQ( replayed.result, 0 ) << replayed.output << replayed.errors;
}

// Its looks at ready chips stand in the log, and the metrics in their file.
TEST_F( AgentTest, LooksAtReadyChipsAndTellsMetrics ) {
   std::string const card = max24305Card( R"({ "kind": "simulated", "lockAfterNs": 1000000 })", shortSequence );
   Process agent(
      { "agent", card, "--watch", "0.05", "--events", folder.path( "events" ), "--metrics",
        folder.path( "metrics" ) } );
   EXPECT_TRUE( agent.outputHas( "ptp0      clock ready" ) ) << agent.output();
   auto const has = [&]( char const * file, std::string const & text ) {
      for ( int looks = 0; looks < 10'000; ++looks ) {
         if ( folder.content( file ).find( text ) != std::string::npos ) return true;
         std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
      }
      return false;
   };
   EXPECT_TRUE( has( "events", R"("ev":"aside","by":"watch","begins":false)" ) );
   EXPECT_TRUE( has( "metrics", "clockpath_chip_state{chip=\"ptp0\",kind=\"max24305\",state=\"ready\"} 1\n" ) );
   Ran const peeked = run( { "peek", card, "ptp0:7" } );
   EXPECT_EQ( peeked.result, 0 ) << peeked.errors;
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_EQ( agent.output().find( "not well" ), std::string::npos ) << agent.output();
   Ran const replayed = run( { "replay", folder.path( "events" ) } );
   EXPECT_EQ( replayed.result, 0 ) << replayed.output << replayed.errors;
}

TEST_F( AgentTest, MistakenPlacesOfMetricsAreErrors ) {
   std::string const card = max24305Card( R"({ "kind": "simulated" })", "[]" );
   Ran const wrong = run( { "agent", card, "--metrics", "0.0.0.0:80" } );
   EXPECT_EQ( wrong.result, 2 );
   EXPECT_NE( wrong.errors.find( "--metrics: expected a file" ), std::string::npos ) << wrong.errors;
   EXPECT_EQ( run( { "agent", card, "--watch", "-1" } ).result, 2 );
}

TEST_F( AgentTest, RecordsAMappedCardFromItsArrival ) {
   Process agent( { "agent", card( "activeHigh" ), "--events", folder.path( "events" ) } );
   EXPECT_TRUE( agent.outputHas( "waiting for the card" ) );
   folder.file( "arriving", std::string( spaceSize, '\0' ) );
   std::filesystem::rename( folder.path( "arriving" ), folder.path( "space" ) );
   EXPECT_TRUE( agent.outputHas( "osc0      ready" ) ) << agent.output();
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_EQ( byteOfSpace( enableAt ), 2 );
   std::vector<Recording::Event> const events = eventsOfLog( folder.path( "events" ) );
   std::vector<std::string> inputs;
   U64 slept = 0;
   U32 enable = 0;
   for ( Recording::Event const & event : events ) {
      if ( auto const * input = std::get_if<Recording::InputChange>( &event.what ) )
         inputs.push_back( input->what + " = " + std::to_string( input->value ) );
      if ( auto const * sleep = std::get_if<Recording::Sleep>( &event.what ) ) slept += sleep->forNs;
      if ( auto const * write = std::get_if<Recording::Write32>( &event.what ); write && write->address == enableAt )
         enable = write->value;
   }
   EXPECT_EQ( inputs, std::vector<std::string>{ "hardwarePresent = 1" } );
   EXPECT_EQ( enable, 2u );
   EXPECT_GT( slept, 0u );
   EXPECT_GE( events.back().ns, slept ) << "the sleeps take as long as they say";
   EXPECT_EQ( run( { "replay", folder.path( "events" ) } ).result, 0 );
}

TEST_F( AgentTest, TheLogIsWholeAlsoAfterTheSecondSignal ) {
   hardwareArrives();
   Process agent( { "agent", max24305Card( mapped, shortSequence ), "--events", folder.path( "events" ) } );
   EXPECT_TRUE( agent.outputHas( "ptp0      attempt 1       reset pulse" ) ) << agent.output();
   auto const inPulse = [this] { return folder.content( "events" ).find( R"("ev":"sleep")" ) != std::string::npos; };
   for ( int looks = 0; looks < 1'000 && !inPulse(); ++looks )
      std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
   agent.signal( SIGTERM );
   agent.signal( SIGINT );
   EXPECT_EQ( agent.result(), 1 );
   std::vector<Recording::Event> const events = eventsOfLog( folder.path( "events" ) );
   ASSERT_FALSE( events.empty() );
   EXPECT_TRUE( std::holds_alternative<Recording::Sleep>( events.back().what ) ) << "the pulse was under way";
   Ran const replayed = run( { "replay", folder.path( "events" ) } );
   EXPECT_EQ( replayed.result, 0 );
   EXPECT_NE( replayed.output.find( ": the recording ends within a bring-up\n" ), std::string::npos )
      << replayed.output;
}

TEST_F( AgentDeathTest, AnAbortIsTheLastLine ) {
   static constexpr char vorSource[] = "AgentCommandTest";
   hardwareArrives();
   auto const abort = [] { VOR_ASSERT( 2 < 1 ); };
   EXPECT_DEATH(
      runInterrupted( card( "activeHigh" ), folder.path( "output" ), abort, { .events = folder.path( "events" ) } ),
      "Assertion `2 < 1' failed" );
   std::vector<Recording::Event> const events = eventsOfLog( folder.path( "events" ) );
   ASSERT_FALSE( events.empty() );
   auto const * last = std::get_if<Recording::Abort>( &events.back().what );
   ASSERT_TRUE( last );
   EXPECT_EQ( last->expression, "2 < 1" );
   EXPECT_EQ( last->source, vorSource );
}

TEST_F( AgentTest, ALogThatCannotBeWrittenIsAnError ) {
   std::string const file = card( "activeHigh" );
   Ran const absent = run( { "agent", file, "--events", folder.path( "absent/events" ) } );
   EXPECT_EQ( absent.result, 2 );
   EXPECT_EQ(
      absent.errors, "clockpath: " + folder.path( "absent/events" ) +
                        ": the event log cannot be written: No such file or directory\n" );
   Ran const journals = run( { "agent", file, "--events", "-" } );
   EXPECT_EQ( journals.result, 2 );
   EXPECT_EQ(
      journals.errors,
      "clockpath: --events: the agent's standard output has its journal; expected a file, found \"-\"\n" );
   Process full( { "agent", file, "--events", "/dev/full" } );
   EXPECT_TRUE( full.outputHas( "waiting for the card" ) );
   full.signal( SIGTERM );
   EXPECT_EQ( full.result(), 2 );
   EXPECT_NE(
      full.errors().find( "/dev/full: the event log cannot be written in full; is there room for it?" ),
      std::string::npos )
      << full.errors();
}

TEST_F( AgentTest, ACardThatIsTooShortIsNoCard ) {
   folder.file( "space", "short" );
   Process agent( { "agent", card( "activeHigh" ) } );
   EXPECT_TRUE( agent.outputHas( "found 5" ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
   EXPECT_NE(
      unwrapped( agent.output() ).find( "expected at least 16384 bytes, as \"offset\" and \"size\" say, found 5" ),
      std::string::npos )
      << agent.output();
}

TEST( Agent, ErrorsAreToldBeforeItStarts ) {
   Folder const folder;
   Ran const ran = run( { "agent", folder.file( "card.json", "{}" ) } );
   EXPECT_EQ( ran.result, 2 );
   EXPECT_EQ(
      ran.errors, "clockpath: " + folder.path( "card.json" ) +
                     ": /access: expected an object, found nothing: the key is missing\n" );
   EXPECT_EQ( ran.output, "" );
}

}   // namespace
