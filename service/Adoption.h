// Which chips of a card are adopted as they run, when an agent starts or takes over: those that the last agent
// published as ready, and that the hardware shows to be so still. All others are brought up as ever.
//
// What was published is never trusted before the hardware was seen: identification, the values that the sequence
// verified last, lock and frequency of a MAX24305, the enable register of a Tolvane (diagnosis/Audit.h). Nothing is
// adopted that was configured otherwise, or that its machine would take down at once: while a gate is closed, or time
// synchronisation is disabled. MAX24305s that share a clock status or a Tolvane, and any chips that share a reset
// output, are adopted together or not at all; a MAX24305 with a Tolvane's input only together with that.
//
//    Adoption const adoption( card, published, access );
//    for ( auto const & [chip, why] : adoption.reasons() ) std::cout << chip << ": " << why << '\n';
//    adoption.preset();                     // before the machines are made
//    Machines machines( card, adoption.tolvanes() );
#pragma once

#include "card/Card.h"
#include "framework/AttributeLog.h"
#include "registers/RegisterAccess.h"

#include <map>
#include <set>
#include <string>

namespace Host {

class Adoption {
 public:
   /// Looks at the hardware of the chips that may be adopted: cleans the SPI master of a MAX24305, as a killed agent
   /// leaves something there, which takes half a second, and reads. `published`: a snapshot of the last agent's state,
   /// empty where there is none. The card is present, configured and handed over, what the machines are told of time
   /// synchronisation stands, and no machine is made; it outlives this.
   Adoption( Card const & card, Vor::LogBatch const & published, RegisterAccess & access );

   /// By chip: empty where it is adopted, else why not.
   std::map<std::string, std::string> const & reasons() const { return reasons_; }
   bool adopted( std::string const & chip ) const;
   /// Presets the states of the chips that are adopted, and of their clocks.
   void preset() const;
   /// The adopted Tolvanes, which get no machine before the card or their output's handle goes.
   std::set<std::string> tolvanes() const;

 private:
   void together();

   Card const & card_;
   std::map<std::string, std::string> reasons_;
};

}   // namespace Host
