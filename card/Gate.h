// The conditions under which a chip's machine programs its chip, as they stand: for people to see which of them is
// missing.
#pragma once

#include "card/Card.h"

#include <string>
#include <vector>

namespace Host {

struct GateCondition {
   std::string name;    ///< "hardware"
   std::string value;   ///< "present"
   bool met = false;
};

struct Gate {
   std::vector<GateCondition> conditions;
   bool open() const;
};

/// The gate of the chip of that name, as its machine would see it now.
Gate gateOf( Card const & card, std::string const & chip );

}   // namespace Host
