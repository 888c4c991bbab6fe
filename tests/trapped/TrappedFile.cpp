// Preloaded into a process: a file that it maps is a card whose registers have side effects. Each access to the mapping
// is trapped and made on simulated hardware that lives in another process (card/HardwareServer.h), so that a program is
// tested as it is shipped, down to the instructions with which it reaches its registers.
//
//    CLOCKPATH_TRAPPED_FILE=space CLOCKPATH_TRAPPED_SOCKET=card.sock LD_PRELOAD=libtrapped.so clockpath agent card.json
//
// The mapping is the file's own, without any right of access. An access raises SIGSEGV: the right is given, what a read
// gives is put into its place, and the instruction is made, and it alone; SIGTRAP follows, at which a write is sent on
// and the right is taken away. Meanwhile no other signal comes. An access of another width than 32 bits, of a place
// that is no multiple of 4, or by an instruction that is no plain load or store, ends the process with 99. One thread
// at a time may use the card.
#include "card/HardwareMessage.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/ucontext.h>
#include <unistd.h>

#include <bit>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

using namespace Host;

constexpr int exitNoWord = 99;
constexpr HardwareAnswer goneValue = 0xFFFFFFFF;
constexpr greg_t stepFlag = 0x100;   // of the processor
constexpr greg_t writeFault = 2;

// The mapping.
char * space = nullptr;
std::size_t spaceSize = 0;

// The access under way.
U32 volatile * place = nullptr;
bool isWrite = false;
U64 maskBefore = 0;   // of signals, as the kernel has it

int card = -1;   // the socket

bool reached() {
   if ( card >= 0 ) return true;
   char const * const path = std::getenv( "CLOCKPATH_TRAPPED_SOCKET" );
   int const made = ::socket( AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0 );
   if ( path && withPath( ::connect, made, path ) == 0 )
      card = made;
   else
      ::close( made );
   return card >= 0;
}

// Where no hardware answers, reads give what those of a missing card do.
HardwareAnswer answerTo( HardwareRequest const & request ) {
   HardwareAnswer answer = 0;
   if (
      reached() && ::send( card, &request, sizeof request, MSG_NOSIGNAL ) == sizeof request &&
      ::recv( card, &answer, sizeof answer, 0 ) == sizeof answer )
      return answer;
   ::close( card );
   card = -1;
   return goneValue;
}

// MOV r32,m32, MOV m32,r32 or MOV m32,imm32: with at most a REX prefix, which does not make it one of 64 bits.
bool isPlainWord( unsigned char const * instruction ) {
   constexpr unsigned char rex = 0x40;
   constexpr unsigned char rexWide = 0x08;
   if ( ( *instruction & 0xF0 ) == rex && !( *instruction & rexWide ) ) ++instruction;
   return *instruction == 0x8B || *instruction == 0x89 || *instruction == 0xC7;
}

[[noreturn]] void end( std::string_view why ) {
   [[maybe_unused]] ssize_t const written = ::write( STDERR_FILENO, why.data(), why.size() );
   ::_exit( exitNoWord );
}

void beginAccess( int, siginfo_t * info, void * context ) {
   auto & state = *static_cast<ucontext_t *>( context );
   auto & registers = state.uc_mcontext.gregs;
   char * const at = static_cast<char *>( info->si_addr );
   if ( !space || at < space || at >= space + spaceSize ) {
      std::signal( SIGSEGV, SIG_DFL );
      return;
   }
   auto const address = static_cast<U32>( at - space );
   if ( address % sizeof( U32 ) != 0 ) end( "trapped: an access that is not aligned\n" );
   if ( !isPlainWord( std::bit_cast<unsigned char const *>( registers[REG_RIP] ) ) )
      end( "trapped: an access that is no plain one of 32 bits\n" );
   isWrite = registers[REG_ERR] & writeFault;
   void * const any = at;
   place = static_cast<U32 *>( any );
   ::mprotect( space, spaceSize, PROT_READ | PROT_WRITE );
   *place = isWrite ? *place : answerTo( { HardwareRequest::Kind::read32, address } );
   std::memcpy( &maskBefore, &state.uc_sigmask, sizeof maskBefore );
   U64 const allOthers = ~( U64{ 1 } << ( SIGTRAP - 1 ) | U64{ 1 } << ( SIGBUS - 1 ) );
   std::memcpy( &state.uc_sigmask, &allOthers, sizeof allOthers );
   registers[REG_EFL] |= stepFlag;
}

void endAccess( int, siginfo_t *, void * context ) {
   auto & state = *static_cast<ucontext_t *>( context );
   HardwareAnswer const stored = *place;
   void const volatile * const any = place;
   auto const address = static_cast<U32>( static_cast<char const volatile *>( any ) - space );
   if ( isWrite ) answerTo( { HardwareRequest::Kind::write32, address, stored } );
   ::mprotect( space, spaceSize, PROT_NONE );
   state.uc_mcontext.gregs[REG_EFL] &= ~stepFlag;
   std::memcpy( &state.uc_sigmask, &maskBefore, sizeof maskBefore );
}

void handle( int signal, void ( *handler )( int, siginfo_t *, void * ) ) {
   struct sigaction action {};
   action.sa_sigaction = handler;
   action.sa_flags = SA_SIGINFO;
   sigfillset( &action.sa_mask );
   sigdelset( &action.sa_mask, SIGBUS );   // of a file that has shrunk: its user's business
   ::sigaction( signal, &action, nullptr );
}

bool isTrapped( int fd ) {
   char const * const path = fd < 0 ? nullptr : std::getenv( "CLOCKPATH_TRAPPED_FILE" );
   struct stat opened {};
   struct stat named {};
   return path && ::fstat( fd, &opened ) == 0 && ::stat( path, &named ) == 0 && opened.st_dev == named.st_dev &&
          opened.st_ino == named.st_ino;
}

}   // namespace

/// Takes the place of the C library's for the whole process.
extern "C" void * mmap( void * where, std::size_t size, int rights, int flags, int fd, off_t offset ) noexcept {
   bool const trapped = isTrapped( fd );
   long const result = ::syscall( SYS_mmap, where, size, trapped ? PROT_NONE : rights, flags, fd, offset );
   auto * const mapped = std::bit_cast<char *>( result );
   if ( trapped && mapped != MAP_FAILED ) {
      space = mapped;
      spaceSize = size;
      handle( SIGSEGV, &beginAccess );
      handle( SIGTRAP, &endAccess );
   }
   return mapped;
}

extern "C" void * mmap64( void * where, std::size_t size, int rights, int flags, int fd, off_t offset ) noexcept {
   return mmap( where, size, rights, flags, fd, offset );
}
