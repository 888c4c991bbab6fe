#include "card/MmapHam.h"

#include "card/Descriptor.h"
#include "framework/Assert.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>

namespace Host {

namespace {

std::size_t const pageSize = static_cast<std::size_t>( ::sysconf( _SC_PAGESIZE ) );

// A device has no length; a file that is too short would end the process at the first access behind its end.
bool tooShort( struct stat const & found, U64 needed ) {
   return S_ISREG( found.st_mode ) && static_cast<U64>( found.st_size ) < needed;
}

// A file may shrink at any time, and a device may go: an access to what is behind the end raises SIGBUS. The register
// that this thread touches now; its handler clears it when there is none behind it.
thread_local std::atomic<U32 const volatile *> touched{ nullptr };

struct sigaction others {};   // what else takes SIGBUS in this process

// Puts memory of the process in the place of what is missing there, so that the access can end.
void missing( int signal, siginfo_t * info, void * context ) {
   int const error = errno;
   if ( info->si_addr == const_cast<U32 *>( touched.load( std::memory_order_relaxed ) ) ) {
      std::size_t const lead = std::bit_cast<std::uintptr_t>( info->si_addr ) % pageSize;
      char * const page = static_cast<char *>( info->si_addr ) - lead;
      constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED;
      if ( ::mmap( page, pageSize, PROT_READ | PROT_WRITE, flags, -1, 0 ) == page ) {
         touched.store( nullptr, std::memory_order_relaxed );
         errno = error;
         return;
      }
   }
   if ( others.sa_flags & SA_SIGINFO ) return others.sa_sigaction( signal, info, context );
   if ( others.sa_handler != SIG_DFL && others.sa_handler != SIG_IGN ) return others.sa_handler( signal );
   std::signal( signal, SIG_DFL );   // and the access is made again
}

void missingHandled() {
   struct sigaction action {};
   action.sa_sigaction = &missing;
   action.sa_flags = SA_SIGINFO;
   struct sigaction before {};
   ::sigaction( SIGBUS, nullptr, &before );
   if ( before.sa_sigaction == &missing ) return;
   others = before;
   ::sigaction( SIGBUS, &action, nullptr );
}

// One access; whether the register was there. The fences keep the processor from moving it. An access that a signal
// handler makes in the middle of it leaves it as it was.
bool touch( U32 const volatile * place, auto const & access ) {
   auto const * const outer = touched.load( std::memory_order_relaxed );
   touched.store( place, std::memory_order_relaxed );
   std::atomic_thread_fence( std::memory_order_seq_cst );
   access();
   std::atomic_thread_fence( std::memory_order_seq_cst );
   return touched.exchange( outer, std::memory_order_relaxed ) == place;
}

}   // namespace

MmapHam::MmapHam( Vor::Name name, std::string path, U64 offset, U32 size )
   : PolledHam( std::move( name ) ), path_( std::move( path ) ) {
   VOR_ASSERT( offset % sizeof( U32 ) == 0 && size % sizeof( U32 ) == 0 );
   kindIs( "mmap" );
   filenameIs( path_ );
   offsetIs( offset );
   sizeIs( size );
}

MmapHam::~MmapHam() { unmap(); }

void MmapHam::poll() {
   struct stat found {};
   bool const exists = ::stat( path_.c_str(), &found ) == 0;
   if ( !exists ) trouble_ = path_ + ": " + std::strerror( errno );
   bool const same = exists && identity_ == Identity{ found.st_dev, found.st_ino };
   if ( space() && same && !tooShort( found, offset() + size() ) ) return;
   // A file of the same name that is another one belongs to a card that was replaced: its watchers see it go first.
   unmap();
   hardwarePresentIs( false );
   if ( exists && map() ) hardwarePresentIs( true );
}

bool MmapHam::map() {
   Descriptor const file( ::open( path_.c_str(), O_RDWR | O_SYNC | O_CLOEXEC ) );
   struct stat found {};
   if ( file.fd() < 0 || ::fstat( file.fd(), &found ) != 0 ) {
      trouble_ = path_ + ": cannot be opened for reading and writing: " + std::strerror( errno );
      return false;
   }
   U64 const needed = offset() + size();
   if ( tooShort( found, needed ) ) {
      trouble_ = path_ + ": expected at least " + std::to_string( needed ) +
                 " bytes, as \"offset\" and \"size\" say, found " + std::to_string( found.st_size );
      return false;
   }
   U64 const lead = offset() % pageSize;
   auto const length = static_cast<std::size_t>( lead + size() );
   void * const mapping =
      ::mmap( nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, file.fd(), static_cast<off_t>( offset() - lead ) );
   if ( mapping == MAP_FAILED ) {
      trouble_ = path_ + ": cannot be mapped: " + std::strerror( errno );
      return false;
   }
   missingHandled();
   mapping_ = mapping;
   mappingSize_ = length;
   identity_ = { found.st_dev, found.st_ino };
   trouble_.clear();
   void * const start = static_cast<char *>( mapping ) + lead;
   space_.store( static_cast<U32 *>( start ), std::memory_order_relaxed );
   return true;
}

void MmapHam::unmap() {
   space_.store( nullptr, std::memory_order_relaxed );
   std::atomic_signal_fence( std::memory_order_seq_cst );   // a handler must not find the space while it goes
   if ( mapping_ ) ::munmap( mapping_, mappingSize_ );
   mapping_ = nullptr;
}

void MmapHam::read32( U32 address, U32 & value ) {
   VOR_ASSERT( address % sizeof( U32 ) == 0 && address < size() );
   U32 const volatile * const start = space();
   U32 found = goneValue;
   bool const there =
      start && touch( start + address / sizeof( U32 ), [&] { found = start[address / sizeof( U32 )]; } );
   value = there ? found : goneValue;
   if ( !there ) space_.store( nullptr, std::memory_order_relaxed );   // until poll() finds it again
}

void MmapHam::write32( U32 address, U32 value ) {
   VOR_ASSERT( address % sizeof( U32 ) == 0 && address < size() );
   U32 volatile * const start = space();
   bool const there =
      start && touch( start + address / sizeof( U32 ), [&] { start[address / sizeof( U32 )] = value; } );
   if ( !there ) space_.store( nullptr, std::memory_order_relaxed );
}

// A plain volatile access is one instruction of this width, and the compiler neither drops, merges nor splits it. An
// atomic exchange, which a sequentially consistent store compiles to, would also read the register, and a read can take
// an entry out of a FIFO.
U32 MmapHam::load( U32 const volatile * place ) {
   U32 value = goneValue;
   return touch( place, [&] { value = *place; } ) ? value : goneValue;
}

void MmapHam::store( U32 volatile * place, U32 value ) {
   touch( place, [&] { *place = value; } );
}

}   // namespace Host
