// Where an agent's state and socket stand when nobody says otherwise: in a folder beside the card's lock
// (card/CardLock.h), which only its owner may open. It follows from the card description alone, so that a command finds
// the agent that looks after its card.
//
//    PATH.agent/state.db    PATH.agent/socket
//
// Those of a card that is simulated by its user stand in /tmp, after the description. Those of a service, whose
// description is /etc/clockpath/NAME.json, stand in /run/clockpath/NAME.
#pragma once

#include "input/CardDescription.h"

#include <string>

namespace Host {

std::string usualStatePath( Input::CardDescription const & card );
std::string usualSocketPath( Input::CardDescription const & card );

/// Makes the folder of that path where there is none. Throws Input::InputError unless it is this user's alone: his own,
/// of mode 0700.
void ownFolderMake( std::string const & path );

}   // namespace Host
