#include "service/PtpDaemon.h"

#include "card/VirtualWorld.h"
#include "input/InputError.h"
#include "tests/input/Files.h"
#include "tests/service/PtpServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace Host::PtpDaemonTests {
namespace {

using namespace PtpTimeSync;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr U8 listening = 4;
constexpr U8 uncalibrated = 8;
constexpr U8 slave = 9;

class PtpDaemonTest : public testing::Test {
 protected:
   void serverIs( std::map<U16, U8> ports ) {
      server.reset();
      server.emplace( path );
      server->ports = std::move( ports );
   }
   // The loop, at times a second apart; with `answers` the server answers in between.
   void turn( int times = 1, bool answers = true ) {
      for ( ; times > 0; --times ) {
         daemon.look();
         if ( server ) server->take( answers );
         hear();
         clock->nowIs( clock->now() + daemon.longestWait() );
      }
   }
   void hear() { pollSet.wait( 0 ); }
   void tellUnasked( U16 port, U8 state ) {
      server->tell( port, state );
      hear();
   }

   Input::Folder const folder;
   std::string const path = folder.path( "ptp4l" );
   std::string const own = folder.path( "own" );
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime{ clock };
   std::optional<PtpServer> server;
   PollSet pollSet;
   std::vector<OperationalState> said;
   std::vector<std::string> told;
   PtpDaemon daemon{
      { .socket = path, .holdoverSeconds = 100 },
      own,
      pollSet,
      [this]( OperationalState state ) { said.push_back( state ); },
      [this]( std::string const & line ) { told.push_back( line ); } };
};

TEST_F( PtpDaemonTest, SaysWhatThePortsStatesMean ) {
   serverIs( { { 1, listening } } );
   turn();
   EXPECT_THAT( said, ElementsAre( enabling_ ) );
   tellUnasked( 1, uncalibrated );
   EXPECT_THAT( said, ElementsAre( enabling_, acquiring_ ) ) << "at once";
   tellUnasked( 1, slave );
   tellUnasked( 2, listening );
   server->ports = { { 1, slave }, { 2, listening } };
   turn( 10 );
   EXPECT_THAT( said, ElementsAre( enabling_, acquiring_, locked_ ) );
   EXPECT_THAT(
      told, ElementsAre(
               "the PTP daemon has port 1 listening: time sync enabling",
               "the PTP daemon has port 1 uncalibrated: time sync acquiring",
               "the PTP daemon has port 1 slave: time sync locked" ) );
   EXPECT_EQ( server->domainAsked(), 0 );
}

TEST_F( PtpDaemonTest, WhoDoesNotAnswerThreeTimesIsNotThere ) {
   turn( 3 );
   EXPECT_THAT( said, IsEmpty() ) << "it may come yet";
   turn( 5 );
   EXPECT_THAT( said, ElementsAre( disabled_ ) );
   EXPECT_THAT(
      told, ElementsAre(
               "the PTP daemon cannot be asked: " + path + ": No such file or directory",
               "the PTP daemon does not answer in domain 0: time sync disabled" ) );
   serverIs( { { 1, listening } } );
   turn( 2 );
   EXPECT_THAT( said, ElementsAre( disabled_, enabling_ ) );
}

TEST_F( PtpDaemonTest, ALockedDaemonThatGoesIsHeldOver ) {
   serverIs( { { 1, slave } } );
   turn( 2 );
   server.reset();
   turn( 3 );
   EXPECT_THAT( said, ElementsAre( locked_ ) );
   turn();
   EXPECT_THAT( said, ElementsAre( locked_, holdover_ ) );
   EXPECT_EQ( told.back(), "the PTP daemon does not answer in domain 0: time sync holdover" );
   // Started again, on its way to locked.
   serverIs( { { 1, 1 } } );
   for ( U8 const state : { U8{ 1 }, listening, uncalibrated } ) {
      server->ports = { { 1, state } };
      turn( 2 );
   }
   EXPECT_THAT( said, ElementsAre( locked_, holdover_ ) );
   server->ports = { { 1, slave } };
   turn();
   EXPECT_THAT( said, ElementsAre( locked_, holdover_, locked_ ) );
   server.reset();
   turn( 110 );
   EXPECT_THAT( said, ElementsAre( locked_, holdover_, locked_, holdover_, disabled_ ) );
}

TEST_F( PtpDaemonTest, WhatWasLockedBeforeIsHeldOverFromTheStart ) {
   daemon.wasLocked();
   turn( 5 );
   EXPECT_THAT( said, ElementsAre( holdover_ ) );
   turn( 100 );
   EXPECT_THAT( said, ElementsAre( holdover_, disabled_ ) );
}

TEST_F( PtpDaemonTest, ADaemonThatHangsDoesNothing ) {
   serverIs( { { 1, slave } } );
   turn();
   for ( int count = 0; count < 50; ++count ) {
      daemon.look();   // would wait for ever, were it to wait
      clock->nowIs( clock->now() + daemon.longestWait() );
   }
   EXPECT_THAT( said, ElementsAre( locked_, holdover_ ) );
   EXPECT_THAT( told[2], HasSubstr( "cannot be asked: " + path + ": Resource temporarily unavailable" ) );
   EXPECT_EQ( told.size(), 3U );
   EXPECT_GT( server->take(), 0 );
   hear();
   EXPECT_EQ( said.back(), locked_ );
}

TEST_F( PtpDaemonTest, APortThatIsToldOfNoMoreHasGone ) {
   serverIs( { { 1, listening }, { 2, uncalibrated } } );
   turn( 2 );
   server->ports = { { 1, listening } };
   turn( 3 );
   EXPECT_THAT( said, ElementsAre( acquiring_ ) );
   turn( 2 );
   EXPECT_THAT( said, ElementsAre( acquiring_, enabling_ ) );
}

TEST_F( PtpDaemonTest, ItIsAskedForChangesAgainBeforeTheyEnd ) {
   serverIs( { { 1, slave } } );
   turn();
   EXPECT_EQ( server->subscribed(), 1 );
   turn( 4 );
   EXPECT_EQ( server->subscribed(), 2 );
   turn( 40 );
   EXPECT_EQ( server->subscribed(), 12 );
}

TEST_F( PtpDaemonTest, WhatMakesNoSenseIsToldOnce ) {
   serverIs( { { 1, slave } } );
   server->refusesSubscriptions = true;
   turn( 20 );
   EXPECT_THAT( said, ElementsAre( locked_ ) );
   EXPECT_THAT(
      told, ElementsAre(
               "the PTP daemon: it does not tell changes at once (error 0x0006)",
               "the PTP daemon has port 1 slave: time sync locked" ) );
   server->send( {} );
   server->send( std::vector<U8>( 1500, 0xff ) );
   tellUnasked( 1, 77 );
   EXPECT_EQ( told.size(), 2U );
   EXPECT_THAT( said, ElementsAre( locked_ ) );
   // Another daemon.
   server.reset();
   turn( 5 );
   serverIs( { { 1, slave } } );
   turn();
   tellUnasked( 1, 77 );
   EXPECT_EQ( told.back(), "the PTP daemon: port 1 is in state 77; expected 1 to 9" );
}

TEST_F( PtpDaemonTest, NobodyWaitsForWhoRests ) {
   serverIs( { { 1, slave } } );
   turn();
   int unread = 0;
   std::vector<U8> const message( 80 );
   while ( unread < 1000 && server->send( message ) ) ++unread;
   ASSERT_EQ( errno, EAGAIN ) << "a daemon waits here";
   daemon.rest();
   EXPECT_FALSE( server->send( message ) );
   EXPECT_EQ( errno, ENOENT );
   EXPECT_FALSE( std::filesystem::exists( own ) );
   daemon.look();
   EXPECT_TRUE( server->send( message ) );
}

TEST_F( PtpDaemonTest, WhatWasAskedBeforeARestNeedNotBeAnswered ) {
   serverIs( { { 1, slave } } );
   turn();
   for ( int count = 0; count < 20; ++count ) {
      turn( 1, false );
      daemon.rest();
   }
   EXPECT_THAT( said, ElementsAre( locked_ ) );
   turn( 4, false );
   EXPECT_THAT( said, ElementsAre( locked_, holdover_ ) );
}

TEST_F( PtpDaemonTest, NamesThatNoSocketCanHaveAreMistakes ) {
   auto const errorOf = [&]( std::string const & theirs, std::string const & ours ) -> std::string {
      try {
         PtpDaemon const none(
            { .socket = theirs }, ours, pollSet, []( auto ) {}, []( auto const & ) {} );
         return "";
      } catch ( Input::InputError const & error ) {
         return error.what();
      }
   };
   std::string const tooLong = "/" + std::string( 120, 'x' );
   std::string const expected = tooLong + ": expected a socket's name of at most 107 bytes, found 121";
   EXPECT_EQ( errorOf( tooLong, folder.path( "other" ) ), expected );
   EXPECT_EQ( errorOf( path, tooLong ), expected );
   EXPECT_EQ(
      errorOf( path, folder.path( "no/folder" ) ),
      folder.path( "no/folder" ) + ": there can be no socket: No such file or directory" );
   EXPECT_EQ( errorOf( path, folder.path( "other" ) ), "" );
   EXPECT_FALSE( std::filesystem::exists( folder.path( "other" ) ) ) << "goes with its owner";
}

}   // namespace
}   // namespace Host::PtpDaemonTests
