// A set/clear output that tells its host of every change before it is carried out.
#pragma once

#include "platform/SetClearGpo.h"

#include <functional>

namespace Host {

class WatchedGpo final : public Hardware::SetClearGpo {
 public:
   using Told = std::function<void( bool active )>;

   WatchedGpo( Vor::Name name, Told told )
      : SetClearGpo( std::move( name ) ), watchedImpl_( new WatchedImpl( SetClearGpo::impl(), std::move( told ) ) ) {}

   Vor::Ptr<Fru::GpoImpl> impl() const override { return watchedImpl_; }

 private:
   class WatchedImpl final : public Fru::GpoImpl {
    public:
      WatchedImpl( Vor::Ptr<Fru::GpoImpl> output, Told told )
         : output_( std::move( output ) ), told_( std::move( told ) ) {}
      void doEnable() override {
         told_( true );
         output_->doEnable();
      }
      void doDisable() override {
         told_( false );
         output_->doDisable();
      }

    private:
      Vor::Ptr<Fru::GpoImpl> const output_;
      Told const told_;
   };

   Vor::Ptr<WatchedImpl> const watchedImpl_;
};

}   // namespace Host
