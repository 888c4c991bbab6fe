#include "framework/Clock.h"

#include "framework/Assert.h"

#include <ctime>

namespace Vor {

static constexpr char vorSource[] = "Clock";

double MonotonicClock::now() const {
   timespec time{};
   VOR_ASSERT( clock_gettime( CLOCK_MONOTONIC, &time ) == 0 );
   return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) * 1e-9;
}

}   // namespace Vor
