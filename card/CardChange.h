// What becomes of the chips of a card whose description has changed while an agent looks after it.
//
//    Host::CardChange const change = Host::changeOf( card.description(), Input::readCard( path ) );
//    machines.del( change.anew );
//    machines.del( change.gone );
//    card.descriptionIs( description, change );
//    while ( machines.makeNext() ) {}
//
// A chip is unchanged while all that its machine is made from is: its registers, its reset output, its sequence and its
// wiring, wherever in the files they are told. It stays with its machine, and nobody looks at it.
#pragma once

#include "input/CardDescription.h"

#include <set>
#include <string>

namespace Host {

struct CardChange {
   std::set<std::string> anew;   ///< described otherwise, or for the first time, and those that are tied to them
   std::set<std::string> gone;   ///< described no longer

   bool nothing() const { return anew.empty() && gone.empty(); }
};

/// Throws Input::InputError, with what must be the same, for a card that is reached in another way.
CardChange changeOf( Input::CardDescription const & before, Input::CardDescription const & now );

}   // namespace Host
