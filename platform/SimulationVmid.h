// Whether the drivers run without a card: the environment variable "SIMULATION_VMID" is present.
#pragma once

#include <cstdlib>

namespace Hardware {

/// Looked up at every call; only the presence counts, an empty value too.
inline bool simulationVmid() { return std::getenv( "SIMULATION_VMID" ) != nullptr; }

}   // namespace Hardware
