// Management messages of PTP (IEEE 1588-2008, version 2), as a PTP daemon takes and gives them: what states its ports
// are in, asked for and told unasked. Bytes alone; service/PtpDaemon.h sends and receives them.
//
//    send( Ptp::portsAsked( client, sequence ) );                    // each port answers
//    send( Ptp::changesAsked( client, sequence, 10 ) );              // and tells its changes, for 10 seconds
//    Ptp::Message const told = Ptp::messageOf( received, client );
//    if ( told.port ) states[told.port->number] = told.port->state;
//
// Numbers are big-endian. Nothing of a message is believed before its lengths were compared with what was received.
#pragma once

#include "framework/Types.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Host::Ptp {

enum class PortState : U8 {
   initializing_ = 1,
   faulty_,
   disabled_,
   listening_,
   preMaster_,
   master_,
   passive_,
   uncalibrated_,
   slave_,
};

/// "uncalibrated"
std::string_view textOf( PortState state );

/// Who asks. A daemon knows those to whom it tells changes by their identity: no two may have the same.
struct Client {
   U64 identity = 0;
   U8 domain = 0;   ///< the daemon answers nobody of another one
};

struct Port {
   U16 number = 0;
   PortState state = PortState::initializing_;
   bool operator==( Port const & ) const = default;
};

/// What a message says: a port's state, or why it says nothing of use; neither where it confirms what was asked for.
struct Message {
   std::optional<Port> port;
   std::string trouble;
};

std::vector<U8> portsAsked( Client const & client, U16 sequence );
/// The daemon forgets who asked after so many seconds.
std::vector<U8> changesAsked( Client const & client, U16 sequence, U16 seconds );

Message messageOf( std::span<U8 const> bytes, Client const & client );

}   // namespace Host::Ptp
