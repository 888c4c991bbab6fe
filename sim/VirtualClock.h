// Virtual time: a clock in whole nanoseconds that moves only when it is told to, and the hardware's agenda on it.
//
// While a VirtualTime object lives, the operating system's nanosleep of its thread does not wait: it moves the clock
// on by what was asked, and everything the hardware has on its agenda happens on the way, at its exact time. The same
// clock, in seconds, is then the agent's. Elsewhere nanosleep waits as ever.
//
// The executable must define nanosleep with default visibility for shared libraries to bind to it; it stands in this
// class's source, so that whoever uses the clock has it, and the library's link options export it.
//
//    Vor::Ptr<Sim::VirtualClock> clock = new Sim::VirtualClock;
//    Sim::VirtualTime const virtualTime( clock );
//    Hardware::nsleep( 5'000'000 );   // returns at once; clock->nowNs() is 5'000'000
#pragma once

#include "framework/Clock.h"
#include "framework/PtrInterface.h"
#include "framework/Types.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>

namespace Sim {

class TimedEvent;

/// Told of every sleep as it begins.
using SleepObserver = std::function<void( U64 forNs )>;

class VirtualClock final : public Vor::Clock {
 public:
   VirtualClock() = default;

   U64 nowNs() const { return nowNs_; }

   /// Seconds: the present nanosecond, or the time within it that was reached by nowIs().
   double now() const override { return std::max( secondsOf( nowNs_ ), reached_ ); }

   /// Moves the clock on to `ns`; what is on the agenda up to and including then happens on the way. An earlier time
   /// than the present leaves the clock where it is, and what is due now happens.
   void nowNsIs( U64 ns );

   /// Moves the clock on to the nanosecond nearest to `seconds`, at which it then reads no earlier than that: a timer
   /// for `seconds` has expired. Sums of seconds miss whole nanoseconds by less than they can show, and waiting for the
   /// next one would let periods drift.
   void nowIs( double seconds );

   /// A sleep request: tells the observer, then moves the clock on.
   void sleep( U64 forNs );

   /// One observer, null for none.
   void sleepObserverIs( SleepObserver observer ) { sleepObserver_ = std::move( observer ); }

   static double secondsOf( U64 ns ) { return static_cast<double>( ns ) / 1e9; }

   /// The nearest nanosecond. Negative times give 0; times beyond the clock's range, and infinity, its last nanosecond.
   static U64 nsOf( double seconds );

 private:
   friend class TimedEvent;
   using Agenda = std::multimap<U64, TimedEvent *>;   // equal times keep the order in which they were put down

   U64 nowNs_ = 0;
   double reached_ = 0;   // less than half a nanosecond from a time that was or is now
   Agenda agenda_;
   SleepObserver sleepObserver_;
   bool moving_ = false;
};

/// Something the hardware will do at a time on the clock's agenda: once, unless put down again. It happens while the
/// clock moves and must not move the clock itself. Destroying it takes it off the agenda, also while it happens.
class TimedEvent {
 public:
   TimedEvent( VirtualClock & clock, std::function<void()> what ) : clock_( clock ), what_( std::move( what ) ) {}
   TimedEvent( TimedEvent const & ) = delete;
   TimedEvent & operator=( TimedEvent const & ) = delete;
   ~TimedEvent() { cancel(); }

   /// Puts it down for `ns`, or moves it there. A time already passed means the clock's next move.
   void atNsIs( U64 ns );
   /// Puts it down for that long from now.
   void inNsIs( U64 ns );
   void cancel();
   /// The time it is down for; empty when it is not.
   std::optional<U64> atNs() const { return place_ ? std::optional( ( *place_ )->first ) : std::nullopt; }
   bool pending() const { return place_.has_value(); }

 private:
   friend class VirtualClock;

   VirtualClock & clock_;
   std::function<void()> what_;
   std::optional<VirtualClock::Agenda::iterator> place_;
};

/// Tells the observer of every sleep of the present thread as it begins, also of one that waits, as long as it lives.
/// One at a time may live on a thread; without one a sleep costs a comparison.
class ThreadSleeps {
 public:
   explicit ThreadSleeps( SleepObserver observer );
   ~ThreadSleeps();
   ThreadSleeps( ThreadSleeps const & ) = delete;
   ThreadSleeps & operator=( ThreadSleeps const & ) = delete;

 private:
   SleepObserver const observer_;
};

/// Switches virtual time on for as long as it lives: for the sleeps of the present thread, and as the agent's clock
/// (that of the activity manager), which is why it is there before the machines. The innermost one holds.
class VirtualTime {
 public:
   explicit VirtualTime( Vor::Ptr<VirtualClock> clock );
   ~VirtualTime();
   VirtualTime( VirtualTime const & ) = delete;
   VirtualTime & operator=( VirtualTime const & ) = delete;

 private:
   Vor::Ptr<VirtualClock> clock_;
   VirtualClock * outer_;
   Vor::Ptr<Vor::Clock const> outerAgentClock_;
};

}   // namespace Sim
