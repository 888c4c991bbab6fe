#include "card/CardLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

namespace Host {

std::vector<std::string> placesBeside( std::string const & path, std::string const & ending ) {
   std::error_code error;
   std::filesystem::path const absolute = std::filesystem::absolute( path );
   std::filesystem::path const canonical = std::filesystem::weakly_canonical( absolute, error );
   std::string const real = ( error ? absolute : canonical ).string();
   std::vector<std::string> places;
   if ( !real.starts_with( "/dev/" ) && !real.starts_with( "/sys/" ) ) places.push_back( real + ending );
   std::string flat = real;
   std::ranges::replace( flat, '/', '-' );
   flat += ending;
   for ( std::string const start : { "/run/lock/clockpath", "/tmp/clockpath" } ) places.push_back( start + flat );
   return places;
}

namespace {

// The kernel may refuse to create what is there already, and the file of another user may be readable alone; that one
// can be locked all the same.
int openedLock( std::string const & path ) {
   for ( int const flags : { O_RDWR | O_CREAT, O_RDWR, O_RDONLY } )
      if ( int const fd = ::open( path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0666 ); fd >= 0 ) return fd;
   return -1;
}

// The first 8 bytes of a file are one word of memory: its digits change all at once.
U64 wordOf( U32 generation ) {
   std::array<char, sizeof( U64 ) + 1> digits{};
   std::snprintf( digits.data(), digits.size(), "%08x", generation );
   U64 word = 0;
   std::memcpy( &word, digits.data(), sizeof word );
   return word;
}

// 0 where there are no digits: in a new file, and in one that holds something else.
U32 generationOf( U64 word ) {
   std::array<char, sizeof word> digits{};
   std::memcpy( digits.data(), &word, sizeof word );
   U32 generation = 0;
   char const * const end = digits.data() + digits.size();
   return std::from_chars( digits.data(), end, generation, 16 ).ptr == end ? generation : 0;
}

// How long somebody who removes the file may take.
constexpr int removalMs = 100;

}   // namespace

// The opened file. Three things are locked, all by the kernel and all until it is closed:
// - who has it open for writing shares it, so that nobody removes it meanwhile;
// - who has it for a generation locks the byte of that number: a holder that was stopped keeps its own, and only that;
// - who may only read it has it for himself.
class CardLock::File : public Descriptor {
 public:
   explicit File( int fd ) : Descriptor( fd ), writable_( ( ::fcntl( fd, F_GETFL ) & O_ACCMODE ) == O_RDWR ) {}
   ~File() {
      if ( word_ ) ::munmap( word_, sizeof *word_ );
   }
   File( File const & ) = delete;
   File & operator=( File const & ) = delete;

   bool writable() const { return writable_; }

   bool share() const {
      for ( int waitedMs = 0; ::flock( fd(), ( writable_ ? LOCK_SH : LOCK_EX ) | LOCK_NB ) != 0; ++waitedMs ) {
         if ( !writable_ || waitedMs == removalMs ) return false;
         std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
      }
      return true;
   }

   bool isAt( std::string const & path ) const {
      struct stat opened {};
      struct stat found {};
      return ::fstat( fd(), &opened ) == 0 && ::stat( path.c_str(), &found ) == 0 && opened.st_dev == found.st_dev &&
             opened.st_ino == found.st_ino;
   }

   // Whether the word can be looked at. Never makes a file shorter, which others look at.
   bool map() {
      struct stat found {};
      if ( writable_ ) static_cast<void>( ::posix_fallocate( fd(), 0, sizeof *word_ ) );
      if ( ::fstat( fd(), &found ) != 0 || found.st_size < static_cast<off_t>( sizeof *word_ ) ) return false;
      void * const mapping =
         ::mmap( nullptr, sizeof *word_, writable_ ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd(), 0 );
      if ( mapping == MAP_FAILED ) return false;
      word_ = static_cast<U64 *>( mapping );
      return true;
   }

   U64 word() const { return word_ ? std::atomic_ref( *word_ ).load( std::memory_order_acquire ) : 0; }
   bool wordIs( U64 from, U64 to ) const { return std::atomic_ref( *word_ ).compare_exchange_strong( from, to ); }

