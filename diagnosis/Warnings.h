// What looks wrong in card descriptions that can be read, and in the sequences of their chips: told from the files
// alone.
//
//    for ( Diagnosis::Warning const & warning : Diagnosis::warningsOf( card ) )
//       std::cout << warning.place << ": " << warning.text << '\n';
#pragma once

#include "hal/Block.h"
#include "input/CardDescription.h"

#include <string>
#include <string_view>
#include <vector>

namespace Diagnosis {

/// The check whose warning also keeps an agent from starting.
inline constexpr std::string_view unknownOperation = "unknownOp";

/// The names of all checks, as docs/command.md tells them.
inline constexpr std::string_view checkNames[] = {
   unknownOperation, "wideValue",   "wideAddress",  "longPause",         "statusVerified", "neverWritten",
   "readTooEarly",   "notReadBack", "sharedOutput", "sharedClockStatus", "outputFrequency" };

struct Warning {
   std::string_view check;   ///< its name
   std::string place;        ///< "ptp0.ops:7", or of a card "card.json: ptp0"
   std::string text;         ///< what stands there, and what is expected
};

/// Of one chip's sequence.
std::vector<Warning> warningsOf( Input::Max24305Description const & chip );

/// Of a card: of the sequences of its chips, then of the description itself.
std::vector<Warning> warningsOf( Input::CardDescription const & card );

/// The register of a MAX24305 that the chip itself changes; null for any other.
Hal::RegisterDeclaration const * statusRegister( U16 reg );

}   // namespace Diagnosis
