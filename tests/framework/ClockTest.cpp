#include "framework/Clock.h"

#include "tests/framework/ManualClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <type_traits>

namespace Vor {
namespace {

static_assert( std::is_abstract_v<Clock> );

double systemSeconds() {
   timespec time{};
   clock_gettime( CLOCK_MONOTONIC, &time );
   return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) / 1e9;
}

TEST( MonotonicClockTest, ReadsTheSystemsMonotonicClockInSeconds ) {
   Ptr<Clock const> const clock = new MonotonicClock;
   double const before = systemSeconds();
   double const now = clock->now();
   double const after = systemSeconds();
   // A rounding of the last digit may differ between two ways of adding up seconds and nanoseconds.
   EXPECT_GE( now, std::nextafter( before, 0.0 ) );
   EXPECT_LE( now, std::nextafter( after, after + 1.0 ) );
}

TEST( MonotonicClockTest, NeverGoesBack ) {
   Ptr<Clock const> const clock = new MonotonicClock;
   double last = clock->now();
   for ( int i = 0; i < 10'000; ++i ) {
      double const now = clock->now();
      ASSERT_GE( now, last );
      last = now;
   }
}

TEST( MonotonicClockTest, AllHaveOneOrigin ) {
   Ptr<Clock const> const one = new MonotonicClock;
   Ptr<Clock const> const other = new MonotonicClock;
   double const first = one->now();
   double const second = other->now();
   double const third = one->now();
   EXPECT_LE( first, second );
   EXPECT_LE( second, third );
}

}   // namespace
}   // namespace Vor
