// The wording of what the command tells people about chips and times.
#pragma once

#include "input/CardDescription.h"
#include "input/Json.h"
#include "report/Narrator.h"
#include "report/Style.h"

#include <string>
#include <string_view>

namespace Host {

/// A duration: "1.300", and finer only where it is less than a millisecond: "0.000012".
std::string secondsText( U64 ns );

/// A point of time: "1.300".
std::string momentText( U64 ns );

/// Of a chip's state, or a clock's.
Tone toneOfState( std::string_view state );

/// For programs, with its end.
std::string jsonText( Input::Json const & json, int indent = 3 );

/// What a card carries, a line per chip.
std::string cardText( Input::CardDescription const & card, Style const & style );

/// The width of the column of chips.
std::size_t chipWidthOf( Input::CardDescription const & card );

/// The line behind its time, `time` wide; details that are too long for a row go on below.
std::string lineText( std::string const & time, std::size_t chipWidth, JournalLine const & line, Style const & style );

}   // namespace Host
