// The state machines of a card: one per chip, made from the configurations in its directories.
//
// The Tolvanes come first, then the MAX24305s, each in the card's order. Making a machine evaluates its environment,
// which may run its chip's whole bring-up.
//
//    Host::Machines machines( card );   // as long as it lives, the chips are looked after
//    while ( !stopAsked && machines.makeNext() ) {}
#pragma once

#include "card/Card.h"
#include "framework/PtrInterface.h"

#include <vector>

namespace Host {

/// Throws Input::InputError for a chip whose input no machine serves.
void requireServedInputs( Input::CardDescription const & card );

/// The machine of one MAX24305, chosen by its configuration's `input`. Throws Input::InputError for an input that no
/// machine serves.
Vor::Ptr<Vor::PtrInterface> max24305Machine( Card const & card, std::string const & chip );

/// The machine of one Tolvane.
Vor::Ptr<Vor::PtrInterface> tolvaneMachine( Card const & card, std::string const & chip );

class Machines {
 public:
   /// Makes none yet. Throws Input::InputError for a chip whose input no machine serves. The card outlives this.
   explicit Machines( Card const & card );

   /// Makes the machine of the next chip; false when every chip has one.
   bool makeNext();

   /// The machine of the chip of that name, empty while it has none.
   Vor::Ptr<Vor::PtrInterface> machine( std::string const & chip ) const;

 private:
   Card const & card_;
   std::vector<Vor::Ptr<Vor::PtrInterface>> machines_;
};

}   // namespace Host
