// A socket of datagrams that a test listens on, as a service manager or the system journal does.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace Host {

class DatagramSocket {
 public:
   /// A path, or an abstract address that begins with '@'.
   explicit DatagramSocket( std::string address ) : fd_( ::socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0 ) ) {
      if ( address.starts_with( '@' ) ) address[0] = '\0';
      sockaddr_un bound{};
      bound.sun_family = AF_UNIX;
      std::ranges::copy( address, bound.sun_path );
      auto const length = static_cast<socklen_t>( offsetof( sockaddr_un, sun_path ) + address.size() );
      void const * const general = &bound;
      if ( ::bind( fd_, static_cast<sockaddr const *>( general ), length ) != 0 )
         throw std::runtime_error( std::string( "bind: " ) + std::strerror( errno ) );
   }
   ~DatagramSocket() { ::close( fd_ ); }
   DatagramSocket( DatagramSocket const & ) = delete;
   DatagramSocket & operator=( DatagramSocket const & ) = delete;

   /// The next datagram, "" where none comes within that time.
   std::string next( int waitMs = 0 ) {
      pollfd readable{ fd_, POLLIN, 0 };
      if ( ::poll( &readable, 1, waitMs ) <= 0 ) return "";
      std::string text( 65536, '\0' );
      ssize_t const got = ::recv( fd_, text.data(), text.size(), 0 );
      text.resize( got > 0 ? static_cast<std::size_t>( got ) : 0 );
      all_.push_back( text );
      return text;
   }
   /// Waits for one that has the text; false where none comes for long. What else came meanwhile is in all().
   bool has( std::string const & text ) {
      auto const end = std::chrono::steady_clock::now() + std::chrono::seconds( 20 );
      while ( std::chrono::steady_clock::now() < end )
         if ( next( 100 ).find( text ) != std::string::npos ) return true;
      return false;
   }
   /// All that came since the last time.
   std::vector<std::string> taken() {
      while ( !next().empty() ) {
      }
      return std::exchange( all_, {} );
   }
   std::vector<std::string> const & all() const { return all_; }

 private:
   int const fd_;
   std::vector<std::string> all_;
};

}   // namespace Host
