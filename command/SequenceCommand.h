// `clockpath sequence`: programming sequences in another form, and what sets two of them apart.
#pragma once

#include <string>

namespace Host {

struct SequenceOptions {
   std::string file;          ///< path
   bool list = false;         ///< the file is a list of registers and values
   bool textForm = false;     ///< print the text form of an Op in place of the short one
   bool readBack = false;     ///< add a read of what was written behind each write
   std::string compareWith;   ///< path of another sequence; empty: print this one
};

/// Gives the exit code: 1 when the two that are compared leave the registers different. Throws Input::InputError.
int sequence( SequenceOptions const & options );

}   // namespace Host
