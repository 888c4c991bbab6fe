#include "sm/Gate.h"

#include "platform/SimulationVmid.h"

#include <algorithm>

namespace Hardware {

namespace {

GateRow row( char const * condition, bool wired, bool met, char const * yes, char const * no, char const * trace ) {
   return { condition, wired ? ( met ? yes : no ) : "missing", met, trace };
}

}   // namespace

bool allMet( std::span<GateRow const> rows ) { return std::ranges::all_of( rows, &GateRow::met ); }

GateRow hardwareRow( Vor::Ptr<Fru::HamImpl const> const & hamImpl, char const * trace ) {
   return row( "hardware", bool( hamImpl ), hamImpl && hamImpl->hardwarePresent(), "present", "absent", trace );
}

GateRow sequenceRow( Vor::Ptr<Max24305::Config const> const & config, char const * trace ) {
   return row( "sequence", bool( config ), config && config->opsToDoValid(), "handed over", "not handed over", trace );
}

GateRow resetOutputRow( Vor::Ptr<SetClearGpo const> const & output, char const * trace ) {
   if ( simulationVmid() ) return { "reset output", "not needed", true, trace };
   return row( "reset output", bool( output ), output && output->ham(), "usable", "without handle", trace );
}

GateRow tolvaneRow( Vor::Ptr<Tolvane::Status const> const & status, char const * trace ) {
   if ( !status ) return { "tolvane", "missing", false, trace };
   return { status->name().string(), stringValue( status->state() ), status->state() == Tolvane::ready_, trace };
}

GateRow timeSyncRow( Vor::Ptr<PtpTimeSync::Status const> const & status, char const * trace ) {
   if ( !status ) return { "time sync", "missing", false, trace };
   return { "time sync", stringValue( status->state() ), status->state() != PtpTimeSync::disabled_, trace };
}

}   // namespace Hardware
