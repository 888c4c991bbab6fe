// `clockpath audit` and `clockpath selftest`: whether a card stands as its description and its sequences say.
#pragma once

#include "command/OpenCard.h"
#include "diagnosis/Audit.h"

namespace Host {

struct AuditOptions : CardOptions {
   double tolerancePpm = Diagnosis::defaultTolerancePpm;   ///< of an output's frequency
   bool online = false;                                    ///< selftest only reads
};

// Each gives the exit code: 0 when all is as it should be; 1 when something differs, the card cannot be used, or the
// user said no. They throw Input::InputError and CardUnavailable.

int audit( AuditOptions const & options );
/// Asks first, unless it only reads.
int selfTest( AuditOptions const & options );

}   // namespace Host
