// What the source files of module Max24305Sm share: the name and facility of its traces, and its registration.
#pragma once

#include "framework/Trace.h"

namespace Vor {
class Module;
}

namespace Hardware::Max24305SmModule {

inline constexpr char source[] = "Max24305Sm";

extern Vor::TraceHandle const traceHandle;

/// Registers this module's types and declares its logged message.
void registerTypes( Vor::Module & module );

// The variants' part in it: the base machine knows of them no more than this.
void registerWithTolvaneInput( Vor::Module & module );
void registerWithStuffedClockInput( Vor::Module & module );

}   // namespace Hardware::Max24305SmModule
