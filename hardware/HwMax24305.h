// The MAX24305 value types, configuration and status entities, in one include, and their registration.
#pragma once

#include "hardware/Max24305ConfigDir.h"
#include "hardware/Max24305StatusDir.h"

namespace Vor {
class Module;
}

namespace Hardware::Max24305 {

/// Registers this module's types.
void registerHwMax24305( Vor::Module & module );

}   // namespace Hardware::Max24305
