// The commands on files that people write: `clockpath check` tells what is wrong in them before anything is brought up
// by them, `clockpath sequence` prints a programming sequence in another form, or what sets two of them apart.
#pragma once

#include "input/CardDescription.h"

#include <string>

namespace Host {

struct FileOptions {
   std::string file;          ///< path of a card description, a scenario or a sequence
   bool strict = false;       ///< warnings count for the exit code
   bool json = false;         ///< for programs
   bool list = false;         ///< the file is a list of registers and values
   bool textForm = false;     ///< print the text form of an Op in place of the short one
   bool readBack = false;     ///< add a read of what was written behind each write
   std::string compareWith;   ///< path of another sequence; empty: print this one
};

/// Gives the exit code: 2 for mistakes; 1 for warnings, when they count; else 0.
int check( FileOptions const & options );

/// Gives the exit code: 1 when the two that are compared leave the registers different. Throws Input::InputError.
int sequence( FileOptions const & options );

/// What other commands say, on standard error, of a card that they read from the file: how many warnings there are and
/// how they are shown. Unknown operations are named; where they are refused the first is an Input::InputError.
void warningsTell( Input::CardDescription const & card, std::string const & file, bool unknownRefused );

}   // namespace Host
