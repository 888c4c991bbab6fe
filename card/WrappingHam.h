// Base of the handles that stand before another one, and do something at each access. They look like the real one: the
// hardware is present while that says so.
#pragma once

#include "platform/Ham.h"

namespace Host {

class WrappingHam : public Fru::HamImpl {
 protected:
   explicit WrappingHam( Vor::Ptr<Fru::HamImpl> const & real )
      : HamImpl( real->name() ), real_( real ), presence_( new Presence( real, *this ) ) {
      kindIs( real->kind() );
      filenameIs( real->filename() );
      offsetIs( real->offset() );
      sizeIs( real->size() );
      hardwarePresentIs( real->hardwarePresent() );
   }

   Fru::HamImpl & real() const { return *real_; }

 private:
   struct Presence final : NotifieeConst {
      Presence( Vor::Ptr<Fru::HamImpl const> const & real, WrappingHam & wrapping ) : wrapping( wrapping ) {
         vorAttach( real );
      }
      void onHardwarePresent() override { wrapping.hardwarePresentIs( notifier()->hardwarePresent() ); }
      WrappingHam & wrapping;
   };

   Vor::Ptr<Fru::HamImpl> const real_;
   Vor::Ptr<Presence> const presence_;
};

}   // namespace Host
