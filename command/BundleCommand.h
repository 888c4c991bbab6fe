// `clockpath bundle`: packs a recording, and what belongs to it, into one archive.
#pragma once

#include "command/WaveCommand.h"

namespace Host {

/// Gives the exit code. `file` may be a bundle, which is packed anew. Throws Input::InputError.
int bundle( RecordingOptions const & options );

}   // namespace Host
