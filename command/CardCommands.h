// The commands on a card: `clockpath peek`, `poke` and `dump` read, write and list its registers, `audit` and
// `selftest` tell whether it stands as its description and its sequences say. command/OpenCard.h says which card.
#pragma once

#include "diagnosis/Audit.h"

#include <string>
#include <vector>

namespace Host {

struct CardOptions {
   std::string card;                                       ///< path; empty with `after`
   std::string after;                                      ///< path of a scenario, or empty
   std::vector<std::string> words;                         ///< registers (registers/RegisterBook.h), REGISTER=VALUE
   double tolerancePpm = Diagnosis::defaultTolerancePpm;   ///< of an output's frequency
   bool online = false;                                    ///< selftest only reads
   bool yes = false;                                       ///< do not ask
   bool json = false;                                      ///< for programs
};

// Each gives the exit code: 0 when it is done and all is as it should be; 1 when a register did not answer, or not take
// a write, something differs, the card cannot be used, or the user said no. They throw Input::InputError and
// CardUnavailable.

int peek( CardOptions const & options );
/// Reads back what can be read. Asks first.
int poke( CardOptions const & options );
/// Without words all registers that have a name. Lists without reading it what can only be written, and what loses an
/// entry by being read unless the register itself is named.
int dump( CardOptions const & options );
int audit( CardOptions const & options );
/// Asks first, unless it only reads.
int selfTest( CardOptions const & options );

}   // namespace Host
