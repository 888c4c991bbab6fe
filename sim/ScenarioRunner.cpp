#include "sim/ScenarioRunner.h"

#include "framework/ActivityManager.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace Sim {

namespace {

constexpr U64 never = std::numeric_limits<U64>::max();

// Far more turns than any agent has work for at one time; beyond, the loop would never come to idle.
constexpr U32 turnsAtOneTimeMax = 100'000;

}   // namespace

ScenarioRunner::ScenarioRunner(
   Vor::Ptr<VirtualClock> clock, CardEvents & events, ScenarioTargets targets, Scenario const & scenario )
   : clock_( std::move( clock ) ),
     events_( events ),
     targets_( std::move( targets ) ),
     untilNs_( scenario.untilNs.value_or( never ) ) {
   for ( Event const & event : scenario.events ) {
      for ( Action const & action : event.actions ) {
         actionCheck( action, targets_ );
         if ( typeOf( action ).takes == ActionTakes::fault_ ) {
            auto const begin = [this, &action] {
               faultTimes_.erase( faultTimes_.begin() );   // they begin in the order of their times
               apply( action );
            };
            faults_.emplace_back( *clock_, begin ).atNsIs( event.atNs );
            faultTimes_.insert( event.atNs );
         } else
            entityActions_.emplace( event.atNs, &action );
      }
   }
   clock_->nowNsIs( clock_->nowNs() );
}

void ScenarioRunner::run() {
   U32 turnsAtOneTime = 0;
   for ( ;; ) {
      U64 const turnNs = clock_->nowNs();
      applyDue();
      if ( over() ) return;
      Vor::activityManager().turn();
      double const timer = Vor::activityManager().nextTime();
      U64 const next = std::min( nextEventNs(), VirtualClock::nsOf( timer ) );
      if ( next == never && untilNs_ == never ) return;
      if ( next > untilNs_ ) {
         clock_->nowNsIs( untilNs_ );
         return;
      }
      clock_->nowNsIs( next );
      if ( VirtualClock::nsOf( timer ) <= next ) clock_->nowIs( timer );
      turnsAtOneTime = clock_->nowNs() == turnNs ? turnsAtOneTime + 1 : 0;
      if ( turnsAtOneTime > turnsAtOneTimeMax )
         throw std::runtime_error(
            "time stands still at " + std::to_string( turnNs ) + " ns: something is due again at every turn" );
   }
}

void ScenarioRunner::apply( Action const & action ) {
   events_.tell( &CardListener::onScenario, actionText( action ) );
   actionApply( action, targets_ );
}

void ScenarioRunner::applyDue() {
   while ( !over() && !entityActions_.empty() && entityActions_.begin()->first <= clock_->nowNs() ) {
      Action const & action = *entityActions_.begin()->second;
      entityActions_.erase( entityActions_.begin() );
      apply( action );
   }
}

U64 ScenarioRunner::nextEventNs() const {
   U64 const entity = entityActions_.empty() ? never : entityActions_.begin()->first;
   return faultTimes_.empty() ? entity : std::min( entity, *faultTimes_.begin() );
}

}   // namespace Sim
