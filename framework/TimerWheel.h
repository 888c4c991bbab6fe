// The timer wheel: timers for absolute times, in seconds on the wheel's clock.
//
//    class Poll : public Jor::TimerWheel::NotifieeConst {
//     public:
//       explicit Poll( Vor::Ptr<Jor::TimerWheel const> const & wheel ) { vorAttach( wheel ); }
//       void onTime() override { ...; timeMinIs( notifier()->clock()->now() + 1.0 ); }
//    };
//    auto wheel = Jor::TimerWheel::TimerWheelIs( clock, 100, 3000, true, 1024 );
//    Vor::Ptr<Poll> poll = new Poll( wheel );
//    poll->timeMinIs( wheel->clock()->now() );   // onTime() at the next turn of the wheel
//
// Contract. An armed timer runs once, at the first turn at which the clock has reached its time: never early, never
// inside the setter, and not in the turn whose callback armed it. A turn runs its timers by time, those of one time in
// the order in which they were armed. Arming and disarming cost O(1) and allocate nothing, whatever the time.
//
// A callback may arm, disarm and destroy any timer, its own included, and drop the last reference to the wheel. It may
// give the wheel another turn; that one also runs what is left of the outer one. Should it throw, what is left runs at
// the next turn.
//
// How: the timers stand in trees, each before those below it, and a newly armed one is a tree of its own. What wants to
// know the earliest, a turn or nextTime(), compares trees two by two until one is left; what was compared is not
// compared again while its tree stands. One that runs or is disarmed leaves the trees below it in its place. With n
// timers, that makes about log n comparisons for each that was armed, ran or was disarmed, and none where nothing
// changed. Only a nextTime() within a turn looks through all that is due and has not run.
#pragma once

#include "framework/ActivityManager.h"

#include <limits>

namespace Jor {

class TimerWheel final : public Vor::Activity {
 public:
   class NotifieeConst;

   /// A wheel over `clock`. Its times are exact whatever `tickMsecs` is, its span has no end at `initialMaxTicks` (both
   /// at least 1), the order of arming is kept also where `preserveOrder` does not ask for it, and no bucket needs
   /// storage set aside: what the wheel is asked for it tells, and it does no less.
   static Vor::Ptr<TimerWheel> TimerWheelIs(
      Vor::Ptr<Vor::Clock const> const & clock, U32 tickMsecs, U32 initialMaxTicks, bool preserveOrder,
      U32 defaultBucketSize );
   ~TimerWheel() override;

   Vor::Ptr<Vor::Clock const> clock() const override { return clock_; }
   U32 tickMsecs() const { return tickMsecs_; }
   U32 initialMaxTicks() const { return initialMaxTicks_; }
   bool preserveOrder() const { return preserveOrder_; }
   U32 defaultBucketSize() const { return defaultBucketSize_; }

   void turn() override;
   /// The exact time of the earliest armed timer.
   double nextTime() const override;

 private:
   // A ring of links: what keeps one is its own first and last.
   struct Link {
      Link() = default;
      Link( Link const & ) = delete;
      Link & operator=( Link const & ) = delete;

      bool empty() const { return next == this; }
      /// Takes the link out of its ring, and puts it at the end of this one.
      void append( Link & link );
      void unlink();

      Link * previous = this;
      Link * next = this;
   };

   TimerWheel(
      Vor::Ptr<Vor::Clock const> const & clock, U32 tickMsecs, U32 initialMaxTicks, bool preserveOrder,
      U32 defaultBucketSize );

   static constexpr char vorSource[] = "TimerWheel";

   void arm( NotifieeConst & timer ) const;
   static NotifieeConst * earliest( Link & trees );

   Vor::Ptr<Vor::Clock const> const clock_;
   U32 const tickMsecs_;
   U32 const initialMaxTicks_;
   bool const preserveOrder_;
   U32 const defaultBucketSize_;
   // Arming changes what observers see of a wheel as little as joining an entity's observers changes the entity, and
   // comparing changes nothing.
   mutable Link armed_;   // the trees
   mutable U64 armings_ = 0;
   Link due_;   // found due by a turn, in order, not yet run
};

/// One timer of a wheel.
class TimerWheel::NotifieeConst : public Vor::NotifieeConstOf<TimerWheel>, private TimerWheel::Link {
 public:
   ~NotifieeConst() override;

   /// The time for which the timer is armed; infinity when it is not, also from the moment it runs.
   double timeMin() const { return timeMin_; }
   /// Arms for an absolute time (at or before now: for the next turn), anew if it was armed; infinity disarms. A time
   /// that is no number stops the process.
   void timeMinIs( double timeMin );

   /// Leaving the wheel keeps the time: it counts again on the next wheel joined.
   void notifierIs( Vor::Ptr<Vor::PtrInterface const> const & notifier ) override;

   /// The time has come. A timer that is no longer live by then is passed over, and its arming is used up.
   virtual void onTime() {}

 private:
   friend TimerWheel;

   static constexpr char vorSource[] = "TimerWheel";

   bool before( NotifieeConst const & other ) const;
   void disarm();

   Link later_;   // the trees below this timer
   double timeMin_ = std::numeric_limits<double>::infinity();
   U64 arming_ = 0;
};

}   // namespace Jor
