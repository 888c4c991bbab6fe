// `clockpath explain`: the cause that a recording names.
#pragma once

#include <string>

namespace Host {

struct ExplainOptions {
   std::string file;      ///< path of the recording
   bool json = false;     ///< for programs
   bool strict = false;   ///< a warning counts as a cause
};

/// Gives the exit code: 1 where a cause stands. Throws Input::InputError.
int explain( ExplainOptions const & options );

}   // namespace Host
