// What the source files of module Max24305Sm share: the name and facility of its traces, its logged message, and its
// registration.
#pragma once

#include "framework/Log.h"
#include "framework/Trace.h"

namespace Vor {
class Module;
}

namespace Hardware::Max24305SmModule {

inline constexpr char source[] = "Max24305Sm";

extern Vor::TraceHandle const traceHandle;

/// Tells the operator that a chip could not be brought up, when the message may be logged now.
void logInitFailed();

/// Registers this module's types.
void registerTypes( Vor::Module & module );

}   // namespace Hardware::Max24305SmModule
