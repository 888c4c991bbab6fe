// A simulated card at the end of a scenario, with access to its registers.
#pragma once

#include "card/SimulatedWorld.h"
#include "input/ScenarioFile.h"
#include "registers/RegisterAccess.h"
#include "tests/input/Cards.h"

#include <string>

namespace Host {

struct LookedAt {
   explicit LookedAt( std::string const & scenario = "{}", std::string const & cardText = Input::wholeCard )
      : card( Input::cardOf( cardText ) ),
        world( card, Input::readScenario( Input::JsonDocument( "s.json", scenario ).root(), card ) ),
        access( card, world.card().hamImpl() ) {
      world.run();
   }

   Input::Max24305Description const & ptp0() const { return *card.max24305( "ptp0" ); }

   Input::CardDescription const card;
   SimulatedWorld world;
   RegisterAccess access;
};

/// A scenario of one fault, which begins when the chips are up: `kind` and its parameters.
inline std::string faultText( std::string const & chip, std::string const & kind ) {
   return R"({ "untilNs": 60000000000, "events": [ { "atNs": 50000000000, "fault": { )" +
          ( chip.empty() ? "" : R"("chip": ")" + chip + R"(", )" ) + R"("kind": )" + kind + " } } ] }";
}

}   // namespace Host
