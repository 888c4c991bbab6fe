// An output of a simulated card: the card's listeners are told before it is driven.
#pragma once

#include "platform/WatchedGpo.h"
#include "sim/CardEvents.h"

namespace Sim {

class SimulatedGpo final : public Hardware::WatchedGpo {
 public:
   /// The events outlive the output.
   SimulatedGpo( Vor::Name const & name, CardEvents & events )
      : WatchedGpo( name, [name, &events]( bool active ) { events.tellGpo( name.string(), active ); } ) {}
};

}   // namespace Sim
