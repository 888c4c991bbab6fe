// The command `clockpath hardware`: the simulated hardware of a card in real time, in a process of its own, for agents
// and commands that come and go.
#pragma once

#include <optional>
#include <string>

namespace Host {

struct HardwareOptions {
   std::string file;                         ///< path of a card description, or of a scenario
   std::optional<std::string> events = {};   ///< the file of the event log
};

/// Until SIGINT or SIGTERM. Gives the exit code. Throws Input::InputError and CardUnavailable.
int hardware( HardwareOptions const & options );

}   // namespace Host
