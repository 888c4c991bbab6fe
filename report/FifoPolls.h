// What the drivers' polls read of the FIFOs of each SPI master: between two steps of a chip's machine, the counts of
// one operation, or of one lock poll.
#pragma once

#include "hal/KivHal.h"
#include "input/CardDescription.h"
#include "recording/Event.h"

#include <algorithm>
#include <string>
#include <vector>

namespace Host {

class FifoPolls {
 public:
   explicit FifoPolls( Input::CardDescription const & card ) {
      for ( Input::Max24305Description const & chip : card.max24305s )
         masters_.push_back( { chip.name, chip.configOffset + Hardware::SpiCtrl::address(), {} } );
   }

   void take( Recording::Read32 const & read ) {
      auto const master = std::ranges::find( masters_, read.address, &Master::address );
      if ( master == masters_.end() ) return;
      // More than one operation makes: others, who tell no steps, may look at a master for days.
      if ( master->polls.size() == atMost ) master->polls.erase( master->polls.begin() );
      master->polls.emplace_back( read.value );
   }

   /// Since the last call for that chip; none for one without SPI master.
   std::vector<Hardware::SpiCtrl> taken( std::string_view chip ) {
      auto const master = std::ranges::find( masters_, chip, &Master::chip );
      return master == masters_.end() ? std::vector<Hardware::SpiCtrl>() : std::exchange( master->polls, {} );
   }

 private:
   static constexpr std::size_t atMost = 16;

   struct Master {
      std::string chip;
      U32 address = 0;
      std::vector<Hardware::SpiCtrl> polls;
   };
   std::vector<Master> masters_;
};

}   // namespace Host
