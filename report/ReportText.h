// The wording of what the command tells people about chips and times.
#pragma once

#include "input/CardDescription.h"
#include "report/Style.h"
#include "sm/Steps.h"

#include <string>
#include <string_view>

namespace Host {

/// "1.300000000": to the nanosecond, for that is how finely runs repeat.
std::string secondsText( U64 ns );

/// Why an attempt failed: "operation 3 of 5, read 0x10: expected 0x3c, found 0x3d".
std::string failureText( Hardware::Steps::AttemptFailed const & failed );

/// A state's text in its colour.
std::string stateText( std::string const & state, Style const & style );

/// The text with control characters as escapes: "\x02".
std::string printable( std::string_view text );

/// What a card carries, a line per chip.
std::string cardText( Input::CardDescription const & card, Style const & style );

}   // namespace Host
