// A set/clear output that tells its maker each time before it is driven, also when the level stays and when it has no
// handle that could carry it out.
//
//    Vor::Ptr<Hardware::SetClearGpo> reset = new Hardware::WatchedGpo( "ptp0Reset", []( bool active ) { ... } );
#pragma once

#include "platform/SetClearGpo.h"

#include <functional>

namespace Hardware {

class WatchedGpo : public SetClearGpo {
 public:
   using Told = std::function<void( bool active )>;

   WatchedGpo( Vor::Name name, Told told ) : SetClearGpo( std::move( name ) ), told_( std::move( told ) ) {}

 private:
   void drive( bool active ) const override {
      told_( active );
      SetClearGpo::drive( active );
   }

   Told const told_;
};

}   // namespace Hardware
