// What a turn that does not fit is to its writer, and to a reader.
#pragma once

#include "framework/AttributeLog.h"

#include <string>

namespace State {

[[noreturn]] inline void throwStale( Vor::LogPosition last, Vor::LogPosition position ) {
   throw Vor::StaleGenerationException(
      "turn " + Vor::positionText( position ).stdString() + " was refused: the log stands at " +
      Vor::positionText( last ).stdString() + ", so another writer has taken over; this one is done" );
}

/// What a reader at `after` has of the turn that comes next in the log.
inline Vor::LogSource::Got gotAfter( Vor::LogPosition after, Vor::LogPosition next, bool whole ) {
   bool const adds = !whole && next.generation == after.generation && next.number == after.number + 1;
   return adds ? Vor::LogSource::Got::turn : Vor::LogSource::Got::gap;
}

}   // namespace State
