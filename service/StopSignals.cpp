#include "service/StopSignals.h"

#include "framework/Assert.h"
#include "service/Exit.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>   // NOLINT(modernize-deprecated-headers): sigaction is the system's, not the language's
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <system_error>

namespace Host {

namespace {

constexpr char vorSource[] = "StopSignals";

std::atomic<StopSignals *> living{ nullptr };
static_assert( std::atomic<StopSignals *>::is_always_lock_free && std::atomic<int>::is_always_lock_free );

void writeAll( char const * text ) {
   std::size_t left = std::strlen( text );
   while ( left > 0 ) {
      ssize_t const written = ::write( STDERR_FILENO, text, left );
      if ( written <= 0 ) return;
      text += written;
      left -= static_cast<std::size_t>( written );
   }
}

void actionIs( int signal, void ( *handler )( int ) ) {
   struct sigaction action {};
   action.sa_handler = handler;
   ::sigaction( signal, &action, nullptr );
}

}   // namespace

StopSignals::StopSignals( MmapHam const * ham, std::vector<ResetOutput> outputs )
   : ham_( ham ), outputs_( std::move( outputs ) ) {
   VOR_ASSERT( !living.load() );
   if ( ::pipe2( wakeUp_, O_CLOEXEC | O_NONBLOCK ) != 0 )
      throw std::system_error( errno, std::generic_category(), "pipe2" );
   living.store( this );
   for ( int const signal : { SIGINT, SIGTERM } ) actionIs( signal, &StopSignals::handle );
}

StopSignals::~StopSignals() {
   for ( int const signal : { SIGINT, SIGTERM } ) actionIs( signal, SIG_DFL );
   living.store( nullptr );
   for ( int const end : wakeUp_ ) ::close( end );
}

void StopSignals::wait( double seconds ) const {
   constexpr double longestMs = 60'000;
   pollfd look{ wakeUp_[0], POLLIN, 0 };
   ::poll( &look, 1, static_cast<int>( std::ceil( std::clamp( seconds * 1000, 0.0, longestMs ) ) ) );
}

void StopSignals::handle( int ) {
   int const error = errno;
   if ( StopSignals * const self = living.load() ) {
      if ( self->signals_.fetch_add( 1 ) > 0 ) {
         self->outputsInactive();
         ::_exit( exitNotReady );
      }
      self->tell();
      char const byte = 0;
      [[maybe_unused]] ssize_t const written = ::write( self->wakeUp_[1], &byte, 1 );
   }
   errno = error;
}

void StopSignals::tell() const {
   char const * const chip = underWay_.load();
   if ( !chip ) return writeAll( "clockpath: stopping\n" );
   writeAll( "clockpath: stopping: waiting for the bring-up of " );
   writeAll( chip );
   writeAll( " to return; a second signal ends at once\n" );
}

void StopSignals::outputsInactive() const {
   U32 volatile * const space = ham_ ? ham_->space() : nullptr;
   if ( !space ) return;
   for ( ResetOutput const & output : outputs_ ) {
      U32 volatile * const place = space + output.offset / sizeof( U32 );
      MmapHam::store( place, output.output.driven( MmapHam::load( place ), false ) );
   }
}

}   // namespace Host
