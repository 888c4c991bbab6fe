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

using Handler = void ( * )( int );

Handler handlerOf( int signal ) {
   struct sigaction found {};
   // What cannot be asked for cannot be set either.
   return ::sigaction( signal, nullptr, &found ) == 0 ? found.sa_handler : SIG_ERR;
}

// Lines as short as these are written whole or not at all.
void say( std::string_view text ) {
   [[maybe_unused]] ssize_t const written = ::write( STDERR_FILENO, text.data(), text.size() );
}

}   // namespace

StopSignals::StopSignals( MmapHam const * ham, Outputs outputs, bool managed )
   : ham_( ham ), managed_( managed ), wakeUp_( ::eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK ) ) {
   VOR_ASSERT( !living.load() );
   if ( wakeUp_.fd() < 0 ) throw std::system_error( errno, std::generic_category(), "eventfd" );
   outputsAre( std::move( outputs ) );
   living.store( this );
   for ( int const signal : { SIGPIPE, SIGTSTP, SIGTTIN, SIGTTOU } ) std::signal( signal, SIG_IGN );
   auto const handle = [this]( int signal, Handler handler ) {
      std::signal( signal, handler );
      handled_.push_back( signal );
   };
   for ( int const signal : { SIGINT, SIGTERM, SIGALRM } ) handle( signal, handleStop );
   if ( managed || handlerOf( SIGHUP ) == SIG_DFL ) handle( SIGHUP, managed ? handleReload : handleStop );
   // All others that end a process, but for those that somebody else in it handles.
   for ( int signal = 1; signal <= SIGRTMAX; ++signal ) {
      bool const harmless = signal == SIGCHLD || signal == SIGCONT || signal == SIGURG || signal == SIGWINCH;
      if ( !harmless && signal != SIGKILL && signal != SIGSTOP && handlerOf( signal ) == SIG_DFL )
         handle( signal, handleEnd );
   }
}

StopSignals::~StopSignals() {
   ::alarm( 0 );
   // A manager that asks for a reload between two roles must not end the agent.
   for ( int const signal : handled_ ) std::signal( signal, signal == SIGHUP && managed_ ? SIG_IGN : SIG_DFL );
   living.store( nullptr );
}

void StopSignals::outputsAre( Outputs outputs ) {
   outputLists_.push_back( std::move( outputs ) );
   outputs_.store( &outputLists_.back() );
}

bool StopSignals::reloadTaken() {
   if ( !reload_.exchange( false ) ) return false;
   U64 count = 0;
   [[maybe_unused]] ssize_t const drained = ::read( descriptor(), &count, sizeof count );
   if ( reload_.load() || stopAsked() ) wake();
   return true;
}

void StopSignals::handleStop( int ) {
   int const error = errno;
   if ( StopSignals * const self = living.load() ) {
      if ( self->signals_.fetch_add( 1 ) > 0 ) {
         self->outputsInactive();
         ::_exit( self->managed_ ? exitReady : exitNotReady );
      }
      self->tell();
      if ( self->managed_ ) ::alarm( stopSeconds );
      self->wake();
   }
   errno = error;
}

void StopSignals::handleReload( int ) {
   int const error = errno;
   if ( StopSignals * const self = living.load() ) {
      self->reload_.store( true );
      self->wake();
   }
   errno = error;
}

// It has its usual effect as soon as this returns.
void StopSignals::handleEnd( int signal ) {
   if ( StopSignals const * const self = living.load() ) self->outputsInactive();
   std::signal( signal, SIG_DFL );
   ::raise( signal );
}

void StopSignals::wake() const {
   U64 const one = 1;
   [[maybe_unused]] ssize_t const written = ::write( descriptor(), &one, sizeof one );
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
   for ( Input::GpoDescription const & output : *outputs_.load() ) {
      U32 volatile * const place = space + output.offset / sizeof( U32 );
      MmapHam::store( place, output.driven( MmapHam::load( place ), false ) );
   }
}

}   // namespace Host
