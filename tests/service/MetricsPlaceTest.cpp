#include "service/MetricsPlace.h"

#include "input/InputError.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace Host::MetricsPlaceTests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

int connectedTo( MetricsPlace const & place ) {
   std::string const & told = place.told();
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_port = htons( static_cast<std::uint16_t>( std::stoi( told.substr( told.rfind( ':' ) + 1 ) ) ) );
   address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
   int const fd = ::socket( AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0 );
   void const * const general = &address;
   EXPECT_EQ( ::connect( fd, static_cast<sockaddr const *>( general ), sizeof address ), 0 );
   return fd;
}

std::string answerOf( MetricsPlace const & place, std::string const & request ) {
   Descriptor const client( connectedTo( place ) );
   EXPECT_EQ( ::send( client.fd(), request.data(), request.size(), MSG_NOSIGNAL ), ssize_t( request.size() ) );
   std::string answer;
   char part[4096];
   for ( ssize_t count = 0; ( count = ::recv( client.fd(), part, sizeof part, 0 ) ) > 0; )
      answer.append( part, static_cast<std::size_t>( count ) );
   return answer;
}

std::string refusalOf( std::string const & place ) {
   try {
      MetricsPlace const made( place );
      return "not refused: " + made.told();
   } catch ( Input::InputError const & error ) {
      return error.what();
   }
}

TEST( MetricsPlaceTest, AFileIsReplacedAsAWhole ) {
   Input::Folder const folder;
   std::string const path = folder.path( "clockpath.prom" );
   {
      MetricsPlace place( path );
      EXPECT_EQ( place.told(), path );
      EXPECT_FALSE( std::filesystem::exists( path ) ) << "before there is something to tell";
      place.textIs( std::string( 100'000, 'a' ) );
      while ( !std::filesystem::exists( path ) ) std::this_thread::yield();
      EXPECT_EQ( folder.content( "clockpath.prom" ), std::string( 100'000, 'a' ) );
      place.textIs( "b\n" );
   }
   EXPECT_EQ( folder.content( "clockpath.prom" ), "b\n" ) << "the last one is written before the end";
   EXPECT_FALSE( std::filesystem::exists( path + ".new" ) );
}

TEST( MetricsPlaceTest, WhatIsNoPlaceIsSaidToBe ) {
   Input::Folder const folder;
   std::string const path = folder.path( "no/clockpath.prom" );
   EXPECT_EQ( refusalOf( path ), "--metrics: " + path + " cannot be written: No such file or directory" );
   EXPECT_THAT( refusalOf( "0.0.0.0:9469" ), StartsWith( "--metrics: expected a file, \":PORT\"" ) );
   EXPECT_THAT( refusalOf( ":99999" ), StartsWith( "--metrics: expected a file, \":PORT\"" ) );
   MetricsPlace const first( ":0" );
   std::string const port = first.told().substr( 16, first.told().rfind( '/' ) - 16 );
   EXPECT_EQ(
      refusalOf( "127.0.0.1" + port ),
      "--metrics: nobody can listen at port " + port.substr( 1 ) + ": Address already in use" );
   EXPECT_THAT( refusalOf( folder.path( "a:1" ) ), StartsWith( "not refused: " ) ) << "a file in a folder";
}

TEST( MetricsPlaceTest, TheServerAnswersOnePath ) {
   MetricsPlace place( ":0" );
   place.textIs( "clockpath_card_present 1\n" );
   std::string const answer = answerOf( place, "GET /metrics HTTP/1.1\r\nHost: here\r\n\r\n" );
   EXPECT_THAT( answer, StartsWith( "HTTP/1.1 200 OK\r\nContent-Type: text/plain; version=0.0.4" ) );
   EXPECT_THAT( answer, HasSubstr( "Content-Length: 25\r\n" ) );
   EXPECT_TRUE( answer.ends_with( "\r\n\r\nclockpath_card_present 1\n" ) );
   place.textIs( "next\n" );
   EXPECT_TRUE( answerOf( place, "GET /metrics?x=1 HTTP/1.1\r\n\r\n" ).ends_with( "\r\n\r\nnext\n" ) );
   EXPECT_THAT( answerOf( place, "GET / HTTP/1.1\r\n\r\n" ), StartsWith( "HTTP/1.1 404 " ) );
   EXPECT_THAT( answerOf( place, "GET /metricsx HTTP/1.1\r\n\r\n" ), StartsWith( "HTTP/1.1 404 " ) );
   EXPECT_THAT( answerOf( place, "POST /metrics HTTP/1.1\r\n\r\n" ), StartsWith( "HTTP/1.1 405 " ) );
   EXPECT_THAT( answerOf( place, "\r\n\r\n" ), StartsWith( "HTTP/1.1 405 " ) );
   EXPECT_THAT( answerOf( place, std::string( 4096, 'x' ) ), StartsWith( "HTTP/1.1 431 " ) );
}

// Who connects and says nothing has a bounded time, and is not waited for at the end.
TEST( MetricsPlaceTest, ASilentClientDoesNotHoldUpTheEnd ) {
   auto const began = std::chrono::steady_clock::now();
   {
      MetricsPlace place( ":0" );
      Descriptor const silent( connectedTo( place ) );
      Descriptor const gone( connectedTo( place ) );
      ::shutdown( gone.fd(), SHUT_RDWR );
      place.textIs( "text\n" );
   }
   EXPECT_LT( std::chrono::steady_clock::now() - began, std::chrono::seconds( 1 ) );
}

}   // namespace
}   // namespace Host::MetricsPlaceTests
