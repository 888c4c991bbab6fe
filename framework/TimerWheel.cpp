#include "framework/TimerWheel.h"

#include "framework/Assert.h"

#include <algorithm>
#include <bit>
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
     occupied_( buckets_.size() / 64 + 1 ),
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

/// The first tick from `from` on whose bucket holds timers; `end` when there is none before it.
U64 TimerWheel::occupiedTick( U64 from, U64 end ) const {
   for ( U64 t = from; t < end; ) {
      std::size_t const index = t % buckets_.size();
      U64 & word = occupied_[index / 64];
      U64 const bits = word >> index % 64;
      if ( bits == 0 ) {
         t += std::min( 64 - index % 64, buckets_.size() - index );
         continue;
      }
      int const skipped = std::countr_zero( bits );
      t += static_cast<U64>( skipped );
      if ( t >= end ) break;
      if ( !bucket( t ).empty() ) return t;
      word &= ~( U64( 1 ) << ( index % 64 + static_cast<std::size_t>( skipped ) ) );
   }
   return end;
}

void TimerWheel::arm( NotifieeConst & timer ) const {
   timer.arming_ = ++armings_;
   U64 const t = std::max( tick( timer.timeMin_ ), tick_ );
   bucket( t ).append( timer );
   std::size_t const index = t % buckets_.size();
   occupied_[index / 64] |= U64( 1 ) << index % 64;
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
   U64 const end = std::min( nowTick + 1, tick_ + buckets_.size() );
   for ( U64 t = occupiedTick( tick_, end ); t < end; t = occupiedTick( t + 1, end ) ) {
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
   // The bucket of the present tick also has the times before it; from there on, a time found in its own tick is
   // earlier than all in the buckets that follow.
   U64 const end = tick_ + buckets_.size();
   for ( U64 t = occupiedTick( tick_, end ); t < end; t = occupiedTick( t + 1, end ) ) {
      if ( t > std::max( tick( next ), tick_ ) ) break;
      take( bucket( t ) );
   }
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
