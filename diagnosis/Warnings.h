// What is wrong, or looks wrong, in sequences and card descriptions that can be read: told from the files alone.
//
//    for ( Diagnosis::Warning const & warning : Diagnosis::warningsOf( card ) )
//       std::cout << warning.place << ": " << warning.text << '\n';
//
// Each check is a row of a table in the source: its name, and a function that says what is wrong, or nothing.
#pragma once

#include "hal/Block.h"
#include "input/CardDescription.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Diagnosis {

/// The check whose warning also keeps an agent from starting.
inline constexpr std::string_view unknownOperation = "unknownOp";

struct Warning {
   std::string_view check;   ///< its name
   std::string place;        ///< "ptp0.ops:7", or of a card "card.json: ptp0"
   std::string text;         ///< what stands there, and what is expected
};

/// Of one sequence; `places` has the place of each operation.
std::vector<Warning>
warningsOf( std::span<Hardware::Max24305::Op const> sequence, std::span<std::string const> places );

/// Of a card: of the sequences of its chips, then of the description itself.
std::vector<Warning> warningsOf( Input::CardDescription const & card );

/// The register of a MAX24305 that the chip itself changes; null for any other.
Hal::RegisterDeclaration const * statusRegister( U16 reg );

/// The names of all checks, for documents.
std::vector<std::string_view> checkNames();

}   // namespace Diagnosis
