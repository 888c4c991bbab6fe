#include "framework/ActivityManager.h"

#include <algorithm>
#include <limits>

namespace Vor {

namespace {
// There before any dynamic initialiser and after every destructor of the libraries and programs that use it.
constinit ActivityManager manager;
}   // namespace

ActivityManager & activityManager() { return manager; }

Ptr<Clock const> ActivityManagerConfig::clock() const {
   if ( !clock_ ) clock_ = new MonotonicClock;
   return clock_;
}

Activity::Activity() { manager.activities_.newMember( *this ); }

void ActivityManager::turn() {
   activities_.doVisit( []( NotifieeBase & member ) { static_cast<Activity &>( member ).turn(); } );
}

double ActivityManager::nextTime() {
   Ptr<Clock const> const clock = config_.clock();
   double next = std::numeric_limits<double>::infinity();
   activities_.doVisit( [&]( NotifieeBase & member ) {
      auto const & activity = static_cast<Activity &>( member );
      double time = activity.nextTime();
      if ( Ptr<Clock const> const other = activity.clock(); other != clock ) time += clock->now() - other->now();
      next = std::min( next, time );
   } );
   return next;
}

double ActivityManager::secondsLeft() { return std::max( 0.0, nextTime() - config_.clock()->now() ); }

}   // namespace Vor
