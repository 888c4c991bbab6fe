#include "framework/TimerWheel.h"

#include "framework/Assert.h"

#include <algorithm>
#include <cmath>

namespace Jor {

namespace {
constexpr double never = std::numeric_limits<double>::infinity();
}

void TimerWheel::Link::append( Link & link ) {
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
     preserveOrder_( preserveOrder ),
     defaultBucketSize_( defaultBucketSize ),
     buckets_( initialMaxTicks ),
     tick_( tick( clock->now() ) ) {}

TimerWheel::~TimerWheel() {
   // Timers hold their wheel; only one that joined another behind the back of notifierIs() is still here.
   for ( Link & bucket : buckets_ )
      while ( !bucket.empty() ) bucket.next->unlink();
   while ( !due_.empty() ) due_.next->unlink();
}

TimerWheel::NotifieeConst & TimerWheel::timerOf( Link & link ) { return static_cast<NotifieeConst &>( link ); }

U64 TimerWheel::tick( double time ) const {
   // Grows with the time, and that is all it has to: what is due lies in a tick not later than that of now.
   constexpr double most = 0x1p62;
   return static_cast<U64>( std::clamp( time * 1000.0 / tickMsecs_, 0.0, most ) );
}

void TimerWheel::arm( NotifieeConst & timer ) const {
   timer.arming_ = ++armings_;
   bucket( std::max( tick( timer.timeMin_ ), tick_ ) ).append( timer );
}

void TimerWheel::turn() {
   Vor::Ptr<TimerWheel> const held = this;
   collectDue( clock_->now() );
   while ( !due_.empty() ) {
      NotifieeConst & timer = timerOf( *due_.next );
      timer.unlink();
      timer.timeMin_ = never;
      if ( timer.isRegisteredNotifiee() && timer.vorLive() ) timer.onTime();
   }
}

void TimerWheel::collectDue( double now ) {
   std::vector<NotifieeConst *> found;
   U64 const nowTick = std::max( tick( now ), tick_ );
   U64 const lastTick = std::min( nowTick, tick_ + buckets_.size() - 1 );
   for ( U64 t = tick_; t <= lastTick; ++t ) {
      Link & ring = bucket( t );
      for ( Link * link = ring.next; link != &ring; link = link->next )
         if ( timerOf( *link ).timeMin_ <= now ) found.push_back( &timerOf( *link ) );
   }
   tick_ = nowTick;
   std::sort( found.begin(), found.end(), []( NotifieeConst const * a, NotifieeConst const * b ) {
      return a->timeMin_ != b->timeMin_ ? a->timeMin_ < b->timeMin_ : a->arming_ < b->arming_;
   } );
   for ( NotifieeConst * timer : found ) {
      timer->unlink();
      due_.append( *timer );
   }
}

double TimerWheel::nextTime() const {
   double next = never;
   auto const take = [&next]( Link const & ring ) {
      for ( Link * link = ring.next; link != &ring; link = link->next )
         next = std::min( next, timerOf( *link ).timeMin_ );
   };
   take( due_ );
   // From the present tick on, a time found in its own tick is earlier than all in the buckets that follow.
   for ( U64 t = tick_; t < tick_ + buckets_.size() && tick( next ) >= t; ++t ) take( bucket( t ) );
   return next;
}

TimerWheel::NotifieeConst::~NotifieeConst() { unlink(); }

void TimerWheel::NotifieeConst::timeMinIs( double timeMin ) {
   VOR_ASSERT( !std::isnan( timeMin ) );
   unlink();
   timeMin_ = timeMin;
   if ( timeMin_ == never ) return;
   if ( auto const wheel = notifier() ) wheel->arm( *this );
}

void TimerWheel::NotifieeConst::notifierIs( Vor::Ptr<Vor::PtrInterface const> const & notifier ) {
   if ( notifier.ptr() == vorNotifier() ) return;
   unlink();
   NotifieeConstOf::notifierIs( notifier );
   timeMinIs( timeMin_ );
}

}   // namespace Jor
