// What the user of simulated hardware and the process that it lives in say to one another: each access is a message,
// and its answer another. The socket keeps messages whole, so that whoever is killed leaves no part of one behind.
#pragma once

#include "card/Descriptor.h"
#include "framework/Types.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <string>

namespace Host {

struct HardwareRequest {
   enum class Kind : U32 { read32 = 1, write32 = 2 };

   Kind kind = Kind::read32;
   U32 address = 0;
   U32 value = 0;   ///< of a write
};

/// What was read, or the value that was written.
using HardwareAnswer = U32;

struct HardwareSocket : Descriptor {
   explicit HardwareSocket( int flags = 0 )
      : Descriptor( ::socket( AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0 ) ) {}
};

/// Calls `bind` or `connect` with a path. 0, or -1 with errno.
inline int withPath( int ( *call )( int, sockaddr const *, socklen_t ), int fd, std::string const & path ) {
   sockaddr_un address{ .sun_family = AF_UNIX, .sun_path = {} };
   if ( path.size() >= sizeof address.sun_path ) {
      errno = ENAMETOOLONG;   // 107 bytes is what there is room for
      return -1;
   }
   std::ranges::copy( path, address.sun_path );
   void const * const any = &address;
   return call( fd, static_cast<sockaddr const *>( any ), sizeof address );
}

}   // namespace Host
