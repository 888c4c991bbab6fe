#include "platform/SimulationVmid.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace Hardware {
namespace {

TEST( SimulationVmid, PresenceCountsAndIsLookedUpEachTime ) {
   unsetenv( "SIMULATION_VMID" );
   EXPECT_FALSE( simulationVmid() );
   setenv( "SIMULATION_VMID", "", 1 );
   EXPECT_TRUE( simulationVmid() );
   setenv( "SIMULATION_VMID", "0", 1 );
   EXPECT_TRUE( simulationVmid() );
   unsetenv( "SIMULATION_VMID" );
   EXPECT_FALSE( simulationVmid() );
}

}   // namespace
}   // namespace Hardware
