// An output of a simulated card, or of one that is recorded: the card's listeners are told before it is driven, also
// when the level stays and when it has no handle that could carry it out.
#pragma once

#include "platform/SetClearGpo.h"
#include "sim/CardEvents.h"

namespace Sim {

class SimulatedGpo final : public Hardware::SetClearGpo {
 public:
   /// The events outlive the output.
   SimulatedGpo( Vor::Name name, CardEvents & events ) : SetClearGpo( std::move( name ) ), events_( events ) {}

 private:
   void drive( bool active ) const override {
      events_.tell( &CardListener::onGpo, name().string(), active );
      SetClearGpo::drive( active );
   }

   CardEvents & events_;
};

}   // namespace Sim
