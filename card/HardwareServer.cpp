#include "card/HardwareServer.h"

#include "card/CardLock.h"
#include "input/InputError.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace Host {

namespace {

constexpr int backlog = 16;

}   // namespace

// The socket comes to its path when it can be connected to: whoever watches the path may do so at once. There it also
// takes the place of one that a killed process has left.
HardwareServer::HardwareServer( std::string path, Vor::Ptr<Fru::HamImpl> const & hardware )
   : path_( std::move( path ) ), hardware_( hardware ), door_( SOCK_NONBLOCK ) {
   if ( HardwareSocket const other; withPath( ::connect, other.fd(), path_ ) == 0 )
      throw CardUnavailable( path_ + ": another process answers there; end it, or use another path" );
   std::string const fresh = path_ + "." + std::to_string( ::getpid() );
   if (
      withPath( ::bind, door_.fd(), fresh ) != 0 || ::chmod( fresh.c_str(), S_IRUSR | S_IWUSR ) != 0 ||
      ::listen( door_.fd(), backlog ) != 0 || std::rename( fresh.c_str(), path_.c_str() ) != 0 ) {
      std::string const why = std::strerror( errno );
      ::unlink( fresh.c_str() );
      throw Input::InputError( path_ + ": there can be no socket: " + why );
   }
}

HardwareServer::~HardwareServer() { ::unlink( path_.c_str() ); }

void HardwareServer::run( int stop ) {
   for ( ;; ) {
      int const door = users_.size() < usersMax ? door_.fd() : -1;   // poll() passes over a negative one
      std::vector<pollfd> all{ { stop, POLLIN, 0 }, { door, POLLIN, 0 } };
      for ( Descriptor const & user : users_ ) all.push_back( { user.fd(), POLLIN, 0 } );
      if ( ::poll( all.data(), all.size(), -1 ) < 0 ) continue;   // a signal
      if ( all[0].revents != 0 ) return;
      auto user = users_.begin();
      for ( std::size_t at = 2; at < all.size(); ++at )
         user = all[at].revents == 0 || answer( user->fd() ) ? std::next( user ) : users_.erase( user );
      if ( all[1].revents != 0 )
         if ( int const fd = ::accept4( door_.fd(), nullptr, nullptr, SOCK_CLOEXEC ); fd >= 0 )
            users_.emplace_back( fd );
   }
}

// Whether this user stays.
bool HardwareServer::answer( int user ) const {
   using enum HardwareRequest::Kind;
   HardwareRequest request;
   if ( ::recv( user, &request, sizeof request, MSG_DONTWAIT | MSG_TRUNC ) != sizeof request ) return false;
   if ( request.address % sizeof( U32 ) != 0 || ( request.kind != read32 && request.kind != write32 ) ) return false;
   HardwareAnswer value = request.value;
   if ( request.kind == read32 )
      hardware_->read32( request.address, value );
   else
      hardware_->write32( request.address, value );
   return ::send( user, &value, sizeof value, MSG_NOSIGNAL | MSG_DONTWAIT ) == sizeof value;
}

}   // namespace Host
