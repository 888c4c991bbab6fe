#include "sim/VirtualClock.h"

#include "framework/ActivityManager.h"
#include "framework/Assert.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <limits>

namespace Sim {

namespace {

constexpr char vorSource[] = "VirtualClock";
constexpr U64 lastNs = std::numeric_limits<U64>::max();
constexpr U64 nsPerSecond = 1'000'000'000;

thread_local VirtualClock * virtualTimeOfThread = nullptr;
thread_local SleepObserver const * sleepObserverOfThread = nullptr;

U64 saturatingSum( U64 a, U64 b ) { return b > lastNs - a ? lastNs : a + b; }

}   // namespace

void VirtualClock::nowNsIs( U64 ns ) {
   VOR_ASSERT( !moving_ );
   moving_ = true;
   while ( !agenda_.empty() && agenda_.begin()->first <= std::max( ns, nowNs_ ) ) {
      TimedEvent & next = *agenda_.begin()->second;
      nowNs_ = std::max( nowNs_, agenda_.begin()->first );
      next.cancel();
      std::function<void()> const what = next.what_;   // which may destroy the event
      what();
   }
   nowNs_ = std::max( nowNs_, ns );
   moving_ = false;
}

void VirtualClock::nowIs( double seconds ) {
   U64 const ns = nsOf( seconds );
   nowNsIs( ns );
   if ( ns == nowNs_ && ns != lastNs ) reached_ = std::max( reached_, seconds );
}

void VirtualClock::sleep( U64 forNs ) {
   if ( sleepObserver_ ) sleepObserver_( forNs );
   nowNsIs( saturatingSum( nowNs_, forNs ) );
}

U64 VirtualClock::nsOf( double seconds ) {
   if ( !( seconds > 0 ) ) return 0;
   double const rounded = std::round( seconds * 1e9 );
   if ( rounded >= static_cast<double>( lastNs ) ) return lastNs;
   return static_cast<U64>( rounded );
}

void TimedEvent::atNsIs( U64 ns ) {
   cancel();
   place_ = clock_.agenda_.emplace( ns, this );
}

void TimedEvent::inNsIs( U64 ns ) { atNsIs( saturatingSum( clock_.nowNs(), ns ) ); }

void TimedEvent::cancel() {
   if ( !place_ ) return;
   clock_.agenda_.erase( *place_ );
   place_.reset();
}

ThreadSleeps::ThreadSleeps( SleepObserver observer ) : observer_( std::move( observer ) ) {
   VOR_ASSERT( !sleepObserverOfThread );
   sleepObserverOfThread = &observer_;
}

ThreadSleeps::~ThreadSleeps() { sleepObserverOfThread = nullptr; }

VirtualTime::VirtualTime( Vor::Ptr<VirtualClock> clock )
   : clock_( std::move( clock ) ),
     outer_( virtualTimeOfThread ),
     outerAgentClock_( Vor::activityManager().config().clock() ) {
   VOR_ASSERT( clock_ );
   virtualTimeOfThread = clock_.ptr();
   Vor::activityManager().config().clockIs( clock_ );
}

VirtualTime::~VirtualTime() {
   Vor::activityManager().config().clockIs( outerAgentClock_ );
   virtualTimeOfThread = outer_;
}

namespace {

// The rules that the system's own nanosleep checks before it sleeps; 0 when they hold.
int requestError( timespec const * request ) {
   if ( !request ) return EFAULT;
   if ( request->tv_sec < 0 || request->tv_nsec < 0 || request->tv_nsec >= static_cast<long>( nsPerSecond ) )
      return EINVAL;
   return 0;
}

U64 nsOfRequest( timespec const & request ) {
   U64 const seconds = static_cast<U64>( request.tv_sec );
   if ( seconds >= lastNs / nsPerSecond ) return lastNs;
   return seconds * nsPerSecond + static_cast<U64>( request.tv_nsec );
}

}   // namespace

}   // namespace Sim

/// Takes the place of the C library's for the whole process. Hidden visibility would quietly leave the shared libraries
/// with the system's.
// The C library declares it with names that are reserved to it.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" [[gnu::visibility( "default" )]] int nanosleep( timespec const * request, timespec * remainder ) {
   Sim::VirtualClock * const clock = Sim::virtualTimeOfThread;
   if ( Sim::sleepObserverOfThread && Sim::requestError( request ) == 0 )
      ( *Sim::sleepObserverOfThread )( Sim::nsOfRequest( *request ) );
   int const error = clock ? Sim::requestError( request ) : clock_nanosleep( CLOCK_REALTIME, 0, request, remainder );
   if ( error ) {
      errno = error;
      return -1;
   }
   if ( clock ) clock->sleep( Sim::nsOfRequest( *request ) );
   return 0;
}
