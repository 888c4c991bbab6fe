#include "service/MetricsPlace.h"

#include "framework/Types.h"
#include "input/InputError.h"
#include "input/Number.h"

#include <fmt/format.h>

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <string_view>

namespace Host {

namespace {

constexpr double clientSeconds = 2;   // from the first byte of a request to the last one of its response
constexpr std::size_t requestMax = 4096;

double steadyNow() {
   return std::chrono::duration<double>( std::chrono::steady_clock::now().time_since_epoch() ).count();
}

// The port on the loopback that is meant; none where it is a file.
std::optional<U16> portOf( std::string const & place ) {
   std::size_t const colon = place.rfind( ':' );
   if ( colon == std::string::npos || place.find( '/' ) != std::string::npos ) return std::nullopt;
   auto const port = Input::numberOf<U16>( place.substr( colon + 1 ) );
   std::string const host = place.substr( 0, colon );
   if ( port && ( host.empty() || host == "127.0.0.1" || host == "localhost" ) ) return *port;
   throw Input::InputError( fmt::format(
      "--metrics: expected a file, \":PORT\" or \"127.0.0.1:PORT\", found \"{}\"; where a file's name has a colon, "
      "write its folder before it",
      place ) );
}

int socketOf( std::string const & place ) {
   auto const port = portOf( place );
   if ( !port ) return -1;
   int const fd = ::socket( AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_port = htons( *port );
   address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
   void const * const general = &address;
   int const yes = 1;
   ::setsockopt( fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes );
   if ( ::bind( fd, static_cast<sockaddr const *>( general ), sizeof address ) == 0 && ::listen( fd, 8 ) == 0 )
      return fd;
   int const reason = errno;
   ::close( fd );
   throw Input::InputError(
      fmt::format( "--metrics: nobody can listen at port {}: {}", *port, std::strerror( reason ) ) );
}

std::string toldOf( std::string const & place, Descriptor const & socket ) {
   if ( socket.fd() < 0 ) return place;
   sockaddr_in address{};
   socklen_t length = sizeof address;
   void * const general = &address;
   ::getsockname( socket.fd(), static_cast<sockaddr *>( general ), &length );
   return fmt::format( "http://127.0.0.1:{}/metrics", ntohs( address.sin_port ) );
}

// Beside the file, so that it can take its place.
std::string freshOf( std::string const & path ) { return path + ".new"; }

// Gives why not.
std::string freshWritten( std::string const & path, std::string const & text ) {
   std::ofstream out( freshOf( path ), std::ios::trunc );
   return ( out << text << std::flush ) ? "" : std::strerror( errno );
}

std::string responseTo( std::string_view request, std::string const & metrics ) {
   auto const response = []( char const * status, std::string const & body ) {
      return fmt::format(
         "HTTP/1.1 {}\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\nContent-Length: {}\r\n"
         "Connection: close\r\n\r\n{}",
         status, body.size(), body );
   };
   if ( request.find( "\r\n\r\n" ) == std::string_view::npos )
      return response( "431 Request Header Fields Too Large", "" );
   if ( !request.starts_with( "GET " ) ) return response( "405 Method Not Allowed", "expected GET\n" );
   std::string_view const path = request.substr( 4, request.find_first_of( " ?\r", 4 ) - 4 );
   return path == "/metrics" ? response( "200 OK", metrics ) : response( "404 Not Found", "expected /metrics\n" );
}

}   // namespace

MetricsPlace::MetricsPlace( std::string const & place )
   : socket_( socketOf( place ) ),
     wake_( ::eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK ) ),
     told_( toldOf( place, socket_ ) ) {
   if ( std::string const why = socket_.fd() < 0 ? freshWritten( place, "" ) : ""; !why.empty() )
      throw Input::InputError( fmt::format( "--metrics: {} cannot be written: {}", place, why ) );
   sigset_t all;   // signals are the loop's
   sigset_t before;
   ::sigfillset( &all );
   ::pthread_sigmask( SIG_SETMASK, &all, &before );
   thread_ = std::thread( [this] { run(); } );
   ::pthread_sigmask( SIG_SETMASK, &before, nullptr );
}

MetricsPlace::~MetricsPlace() {
   ends_ = true;
   wake();
   thread_.join();
}

void MetricsPlace::textIs( std::string text ) {
   {
      std::lock_guard const lock( mutex_ );
      text_ = std::move( text );
   }
   wake();
}

void MetricsPlace::wake() const {
   U64 const one = 1;
   static_cast<void>( ::write( wake_.fd(), &one, sizeof one ) > 0 );
}

std::string MetricsPlace::text() const {
   std::lock_guard const lock( mutex_ );
   return text_;
}

// The thread's part.

void MetricsPlace::run() {
   for ( bool last = false; !last; ) {
      pollfd both[] = { { wake_.fd(), POLLIN, 0 }, { socket_.fd(), POLLIN, 0 } };
      ::poll( both, 2, -1 );
      last = ends_;
      U64 count = 0;
      bool const news = ::read( wake_.fd(), &count, sizeof count ) > 0;
      if ( socket_.fd() < 0 && news ) write( text() );
      if ( both[1].revents != 0 && !last ) serve();
   }
}

void MetricsPlace::write( std::string const & text ) {
   std::string why = freshWritten( told_, text );
   if ( why.empty() && std::rename( freshOf( told_ ).c_str(), told_.c_str() ) != 0 ) why = std::strerror( errno );
   if ( !why.empty() && why != trouble_ )
      std::cerr << fmt::format( "clockpath: {} cannot be written: {}\n", told_, why );
   trouble_ = why;
}

void MetricsPlace::serve() {
   Descriptor const client( ::accept4( socket_.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK ) );
   if ( client.fd() < 0 ) return;
   double const until = steadyNow() + clientSeconds;
   std::string request;
   char part[1024];
   while ( request.size() < requestMax && request.find( "\r\n\r\n" ) == std::string::npos ) {
      ssize_t const count = waitFor( client.fd(), POLLIN, until ) ? ::recv( client.fd(), part, sizeof part, 0 ) : 0;
      if ( count <= 0 ) return;
      request.append( part, static_cast<std::size_t>( count ) );
   }
   std::string const response = responseTo( request, text() );
   for ( std::size_t done = 0; done < response.size(); ) {
      if ( !waitFor( client.fd(), POLLOUT, until ) ) return;
      ssize_t const count = ::send( client.fd(), response.data() + done, response.size() - done, MSG_NOSIGNAL );
      if ( count < 0 ) return;
      done += static_cast<std::size_t>( count );
   }
}

// Whether it is ready before its time, and before the agent's end.
bool MetricsPlace::waitFor( int fd, short what, double until ) const {
   constexpr int sliceMs = 50;
   while ( steadyNow() < until && !ends_ ) {
      pollfd one{ fd, what, 0 };
      if ( ::poll( &one, 1, sliceMs ) > 0 ) return true;
   }
   return false;
}

}   // namespace Host
