#include "recording/Reader.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>

#include <memory>

namespace TrappedTests {
namespace {

using namespace Host;
using namespace Input;
using ::testing::HasSubstr;

constexpr std::size_t spaceSize = 16384;

// What is started while one lives finds a card behind the file.
class Preloaded {
 public:
   Preloaded( std::string const & file, std::string const & socket ) {
      ::setenv( "CLOCKPATH_TRAPPED_FILE", file.c_str(), 1 );
      ::setenv( "CLOCKPATH_TRAPPED_SOCKET", socket.c_str(), 1 );
      ::setenv( "LD_PRELOAD", CLOCKPATH_TRAPPED, 1 );
   }
   ~Preloaded() { ::unsetenv( "LD_PRELOAD" ); }
   Preloaded( Preloaded const & ) = delete;
   Preloaded & operator=( Preloaded const & ) = delete;
};

// hardware.json is the card whose hardware lives in a process of its own, card.json the same card behind a file.
class Trapped : public ::testing::Test {
 protected:
   Trapped() {
      folder.file( "hardware.json", with( described, "ACCESS", simulated ) );
      folder.file( "card.json", with( described, "ACCESS", mapped ) );
      cardArrives();
   }

   void cardArrives() const { folder.file( "space", std::string( spaceSize, '\0' ) ); }

   std::unique_ptr<Process> hardware( std::string const & file = "hardware.json" ) const {
      auto started = std::make_unique<Process>(
         std::vector<std::string>{ "hardware", folder.path( file ), "--events", folder.path( "hardware.events" ) } );
      EXPECT_TRUE( started->outputHas( "until SIGINT or SIGTERM\n" ) );
      return started;
   }
   std::unique_ptr<Process> agent() const {
      Preloaded const preloaded( folder.path( "space" ), folder.path( "card.sock" ) );
      return std::make_unique<Process>(
         std::vector<std::string>{ "agent", card, "--events", folder.path( "agent.events" ) } );
   }
   Ran ran( std::vector<std::string> const & words ) const {
      Preloaded const preloaded( folder.path( "space" ), folder.path( "card.sock" ) );
      return run( words );
   }
   // In one of the toucher's ways.
   int touched( std::string const & how ) const {
      Preloaded const preloaded( folder.path( "space" ), folder.path( "card.sock" ) );
      std::string const files = " '" + folder.path( "space" ) + "' " + how + " >'" + folder.path( "loaded" ) + "'";
      return WEXITSTATUS( std::system( ( CLOCKPATH_TOUCHER + files + " 2>'" + folder.path( "why" ) + "'" ).c_str() ) );
   }

   std::vector<std::pair<U32, U32>> writesIn( std::string const & log ) const {
      std::vector<std::pair<U32, U32>> writes;
      Recording::Reader reader( folder.path( log ) );
      while ( auto const event = reader.next() )
         if ( auto const * write = std::get_if<Recording::Write32>( &event->what ) )
            writes.emplace_back( write->address, write->value );
      return writes;
   }

   static constexpr char simulated[] = R"({ "kind": "simulated", "lockAfterNs": 0, "socket": "card.sock" })";
   static constexpr char mapped[] = R"({ "kind": "mmap", "path": "space", "size": 16384 })";
   std::string const described =
      R"({ "access": ACCESS, "gpos": [ { "name": "ptp0Reset", "offset": 8192, "bit": 4 } ],
           "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                        "resetGpoName": "ptp0Reset", "input": "stuffedClock", "outputFrequencyInHz": 10000000,
                        "spiResetSupported": true, "sequence": ")" CLOCKPATH_EXAMPLES R"(ptp0.ops" } ] })";
   Folder const folder;
   std::string const card = folder.path( "card.json" );
};

// Without it the others could not fail.
TEST_F( Trapped, WhatIsNoPlainWordEndsTheProcess ) {
   std::unique_ptr<Process> const hardware = this->hardware();
   EXPECT_EQ( touched( "store" ), 0 );
   EXPECT_EQ( touched( "load" ), 0 );
   EXPECT_EQ( folder.content( "loaded" ), "0x10\n" ) << "of the simulated output, which another process has written";
   for ( std::string const how : { "loadByte", "storeByte", "loadWide", "storeShort", "exchange" } ) {
      EXPECT_EQ( touched( how ), 99 ) << how;
      EXPECT_EQ( folder.content( "why" ), "trapped: an access that is no plain one of 32 bits\n" ) << how;
   }
   EXPECT_EQ( touched( "askew" ), 99 );
   EXPECT_EQ( folder.content( "why" ), "trapped: an access that is not aligned\n" );
   EXPECT_EQ( writesIn( "hardware.events" ), ( std::vector<std::pair<U32, U32>>{ { 8192, 16 } } ) );
}

