// `clockpath peek`, `poke` and `dump`: read, write and list registers of a described card.
#pragma once

#include "command/OpenCard.h"

#include <string>
#include <vector>

namespace Host {

struct RegisterOptions : CardOptions {
   std::vector<std::string> words;   ///< registers (registers/RegisterBook.h); of poke REGISTER=VALUE
};

// Each gives the exit code: 0 when it is done, 1 when a register did not answer, or not take a write, or the user said
// no. They throw Input::InputError and CardUnavailable.

int peek( RegisterOptions const & options );
/// Reads back what can be read.
int poke( RegisterOptions const & options );
/// Without words all registers that have a name. Lists without reading it what can only be written, and what loses an
/// entry by being read unless the register itself is named.
int dump( RegisterOptions const & options );

}   // namespace Host
