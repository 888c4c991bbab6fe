// The access handle of a card, recorded: each access goes to the real handle once, unchanged, and is told to the card's
// listeners: a write before it, a read with what it gave. The hardware is present while the real handle says so.
#pragma once

#include "platform/Ham.h"
#include "sim/CardEvents.h"

namespace Recording {

class RecordedHam final : public Fru::HamImpl {
 public:
   /// The events outlive the handle.
   RecordedHam( Vor::Ptr<Fru::HamImpl> const & real, Sim::CardEvents & events )
      : HamImpl( real->name() ), real_( real ), events_( events ), presence_( new Presence( real, *this ) ) {
      kindIs( real->kind() );
      filenameIs( real->filename() );
      offsetIs( real->offset() );
      sizeIs( real->size() );
      hardwarePresentIs( real->hardwarePresent() );
   }

   void read32( U32 address, U32 & value ) override {
      real_->read32( address, value );
      events_.tell( &Sim::CardListener::onRead32, address, value );
   }
   void write32( U32 address, U32 value ) override {
      events_.tell( &Sim::CardListener::onWrite32, address, value );
      real_->write32( address, value );
   }

 private:
   struct Presence final : NotifieeConst {
      Presence( Vor::Ptr<Fru::HamImpl const> const & real, RecordedHam & recorded ) : recorded( recorded ) {
         vorAttach( real );
      }
      void onHardwarePresent() override { recorded.hardwarePresentIs( notifier()->hardwarePresent() ); }
      RecordedHam & recorded;
   };

   Vor::Ptr<Fru::HamImpl> const real_;
   Sim::CardEvents & events_;
   Vor::Ptr<Presence> const presence_;
};

}   // namespace Recording
