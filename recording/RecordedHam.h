// The access handle of a card, recorded: each access goes to the real handle once, unchanged, and is told to the card's
// listeners: a write before it, a read with what it gave. The hardware is present while the real handle says so.
#pragma once

#include "card/WrappingHam.h"
#include "sim/CardEvents.h"

namespace Recording {

class RecordedHam final : public Host::WrappingHam {
 public:
   /// The events outlive the handle.
   RecordedHam( Vor::Ptr<Fru::HamImpl> const & real, Sim::CardEvents & events )
      : WrappingHam( real ), events_( events ) {}

   void read32( U32 address, U32 & value ) override {
      real().read32( address, value );
      events_.tell( &Sim::CardListener::onRead32, address, value );
   }
   void write32( U32 address, U32 value ) override {
      events_.tell( &Sim::CardListener::onWrite32, address, value );
      real().write32( address, value );
   }

 private:
   Sim::CardEvents & events_;
};

}   // namespace Recording
