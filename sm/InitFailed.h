// The logged messages of the machines: a chip could not be brought up.
#pragma once

#include "framework/Log.h"

namespace Hardware {

// Declared as the library is loaded, in LoadTime.cpp.
extern Vor::LogHandle const tolvaneInitFailed;
extern Vor::LogHandle const max24305InitFailed;

/// Tells the operator, unless the message's limits forbid it now.
inline void logInitFailed( Vor::LogHandle const & message ) {
   if ( Vor::okToLog( message.id() ) ) Vor::log( message.id(), nullptr, 0 );
}

}   // namespace Hardware
