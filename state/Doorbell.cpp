#include "state/Doorbell.h"

#include "framework/AttributeLog.h"
#include "state/RandomText.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace State {

namespace {

int datagramSocket() { return ::socket( AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 ); }

// A socket's address holds some hundred characters; by the folder's descriptor every path fits.
sockaddr_un addressIn( Host::Descriptor const & folder, std::string const & name ) {
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   std::snprintf(
      static_cast<char *>( address.sun_path ), sizeof address.sun_path, "/proc/self/fd/%d/%s", folder.fd(),
      name.c_str() );
   return address;
}

int openedFolder( std::string const & folder ) { return ::open( folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC ); }

template<class Call> auto withAddress( sockaddr_un const & address, Call const & call ) {
   void const * const any = &address;
   return call( static_cast<sockaddr const *>( any ), static_cast<socklen_t>( sizeof address ) );
}

}   // namespace

Doorbell::Doorbell( std::string const & folder ) : socket_( datagramSocket() ) {
   ::mkdir( folder.c_str(), 0777 );
   std::string const name = randomText();
   path_ = folder + '/' + name;
   Host::Descriptor const place( openedFolder( folder ) );
   int const bound = withAddress( addressIn( place, name ), [this]( sockaddr const * address, socklen_t size ) {
      return ::bind( socket_.fd(), address, size );
   } );
   if ( place.fd() < 0 || bound != 0 )
      throw Vor::LogUnavailableException(
         "no reader can wait in " + folder + ", where the writer would wake it: " + std::strerror( errno ) );
}

Doorbell::~Doorbell() { ::unlink( path_.c_str() ); }

void Doorbell::hush() const {
   char byte = 0;
   while ( ::recv( socket_.fd(), &byte, 1, 0 ) >= 0 ) {
   }
}

Bellringer::Bellringer( std::string folder ) : folder_( std::move( folder ) ), socket_( datagramSocket() ) {}

void Bellringer::ring() const {
   Host::Descriptor const place( openedFolder( folder_ ) );
   if ( place.fd() < 0 ) return;   // nobody has read here yet
   std::error_code error;
   for ( auto at = std::filesystem::directory_iterator( folder_, error ); !error && at != end( at );
         at.increment( error ) ) {
      sockaddr_un const bell = addressIn( place, at->path().filename().string() );
      ssize_t const sent = withAddress( bell, [this]( sockaddr const * address, socklen_t size ) {
         return ::sendto( socket_.fd(), "", 1, MSG_DONTWAIT | MSG_NOSIGNAL, address, size );
      } );
      if ( sent < 0 && errno == ECONNREFUSED ) ::unlink( at->path().c_str() );
   }
}

}   // namespace State
