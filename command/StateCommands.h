// The commands on the state that an agent publishes: `clockpath inspect`, `watch` and `status` read its log, `set`,
// `call` and `retry` ask the agent over its socket, whose path stands in the log. `types` lists what could stand there.
#pragma once

#include "command/StateView.h"

namespace Host {

// Each gives the exit code: 0 when it is done, and for `status` all chips are ready; 1 when a chip is not. They throw
// Input::InputError, and CardUnavailable and Vor::LogUnavailableException where agent or log cannot be reached.

/// Words: none, an entity, or an entity and an attribute.
int inspect( StateOptions const & options );
/// Entity, attribute, the key of a collection, value.
int set( StateOptions const & options );
/// Object, operation, and NAME=VALUE of each argument.
int call( StateOptions const & options );
/// Chip. Gives 1 where it is neither ready nor on its way to be.
int retry( StateOptions const & options );
/// As inspect; until the process is ended, or its output cannot be written.
int watch( StateOptions const & options );
/// Words: none, or a type. Needs no state.
int types( StateOptions const & options );
int status( StateOptions const & options );

/// Tells on standard error what an agent is busy with that was asked for something.
void waitingTell( std::string const & what );

}   // namespace Host
