// The Tolvane's enumerations, configuration and status entities, in one include, and their registration.
#pragma once

#include "hardware/TolvaneConfigDir.h"
#include "hardware/TolvaneStatusDir.h"

namespace Vor {
class Module;
}

namespace Hardware::Tolvane {

/// Registers this module's types.
void registerHwTolvane( Vor::Module & module );

}   // namespace Hardware::Tolvane
