// The exit codes of the command.
#pragma once

namespace Host {

inline constexpr int exitReady = 0;   ///< all chips are ready; or what was asked for is done
inline constexpr int exitNotReady =
   1;   ///< a chip is not ready; the hardware did not do what was asked for; files differ, or are warned of
inline constexpr int exitWrongUse = 2;   ///< wrong words on the command line, or an error in a file

}   // namespace Host
