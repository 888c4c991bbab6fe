// Clocks: where the time of timers, traces and log limits comes from.
//
// The agent's clock is that of the activity manager's configuration (framework/ActivityManager.h): a MonotonicClock,
// unless the host hands in another, such as one of virtual time.
#pragma once

#include "framework/PtrInterface.h"

#include <ctime>

namespace Vor {

class Clock : public PtrInterface {
 public:
   /// Seconds since an origin of the clock's own; never less than an earlier answer.
   virtual double now() const = 0;
};

/// The operating system's clock that no one sets (CLOCK_MONOTONIC).
class MonotonicClock final : public Clock {
 public:
   double now() const override {
      timespec time{};
      clock_gettime( CLOCK_MONOTONIC, &time );
      return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) * 1e-9;
   }
};

}   // namespace Vor
