// A clock that stands where a test puts it.
#pragma once

#include "framework/Clock.h"

class ManualClock final : public Vor::Clock {
 public:
   explicit ManualClock( double time = 0.0 ) : time( time ) {}
   double now() const override { return time; }

   double time;
};
