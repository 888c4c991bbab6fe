// The activity manager: it knows the agent's clock and everything that happens by time, and runs what is due.
//
//    Vor::ActivityManager & manager = Vor::activityManager();
//    manager.config().clockIs( virtualClock );      // else the monotonic clock
//    manager.turn();                                // runs what is due, once
//    double next = manager.nextTime();              // when to come back; infinity when nothing is armed
//
// The host's loop, with waits of the host's own making:
//
//    manager.run( [ & ] { return stopAsked; }, [ & ]( double seconds ) { pollSignalsAndFiles( seconds ); } );
//
// All of it belongs to the thread that dispatches notifications and timers.
#pragma once

#include "framework/Clock.h"
#include "framework/Notifiee.h"

namespace Vor {

class ActivityManagerConfig {
 public:
   /// The agent's clock; a MonotonicClock until another is handed in.
   Ptr<Clock const> clock() const;
   /// Null goes back to a MonotonicClock. What was made on the earlier clock stays on it.
   void clockIs( Ptr<Clock const> const & clock ) { clock_ = clock; }

 private:
   mutable Ptr<Clock const> clock_;
};

/// Something that happens by time, such as a timer wheel. It is with the activity manager from its construction to its
/// destruction, as a member of an observer list and under that list's rules: activities have their turns in the order
/// of their creation, and a turn may create and destroy any of them.
class Activity : public NotifieeBase {
 public:
   /// Runs what is due on the clock of this activity, once.
   virtual void turn() = 0;
   /// When something is due next, in seconds on that clock; infinity for never.
   virtual double nextTime() const = 0;
   virtual Ptr<Clock const> clock() const = 0;

 protected:
   Activity();
};

class ActivityManager {
 public:
   constexpr ActivityManager() = default;
   ActivityManager( ActivityManager const & ) = delete;
   ActivityManager & operator=( ActivityManager const & ) = delete;

   ActivityManagerConfig & config() { return config_; }

   /// Gives each activity one turn. Activities made meanwhile wait for the next one.
   void turn();

   /// The earliest time at which anything is due, on the configured clock; not later than now when it is due already.
   double nextTime();

   /// Turns until `done()`, which is asked before each turn. After each turn `idle( seconds )` may wait up to the
   /// seconds it is given: none when something is due, infinity when nothing is armed. It may come back earlier.
   template<class Done, class Idle> void run( Done const & done, Idle const & idle ) {
      while ( !done() ) {
         turn();
         idle( secondsLeft() );
      }
   }

 private:
   friend Activity;
   double secondsLeft();

   ActivityManagerConfig config_;
   NotifieeList activities_;
};

/// The process's one manager. Activities may outlive it at exit: they only stop having turns.
ActivityManager & activityManager();

}   // namespace Vor
