// What the driver's polls read of the FIFOs of a chip's SPI master: between two steps of the chip's machine, the counts
// of one operation, or of one lock poll. Each of those who follow chips has one for each, as `polls`.
//
//    FifoPolls polls( chip );
//    polls.take( read );                                                  // each read of the recording
//    for ( Hardware::SpiCtrl const poll : polls.taken() ) std::cout << poll.readFifoCount();
#pragma once

#include "hal/KivHal.h"
#include "input/CardDescription.h"
#include "recording/Event.h"

#include <optional>
#include <utility>
#include <vector>

namespace Host {

class FifoPolls {
 public:
   /// Of a chip without SPI master: there are none.
   FifoPolls() = default;
   explicit FifoPolls( Input::Max24305Description const & chip )
      : control_( chip.configOffset + Hardware::SpiCtrl::address() ) {}

   void take( Recording::Read32 const & read ) {
      if ( read.address != control_ ) return;
      // More than one operation makes: others, who tell no steps, may look at a master for days.
      if ( polls_.size() == atMost ) polls_.erase( polls_.begin() );
      polls_.emplace_back( read.value );
   }

   /// Since the last call.
   std::vector<Hardware::SpiCtrl> taken() { return std::exchange( polls_, {} ); }

 private:
   static constexpr std::size_t atMost = 16;

   std::optional<U32> control_;
   std::vector<Hardware::SpiCtrl> polls_;
};

/// Hands an event to the chip that it is about, if any.
template<class Chip> void handTo( std::vector<Chip> & chips, Recording::Event const & event ) {
   auto const * const read = std::get_if<Recording::Read32>( &event.what );
   auto const * const step = std::get_if<Recording::Step>( &event.what );
   auto const * const gate = std::get_if<Recording::Gate>( &event.what );
   for ( Chip & chip : chips ) {
      if ( read ) chip.polls.take( *read );
      if ( step && step->chip == chip.name ) chip.step( event.ns, step->step );
      if ( gate && gate->chip == chip.name ) chip.gate( event.ns, gate->rows );
   }
}

}   // namespace Host
