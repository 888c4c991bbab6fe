// `clockpath check`: what is wrong in files alone, before anything is brought up by them.
#pragma once

#include "input/CardDescription.h"

#include <string>

namespace Host {

struct CheckOptions {
   std::string file;      ///< path of a card description, a scenario or a sequence
   bool strict = false;   ///< warnings count for the exit code
   bool json = false;     ///< for programs
};

/// Gives the exit code: 2 for mistakes; 1 for warnings, when they count; else 0.
int check( CheckOptions const & options );

/// What other commands say, on standard error, of a card that they read from the file: how many warnings there are and
/// how they are shown. Unknown operations are named; where they are refused the first is an Input::InputError.
void warningsTell( Input::CardDescription const & card, std::string const & file, bool unknownRefused );

}   // namespace Host
