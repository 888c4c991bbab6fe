// Which chips of a card stand together: one that is brought up takes those along that share something with it.
//
//    Host::tieOf( card, "ptp0", "osc0" )      // "which feeds it"
#pragma once

#include "input/CardDescription.h"

#include <string>

namespace Host {

/// Why a bring-up of `other` is one of `chip` too, as the words behind the other's name; empty where it is none.
std::string tieOf( Input::CardDescription const & card, std::string const & chip, std::string const & other );

}   // namespace Host
