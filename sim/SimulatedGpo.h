// An output of a simulated card: a set/clear output whose every change is told to the card's listeners first, also
// when the level stays and when the output has no handle to carry it out.
#pragma once

#include "platform/SetClearGpo.h"
#include "sim/CardEvents.h"

namespace Sim {

class SimulatedGpo final : public Hardware::SetClearGpo {
 public:
   /// The events outlive the output.
   SimulatedGpo( Vor::Name name, CardEvents & events )
      : SetClearGpo( name ), tellingImpl_( new TellingImpl( std::move( name ), SetClearGpo::impl(), events ) ) {}

   Vor::Ptr<Fru::GpoImpl> impl() const override { return tellingImpl_; }

 private:
   class TellingImpl final : public Fru::GpoImpl {
    public:
      TellingImpl( Vor::Name name, Vor::Ptr<Fru::GpoImpl> output, CardEvents & events )
         : name_( std::move( name ) ), output_( std::move( output ) ), events_( events ) {}
      void doEnable() override {
         events_.tellGpo( name_.string(), true );
         output_->doEnable();
      }
      void doDisable() override {
         events_.tellGpo( name_.string(), false );
         output_->doDisable();
      }

    private:
      Vor::Name const name_;
      Vor::Ptr<Fru::GpoImpl> const output_;
      CardEvents & events_;
   };

   Vor::Ptr<TellingImpl> const tellingImpl_;
};

}   // namespace Sim
