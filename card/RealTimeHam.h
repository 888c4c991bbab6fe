// The handle of a simulated card that lives in real time: before each access the card's clock catches up with the
// real one, and everything that its hardware did meanwhile happens. The hardware is present.
#pragma once

#include "platform/Ham.h"
#include "sim/SimulatedCard.h"
#include "sim/VirtualClock.h"

#include <chrono>

namespace Host {

class RealTimeHam final : public Fru::HamImpl {
 public:
   RealTimeHam( Vor::Name name, Sim::SimulatedCard::Parameters const & parameters )
      : HamImpl( std::move( name ) ), card_( clock_, parameters ) {
      kindIs( "simulated" );
      hardwarePresentIs( true );
   }

   Sim::SimulatedCard & card() { return card_; }
   Vor::Ptr<Sim::VirtualClock> clock() const { return clock_; }

   void read32( U32 address, U32 & value ) override {
      catchUp();
      value = card_.read32( address );
   }
   void write32( U32 address, U32 value ) override {
      catchUp();
      card_.write32( address, value );
   }

 private:
   using RealClock = std::chrono::steady_clock;

   void catchUp() {
      std::chrono::nanoseconds const elapsed = RealClock::now() - start_;
      clock_->nowNsIs( static_cast<U64>( elapsed.count() ) );
   }

   RealClock::time_point const start_ = RealClock::now();
   Vor::Ptr<Sim::VirtualClock> const clock_ = new Sim::VirtualClock;
   Sim::SimulatedCard card_;
};

}   // namespace Host
