#include "platform/SimulationVmid.h"

#include <cstdlib>

namespace Hardware {

bool simulationVmid() { return std::getenv( "SIMULATION_VMID" ) != nullptr; }

}   // namespace Hardware
