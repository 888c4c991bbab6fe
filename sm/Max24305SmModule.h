// What the source files of module Max24305Sm share: the name and facility of its traces.
#pragma once

#include "framework/Trace.h"

namespace Hardware::Max24305SmModule {

inline constexpr char vorSource[] = "Max24305Sm";

extern Vor::TraceHandle const traceHandle;

}   // namespace Hardware::Max24305SmModule
