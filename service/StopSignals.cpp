#include "service/StopSignals.h"

#include "framework/Assert.h"
#include "service/Exit.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

namespace Host {

namespace {

constexpr char vorSource[] = "StopSignals";

std::atomic<StopSignals *> living{ nullptr };
static_assert( std::atomic<StopSignals *>::is_always_lock_free && std::atomic<int>::is_always_lock_free );

// Lines as short as these are written whole or not at all.
void say( std::string_view text ) {
   [[maybe_unused]] ssize_t const written = ::write( STDERR_FILENO, text.data(), text.size() );
}

}   // namespace

StopSignals::StopSignals( MmapHam const * ham, std::vector<Input::GpoDescription> outputs )
   : ham_( ham ), outputs_( std::move( outputs ) ), wakeUp_( ::eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK ) ) {
   VOR_ASSERT( !living.load() );
   if ( wakeUp_.fd() < 0 ) throw std::system_error( errno, std::generic_category(), "eventfd" );
   living.store( this );
   for ( int const signal : { SIGINT, SIGTERM } ) std::signal( signal, &StopSignals::handle );
}

StopSignals::~StopSignals() {
   for ( int const signal : { SIGINT, SIGTERM } ) std::signal( signal, SIG_DFL );
   living.store( nullptr );
}

void StopSignals::handle( int ) {
   int const error = errno;
   if ( StopSignals * const self = living.load() ) {
      if ( self->signals_.fetch_add( 1 ) > 0 ) {
         self->outputsInactive();
         ::_exit( exitNotReady );
      }
      self->tell();
      U64 const one = 1;
      [[maybe_unused]] ssize_t const written = ::write( self->descriptor(), &one, sizeof one );
   }
   errno = error;
}

void StopSignals::tell() const {
   char const * const chip = underWay_.load();
   if ( !chip ) return say( "clockpath: stopping\n" );
   say( "clockpath: stopping: waiting for the bring-up of " );
   say( chip );
   say( " to return; a second signal ends at once\n" );
}

void StopSignals::outputsInactive() const {
   U32 volatile * const space = ham_ ? ham_->space() : nullptr;
   if ( !space ) return;
   for ( Input::GpoDescription const & output : outputs_ ) {
      U32 volatile * const place = space + output.offset / sizeof( U32 );
      MmapHam::store( place, output.driven( MmapHam::load( place ), false ) );
   }
}

}   // namespace Host
