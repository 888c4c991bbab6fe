// How late the kernel may end the sleeps of a thread, so that it can end several at once: 50 µs unless a thread is told
// otherwise, which is many times the 1 µs that a driver waits between two looks at its SPI master. The library leaves
// this to its host; the agent takes the slack from its own thread.
//
//    TimerSlack const slack( 1 );   // as long as it lives, this thread's sleeps end on time
#pragma once

#include "framework/Types.h"

#include <sys/prctl.h>

namespace Host {

class TimerSlack {
 public:
   /// Of the calling thread, in nanoseconds; 0 leaves it as it is. Goes on that thread, too, and puts back what was.
   explicit TimerSlack( U32 ns ) : outer_( ::prctl( PR_GET_TIMERSLACK ) ) {
      if ( ns > 0 ) ::prctl( PR_SET_TIMERSLACK, static_cast<unsigned long>( ns ) );
   }
   TimerSlack( TimerSlack const & ) = delete;
   TimerSlack & operator=( TimerSlack const & ) = delete;
   ~TimerSlack() { ::prctl( PR_SET_TIMERSLACK, static_cast<unsigned long>( outer_ ) ); }

 private:
   int const outer_;
};

}   // namespace Host
