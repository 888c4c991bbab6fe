// The agent on a card in the machine: agent FILE, until SIGINT or SIGTERM. FILE is mapped: a PCI resource, for one.
#include "Agent.h"

#include <clockpath/framework/Assert.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <thread>
#include <utility>

namespace {

// Each access is one load or store of 32 bits. A card that has gone reads as ones; its writes are lost.
class MappedCard final : public Fru::HamImpl {
 public:
   static constexpr std::size_t spaceSize = 0x10000;

   explicit MappedCard( char const * path ) : HamImpl( "card" ), path_( path ) { look(); }
   ~MappedCard() override {
      if ( space_ ) ::munmap( space_, spaceSize );
   }

   void read32( U32 address, U32 & value ) override { value = space_ ? registerAt( address ) : ~U32{ 0 }; }
   void write32( U32 address, U32 value ) override {
      if ( space_ ) registerAt( address ) = value;
   }

   // From the loop: a change of `hardwarePresent` starts a bring-up, or ends the chip's service, before this returns.
   void look() {
      if ( space_ && ::access( path_, F_OK ) != 0 ) {
         ::munmap( std::exchange( space_, nullptr ), spaceSize );
      } else if ( int const file = space_ ? -1 : ::open( path_, O_RDWR | O_SYNC | O_CLOEXEC ); file >= 0 ) {
         void * const space = ::mmap( nullptr, spaceSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0 );
         ::close( file );
         if ( space != MAP_FAILED ) space_ = space;
      }
      hardwarePresentIs( space_ != nullptr );
   }

 private:
   U32 volatile & registerAt( U32 address ) const {
      return *static_cast<U32 volatile *>( static_cast<void *>( static_cast<char *>( space_ ) + address ) );
   }

   char const * const path_;
   void * space_ = nullptr;
};

// Goes on while the machine is suspended, as the card does.
class BootClock final : public Vor::Clock {
 public:
   double now() const override {
      timespec time{};
      ::clock_gettime( CLOCK_BOOTTIME, &time );
      return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) * 1e-9;
   }
};

volatile std::sig_atomic_t stopped = 0;

}   // namespace

int main( int argc, char ** argv ) {
   if ( argc != 2 ) return 2;
   for ( int const signal : { SIGINT, SIGTERM } ) std::signal( signal, []( int ) { stopped = 1; } );
   Vor::activityManager().config().clockIs( new BootClock );   // before the machine makes its timer
   Vor::assertionHookIs( []( Vor::AssertionFailure const & ) { std::fputs( "the agent aborts\n", stderr ); } );

   Vor::Ptr<MappedCard> const card = new MappedCard( argv[1] );
   Example::Agent agent( card );
   agent.begin();
   agent.run(
      [] { return stopped != 0; },
      [&]( double seconds ) {
         std::this_thread::sleep_for( std::chrono::duration<double>( std::min( seconds, 0.1 ) ) );
         card->look();
      } );
   return agent.status()->state() == Hardware::Max24305::ready_ ? 0 : 1;
}