   // Locks the byte of a generation, or asks whether that can be done.
   bool lock( U32 generation ) const {
      struct flock byte = byteOf( generation );
      return ::fcntl( fd(), F_OFD_SETLK, &byte ) == 0;
   }
   bool lockable( U32 generation ) const {
      struct flock byte = byteOf( generation );
      return ::fcntl( fd(), F_OFD_GETLK, &byte ) == 0 && byte.l_type == F_UNLCK;
   }

   std::string holder() const {
      std::array<char, 200> text{};
      ssize_t const length = ::pread( fd(), text.data(), text.size(), sizeof *word_ + 1 );
      return length > 0 ? std::string( text.data(), static_cast<std::size_t>( length ) ) : "another process";
   }

   // The lock holds also where the holder cannot be written down.
   void holderIs( std::string const & holder ) const {
      std::string const text = " " + holder;
      auto const end = static_cast<off_t>( sizeof *word_ + text.size() );
      static_cast<void>(
         ::pwrite( fd(), text.data(), text.size(), sizeof *word_ ) > 0 && ::ftruncate( fd(), end ) == 0 );
   }

 private:
   static struct flock byteOf( U32 generation ) {
      struct flock byte {};
      byte.l_type = F_WRLCK;
      byte.l_whence = SEEK_SET;
      byte.l_start = generation;
      byte.l_len = 1;
      return byte;
   }

   bool const writable_;
   U64 * word_ = nullptr;
};

CardLock::CardLock( std::string const & card, std::string const & user, U32 generation ) {
   std::vector<std::string> const paths = placesBeside( card, ".lock" );
   if ( std::ranges::none_of( paths, [&]( std::string const & path ) { return take( path, generation ); } ) )
      throw CardUnavailable(
         card + " cannot be locked, neither beside it nor in /run/lock or /tmp: " + std::strerror( errno ) );
   if ( held() ) file_->holderIs( user + ", process " + std::to_string( ::getpid() ) );
   if ( !held() )
      throw CardUnavailable(
         "the card was taken by generation " + std::to_string( generationNow() ) + " at the same time (" + path_ +
         "); it has the card now" );
}

// A file that records a generation stays; so does one that somebody else has opened, who may hold it by now.
CardLock::~CardLock() {
   if ( held() && generationOf( mine_ ) == 0 && ::flock( file_->fd(), LOCK_EX | LOCK_NB ) == 0 && file_->isAt( path_ ) )
      ::unlink( path_.c_str() );
}

bool CardLock::held() const { return file_->word() == mine_; }

U32 CardLock::generationNow() const { return generationOf( file_->word() ); }

// Whether there can be a lock of that path.
bool CardLock::take( std::string const & path, U32 generation ) {
   for ( ;; ) {
      int const fd = openedLock( path );
      if ( fd < 0 ) return false;
      file_ = std::make_unique<File>( fd );
      auto const inUse = [&] {
         return CardUnavailable(
            "the card is in use by " + file_->holder() + " (" + path + "); stop it, or try again when it has ended" );
      };
      if ( !file_->share() ) throw inUse();
      if ( !file_->isAt( path ) ) continue;   // its last holder has removed it meanwhile
      bool const mapped = file_->map();
      if ( !file_->writable() && generation == 0 ) {
         mine_ = file_->word();
         break;
      }
      if ( !mapped || !file_->writable() )
         throw CardUnavailable( path + " cannot be written, as a lock must be; expected a file of this user's" );
      U64 const found = file_->word();
      U32 const recorded = generationOf( found );
      U32 const own = generation == 0 ? recorded : generation;
      if ( own < recorded && file_->lockable( recorded ) )
         throw CardUnavailable(
            "generation " + std::to_string( recorded ) + " has had the card (" + path +
            "); expected that or a higher one, found " + std::to_string( generation ) );
      if ( own < recorded || !file_->lock( own ) ) throw inUse();
      mine_ = wordOf( own );
      if ( file_->wordIs( found, mine_ ) ) break;   // else a higher generation was faster
   }
   path_ = path;
   return true;
}

}   // namespace Host
