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
   int byteOfSpace( std::size_t at ) const { return static_cast<unsigned char>( folder.content( "space" ).at( at ) ); }

   Folder const folder;
};

TEST_F( AgentTest, WaitsForItsCardAndEndsAtOnceWhenNothingIsUnderWay ) {
   Process agent( { "agent", card( "activeHigh" ) } );
   EXPECT_TRUE( agent.outputHas( "waiting for the card: " + folder.path( "space" ) + ": No such file or directory" ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
   EXPECT_EQ( agent.errors(), "clockpath: stopping\n" );
   EXPECT_NE( agent.output().find( "stopped, not every chip ready" ), std::string::npos );
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
      result = Agent( readCard( card ), options ).run();
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
   std::string const output = folder.content( "output" );
   EXPECT_NE( output.find( "ptp0      failed" ), std::string::npos ) << output;
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
   std::string const warning = "warning: write to 0x4000, where the card has no register: it is lost\n";
   EXPECT_NE( output.find( warning ), std::string::npos ) << output;
   EXPECT_EQ( output.find( warning ), output.rfind( warning ) ) << "told more than once: " << output;
}

// Time-sync is disabled, so that nothing else than the presence happens.
TEST_F( AgentTest, NoticesItsCardAsItGoesAndComes ) {
   auto const started = std::chrono::steady_clock::now();
   hardwareArrives();
   Process agent( { "agent", max24305Card( mapped, "[]" ), "--time-sync", "0" } );
   EXPECT_TRUE( agent.outputHas( "hardware present" ) );
   folder.file( "other", "" );
   std::filesystem::remove( folder.path( "space" ) );
   EXPECT_TRUE( agent.outputHas( "hardware absent" ) );
   folder.file( "arriving", std::string( spaceSize, '\0' ) );
   std::filesystem::rename( folder.path( "arriving" ), folder.path( "space" ) );
   EXPECT_TRUE( agent.outputHas( "hardware present", 2 ) );
   std::filesystem::resize_file( folder.path( "space" ), spaceSize - 1 );
   EXPECT_TRUE( agent.outputHas( "hardware absent", 2 ) );
   EXPECT_LT( std::chrono::steady_clock::now() - started, std::chrono::seconds( 10 ) ) << "found by chance, not told";
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
   EXPECT_FALSE( agent.outputHas( "hardware ", 5 ) ) << agent.output();
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

TEST_F( AgentTest, SleepsWhileNothingHappens ) {
   using namespace std::chrono_literals;
   hardwareArrives();
   Process present( { "agent", max24305Card( mapped, "[]" ), "--time-sync", "0" } );
   EXPECT_TRUE( present.outputHas( "hardware present" ) );
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

TEST_F( AgentTest, ACardThatIsTooShortIsNoCard ) {
   folder.file( "space", "short" );
   Process agent( { "agent", card( "activeHigh" ) } );
   EXPECT_TRUE( agent.outputHas( "expected at least 16384 bytes, as \"offset\" and \"size\" say, found 5" ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
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
