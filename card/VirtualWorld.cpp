#include "card/VirtualWorld.h"

#include "sim/SimulatedGpo.h"

#include <cstdlib>

namespace Host {

namespace {

constexpr char vmidName[] = "SIMULATION_VMID";

Vor::Ptr<Fru::HamImpl> present( Vor::Ptr<Fru::HamImpl> const & ham ) {
   ham->hardwarePresentIs( true );
   return ham;
}

}   // namespace

VirtualWorld::VmidPresence::VmidPresence( bool present ) {
   if ( char const * outer = std::getenv( vmidName ) ) outer_ = outer;
   if ( present )
      ::setenv( vmidName, "1", 1 );
   else
      ::unsetenv( vmidName );
}

VirtualWorld::VmidPresence::~VmidPresence() {
   if ( outer_ )
      ::setenv( vmidName, outer_->c_str(), 1 );
   else
      ::unsetenv( vmidName );
}

VirtualWorld::VirtualWorld(
   Vor::Ptr<Sim::VirtualClock> const & clock, Input::CardDescription description, Sim::StartState const & start,
   MakeHam const & makeHam, Sim::SimulatedCard * hardware, std::set<std::string> const & adopted )
   : vmid_( start.simulationVmid ),
     virtualTime_( clock ),
     events_( clock ),
     hardware_( hardware ),
     card_(
        std::move( description ), present( makeHam( events_ ) ),
        [this]( Vor::Name name ) {
           return Vor::Ptr<Hardware::SetClearGpo>( new Sim::SimulatedGpo( name, events_ ) );
        } ),
     machines_( card_, adopted ) {
   if ( hardware_ ) events_.cardAdd( *hardware_ );
   card_.timeSync()->stateIs( PtpTimeSync::enabling_ );
   card_.redundancy()->modeIs( Redundancy::standby_ );
   configure( card_, inventoryOf( card_.description(), card_.ham() ) );
   for ( Input::Max24305Description const & chip : card_.description().max24305s ) card_.handOver( chip.name );
   Sim::ScenarioTargets const all = targets();
   for ( Sim::Action const & action : start.actions ) Sim::actionApply( action, all );
   for ( std::string const & chip : adopted ) card_.adopt( chip );
   statesAdd( events_, card_ );
}

Sim::ScenarioTargets VirtualWorld::targets() const {
   Sim::ScenarioTargets targets;
   if ( hardware_ ) targets.cards.push_back( hardware_ );
   targets.hamImpls.push_back( card_.hamImpl() );
   targets.timeSync = card_.timeSync();
   targets.redundancy = card_.redundancy();
   for ( Sim::ScenarioChip const & chip : card_.description().scenarioChips() )
      targets.chips[chip.name] = {
         .resetGpo = card_.resetGpoOf( chip.name ),
         .gpoHam = card_.ham(),
         .config = card_.max24305ConfigDir()->max24305( chip.name ) };
   return targets;
}

}   // namespace Host
