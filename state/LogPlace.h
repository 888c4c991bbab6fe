// A place of a state log, taken apart: see state/OpenLog.h for its forms.
#pragma once

#include <string>

namespace State {

struct LogPlace {
   std::string file;   ///< of an SQLite file; empty for a Redis server

   std::string user;   ///< empty where the server has one password for all, or none
   std::string password;
   std::string socket;   ///< empty where it is reached by host and port
   std::string host;
   int port = 0;
   std::string prefix;   ///< of its keys

   bool isFile() const { return !file.empty(); }
};

/// Throws Input::InputError.
LogPlace logPlace( std::string const & where );

}   // namespace State
