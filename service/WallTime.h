// The wall time in texts, such as the head of a recording.
#pragma once

#include <fmt/chrono.h>

#include <chrono>
#include <string>

namespace Host {

/// "2026-11-21T17:30:00.123Z"
inline std::string wallTime() {
   auto const now = std::chrono::system_clock::now();
   auto const ms = std::chrono::duration_cast<std::chrono::milliseconds>( now.time_since_epoch() ).count() % 1000;
   return fmt::format( "{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime( std::chrono::system_clock::to_time_t( now ) ), ms );
}

}   // namespace Host
