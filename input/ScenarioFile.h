// Reads a scenario (sim/Scenario.h) from the file that docs/scenario.md describes.
//
//    JsonDocument const file = readJson( "examples/demo.json" );
//    std::vector<Sim::ScenarioChip> const chips{
//       { "osc0", Sim::FaultTarget::tolvane_ }, { "ptp0", Sim::FaultTarget::max24305_ } };
//    Sim::Scenario const scenario = readScenario( file.root(), chips );
//
// The card itself is read by cardOfScenario (input/CardDescription.h); the chips found there are handed in, so that an
// event or a fault for a chip that the card has not is an error with a place.
#pragma once

#include "sim/Scenario.h"

#include <span>

namespace Input {

class JsonValue;

/// Throws InputError (input/Json.h), which names the place, what stood there and what is accepted.
Sim::Scenario readScenario( JsonValue const & root, std::span<Sim::ScenarioChip const> chips );

}   // namespace Input
