// `clockpath replay`: runs the library again by a recording, and tells what differs first.
#pragma once

#include <optional>
#include <string>

namespace Host {

struct ReplayOptions {
   std::string file;                    ///< path of the recording, or of a bundle
   std::optional<std::string> events;   ///< where the event log of the replay goes; "-": standard output
};

/// Gives the exit code: 0 when the library does what is recorded, else 1. Throws Input::InputError.
int replay( ReplayOptions const & options );

}   // namespace Host