TEST_F( Trapped, AHealthyChipComesUpByTheWritesOfTheSimulation ) {
   std::unique_ptr<Process> const hardware = this->hardware();
   std::unique_ptr<Process> const agent = this->agent();
   ASSERT_TRUE( agent->outputHas( "clock ready" ) ) << agent->output();
   std::vector<std::pair<U32, U32>> const writes = writesIn( "hardware.events" );
   std::string const scenario = folder.file( "scenario.json", R"({ "card": "hardware.json" })" );
   ASSERT_EQ( run( { "simulate", scenario, "--events", folder.path( "simulated.events" ) } ).result, 0 );
   EXPECT_GT( writes.size(), 1000u );
   EXPECT_TRUE( writes == writesIn( "simulated.events" ) );

   // Two users at once: one through the agent, the others refused.
   Ran const peeked = ran( { "peek", card, "ptp0:0x30" } );
   EXPECT_THAT( peeked.output, HasSubstr( "0x5e" ) ) << peeked.errors;
   for ( std::vector<std::string> const & words : std::vector<std::vector<std::string>>{
            { "agent", card, "--state", folder.path( "other.db" ), "--socket", folder.path( "other.sock" ) },
            { "poke", card, "ptp0Reset=active", "--yes" } } ) {
      Ran const refused = ran( words );
      EXPECT_EQ( refused.result, 1 ) << words[0];
      EXPECT_THAT( refused.errors, HasSubstr( "the card is in use by agent, process " ) );
   }
   agent->signal( SIGTERM );
   EXPECT_EQ( agent->result(), 0 ) << agent->errors();

   Ran const well = ran( { "audit", card } );
   EXPECT_EQ( well.result, 0 ) << well.output << well.errors;
   // Behind the back of those who use the file.
   EXPECT_EQ( run( { "poke", folder.path( "hardware.json" ), "ptp0:0x10=0x3d", "--yes" } ).result, 0 );
   Ran const differs = ran( { "audit", card } );
   EXPECT_EQ( differs.result, 1 );
   EXPECT_THAT( differs.output, HasSubstr( "expected 0x04, found 0x3d" ) );
}

TEST_F( Trapped, ADeadChipNamesItsCause ) {
   folder.file(
      "dead.json",
      R"({ "card": "hardware.json",
           "events": [ { "atNs": 0, "fault": { "kind": "misoStuck", "chip": "ptp0", "value": 1 } } ] })" );
   std::unique_ptr<Process> const hardware = this->hardware( "dead.json" );
   std::unique_ptr<Process> const agent = this->agent();
   ASSERT_TRUE( agent->outputHas( "attempt 2" ) ) << agent->output();
   EXPECT_THAT( agent->output(), HasSubstr( "ptp0      failed          operation 1 of 431" ) );
   for ( int const signal : { SIGTERM, SIGINT } ) agent->signal( signal );
   EXPECT_EQ( agent->result(), 1 );
   Ran const explained = run( { "explain", folder.path( "agent.events" ) } );
   EXPECT_EQ( explained.result, 1 );
   EXPECT_THAT( explained.output, HasSubstr( "rule   allOnes\n" ) );
   EXPECT_EQ( ran( { "audit", card } ).result, 1 );
}

TEST_F( Trapped, ACardComesAndGoesWithItsFile ) {
   std::unique_ptr<Process> const hardware = this->hardware();
   std::unique_ptr<Process> const agent = this->agent();
   ASSERT_TRUE( agent->outputHas( "clock ready" ) ) << agent->output();
   std::filesystem::remove( folder.path( "space" ) );
   ASSERT_TRUE( agent->outputHas( "hardware not present" ) ) << agent->output();
   cardArrives();
   ASSERT_TRUE( agent->outputHas( "attempt 1", 2 ) ) << agent->output();
   // In the middle of the bring-up: what the agent touches from now on is not there any more.
   std::filesystem::resize_file( folder.path( "space" ), 0 );
   ASSERT_TRUE( agent->outputHas( "ptp0      failed          operation 1 of 431" ) ) << agent->output();
   for ( int const signal : { SIGTERM, SIGINT } ) agent->signal( signal );
   EXPECT_EQ( agent->result(), 1 );
}

}   // namespace
}   // namespace TrappedTests
