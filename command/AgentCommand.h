// `clockpath agent`: looks after the chips of a card in real time, until a signal asks it to stop.
#pragma once

#include "framework/Types.h"

#include <optional>
#include <string>

namespace Host {

struct AgentOptions {
   std::string card;                ///< path
   U32 timeSync = 1;                ///< state of PTP time synchronisation, which no one else tells here
   U32 redundancyMode = 3;          ///< mode of the supervisor, likewise
   std::optional<U32> traceLevel;   ///< shows traces up to this level
};

/// Gives the exit code: 0 when all chips were ready as it stopped, else 1. Throws Input::InputError.
int agent( AgentOptions const & options );

}   // namespace Host
