// What the source files of module Max24305Sm share: the name and facility of its traces, its logged message, and its
// registration, which names the variants that the base machine does not know.
#pragma once

#include "framework/Log.h"
#include "framework/Trace.h"

namespace Vor {
class Module;
}

namespace Hardware::Max24305SmModule {

inline constexpr char vorSource[] = "Max24305Sm";

extern Vor::TraceHandle const traceHandle;

/// The chip could not be brought up.
Vor::LogHandle const & initFailed();

/// Registers this module's types and declares its logged message.
void registerTypes( Vor::Module & module );

}   // namespace Hardware::Max24305SmModule
