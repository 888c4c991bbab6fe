// `clockpath simulate`: runs a scenario in virtual time.
#pragma once

#include "framework/Types.h"

#include <optional>
#include <string>

namespace Host {

struct SimulateOptions {
   std::string scenario;                ///< path
   std::optional<std::string> events;   ///< where the event log goes; "-": standard output, in place of the report
   std::optional<U32> traceLevel;       ///< the report shows traces up to this level
   bool strict = false;                 ///< a warning is a cause
};

/// Gives the exit code: 0 when all chips are ready at the end, else 1. Throws Input::InputError.
int simulate( SimulateOptions const & options );

}   // namespace Host
