// How much a file that people write may hold: far more than any card needs, and little enough that no file, whatever is
// in it, takes all of the memory or an hour. Each error says which limit it is.
//
//    for ( JsonValue const & value : events.list( Limits::events ) ) ...
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Input {

struct Limit {
   std::size_t most;
   std::string_view what;

   bool passedBy( std::size_t found ) const { return found > most; }
   /// "at most 200000 events", for messages.
   std::string text() const { return "at most " + std::to_string( most ) + " " + std::string( what ); }
};

namespace Limits {

inline constexpr Limit fileBytes{ std::size_t{ 64 } << 20, "bytes in a file" };
inline constexpr Limit unpackedBytes{ std::size_t{ 1 } << 30, "bytes of a recording in a bundle" };
inline constexpr Limit textBytes{ std::size_t{ 64 } << 10, "bytes in a text" };
inline constexpr Limit recordedTextBytes{ std::size_t{ 16 } << 20, "bytes in a text" };   // as long as a line may be
inline constexpr Limit nameBytes{ 4096, "bytes in a name" };
inline constexpr Limit nesting{ 32, "objects and lists within one another" };
inline constexpr Limit members{ 1'000'000, "members in a list" };
inline constexpr Limit outputs{ 4096, "outputs" };
inline constexpr Limit chips{ 1024, "chips" };
inline constexpr Limit operations{ 20'000, "operations" };
inline constexpr Limit events{ 200'000, "events" };
inline constexpr Limit faults{ 10'000, "faults" };
inline constexpr Limit stages{ 20'000, "stages" };

}   // namespace Limits

}   // namespace Input
