// `clockpath peek`, `poke` and `dump`: read, write and list registers of a described card.
//
// A real card is reached as it is. A simulated one is brought up first, in virtual time, with the services around it
// in the starting state of an empty scenario.
#pragma once

#include <string>
#include <vector>

namespace Host {

struct RegisterOptions {
   std::string card;                 ///< path
   std::vector<std::string> words;   ///< registers (registers/RegisterBook.h); of poke REGISTER=VALUE
   bool yes = false;                 ///< poke does not ask
};

// Each gives the exit code: 0 when it is done, 1 when the card is not there or did not take a write, or the user said
// no. They throw Input::InputError.

int peek( RegisterOptions const & options );
int poke( RegisterOptions const & options );
/// Without words all registers that have a name. Lists without reading it what can only be written, and what loses an
/// entry by being read unless the register itself is named.
int dump( RegisterOptions const & options );

}   // namespace Host
