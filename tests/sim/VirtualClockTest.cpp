#include "sim/VirtualClock.h"

#include "util/Utils.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <time.h>
#include <vector>

namespace Sim::VirtualClockTests {
namespace {

constexpr U64 lastNs = std::numeric_limits<U64>::max();

struct SleepNotes final {
   explicit SleepNotes( VirtualClock & clock ) : clock( clock ) {
      clock.sleepObserverIs( [this]( U64 forNs ) { notes.emplace_back( this->clock.nowNs(), forNs ); } );
   }
   ~SleepNotes() { clock.sleepObserverIs( nullptr ); }

   VirtualClock & clock;
   std::vector<std::pair<U64, U64>> notes;   // when it began, for how long
};

using Notes = std::vector<std::pair<int, U64>>;

struct Noting final : TimedEvent {
   Noting( VirtualClock & clock, Notes & notes, int id )
      : TimedEvent( clock, [&clock, &notes, id] { notes.emplace_back( id, clock.nowNs() ); } ) {}
};

class VirtualClockTest : public testing::Test {
 protected:
   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
};

TEST_F( VirtualClockTest, BeginsAtZeroAndMovesOnlyForwards ) {
   EXPECT_EQ( clock->nowNs(), 0u );
   clock->nowNsIs( 1'500'000'000 );
   EXPECT_EQ( clock->nowNs(), 1'500'000'000u );
   EXPECT_EQ( clock->now(), 1.5 );
   clock->nowNsIs( 7 );
   EXPECT_EQ( clock->nowNs(), 1'500'000'000u );
}

TEST_F( VirtualClockTest, TimedEventsComeAtTheirTimeAndEqualTimesInTheOrderPutDown ) {
   Notes notes;
   Noting a( *clock, notes, 1 ), b( *clock, notes, 2 ), c( *clock, notes, 3 ), d( *clock, notes, 4 );
   a.atNsIs( 30 );
   b.atNsIs( 10 );
   c.atNsIs( 30 );
   d.atNsIs( 31 );
   EXPECT_EQ( b.atNs(), 10u );
   clock->nowNsIs( 30 );
   EXPECT_EQ( notes, ( Notes{ { 2, 10 }, { 1, 30 }, { 3, 30 } } ) );
   EXPECT_TRUE( d.pending() );
   EXPECT_FALSE( a.pending() );
}

TEST_F( VirtualClockTest, APassedTimeMeansTheNextMove ) {
   Notes notes;
   clock->nowNsIs( 100 );
   Noting late( *clock, notes, 1 );
   late.atNsIs( 40 );
   EXPECT_TRUE( notes.empty() );
   clock->nowNsIs( 100 );
   EXPECT_EQ( notes, ( Notes{ { 1, 100 } } ) );
}

TEST_F( VirtualClockTest, TimedEventsCanBeMovedCancelledAndDestroyed ) {
   Notes notes;
   Noting moved( *clock, notes, 1 ), cancelled( *clock, notes, 2 );
   auto destroyed = std::make_unique<Noting>( *clock, notes, 3 );
   moved.atNsIs( 10 );
   cancelled.atNsIs( 10 );
   destroyed->atNsIs( 10 );
   moved.atNsIs( 20 );
   cancelled.cancel();
   destroyed.reset();
   EXPECT_EQ( moved.atNs(), 20u );
   EXPECT_FALSE( cancelled.pending() );
   clock->nowNsIs( 15 );
   EXPECT_TRUE( notes.empty() );
   clock->nowNsIs( 25 );
   EXPECT_EQ( notes, ( Notes{ { 1, 20 } } ) );
   EXPECT_EQ( moved.atNs(), std::nullopt );
}

class Ticker {
 public:
   explicit Ticker( VirtualClock & clock ) : clock_( clock ), next_( clock, [this] { tick(); } ) { next_.inNsIs( 10 ); }
   std::vector<U64> ticks;

 private:
   void tick() {
      ticks.push_back( clock_.nowNs() );
      next_.inNsIs( 10 );
   }

   VirtualClock & clock_;
   TimedEvent next_;
};

TEST_F( VirtualClockTest, ATimedEventPutDownByAnotherComesInTheSameMove ) {
   Ticker ticker( *clock );
   clock->nowNsIs( 35 );
   EXPECT_EQ( ticker.ticks, ( std::vector<U64>{ 10, 20, 30 } ) );
}

TEST_F( VirtualClockTest, ATimedEventMayDestroyItself ) {
   struct Once {
      explicit Once( VirtualClock & clock, std::unique_ptr<Once> & self, U64 & endedNs )
         : event( clock, [&clock, &self, &endedNs, text = std::string( 100, 'x' )] {
              self.reset();
              endedNs = clock.nowNs() + text.size();
           } ) {}
      TimedEvent event;
   };
   U64 endedNs = 0;
   std::unique_ptr<Once> once;
   once = std::make_unique<Once>( *clock, once, endedNs );
   once->event.atNsIs( 10 );
   clock->nowNsIs( 10 );
   EXPECT_FALSE( once );
   EXPECT_EQ( endedNs, 110u );
}

TEST_F( VirtualClockTest, ASleepIsReportedAsItBeginsAndTimedEventsRunInsideIt ) {
   SleepNotes sleeps( *clock );
   Ticker ticker( *clock );
   clock->sleep( 5 );
   clock->sleep( 20 );
   EXPECT_EQ( sleeps.notes, ( std::vector<std::pair<U64, U64>>{ { 0, 5 }, { 5, 20 } } ) );
   EXPECT_EQ( ticker.ticks, ( std::vector<U64>{ 10, 20 } ) );
   EXPECT_EQ( clock->nowNs(), 25u );
}

TEST_F( VirtualClockTest, TimeEndsAtItsLastNanosecond ) {
   clock->nowNsIs( 10 );
   clock->sleep( lastNs );
   EXPECT_EQ( clock->nowNs(), lastNs );
}

TEST_F( VirtualClockTest, ATimeInSecondsMeansItsNearestNanosecond ) {
   EXPECT_EQ( VirtualClock::nsOf( 0.0 ), 0u );
   EXPECT_EQ( VirtualClock::nsOf( -1.0 ), 0u );
   EXPECT_EQ( VirtualClock::nsOf( 1.5 ), 1'500'000'000u );
   EXPECT_EQ( VirtualClock::nsOf( 0.0000000014 ), 1u );
   EXPECT_EQ( VirtualClock::nsOf( std::numeric_limits<double>::infinity() ), lastNs );
   EXPECT_EQ( VirtualClock::nsOf( std::nan( "" ) ), 0u );
   EXPECT_EQ( VirtualClock::nsOf( 1e300 ), lastNs );
}

// A timer set for now() + period must have expired when the clock has reached it, or the loop would idle for ever in
// front of it; and it must not come a nanosecond late, or a periodic one would drift.
TEST_F( VirtualClockTest, APeriodIsReachedAtItsNanosecond ) {
   for ( U64 ns = 1; ns < 400'000'000'000; ns = ns * 5 / 3 + 7 ) {
      Vor::Ptr<VirtualClock> const fresh = new VirtualClock;
      fresh->nowNsIs( ns );
      double const timer = fresh->now() + 1.0;
      fresh->nowIs( timer );
      EXPECT_EQ( fresh->nowNs(), ns + 1'000'000'000 );
      EXPECT_GE( fresh->now(), timer );
      double const before = fresh->now();
      fresh->nowIs( 0.5 );
      EXPECT_EQ( fresh->now(), before );
      fresh->nowNsIs( ns + 1'000'000'001 );
      EXPECT_GT( fresh->now(), before );
   }
}

TEST_F( VirtualClockTest, NsleepOfTheLibraryReachesTheVirtualClock ) {
   SleepNotes sleeps( *clock );
   VirtualTime const virtualTime( clock );
   Hardware::nsleep( 4'100'000'000 );
   EXPECT_EQ( clock->nowNs(), 4'100'000'000u );
   EXPECT_EQ( sleeps.notes, ( std::vector<std::pair<U64, U64>>{ { 0, 4'100'000'000 } } ) );
}

TEST_F( VirtualClockTest, NanosleepKeepsItsRules ) {
   VirtualTime const virtualTime( clock );
   SleepNotes sleeps( *clock );
   timespec remainder{ 12, 34 };
   for ( timespec const wrong : { timespec{ 0, 1'000'000'000 }, timespec{ 0, -1 }, timespec{ -1, 0 } } ) {
      errno = 0;
      EXPECT_EQ( nanosleep( &wrong, &remainder ), -1 );
      EXPECT_EQ( errno, EINVAL );
   }
   EXPECT_TRUE( sleeps.notes.empty() );

   timespec const right{ 2, 999'999'999 };
   errno = 0;
   EXPECT_EQ( nanosleep( &right, &remainder ), 0 );
   EXPECT_EQ( nanosleep( &right, nullptr ), 0 );
   EXPECT_EQ( errno, 0 );
   EXPECT_EQ( remainder.tv_sec, 12 );
   EXPECT_EQ( remainder.tv_nsec, 34 );
   EXPECT_EQ( clock->nowNs(), 5'999'999'998u );

   timespec const none{ 0, 0 };
   EXPECT_EQ( nanosleep( &none, nullptr ), 0 );
   EXPECT_EQ( sleeps.notes.back(), ( std::pair<U64, U64>{ 5'999'999'998, 0 } ) );

   timespec const forEver{ std::numeric_limits<time_t>::max(), 0 };
   EXPECT_EQ( nanosleep( &forEver, nullptr ), 0 );
   EXPECT_EQ( clock->nowNs(), lastNs );
}

TEST_F( VirtualClockTest, WithoutVirtualTimeNanosleepIsTheSystems ) {
   timespec const wrong{ 0, 1'000'000'000 };
   errno = 0;
   EXPECT_EQ( nanosleep( &wrong, nullptr ), -1 );
   EXPECT_EQ( errno, EINVAL );

   timespec const millisecond{ 0, 1'000'000 };
   auto const before = std::chrono::steady_clock::now();
   EXPECT_EQ( nanosleep( &millisecond, nullptr ), 0 );
   EXPECT_GE( std::chrono::steady_clock::now() - before, std::chrono::milliseconds( 1 ) );
   EXPECT_EQ( clock->nowNs(), 0u );
}

TEST_F( VirtualClockTest, VirtualTimeHoldsForItsThreadAndItsScope ) {
   Vor::Ptr<VirtualClock> const inner = new VirtualClock;
   timespec const microsecond{ 0, 1'000 };
   {
      VirtualTime const outerTime( clock );
      {
         VirtualTime const innerTime( inner );
         nanosleep( &microsecond, nullptr );
      }
      nanosleep( &microsecond, nullptr );
      nanosleep( &microsecond, nullptr );
      std::thread( [&] { nanosleep( &microsecond, nullptr ); } ).join();
   }
   nanosleep( &microsecond, nullptr );
   EXPECT_EQ( inner->nowNs(), 1'000u );
   EXPECT_EQ( clock->nowNs(), 2'000u );
}

}   // namespace
}   // namespace Sim::VirtualClockTests
