// Runs the library again by a recording, in virtual time: its card answers each read as the recorded one did, what the
// machines look at changes at the places where it did, and all that the library tells is compared with the recording,
// line by line. A fault that was seen once on a board is a test from then on:
//
//    std::ostringstream events;
//    Recording::Replayed const replayed = Recording::replay( "ptp.events", events );
//    EXPECT_FALSE( replayed.difference ) << replayed.difference->now;
//
// Accesses that no machine made are passed over, and so are the SPI transactions, which nobody but the simulated card
// sees. The recording of a simulation gives the same times, too. In that of a real card the clock follows the recorded
// times, and they are not compared.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>

namespace Recording {

/// Where the library does first what the recording does not say.
struct Difference {
   std::size_t line = 0;   ///< of the recording, from 1
   std::string recorded;   ///< that line; empty where the recording has ended
   std::string now;        ///< the line that the library gives; empty where it does nothing more
   std::string during;     ///< the step that came next in the recording: "operation 27 of ptp0 (ptp0.ops:35)"; or empty
};

struct Replayed {
   std::size_t lines = 0;   ///< of the recording, as far as it is alike
   std::optional<Difference> difference;
   std::string cutOff;   ///< where and why the recording ends before its bring-up does; empty for a whole one
};

/// Replays a recording, and writes the event log of the replay as far as it is alike: for a simulation's the same
/// bytes. An assertion that the recording ends with ends the process again. No Host::VirtualWorld lives meanwhile, and
/// the traces are on or off as they were for the recording. Throws Input::InputError for a recording that cannot be
/// read, or has no card.
Replayed replay( std::string const & path, std::ostream & events );

/// Whether a recording has traces; those that belong to a program have them all on or all off.
bool hasTraces( std::string const & path );

}   // namespace Recording
