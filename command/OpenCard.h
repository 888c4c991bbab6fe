// The card that a command looks at. One that outlives the command, real or with its hardware in a process of its own,
// is looked at as it is, under its lock. Any other simulated one is brought up first, in virtual time, with the
// services around it in the starting state of an empty scenario; or with `--after` it is the card of a scenario as it
// stands at the end of that.
#pragma once

#include "card/CardLock.h"
#include "card/SimulatedWorld.h"
#include "registers/RegisterAccess.h"

#include <memory>
#include <optional>
#include <set>
#include <string>

namespace Host {

/// What the files say.
struct CardFiles {
   /// The paths of a card description, and of a scenario in its place, or empty. Throws Input::InputError.
   CardFiles( std::string const & cardPath, std::string const & after );
   Input::CardDescription card;
   Sim::Scenario scenario{};
};

/// Warns on standard error of a SIMULATION_VMID in the environment, with which the library does not ask the chips.
void simulationModeTell();

class OpenCard : private Sim::CardListener {
 public:
   /// `user`: the command. The files outlive it. Throws CardUnavailable.
   OpenCard( CardFiles const & files, std::string const & user );

   RegisterAccess & registers() { return *registers_; }

 private:
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;

   std::optional<CardLock> lock_;            // of a card that outlives the command
   std::unique_ptr<SimulatedWorld> world_;   // of another
   std::set<U32> unclaimed_;
   std::optional<RegisterAccess> registers_;
};

}   // namespace Host
