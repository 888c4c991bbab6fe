// A recording as one document for programs: of each chip its attempts with their operations, lock polls, gates and
// states, and the lines that a Narrator tells. docs/command.md describes it.
//
//    Recording::Reader reader( "ptp.events" );
//    std::cout << Host::historyOf( reader ).dump();
#pragma once

#include "input/Json.h"
#include "recording/Reader.h"

#include <functional>

namespace Host {

/// Reads the log to its end; whoever else wants its events hears them.
Input::Json historyOf( Recording::Reader & reader, std::function<void( Recording::Event const & )> const & also = {} );

}   // namespace Host
