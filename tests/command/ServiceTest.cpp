// The agent under a service manager: the real process, with the test as the manager.
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"
#include "tests/report/DatagramSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <regex>

namespace Host::ServiceTests {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A card that is plain memory in a file: what is written to a Tolvane's register reads back, so that it comes up.
std::string tolvaneText( std::string const & name, int bit, std::size_t offset ) {
   return R"({ "kind": "tolvane", "name": ")" + name + R"(", "offset": )" + std::to_string( offset ) +
          R"(, "resetGpoName": "reset)" + std::to_string( bit ) + R"(" })";
}

class ServiceTest : public ::testing::Test {
 protected:
   ServiceTest() { folder.file( "space", std::string( spaceSize, '\0' ) ); }
   void SetUp() override { ::setenv( "NOTIFY_SOCKET", folder.path( "notify" ).c_str(), 1 ); }
   void TearDown() override {
      ::unsetenv( "NOTIFY_SOCKET" );
      ::unsetenv( "WATCHDOG_USEC" );
   }

   std::string card( std::string const & chips, std::string const & size = "16384" ) const {
      return folder.file(
         "card.json", R"({ "access": { "kind": "mmap", "path": "space", "size": )" + size + R"( },
                           "gpos": [ { "name": "reset0", "offset": 8192, "bit": 0 },
                                     { "name": "reset1", "offset": 8196, "bit": 1 } ],
                           "chips": [ )" +
                         chips + " ] }" );
   }
   // A MAX24305 that nobody answers for: an attempt takes many seconds.
   std::string deadCard() const {
      return card(
         R"({ "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512, "resetGpoName": "reset0",
              "input": "stuffedClock", "outputFrequencyInHz": 10000000, "spiResetSupported": true, "sequence": )" +
         Input::shortSequence + " }" );
   }
   // Lines in one piece.
   static std::string unwrapped( std::string const & output ) {
      return std::regex_replace( output, std::regex( "\n {30,}" ), " " );
   }
   int byteOfSpace( std::size_t at ) const { return static_cast<unsigned char>( folder.content( "space" ).at( at ) ); }
   void byteOfSpaceIs( std::size_t at, char byte ) const {
      int const fd = ::open( folder.path( "space" ).c_str(), O_WRONLY | O_CLOEXEC );
      EXPECT_EQ( ::pwrite( fd, &byte, 1, static_cast<off_t>( at ) ), 1 );
      ::close( fd );
   }
   std::string withoutTimes( std::vector<std::string> const & datagrams ) const {
      std::string text;
      for ( std::string const & datagram : datagrams ) text += datagram.substr( 0, datagram.find( '\n' ) ) + ";";
      return text;
   }

   static constexpr std::size_t spaceSize = 0x4000;
   static constexpr std::size_t osc0At = 0x3000;
   static constexpr std::size_t osc1At = 0x3400;
   std::string const osc0 = tolvaneText( "osc0", 0, osc0At );
   std::string const osc1 = tolvaneText( "osc1", 1, osc1At );
   Input::Folder const folder;
   DatagramSocket manager{ folder.path( "notify" ) };
};

