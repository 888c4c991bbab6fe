// The hardware-access handle of a simulated card: every access is told to the card's listeners.
#pragma once

#include "platform/Ham.h"
#include "sim/CardEvents.h"
#include "sim/SimulatedCard.h"

namespace Sim {

class SimulatedHam final : public Fru::HamImpl {
 public:
   /// Card and events outlive the handle.
   SimulatedHam( Vor::Name name, SimulatedCard & card, CardEvents & events )
      : HamImpl( std::move( name ) ), card_( card ), events_( events ) {
      kindIs( "simulated" );
   }

   void read32( U32 address, U32 & value ) override {
      value = card_.read32( address );
      events_.tell( &CardListener::onRead32, address, value );
   }
   void write32( U32 address, U32 value ) override {
      events_.tell( &CardListener::onWrite32, address, value );
      card_.write32( address, value );
   }

 private:
   SimulatedCard & card_;
   CardEvents & events_;
};

}   // namespace Sim
