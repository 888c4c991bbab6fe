// The state machines of a card: one per chip, made from the configurations in its directories.
//
// The Tolvanes come first, then the MAX24305s, each in the card's order. Making a machine evaluates its environment,
// which may run its chip's whole bring-up.
//
// A machine of a Tolvane resets its chip, whatever state that is in. A Tolvane that runs and is to go on has none,
// therefore, until its card or its output's handle goes: its machine is made then, and finds it so, before any other
// machine is told. When they return, that machine is the last to be told.
//
//    Host::Machines machines( card );   // as long as it lives, the chips are looked after
//    while ( !stopAsked && machines.makeNext() ) {}
#pragma once

#include "card/Card.h"
#include "framework/PtrInterface.h"

#include <map>
#include <set>
#include <string>

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
   /// Makes none yet. `running`: the Tolvanes that go on as they run; the card is present, and their outputs have their
   /// handles. Throws Input::InputError for a chip whose input no machine serves. The card outlives this.
   explicit Machines( Card const & card, std::set<std::string> const & running = {} );
   ~Machines();
   Machines( Machines const & ) = delete;
   Machines & operator=( Machines const & ) = delete;

   /// Makes the machine of the next chip; false when every chip has one, or goes on without.
   bool makeNext();

   /// These chips have no machines any more, and stay as they run.
   void del( std::set<std::string> const & chips );

   /// The machine of the chip of that name, empty while it has none.
   Vor::Ptr<Vor::PtrInterface> machine( std::string const & chip ) const;

 private:
   class RunningTolvane;

   Card const & card_;
   std::map<std::string, Vor::Ptr<RunningTolvane>> running_;
   std::map<std::string, Vor::Ptr<Vor::PtrInterface>> machines_;   // of all others
};

}   // namespace Host
