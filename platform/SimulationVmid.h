// Whether the drivers run without a card: the environment variable "SIMULATION_VMID" is present.
#pragma once

namespace Hardware {

/// Looked up at every call; only the presence counts, an empty value too.
bool simulationVmid();

}   // namespace Hardware
