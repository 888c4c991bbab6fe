// The blocking sleep of the drivers: every wait for the hardware goes through it.
#pragma once

#include <cstdint>

namespace Hardware {

/// Sleeps the calling thread for `nanoseconds`, through the operating system's nanosleep. A sleep that reports failure,
/// for whatever reason, is repeated with the time that was left.
void nsleep( std::uint32_t nanoseconds );

}   // namespace Hardware
