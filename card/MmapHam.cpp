#include "card/MmapHam.h"

#include "card/Descriptor.h"
#include "framework/Assert.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Host {

namespace {

// A device has no length; a file that is too short would end the process at the first access behind its end.
bool tooShort( struct stat const & found, U64 needed ) {
   return S_ISREG( found.st_mode ) && static_cast<U64>( found.st_size ) < needed;
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
   if ( mapping_ && same && !tooShort( found, offset() + size() ) ) return;
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
   auto const pageSize = static_cast<U64>( ::sysconf( _SC_PAGESIZE ) );
   U64 const lead = offset() % pageSize;
   auto const length = static_cast<std::size_t>( lead + size() );
   void * const mapping =
      ::mmap( nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, file.fd(), static_cast<off_t>( offset() - lead ) );
   if ( mapping == MAP_FAILED ) {
      trouble_ = path_ + ": cannot be mapped: " + std::strerror( errno );
      return false;
   }
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
   value = start ? load( start + address / sizeof( U32 ) ) : goneValue;
}

void MmapHam::write32( U32 address, U32 value ) {
   VOR_ASSERT( address % sizeof( U32 ) == 0 && address < size() );
   if ( U32 volatile * const start = space() ) store( start + address / sizeof( U32 ), value );
}

// A plain volatile access is one instruction of this width, and the compiler neither drops, merges nor splits it; the
// fences keep the processor from moving it. An atomic exchange, which a sequentially consistent store compiles to,
// would also read the register, and a read can take an entry out of a FIFO.
U32 MmapHam::load( U32 const volatile * place ) {
   std::atomic_thread_fence( std::memory_order_seq_cst );
   U32 const value = *place;
   std::atomic_thread_fence( std::memory_order_seq_cst );
   return value;
}

void MmapHam::store( U32 volatile * place, U32 value ) {
   std::atomic_thread_fence( std::memory_order_seq_cst );
   *place = value;
   std::atomic_thread_fence( std::memory_order_seq_cst );
}

}   // namespace Host
