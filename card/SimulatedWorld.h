// A card that is only simulated, in virtual time, with its machines and the services around it: what `simulate` runs,
// and what peek, poke and dump look at where a description has no real card.
//
// While one lives, this thread's sleeps are virtual, the activity manager runs on the virtual clock, and the presence
// of SIMULATION_VMID is as the scenario says. One at a time may live.
//
//    Host::SimulatedWorld world( card, scenario );
//    world.events().listenerAdd( log );
//    world.run();
#pragma once

#include "card/Card.h"
#include "card/Machines.h"
#include "sim/CardEvents.h"
#include "sim/Scenario.h"
#include "sim/SimulatedCard.h"
#include "sim/VirtualClock.h"

#include <optional>
#include <string>

namespace Host {

class SimulatedWorld {
 public:
   /// The services are in the scenario's starting state, the configurations complete, no machine is made yet.
   SimulatedWorld( Input::CardDescription description, Sim::Scenario scenario );
   ~SimulatedWorld();
   SimulatedWorld( SimulatedWorld const & ) = delete;
   SimulatedWorld & operator=( SimulatedWorld const & ) = delete;

   /// Makes the machines and runs to the scenario's end, once.
   void run();

   Sim::CardEvents & events() { return events_; }
   Card const & card() const { return card_; }
   U64 nowNs() const { return clock_->nowNs(); }

 private:
   // Makes the presence of SIMULATION_VMID what the scenario says, and puts it back afterwards.
   class VmidPresence {
    public:
      explicit VmidPresence( bool present );
      ~VmidPresence();
      VmidPresence( VmidPresence const & ) = delete;
      VmidPresence & operator=( VmidPresence const & ) = delete;

    private:
      std::optional<std::string> outer_;
   };

   Sim::ScenarioTargets targets();

   Sim::Scenario const scenario_;
   VmidPresence const vmid_;
   Vor::Ptr<Sim::VirtualClock> const clock_;
   Sim::VirtualTime const virtualTime_;
   Sim::SimulatedCard simulatedCard_;
   Sim::CardEvents events_;
   Card card_;
   std::optional<Machines> machines_;
};

}   // namespace Host
