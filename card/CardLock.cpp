#include "card/CardLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

namespace Host {

namespace {

// Where the lock of a card may stand, the best place first.
std::vector<std::string> lockPaths( std::string const & card ) {
   std::error_code error;
   std::filesystem::path const absolute = std::filesystem::absolute( card );
   std::filesystem::path const real = std::filesystem::weakly_canonical( absolute, error );
   std::string const path = ( error ? absolute : real ).string();
   std::vector<std::string> paths;
   if ( !path.starts_with( "/dev/" ) && !path.starts_with( "/sys/" ) ) paths.push_back( path + ".lock" );
   std::string flat = path;
   std::ranges::replace( flat, '/', '-' );
   for ( char const * folder : { "/run/lock", "/tmp" } )
      paths.push_back( std::string( folder ) + "/clockpath" + flat + ".lock" );
   return paths;
}

// The kernel may refuse to create what is there already, and the file of another user may be readable alone; that one
// can be locked all the same.
int openedLock( std::string const & path ) {
   for ( int const flags : { O_RDWR | O_CREAT, O_RDWR, O_RDONLY } )
      if ( int const fd = ::open( path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0666 ); fd >= 0 ) return fd;
   return -1;
}

bool isAt( int fd, std::string const & path ) {
   struct stat opened {};
   struct stat found {};
   return ::fstat( fd, &opened ) == 0 && ::stat( path.c_str(), &found ) == 0 && opened.st_dev == found.st_dev &&
          opened.st_ino == found.st_ino;
}

std::string holderOf( int fd ) {
   std::array<char, 200> text{};
   ssize_t const length = ::pread( fd, text.data(), text.size(), 0 );
   return length > 0 ? std::string( text.data(), static_cast<std::size_t>( length ) ) : "another process";
}

}   // namespace

CardLock::CardLock( std::string const & card, std::string const & user ) {
   std::vector<std::string> const paths = lockPaths( card );
   if ( std::ranges::none_of( paths, [this]( std::string const & path ) { return take( path ); } ) )
      throw CardUnavailable(
         card + " cannot be locked, neither beside it nor in /run/lock or /tmp: " + std::strerror( errno ) );
   std::string const holder = user + ", process " + std::to_string( ::getpid() );
   // The lock holds also where the holder cannot be written down.
   static_cast<void>(
      ::ftruncate( file_->fd(), 0 ) == 0 && ::pwrite( file_->fd(), holder.data(), holder.size(), 0 ) > 0 );
}

CardLock::~CardLock() {
   if ( file_ ) ::unlink( path_.c_str() );
}

// Whether there can be a lock of that path.
bool CardLock::take( std::string const & path ) {
   do {
      int const fd = openedLock( path );
      if ( fd < 0 ) return false;
      Descriptor & file = file_.emplace( fd );
      if ( ::flock( file.fd(), LOCK_EX | LOCK_NB ) != 0 )
         throw CardUnavailable(
            "the card is in use by " + holderOf( fd ) + " (" + path + "); stop it, or try again when it has ended" );
   } while ( !isAt( file_->fd(), path ) );   // the last holder may have removed it meanwhile
   path_ = path;
   return true;
}

}   // namespace Host
