#include "service/ControlSocket.h"

#include "card/CardLock.h"
#include "card/Descriptor.h"
#include "input/InputError.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <atomic>
#include <cstring>
#include <future>
#include <thread>

namespace Host::ControlSocketTests {
namespace {

using Input::Json;
using testing::ElementsAre;
using testing::HasSubstr;

class ControlSocketTest : public testing::Test {
 protected:
   // The agent's loop, until what a client does is over.
   template<class Client> auto whileLoopTurns( Client const & client ) {
      auto result = std::async( std::launch::async, client );
      while ( result.wait_for( std::chrono::seconds( 0 ) ) != std::future_status::ready ) pollSet.wait( 0.001 );
      return result.get();
   }
   Json asked( Json const & request ) {
      return whileLoopTurns(
         [&] { return askAgent( path, request, [this]( std::string const & what ) { waits.push_back( what ); } ); } );
   }
   std::string refusal( Json const & request ) {
      try {
         asked( request );
         return "not refused";
      } catch ( Input::InputError const & error ) {
         return error.what();
      }
   }
   Json answer( Json const & request ) {
      ++answered;
      if ( request.contains( "refuse" ) ) throw Input::InputError( request["refuse"].get<std::string>() );
      if ( request.contains( "long" ) ) return std::string( request["long"].get<std::size_t>(), 'x' );
      return { { "you said", request } };
   }
   std::unique_ptr<ControlSocket> made( std::string const & where ) {
      return std::make_unique<ControlSocket>( where, pollSet, [this]( Json const & one ) { return answer( one ); } );
   }

   // A client that says what it likes.
   struct Raw {
      explicit Raw( std::string const & path ) : fd( ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ) {
         timeval const longest{ .tv_sec = 5, .tv_usec = 0 };   // of what should never come
         ::setsockopt( fd.fd(), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest );
         sockaddr_un address{};
         address.sun_family = AF_UNIX;
         std::strncpy( address.sun_path, path.c_str(), sizeof address.sun_path - 1 );
         EXPECT_EQ( ::connect( fd.fd(), reinterpret_cast<sockaddr *>( &address ), sizeof address ), 0 );
      }
      void says( std::string const & text ) const {
         EXPECT_EQ( ::send( fd.fd(), text.data(), text.size(), MSG_NOSIGNAL ), ssize_t( text.size() ) );
      }
      std::string line() const {
         std::string text;
         for ( char c = 0; ::recv( fd.fd(), &c, 1, 0 ) == 1 && c != '\n'; ) text += c;
         return text;
      }
      Descriptor const fd;
   };

