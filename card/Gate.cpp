#include "card/Gate.h"

#include "platform/SimulationVmid.h"
#include "sm/Max24305Sm.h"

#include <algorithm>

namespace Host {

namespace {

GateCondition hardwareOf( Card const & card ) {
   bool const present = card.hamImpl()->hardwarePresent();
   return { "hardware", present ? "present" : "absent", present };
}

GateCondition resetOutputOf( Card const & card, std::string const & chip ) {
   if ( Hardware::simulationVmid() ) return { "reset output", "not needed", true };
   bool const hasHam = bool( card.resetGpoOf( chip )->ham() );
   return { "reset output", hasHam ? "usable" : "without handle", hasHam };
}

GateCondition timeSyncOf( Card const & card ) {
   auto const state = card.timeSync()->state();
   return { "time sync", stringValue( state ).stdString(), state != PtpTimeSync::disabled_ };
}

// While the supervisor is in a switchover, no chip is programmed before the state database is writable.
GateCondition switchoverOf( Card const & card ) {
   std::string const stage = Hardware::Max24305Sm::dovraWritableSwitchoverStage;
   bool const reached = card.redundancy()->switchoverStage().value( stage );
   return { "switchover", ( reached ? "" : "not " ) + stage, reached };
}

}   // namespace

bool Gate::open() const {
   return std::all_of( conditions.begin(), conditions.end(), []( GateCondition const & c ) { return c.met; } );
}

Gate gateOf( Card const & card, std::string const & chip ) {
   Gate gate;
   gate.conditions.push_back( hardwareOf( card ) );
   Input::Max24305Description const * const max24305 = card.description().max24305( chip );
   if ( !max24305 ) {
      gate.conditions.push_back( resetOutputOf( card, chip ) );
      return gate;
   }
   bool const valid = card.max24305ConfigDir()->max24305( chip )->opsToDoValid();
   gate.conditions.push_back( { "sequence", valid ? "handed over" : "not handed over", valid } );
   if ( max24305->input == Hardware::Max24305::tolvane_ ) {
      auto const state = card.tolvaneStatusDir()->tolvane( max24305->tolvane )->state();
      gate.conditions.push_back(
         { max24305->tolvane, stringValue( state ).stdString(), state == Hardware::Tolvane::ready_ } );
   } else {
      gate.conditions.push_back( resetOutputOf( card, chip ) );
   }
   gate.conditions.push_back( timeSyncOf( card ) );
   if ( card.redundancy()->mode() == Redundancy::switchover_ ) gate.conditions.push_back( switchoverOf( card ) );
   return gate;
}

}   // namespace Host
