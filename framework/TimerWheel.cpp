#include "framework/TimerWheel.h"

#include "framework/Assert.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Jor {

namespace {
constexpr double never = std::numeric_limits<double>::infinity();
}

void TimerWheel::Link::append( Link & link ) {
   link.unlink();
   link.previous = previous;
   link.next = this;
   previous->next = &link;
   previous = &link;
}

void TimerWheel::Link::unlink() {
   previous->next = next;
   next->previous = previous;
   previous = next = this;
}

Vor::Ptr<TimerWheel> TimerWheel::TimerWheelIs(
   Vor::Ptr<Vor::Clock const> const & clock, U32 tickMsecs, U32 initialMaxTicks, bool preserveOrder,
   U32 defaultBucketSize ) {
   VOR_ASSERT( clock );
   VOR_ASSERT( tickMsecs > 0 );
   VOR_ASSERT( initialMaxTicks > 0 );
   return new TimerWheel( clock, tickMsecs, initialMaxTicks, preserveOrder, defaultBucketSize );
}

TimerWheel::TimerWheel(
   Vor::Ptr<Vor::Clock const> const & clock, U32 tickMsecs, U32 initialMaxTicks, bool preserveOrder,
   U32 defaultBucketSize )
   : clock_( clock ),
     tickMsecs_( tickMsecs ),
     initialMaxTicks_( initialMaxTicks ),
     preserveOrder_( preserveOrder ),
     defaultBucketSize_( defaultBucketSize ) {}

TimerWheel::~TimerWheel() {
   // Timers hold their wheel; only one that joined another behind the back of notifierIs() is still here.
   for ( Link * ring : { &armed_, &due_ } )
      while ( !ring->empty() ) static_cast<NotifieeConst *>( ring->next )->disarm();
}

void TimerWheel::arm( NotifieeConst & timer ) const {
   timer.arming_ = ++armings_;
   armed_.append( timer );
}

TimerWheel::NotifieeConst * TimerWheel::earliest( Link & trees ) {
   if ( trees.empty() ) return nullptr;
   while ( trees.next != trees.previous ) {
      auto * first = static_cast<NotifieeConst *>( trees.next );
      auto * second = static_cast<NotifieeConst *>( trees.next->next );
      if ( second->before( *first ) ) std::swap( first, second );
      first->later_.append( *second );
      trees.append( *first );   // to the end: the next to meet are trees that have met no more than this one
   }
   return static_cast<NotifieeConst *>( trees.next );
}

double TimerWheel::nextTime() const {
   double next = never;
   if ( NotifieeConst const * const first = earliest( armed_ ) ) next = first->timeMin_;
   for ( Link const * link = due_.next; link != &due_; link = link->next )
      next = std::min( next, static_cast<NotifieeConst const *>( link )->timeMin_ );
   return next;
}

void TimerWheel::turn() {
   Vor::Ptr<TimerWheel> const held = this;
   // Found before any runs, as what a callback arms waits for the next turn.
   double const now = clock_->now();
   for ( NotifieeConst * timer = earliest( armed_ ); timer && timer->timeMin_ <= now; timer = earliest( armed_ ) ) {
      timer->disarm();
      due_.append( *timer );
   }
   while ( !due_.empty() ) {
      auto & timer = static_cast<NotifieeConst &>( *due_.next );
      timer.disarm();
      timer.timeMin_ = never;
      if ( timer.isRegisteredNotifiee() && timer.vorLive() ) timer.onTime();
   }
}

bool TimerWheel::NotifieeConst::before( NotifieeConst const & other ) const {
   return timeMin_ != other.timeMin_ ? timeMin_ < other.timeMin_ : arming_ < other.arming_;
}

void TimerWheel::NotifieeConst::disarm() {
   // What is later than this timer is later than the one above it: the ring of trees takes its place.
   if ( !later_.empty() ) {
      later_.next->previous = previous;
      previous->next = later_.next;
      later_.previous->next = this;
      previous = later_.previous;
      later_.next = later_.previous = &later_;
   }
   unlink();
}

TimerWheel::NotifieeConst::~NotifieeConst() { disarm(); }

void TimerWheel::NotifieeConst::timeMinIs( double timeMin ) {
   VOR_ASSERT( !std::isnan( timeMin ) );
   disarm();
   timeMin_ = timeMin;
   if ( timeMin_ == never ) return;
   if ( auto const wheel = notifier() ) wheel->arm( *this );
}

void TimerWheel::NotifieeConst::notifierIs( Vor::Ptr<Vor::PtrInterface const> const & notifier ) {
   if ( notifier.ptr() == vorNotifier() ) return;
   disarm();
   NotifieeConstOf::notifierIs( notifier );
   timeMinIs( timeMin_ );
}

}   // namespace Jor
