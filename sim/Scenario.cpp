#include "sim/Scenario.h"

namespace Sim {

namespace {

std::string faultText( FaultIs const & action ) {
   Fault const & fault = action.fault;
   std::string text = "fault " + std::string( faultKindText( fault.kind ) );
   if ( !action.chip.empty() ) text += " at " + action.chip;
   if ( fault.kind == FaultKind::bitFlip_ )
      text += ", register " + std::to_string( fault.address ) + " mask " + std::to_string( fault.mask );
   if ( fault.kind == FaultKind::slowLock_ ) text += ", " + std::to_string( fault.extraNs ) + " ns longer";
   if ( fault.count ) text += *fault.count == 1 ? ", once" : ", " + std::to_string( *fault.count ) + " times";
   if ( fault.forNs ) text += ", for " + std::to_string( *fault.forNs ) + " ns";
   return text;
}

template<class... F> struct Overloaded : F... { using F::operator()...; };
template<class... F> Overloaded( F... ) -> Overloaded<F...>;

bool flagOf( std::map<std::string, bool> const & flags, std::string const & chip ) {
   auto const found = flags.find( chip );
   return found == flags.end() || found->second;
}

}   // namespace

bool StartState::gpoHamOf( std::string const & chip ) const { return flagOf( gpoHam, chip ); }

bool StartState::opsToDoValidOf( std::string const & chip ) const { return flagOf( opsToDoValid, chip ); }

std::string actionText( Action const & action ) {
   return std::visit(
      Overloaded{
         []( TimeSyncIs const & a ) { return "time-sync state " + std::to_string( a.state ); },
         []( RedundancyModeIs const & a ) { return "redundancy mode " + std::to_string( a.mode ); },
         []( SwitchoverStageIs const & a ) {
            return "switchover stage " + a.stage + ( a.reached ? " reached" : " not reached" );
         },
         []( HardwarePresentIs const & a ) {
            return std::string( a.present ? "hardware present" : "hardware not present" );
         },
         []( OpsToDoValidIs const & a ) {
            return "sequence of " + a.chip + ( a.valid ? " handed over" : " taken back" );
         },
         []( GpoHamIs const & a ) {
            return "reset output of " + a.chip + ( a.present ? " has its handle" : " has no handle" );
         },
         []( FaultIs const & a ) { return faultText( a ); },
      },
      action );
}

}   // namespace Sim
