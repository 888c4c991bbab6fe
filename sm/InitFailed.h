// A chip could not be brought up: the operator is told, unless the message's limits forbid it now.
#pragma once

#include "framework/Log.h"

namespace Hardware {

inline void logInitFailed( Vor::LogHandle const & message ) {
   if ( Vor::okToLog( message.id() ) ) Vor::log( message.id(), nullptr, 0 );
}

}   // namespace Hardware
