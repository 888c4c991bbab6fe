#include "sim/Scenario.h"

#include <algorithm>
#include <stdexcept>

namespace Sim {

namespace {

// What a kind takes beside its end.
std::string parametersText( Fault const & fault ) {
   auto const number = []( auto value ) { return std::to_string( value ); };
   std::string const bits = ", register " + number( fault.address ) + " mask " + number( fault.mask );
   std::string const aplls = fault.mask == Fault::allBits ? "" : ", APLLs of mask " + number( fault.mask );
   switch ( fault.kind ) {
   case FaultKind::bitFlip_:
      return bits;
   case FaultKind::bitStuck_:
      return bits + " value " + number( fault.value );
   case FaultKind::misoStuck_:
      return ", at " + number( fault.value );
   case FaultKind::spiShift_:
      return ", by " + number( fault.bits ) + ( fault.bits == 1 ? " bit" : " bits" );
   case FaultKind::loseLock_:
      return aplls;
   case FaultKind::flapLock_:
      return aplls + ", locked " + number( fault.lockedNs ) + " of " + number( fault.periodNs ) + " ns";
   case FaultKind::slowLock_:
      return ", " + number( fault.extraNs ) + " ns longer";
   default:
      return "";
   }
}

std::string faultText( Action const & action ) {
   Fault const & fault = action.fault;
   std::string text = "fault " + std::string( faultKindText( fault.kind ) );
   if ( !action.name.empty() ) text += " at " + action.name;
   text += parametersText( fault );
   if ( fault.count ) text += *fault.count == 1 ? ", once" : ", " + std::to_string( *fault.count ) + " times";
   if ( fault.forNs ) text += ", for " + std::to_string( *fault.forNs ) + " ns";
   return text;
}

ScenarioTargets::Chip chipOf( Action const & action, ScenarioTargets const & targets ) {
   auto const found = targets.chips.find( action.name );
   return found == targets.chips.end() ? ScenarioTargets::Chip{} : found->second;
}

bool reached( Action const & action, SimulatedCard const & card ) {
   return action.name.empty() || card.hasChip( action.name );
}

using A = Action const &;
using Targets = ScenarioTargets const &;

constexpr ActionType types[] = {
   { "timeSync", ActionTakes::number_,   //
     []( A a ) { return "time-sync state " + std::to_string( a.value ); },
     []( A, Targets on ) { return bool( on.timeSync ); },
     []( A a, Targets on ) { on.timeSync->stateIs( static_cast<PtpTimeSync::OperationalState>( a.value ) ); } },
   { "redundancyMode", ActionTakes::number_,   //
     []( A a ) { return "redundancy mode " + std::to_string( a.value ); },
     []( A, Targets on ) { return bool( on.redundancy ); },
     []( A a, Targets on ) { on.redundancy->modeIs( static_cast<Redundancy::RedundancyMode>( a.value ) ); } },
   { "switchoverStage", ActionTakes::flagOfStage_,   //
     []( A a ) { return "switchover stage " + a.name + ( a.value ? " reached" : " not reached" ); },
     []( A, Targets on ) { return bool( on.redundancy ); },
     []( A a, Targets on ) { on.redundancy->switchoverStageIs( a.name, a.value ); } },
   { "hardwarePresent", ActionTakes::flag_,   //
     []( A a ) { return std::string( a.value ? "hardware present" : "hardware not present" ); },
     []( A, Targets on ) { return !on.hamImpls.empty(); },
     []( A a, Targets on ) {
        for ( auto const & hamImpl : on.hamImpls ) hamImpl->hardwarePresentIs( a.value );
     } },
   { "opsToDoValid", ActionTakes::flagOfMax24305_,   //
     []( A a ) { return "sequence of " + a.name + ( a.value ? " handed over" : " taken back" ); },
     []( A a, Targets on ) { return bool( chipOf( a, on ).config ); },
     []( A a, Targets on ) { chipOf( a, on ).config->opsToDoValidIs( a.value ); } },
   { "gpoHam", ActionTakes::flagOfChip_,   //
     []( A a ) { return "reset output of " + a.name + ( a.value ? " has its handle" : " has no handle" ); },
     []( A a, Targets on ) { return bool( chipOf( a, on ).resetGpo ); },
     []( A a, Targets on ) { chipOf( a, on ).resetGpo->hamIs( a.value ? chipOf( a, on ).gpoHam : nullptr ); } },
   { "fault", ActionTakes::fault_,   //
     faultText,
     []( A a, Targets on ) {
        return std::ranges::any_of( on.cards, [&]( auto * card ) { return reached( a, *card ); } );
     },
     []( A a, Targets on ) {
        for ( SimulatedCard * card : on.cards )
           if ( reached( a, *card ) ) card->faultBegin( a.name, a.fault );
     } },
};

}   // namespace

std::span<ActionType const> actionTypes() { return types; }

ActionType const & typeOf( Action const & action ) {
   auto const * const type = std::ranges::find( types, action.key, &ActionType::key );
   if ( type == std::end( types ) ) throw std::invalid_argument( "no action has the key \"" + action.key + "\"" );
   return *type;
}

std::string actionText( Action const & action ) { return typeOf( action ).text( action ); }

void actionCheck( Action const & action, ScenarioTargets const & targets ) {
   if ( !typeOf( action ).possible( action, targets ) )
      throw std::invalid_argument( "the scenario's " + actionText( action ) + " finds nothing to act upon" );
}

void actionApply( Action const & action, ScenarioTargets const & targets ) {
   actionCheck( action, targets );
   typeOf( action ).apply( action, targets );
}

}   // namespace Sim