TEST_F( ServiceTest, ReadyWhenTheMachinesAreMadeThenStoppedWithZero ) {
   Process agent( { "agent", card( osc0 ) } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   EXPECT_THAT( manager.all(), Contains( "STATUS=osc0 uninitialized, attempt 1" ) );
   EXPECT_THAT( manager.all(), Contains( "STATUS=osc0 ready" ) ) << "before it is ready";
   manager.taken();
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_EQ( withoutTimes( manager.taken() ), "STOPPING=1;" );
}

TEST_F( ServiceTest, AnAbsentCardDoesNotMakeTheStartFail ) {
   std::filesystem::remove( folder.path( "space" ) );
   Process agent( { "agent", card( osc0 ) } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   EXPECT_THAT( manager.all(), Contains( StartsWith( "STATUS=waiting for the card: " ) ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 ) << "it was asked to stop";
}

TEST_F( ServiceTest, ABringUpFeedsTheWatchdogAndExtendsTheStart ) {
   ::setenv( "WATCHDOG_USEC", "400000", 1 );
   Process agent( { "agent", deadCard() } );
   ASSERT_TRUE( manager.has( "STATUS=ptp0 uninitialized, attempt 1" ) );
   for ( int times = 0; times < 4; ++times ) EXPECT_TRUE( manager.has( "WATCHDOG=1\nEXTEND_TIMEOUT_USEC=60000000" ) );
   EXPECT_THAT( manager.taken(), AllOf( Not( Contains( "READY=1" ) ), Not( Contains( HasSubstr( "attempt 2" ) ) ) ) );
}

TEST_F( ServiceTest, ABringUpEndsWithTheSecondSignal ) {
   Process agent( { "agent", deadCard() } );
   ASSERT_TRUE( manager.has( "STATUS=ptp0 uninitialized, attempt 1" ) );
   agent.signal( SIGTERM );
   EXPECT_TRUE( manager.has( "STOPPING=1" ) );
   auto const asked = std::chrono::steady_clock::now();
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 ) << "it was asked to stop";
   EXPECT_LT( std::chrono::steady_clock::now() - asked, std::chrono::seconds( 1 ) );
   EXPECT_EQ( byteOfSpace( 8192 ) & 1, 0 ) << "not held in reset";
}

TEST_F( ServiceTest, AnIdleLoopFeedsTheWatchdogInTime ) {
   ::setenv( "WATCHDOG_USEC", "200000", 1 );
   Process agent( { "agent", card( osc0 ) } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   manager.taken();
   for ( int times = 0; times < 4; ++times ) EXPECT_TRUE( manager.has( "WATCHDOG=1" ) );
   EXPECT_EQ( manager.all().size(), 4U ) << "and nothing else is told";
}

// The loop hangs in writing what nobody reads.
TEST_F( ServiceTest, ALoopThatHangsStopsFeedingIt ) {
   ::setenv( "WATCHDOG_USEC", "20000", 1 );
   std::string const log = folder.path( "log" );
   ASSERT_EQ( ::mkfifo( log.c_str(), 0600 ), 0 );
   int const fifo = ::open( log.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK );
   constexpr int room = 4096;   // more than the first line has, less than a bring-up
   ASSERT_GE( ::fcntl( fifo, F_SETPIPE_SZ, room ), room );
   Process agent( { "agent", deadCard(), "--events", log } );
   ASSERT_TRUE( manager.has( "WATCHDOG=1" ) );
   constexpr int longerThanAStepMs = 1'500;
   for ( int came = 0; came < 1'000 && !manager.next( longerThanAStepMs ).empty(); ++came ) {
   }
   std::vector<char> read( room );
   bool fed = false;
   for ( int waits = 0; waits < 10'000 && !fed; ++waits ) {
      [[maybe_unused]] ssize_t const got = ::read( fifo, read.data(), read.size() );
      fed = manager.next( 1 ).find( "WATCHDOG=1" ) != std::string::npos;
   }
   EXPECT_TRUE( fed ) << "as soon as it turns again";
   ::close( fifo );
}

TEST_F( ServiceTest, AReloadLeavesUnchangedChipsAlone ) {
   Process agent( { "agent", card( osc0 + ", " + osc1 ) } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   // What an access would change back.
   byteOfSpaceIs( osc0At, 0x40 );
   byteOfSpaceIs( osc1At, 0x40 );
   std::string const published = run( { "inspect", "--card", folder.path( "card.json" ), "/agent/chip/osc0" } ).output;
   manager.taken();
   card( osc0 + ", " + tolvaneText( "osc1", 1, 0x3800 ) );
   agent.signal( SIGHUP );
   ASSERT_TRUE( manager.has( "RELOADING=1\nMONOTONIC_USEC=" ) );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   ASSERT_TRUE( manager.has( "STATUS=osc0 ready, osc1 ready" ) );
   EXPECT_EQ( byteOfSpace( osc0At ), 0x40 ) << "not touched";
   EXPECT_EQ( byteOfSpace( osc1At ), 0x40 ) << "it has moved";
   EXPECT_NE( byteOfSpace( 0x3800 ), 0 ) << "brought up";
   EXPECT_EQ( run( { "inspect", "--card", folder.path( "card.json" ), "/agent/chip/osc0" } ).output, published );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_THAT( unwrapped( agent.output() ), HasSubstr( "the card description is read again: osc1 is made anew" ) );
}

TEST_F( ServiceTest, AReloadLeavesWhatIsGoneAsItStandsAndBringsUpWhatComes ) {
   std::string const metrics = folder.path( "metrics" );
   Process agent( { "agent", card( osc0 ), "--watch", "1", "--metrics", metrics } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   int const enabled = byteOfSpace( osc0At );
   EXPECT_NE( enabled, 0 );
   card( osc1 );
   agent.signal( SIGHUP );
   ASSERT_TRUE( manager.has( "STATUS=osc1 ready" ) );
   EXPECT_EQ( byteOfSpace( osc0At ), enabled );
   EXPECT_EQ( byteOfSpace( 8192 ) & 1, 0 );
   std::string const state = run( { "inspect", "--card", folder.path( "card.json" ) } ).output;
   EXPECT_THAT( state, HasSubstr( "/agent/chip/osc1" ) );
   EXPECT_THAT( state, Not( HasSubstr( "osc0" ) ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   std::string const told = folder.content( "metrics" );
   EXPECT_THAT( told, HasSubstr( R"(clockpath_chip_attempts_total{chip="osc1"} 1)" ) );
   EXPECT_THAT( told, Not( HasSubstr( "osc0" ) ) );
   EXPECT_THAT( unwrapped( agent.output() ), HasSubstr( "osc1 is made anew, osc0 is left as it stands" ) );
}

TEST_F( ServiceTest, WhatCannotBeTakenChangesNothingAndIsTold ) {
   Process agent( { "agent", card( osc0 ) } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   byteOfSpaceIs( osc0At, 0x40 );
   auto const reload = [&] {
      agent.signal( SIGHUP );
      EXPECT_TRUE( manager.has( "RELOADING=1" ) );
      EXPECT_TRUE( manager.has( "READY=1" ) );
   };
   folder.file( "card.json", "{ \"access\": 7" );
   reload();
   card( osc0, "32768" );
   reload();
   EXPECT_EQ( byteOfSpace( osc0At ), 0x40 );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   std::string const text = unwrapped( agent.output() );
   std::string const kept =
      "the card description is not taken, and all goes on as it was: " + folder.path( "card.json" );
   EXPECT_THAT( text, HasSubstr( kept + ":1:" ) );
   EXPECT_THAT( text, HasSubstr( kept + ": /access: a running agent stays with the card" ) );
}

TEST_F( ServiceTest, AnEventLogKeepsItsCard ) {
   Process agent( { "agent", card( osc0 ), "--events", folder.path( "log" ) } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   card( osc1 );
   agent.signal( SIGHUP );
   EXPECT_TRUE( manager.has( "READY=1" ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_THAT( unwrapped( agent.output() ), HasSubstr( "--events: an event log has the card that it began with" ) );
}

TEST_F( ServiceTest, WithoutAManagerAClosedTerminalStopsTheAgent ) {
   ::unsetenv( "NOTIFY_SOCKET" );
   Process agent( { "agent", card( osc0 ) } );
   ASSERT_TRUE( agent.outputHas( "ready" ) );
   agent.signal( SIGHUP );
   EXPECT_EQ( agent.result(), 0 );
   EXPECT_THAT( agent.errors(), HasSubstr( "clockpath: stopping" ) );
   EXPECT_THAT( agent.output(), HasSubstr( "stopped, all chips ready" ) );
   EXPECT_TRUE( manager.taken().empty() );
}

TEST_F( ServiceTest, NoSignalLeavesAChipInReset ) {
   ::unsetenv( "NOTIFY_SOCKET" );
   for ( int const signal : { SIGHUP, SIGQUIT, SIGUSR1, SIGABRT, SIGRTMIN } ) {
      folder.file( "space", std::string( spaceSize, '\0' ) );
      Process agent( { "agent", card( osc0 ) } );
      while ( ( byteOfSpace( 8192 ) & 1 ) == 0 ) ::usleep( 50 );
      agent.signal( signal );
      EXPECT_EQ( agent.result(), signal == SIGHUP ? 0 : -signal );
      EXPECT_EQ( byteOfSpace( 8192 ) & 1, 0 ) << ::strsignal( signal );
   }
}

TEST_F( ServiceTest, NoReaderAndNoTerminalStopsTheAgentFromWorking ) {
   Process agent( { "agent", card( osc0 ) } );
   ASSERT_TRUE( manager.has( "READY=1" ) );
   for ( int const signal : { SIGPIPE, SIGTSTP, SIGTTIN, SIGTTOU } ) agent.signal( signal );
   manager.taken();
   card( osc1 );
   agent.signal( SIGHUP );
   EXPECT_TRUE( manager.has( "STATUS=osc1 ready" ) );
}

}   // namespace
}   // namespace Host::ServiceTests
