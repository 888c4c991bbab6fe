// `clockpath agent`: looks after the chips of a card in real time, until a signal asks it to stop.
#pragma once

#include "service/Agent.h"

#include <string>

namespace Host {

/// `card` is the path of the card's description. Gives the exit code: 0 when all chips were ready as it stopped, else
/// 1. Throws Input::InputError.
int agent( std::string const & card, AgentOptions const & options );

}   // namespace Host