   Input::Folder const folder;
   std::string const path = folder.path( "agent/socket" );
   PollSet pollSet;
   int answered = 0;
   std::vector<std::string> waits;
   std::unique_ptr<ControlSocket> socket = made( path );
};

TEST_F( ControlSocketTest, TheLoopAnswersARequest ) {
   EXPECT_EQ( asked( { { "do", "peek" } } ), Json( { { "you said", { { "do", "peek" } } } } ) );
   EXPECT_THAT( waits, ElementsAre() );
   EXPECT_EQ( refusal( { { "refuse", "the gate would stop the process" } } ), "the gate would stop the process" );
   EXPECT_EQ( asked( { { "long", 3'000'000 } } ).get<std::string>().size(), 3'000'000u );
}

TEST_F( ControlSocketTest, OnlyItsOwnerMayOpenIt ) {
   struct stat found {};
   ASSERT_EQ( ::stat( path.c_str(), &found ), 0 );
   EXPECT_EQ( found.st_mode & 0777U, 0600u );
   ASSERT_EQ( ::stat( folder.path( "agent" ).c_str(), &found ), 0 );
   EXPECT_EQ( found.st_mode & 0777U, 0700u );
   std::filesystem::create_directory( folder.path( "open" ) );
   ::chmod( folder.path( "open" ).c_str(), 0755 );
   EXPECT_THROW( made( folder.path( "open/socket" ) ), Input::InputError );
}

// Another user's process, where the test may become one.
TEST_F( ControlSocketTest, AnotherUserIsRefused ) {
   if ( ::geteuid() != 0 ) GTEST_SKIP() << "needs to be root";
   ::chmod( path.c_str(), 0666 );
   ::chmod( folder.path( "agent" ).c_str(), 0755 );
   ::chmod( folder.path( "." ).c_str(), 0755 );
   int ends[2];
   ASSERT_EQ( ::pipe( ends ), 0 );
   pid_t const child = ::fork();
   if ( child == 0 ) {
      if ( ::setuid( 65534 ) != 0 ) ::_exit( 1 );
      std::string const line = Raw( path ).line();
      ::_exit( ::write( ends[1], line.data(), line.size() ) < 0 );
   }
   std::string text( 200, '\0' );
   ::close( ends[1] );
   text.resize( static_cast<std::size_t>( ::read( ends[0], text.data(), text.size() ) ) );
   ::close( ends[0] );
   ::waitpid( child, nullptr, 0 );
   EXPECT_EQ( text, R"({"refused":"expected the user that runs the agent"})" );
   EXPECT_EQ( answered, 0 );
}

TEST_F( ControlSocketTest, TheOneWhoAsksIsToldAtOnceWhatHeWaitsFor ) {
   socket->busyWith( "ptp0 is being brought up" );
   Raw const raw( path );
   raw.says( "{\"do\":\"peek\"}\n" );
   EXPECT_EQ( raw.line(), R"({"waiting":"ptp0 is being brought up"})" ) << "while the loop does not turn";
   socket->busyWith( "ptp1 is being brought up" );
   EXPECT_EQ( raw.line(), R"({"waiting":"ptp1 is being brought up"})" );
   socket->busyWith( "" );
   EXPECT_EQ( answered, 0 );
   EXPECT_EQ( whileLoopTurns( [&] { return raw.line(); } ), R"({"answer":{"you said":{"do":"peek"}}})" );
}

TEST_F( ControlSocketTest, RubbishIsRefusedAndHurtsNobody ) {
   for ( char const * rubbish : { "rubbish\n", "[1]\n", "\n", "{\"do\":\n", "\xff\xfe\n", "7\n" } ) {
      Raw const raw( path );
      raw.says( rubbish );
      EXPECT_EQ( raw.line(), R"({"refused":"expected a JSON object on one line"})" ) << rubbish;
      raw.says( "{}\n" );
      EXPECT_EQ( whileLoopTurns( [&] { return raw.line(); } ), R"({"answer":{"you said":{}}})" );
   }
   EXPECT_EQ( answered, 6 );
}

TEST_F( ControlSocketTest, ALineThatIsTooLongIsRefused ) {
   Raw const raw( path );
   raw.says( std::string( ControlSocket::lineMax + 1, ' ' ) );
   EXPECT_EQ( raw.line(), R"({"refused":"expected a request of at most 65536 bytes"})" );
   EXPECT_EQ( raw.line(), "" ) << "and cut off";
   Raw const within( path );
   within.says( "{}" + std::string( ControlSocket::lineMax - 2, ' ' ) + "\n" );
   EXPECT_EQ( whileLoopTurns( [&] { return within.line(); } ), R"({"answer":{"you said":{}}})" );
}

TEST_F( ControlSocketTest, RequestsOfOneClientFollowEachOther ) {
   Raw const raw( path );
   raw.says( "{\"a\":1}\n{\"a\":2}\n{\"a\":3}\n" );
   for ( char const * number : { "1", "2", "3" } )
      EXPECT_EQ(
         whileLoopTurns( [&] { return raw.line(); } ),
         std::string( R"({"answer":{"you said":{"a":)" ) + number + "}}}" );
}

TEST_F( ControlSocketTest, WhatAClientAskedForThatWentAwayIsNotDone ) {
   socket->busyWith( "a bring-up" );
   {
      Raw const raw( path );
      raw.says( "{\"do\":\"call\"}\n" );
      EXPECT_THAT( raw.line(), HasSubstr( "waiting" ) );   // it has come
   }
   // Who comes after him is answered first if he still were in the queue.
   Raw const after( path );
   after.says( "{\"do\":\"peek\"}\n" );
   EXPECT_THAT( after.line(), HasSubstr( "waiting" ) );
   EXPECT_THAT( whileLoopTurns( [&] { return after.line(); } ), HasSubstr( "peek" ) );
   EXPECT_EQ( answered, 1 );
}

TEST_F( ControlSocketTest, IdleClientsMakeRoomForOthers ) {
   std::vector<std::unique_ptr<Raw>> idle;
   for ( std::size_t i = 0; i < ControlSocket::clientsMax + 3; ++i ) idle.push_back( std::make_unique<Raw>( path ) );
   EXPECT_EQ( asked( Json::object() ), Json( { { "you said", Json::object() } } ) );
}

TEST_F( ControlSocketTest, WhereNobodyListensThatIsSaid ) {
   EXPECT_TRUE( agentListens( path ) );
   socket.reset();
   EXPECT_FALSE( agentListens( path ) );
   EXPECT_FALSE( std::filesystem::exists( path ) );
   auto const ignore = []( std::string const & ) {};
   try {
      askAgent( path, Json::object(), ignore );
      FAIL();
   } catch ( CardUnavailable const & error ) {
      EXPECT_EQ( error.what(), "no agent answers at " + path + ": No such file or directory" );
   }
}

TEST_F( ControlSocketTest, ASocketThatAKilledAgentLeftIsReplaced ) {
   EXPECT_THROW( made( path ), Input::InputError ) << "this one listens";
   std::string const left = folder.path( "agent/left" );
   {
      Descriptor const killed( ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) );
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      std::strncpy( address.sun_path, left.c_str(), sizeof address.sun_path - 1 );
      ASSERT_EQ( ::bind( killed.fd(), reinterpret_cast<sockaddr *>( &address ), sizeof address ), 0 );
   }
   ASSERT_TRUE( std::filesystem::exists( left ) );
   EXPECT_NO_THROW( made( left ) );
   EXPECT_THROW( made( folder.file( "agent/file", "" ) ), Input::InputError );
   EXPECT_TRUE( std::filesystem::exists( folder.path( "agent/file" ) ) );
}

TEST_F( ControlSocketTest, TheWayToItMayBeLong ) {
   std::string const long1 = folder.path( "agent/" + std::string( 120, 'd' ) );
   auto const one = made( long1 + "/socket" );
   EXPECT_TRUE( agentListens( long1 + "/socket" ) );
   EXPECT_THROW( made( folder.path( "agent/" + std::string( 120, 's' ) ) ), Input::InputError );
}

}   // namespace
}   // namespace Host::ControlSocketTests
