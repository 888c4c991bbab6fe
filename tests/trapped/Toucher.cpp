// Touches a mapped file in one way or another: toucher FILE HOW. Prints what a load gave.
#include <fcntl.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

int main( int, char ** argv ) {
   constexpr std::size_t size = 16384;
   int const file = ::open( argv[1], O_RDWR );
   void * const space = ::mmap( nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0 );
   char * const at = static_cast<char *>( space ) + 8192;
   std::string_view const how = argv[2];
   unsigned long long loaded = 0;
   if ( how == "load" ) loaded = *static_cast<std::uint32_t volatile *>( static_cast<void *>( at ) );
   if ( how == "store" ) *static_cast<std::uint32_t volatile *>( static_cast<void *>( at ) ) = 0x10;
   if ( how == "loadByte" ) loaded = *static_cast<std::uint8_t volatile *>( static_cast<void *>( at ) );
   if ( how == "storeByte" ) *static_cast<std::uint8_t volatile *>( static_cast<void *>( at ) ) = 1;
   if ( how == "loadWide" ) loaded = *static_cast<std::uint64_t volatile *>( static_cast<void *>( at ) );
   if ( how == "storeShort" ) *static_cast<std::uint16_t volatile *>( static_cast<void *>( at ) ) = 1;
   if ( how == "exchange" )
      loaded = __atomic_exchange_n( static_cast<std::uint32_t *>( static_cast<void *>( at ) ), 1, __ATOMIC_SEQ_CST );
   if ( how == "askew" )
      asm volatile( "movl (%1), %%eax; mov %%eax, %0" : "=m"( loaded ) : "r"( at + 2 ) : "eax", "memory" );
   std::printf( "0x%llx\n", loaded );
}
