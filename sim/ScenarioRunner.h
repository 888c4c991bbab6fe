// Runs a scenario: the agent's loop in virtual time, with the scenario's events as they come due.
//
// Faults happen at their exact virtual time, also inside a sleep. Changes of entities are made by the loop when it has
// control at or after their time, in order, before the timers due then have their turn. Time passes only in sleeps and
// while the loop idles, up to the next timer, the next event or the scenario's end; a sleep begun before the end may
// go past it, and then nothing follows.
//
//    Sim::VirtualTime const virtualTime( clock );
//    Sim::ScenarioRunner runner( clock, events, targets, scenario );   // puts the faults on the agenda
//    ... the machines are created, which may run a whole bring-up ...
//    runner.run();
#pragma once

#include "sim/CardEvents.h"
#include "sim/Scenario.h"
#include "sim/VirtualClock.h"

#include <list>
#include <map>
#include <set>

namespace Sim {

class ScenarioRunner {
 public:
   /// Everything handed in outlives the runner, unchanged. Faults due now happen at once. Throws
   /// std::invalid_argument for an event of a chip, or of an entity, that the targets lack.
   ScenarioRunner(
      Vor::Ptr<VirtualClock> clock, CardEvents & events, ScenarioTargets targets, Scenario const & scenario );
   ScenarioRunner( ScenarioRunner const & ) = delete;
   ScenarioRunner & operator=( ScenarioRunner const & ) = delete;

   /// Runs to the scenario's end; without one, until nothing is left to happen. Throws std::runtime_error where
   /// something is due again at every turn, so that time cannot pass.
   void run();

 private:
   void apply( Action const & action );
   void applyDue();
   bool over() const { return clock_->nowNs() > untilNs_; }
   U64 nextEventNs() const;

   Vor::Ptr<VirtualClock> clock_;
   CardEvents & events_;
   ScenarioTargets targets_;
   U64 untilNs_;
   std::list<TimedEvent> faults_;
   std::multiset<U64> faultTimes_;                      // of those to come
   std::multimap<U64, Action const *> entityActions_;   // by time, those to come
};

}   // namespace Sim
