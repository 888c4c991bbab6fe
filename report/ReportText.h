// The wording of what the command tells people about chips and times.
#pragma once

#include "hal/KivHal.h"
#include "input/CardDescription.h"
#include "input/Json.h"
#include "report/Narrator.h"
#include "report/Style.h"
#include "sm/Steps.h"

#include <span>
#include <string>
#include <string_view>

namespace Host {

/// What a chip reads that did not answer, and a register may as well hold.
inline constexpr U8 noAnswer = 0xFF;

/// A duration: "1.300", and finer only where it is less than a millisecond: "0.000012".
std::string secondsText( U64 ns );

/// A point of time: "1.300".
std::string momentText( U64 ns );

/// "read 0x10: expected 0x3c, found 0x3d".
std::string operationText( Hardware::Steps::OperationDone const & done );

/// What polls read of the counts of the command and the response FIFO, behind other text: "; FIFOs 2/0, 0/1"; "" of
/// none.
std::string fifoText( std::span<Hardware::SpiCtrl const> polls );

/// Of a chip's state, or a clock's.
Tone toneOfState( std::string_view state );

/// The text with control characters as escapes: "\x02".
std::string printable( std::string_view text );

/// For programs, with its end.
std::string jsonText( Input::Json const & json, int indent = 3 );

/// What a card carries, a line per chip.
std::string cardText( Input::CardDescription const & card, Style const & style );

/// The width of the column of chips.
std::size_t chipWidthOf( Input::CardDescription const & card );

/// The line behind its time, `time` wide; details that are too long for a row go on below.
std::string lineText( std::string const & time, std::size_t chipWidth, JournalLine const & line, Style const & style );

}   // namespace Host
