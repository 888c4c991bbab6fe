// One card in virtual time, with its machines and the services around it; how its registers answer is the maker's
// business. card/SimulatedWorld.h gives it simulated hardware, recording/Replay.h the answers of a recorded card.
//
// While one lives, this thread's sleeps are virtual, the activity manager runs on the virtual clock, and the presence
// of SIMULATION_VMID is as the start says. One at a time may live.
//
//    Host::VirtualWorld world( clock, description, start, [&]( Sim::CardEvents & events ) { return ham; } );
//    while ( world.machines().makeNext() ) {
//    }
#pragma once

#include "card/Card.h"
#include "card/Machines.h"
#include "sim/CardEvents.h"
#include "sim/Scenario.h"
#include "sim/VirtualClock.h"

#include <functional>
#include <optional>
#include <set>
#include <string>

namespace Host {

class VirtualWorld {
 public:
   /// Makes the access handle, which tells the events of each access.
   using MakeHam = std::function<Vor::Ptr<Fru::HamImpl>( Sim::CardEvents & )>;

   /// The hardware is present, the services are in the starting state, the configurations complete; no machine is made
   /// yet. What is told and changed of simulated hardware is that of `hardware`, which outlives the world. Throws
   /// Input::InputError for a chip whose input no machine serves. The chips that are `adopted` run already.
   VirtualWorld(
      Vor::Ptr<Sim::VirtualClock> const & clock, Input::CardDescription description, Sim::StartState const & start,
      MakeHam const & makeHam, Sim::SimulatedCard * hardware = nullptr, std::set<std::string> const & adopted = {} );
   VirtualWorld( VirtualWorld const & ) = delete;
   VirtualWorld & operator=( VirtualWorld const & ) = delete;

   Sim::CardEvents & events() { return events_; }
   Card const & card() const { return card_; }
   Machines & machines() { return machines_; }
   /// What a scenario's actions change.
   Sim::ScenarioTargets targets() const;

 private:
   // Makes the presence of SIMULATION_VMID what the start says, and puts it back afterwards.
   class VmidPresence {
    public:
      explicit VmidPresence( bool present );
      ~VmidPresence();
      VmidPresence( VmidPresence const & ) = delete;
      VmidPresence & operator=( VmidPresence const & ) = delete;

    private:
      std::optional<std::string> outer_;
   };

   VmidPresence const vmid_;
   Sim::VirtualTime const virtualTime_;
   Sim::CardEvents events_;
   Sim::SimulatedCard * const hardware_;
   Card card_;
   Machines machines_;
};

}   // namespace Host
