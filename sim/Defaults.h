// What a simulated card does unless it is told otherwise.
#pragma once

#include "framework/Types.h"

namespace Sim {

inline constexpr U64 defaultSpiClockInHz = 10'000'000;
/// From the last register write to the lock of the APLLs.
inline constexpr U64 defaultLockAfterNs = 2'500'000'000;
/// Register 7 of a MAX24305 that has locked: both APLLs.
inline constexpr U8 defaultApllStatus = 0x11;

}   // namespace Sim
