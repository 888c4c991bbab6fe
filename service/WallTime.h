// The wall time, in milliseconds since 1970, and in texts such as the head of a recording.
#pragma once

#include "framework/Types.h"

#include <fmt/chrono.h>

#include <chrono>
#include <string>

namespace Host {

inline U64 wallMs() {
   auto const now = std::chrono::system_clock::now().time_since_epoch();
   return static_cast<U64>( std::chrono::duration_cast<std::chrono::milliseconds>( now ).count() );
}

/// "2026-11-21T17:30:00.123Z"
inline std::string wallTime() {
   auto const now = std::chrono::system_clock::now();
   auto const ms = std::chrono::duration_cast<std::chrono::milliseconds>( now.time_since_epoch() ).count() % 1000;
   return fmt::format( "{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime( std::chrono::system_clock::to_time_t( now ) ), ms );
}

}   // namespace Host
