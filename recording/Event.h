// What an event log tells, as values: the first line, and the inputs of the machines. docs/event-log.md shows the lines.
#pragma once

#include "framework/Types.h"
#include "input/CardDescription.h"

#include <string>
#include <vector>

namespace Recording {

/// The version of the format that is written, and the latest that can be read.
inline constexpr U32 formatVersion = 1;

/// Something outside the chips that their machines look at, named as scenarios name it (docs/scenario.md), and how it
/// stands now.
struct InputChange {
   std::string what;   ///< "gpoHam"
   std::string of;     ///< of which chip or stage; empty where there is but one
   U32 value = 0;      ///< the number, or 1 or 0 of a flag

   friend bool operator==( InputChange const &, InputChange const & ) = default;
};

/// The first line: all that a reader needs beside the events.
struct Header {
   U32 version = formatVersion;
   std::string program;   ///< the version of the program that wrote it
   std::string began;     ///< wall time, "2026-11-21T17:30:00.123Z"; empty in virtual time
   Input::CardDescription card;
   std::vector<InputChange> start;   ///< as a scenario's `start`, complete
};

}   // namespace Recording
