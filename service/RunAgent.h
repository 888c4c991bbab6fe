// The agent of a card, in the role that it has at first and those that it is given later, until a signal stops it.
//
//    return Host::runAgent( Input::readCard( path ), {} );
//
// Of two supervisors one stands by (service/Standby.h); whoever decides who is active tells them over their sockets:
//
//    return Host::runAgent( Input::readCard( path ), { .state = "redis://...", .role = Role::standby_ } );
#pragma once

#include "card/CardLock.h"
#include "input/CardDescription.h"
#include "service/AgentOptions.h"

namespace Host {

/// Gives the exit code. Throws Input::InputError for what cannot be, and CardUnavailable for a card that somebody else
/// uses.
int runAgent( Input::CardDescription description, AgentOptions options );

}   // namespace Host
