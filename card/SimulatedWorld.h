// A card that is only simulated, in virtual time, with its machines and the services around it: what `simulate` runs,
// and what peek, poke and dump look at where a description has no real card.
//
// It is a Host::VirtualWorld, of which one at a time may live, with simulated hardware.
//
//    Host::SimulatedWorld world( card, scenario );
//    world.events().listenerAdd( log );
//    world.run();
#pragma once

#include "card/VirtualWorld.h"
#include "sim/SimulatedCard.h"

namespace Host {

class SimulatedWorld {
 public:
   /// The services are in the scenario's starting state, the configurations complete, no machine is made yet. Throws
   /// Input::InputError for a chip whose input no machine serves.
   SimulatedWorld( Input::CardDescription description, Sim::Scenario scenario );
   SimulatedWorld( SimulatedWorld const & ) = delete;
   SimulatedWorld & operator=( SimulatedWorld const & ) = delete;

   /// Makes the machines and runs to the scenario's end, once.
   void run();

   Sim::CardEvents & events() { return world_.events(); }
   Card const & card() const { return world_.card(); }
   U64 nowNs() const { return clock_->nowNs(); }

 private:
   Sim::Scenario const scenario_;
   Vor::Ptr<Sim::VirtualClock> const clock_ = new Sim::VirtualClock;
   Sim::SimulatedCard simulatedCard_;
   VirtualWorld world_;
};

}   // namespace Host
