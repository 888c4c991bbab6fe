// The gate of a machine as rows: each condition under which it programs its chip, with its present value, whether it is
// met, and what an unmet one says in the traces.
//
// The machines walk these rows, the step sink hands them on, and a host asks a machine for them between its calls:
//
//    for ( Hardware::GateRow const & row : machine->gate() )
//       if ( !row.met ) std::cout << row.condition << ' ' << row.value << '\n';   // "hardware absent"
//
// Making a row touches nothing. What is not wired is "missing", and not met: only the gate itself stops the process.
#pragma once

#include "hardware/Max24305Config.h"
#include "hardware/TolvaneStatus.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/SetClearGpo.h"

#include <span>
#include <vector>

namespace Hardware {

struct GateRow {
   Vor::String condition;   ///< "hardware"
   Vor::String value;       ///< "absent"
   bool met = false;
   char const * trace = nullptr;   ///< of an unmet row; null where it has none
};

using Gate = std::vector<GateRow>;

/// Whether every row is met.
bool allMet( std::span<GateRow const> rows );

// The rows that gates are made of.
GateRow hardwareRow( Vor::Ptr<Fru::HamImpl const> const & hamImpl, char const * trace = nullptr );
GateRow sequenceRow( Vor::Ptr<Max24305::Config const> const & config, char const * trace );
/// Met in simulation, whatever the output.
GateRow resetOutputRow( Vor::Ptr<SetClearGpo const> const & output, char const * trace = nullptr );
GateRow tolvaneRow( Vor::Ptr<Tolvane::Status const> const & status, char const * trace );
GateRow timeSyncRow( Vor::Ptr<PtpTimeSync::Status const> const & status, char const * trace );

/// What a gate itself looks at: a reference that is missing stops the process.
template<class T> Vor::Ptr<T> const & wired( Vor::Ptr<T> const & reference ) {
   static_cast<void>( *reference );
   return reference;
}

}   // namespace Hardware
