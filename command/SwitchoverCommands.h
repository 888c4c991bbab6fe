// The commands of two supervisors: who is active, and a demonstration of a switchover.
#pragma once

#include "framework/Types.h"

#include <optional>
#include <string>

namespace Host {

struct RoleOptions {
   std::string role;                     ///< "active" or "standby"
   std::string socket;                   ///< of the agent
   std::optional<U32> generation = {};   ///< of an active one, by whoever counts them
};

/// Tells an agent what it is from now on. Exit codes as service/Exit.h says.
int role( RoleOptions const & options );

struct SwitchoverDemoOptions {
   std::string card;        ///< a description with simulated hardware
   U32 detectionMs = 100;   ///< for how long a supervisor must be silent until the other one is told to take over
};

/// Two supervisors, each with a server of its own, on one simulated card: the active one is killed, and the other takes
/// over. Tells what happens when, and whether the clocks ran on.
int demoSwitchover( SwitchoverDemoOptions const & options );

}   // namespace Host
