// `clockpath journal`: tells what an event log has, for people or for programs.
#pragma once

#include <string>

namespace Host {

struct JournalOptions {
   std::string file;          ///< path of the event log
   bool operations = false;   ///< each operation of each attempt has a line
   bool json = false;         ///< for programs
};

/// Gives the exit code. Throws Input::InputError.
int journal( JournalOptions const & options );

}   // namespace Host
