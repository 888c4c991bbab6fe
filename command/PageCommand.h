// `clockpath page`: writes a recording as a page for a browser.
#pragma once

#include "command/WaveCommand.h"

namespace Host {

/// Gives the exit code. Throws Input::InputError.
int page( RecordingOptions const & options );

}   // namespace Host
