// Reads a scenario (sim/Scenario.h) from the file that docs/scenario.md describes.
//
//    JsonDocument const file = readJson( "examples/demo.json" );
//    CardDescription const card = cardOfScenario( file.root() );
//    Sim::Scenario const scenario = readScenario( file.root(), card );
//
// The card itself is read by cardOfScenario (input/CardDescription.h); it is handed in, so that an event or a fault for
// a chip that the card has not is an error with a place.
#pragma once

#include "sim/Scenario.h"

namespace Input {

class JsonValue;
struct CardDescription;

/// Throws InputError, which names the place, what stood there and what is accepted, of the mistakes of all its parts.
Sim::Scenario readScenario( JsonValue const & root, CardDescription const & card );

}   // namespace Input
