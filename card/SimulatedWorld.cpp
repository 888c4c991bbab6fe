#include "card/SimulatedWorld.h"

#include "framework/ActivityManager.h"
#include "platform/SimulationVmid.h"
#include "sim/ScenarioRunner.h"
#include "sim/SimulatedGpo.h"
#include "sim/SimulatedHam.h"

#include <cstdlib>

namespace Host {

namespace {

constexpr char vmidName[] = "SIMULATION_VMID";

Vor::Ptr<Fru::HamImpl> presentHam( Sim::SimulatedCard & card, Sim::CardEvents & events ) {
   Vor::Ptr<Fru::HamImpl> const ham = new Sim::SimulatedHam( "hamImpl", card, events );
   ham->hardwarePresentIs( true );
   return ham;
}

}   // namespace

SimulatedWorld::VmidPresence::VmidPresence( bool present ) {
   if ( char const * outer = std::getenv( vmidName ) ) outer_ = outer;
   if ( present )
      ::setenv( vmidName, "1", 1 );
   else
      ::unsetenv( vmidName );
}

SimulatedWorld::VmidPresence::~VmidPresence() {
   if ( outer_ )
      ::setenv( vmidName, outer_->c_str(), 1 );
   else
      ::unsetenv( vmidName );
}

SimulatedWorld::SimulatedWorld( Input::CardDescription description, Sim::Scenario scenario )
   : scenario_( std::move( scenario ) ),
     vmid_( scenario_.start.simulationVmid ),
     clock_( new Sim::VirtualClock ),
     virtualTime_( clock_ ),
     simulatedCard_( clock_, scenario_.built ? *scenario_.built : simulatedParameters( description ) ),
     events_( clock_ ),
     card_( std::move( description ), presentHam( simulatedCard_, events_ ), [this]( Vor::Name name ) {
        return Vor::Ptr<Hardware::SetClearGpo>( new Sim::SimulatedGpo( name, events_ ) );
     } ) {
   Vor::activityManager().config().clockIs( clock_ );
   events_.cardAdd( simulatedCard_ );
   card_.timeSync()->stateIs( PtpTimeSync::enabling_ );
   card_.redundancy()->modeIs( Redundancy::standby_ );
   configure( card_, inventoryOf( card_.description(), card_.ham() ) );
   for ( Input::Max24305Description const & chip : card_.description().max24305s ) card_.handOver( chip.name );
   Sim::ScenarioTargets const all = targets();
   for ( Sim::Action const & action : scenario_.start.actions ) Sim::actionApply( action, all );
   statesAdd( events_, card_ );
}

SimulatedWorld::~SimulatedWorld() {
   machines_.reset();
   Vor::activityManager().config().clockIs( nullptr );
}

void SimulatedWorld::run() {
   Sim::ScenarioRunner runner( clock_, events_, targets(), scenario_ );
   machines_.emplace( card_ );
   while ( machines_->makeNext() ) {
   }
   runner.run();
}

Sim::ScenarioTargets SimulatedWorld::targets() {
   Sim::ScenarioTargets targets;
   targets.cards.push_back( &simulatedCard_ );
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
