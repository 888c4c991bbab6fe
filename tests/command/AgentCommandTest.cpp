#include "command/AgentCommand.h"
#include "sim/VirtualClock.h"
#include "tests/command/Process.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using namespace Host;
using namespace Input;

constexpr std::size_t spaceSize = 0x4000;
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

// Signals that come at a virtual time, so within one of the driver's sleeps.
class Interruption final : public Sim::TimedEvent {
 public:
   Interruption( Sim::VirtualClock & clock, std::vector<int> signals )
      : TimedEvent( clock ), signals_( std::move( signals ) ) {}

 private:
   void happen() override {
      for ( int const signal : signals_ ) ::raise( signal );
   }

   std::vector<int> const signals_;
};

// Runs the agent in virtual time and ends the process as the command would; the signals come in the reset pulse.
[[noreturn]] void runInterrupted( std::string const & card, std::string const & output, std::vector<int> signals ) {
   if ( !std::freopen( output.c_str(), "w", stdout ) ) std::abort();
   int result = 0;
   {
      Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
      Sim::VirtualTime const virtualTime( clock );
      Interruption interruption( *clock, std::move( signals ) );
      interruption.atNsIs( 50'000'000 );
      result = agent( card, {} );
   }
   std::exit( result );
}

using AgentDeathTest = AgentTest;

TEST_F( AgentDeathTest, TheFirstSignalLetsTheBringUpReturn ) {
   hardwareArrives();
   EXPECT_EXIT(
      runInterrupted( card( "activeHigh" ), folder.path( "output" ), { SIGINT } ), ::testing::ExitedWithCode( 0 ),
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
      runInterrupted( card( "activeLow" ), folder.path( "output" ), { SIGTERM, SIGINT } ),
      ::testing::ExitedWithCode( 1 ), "a second signal ends at once\n$" );
   EXPECT_EQ( byteOfSpace( resetAt ), 0x10 );
   EXPECT_EQ( byteOfSpace( enableAt ), 0 ) << "the bring-up went on";
   EXPECT_EQ( folder.content( "output" ).find( "stopped" ), std::string::npos );
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
