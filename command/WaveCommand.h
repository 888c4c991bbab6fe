// `clockpath wave`: writes a recording as a waveform.
#pragma once

#include <string>

namespace Host {

/// Of those commands that make another file of a recording.
struct RecordingOptions {
   std::string file;   ///< path of the recording, or of a bundle
   std::string out;    ///< path of what is written; empty for that of the recording, with another ending
};

/// The path of what is written. Throws Input::InputError where that is the recording itself.
std::string outOf( RecordingOptions const & options, std::string const & ending );

/// Gives the exit code. Throws Input::InputError.
int wave( RecordingOptions const & options );

}   // namespace Host
