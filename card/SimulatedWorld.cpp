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

Vor::Ptr<Fru::HamImpl> presentHam( Sim::SimulatedCard & card, Sim::CardEvents & events, bool present ) {
   Vor::Ptr<Fru::HamImpl> const ham = new Sim::SimulatedHam( "hamImpl", card, events );
   ham->hardwarePresentIs( present );
   return ham;
}

}   // namespace

Sim::SimulatedCard::Parameters simulatedParameters( Input::CardDescription const & description ) {
   Sim::SimulatedCard::Parameters parameters;
   parameters.spiClockInHz = std::get<Input::SimulatedAccess>( description.access ).spiClockInHz;
   for ( Input::GpoDescription const & gpo : description.gpos )
      parameters.outputs.push_back(
         { .name = gpo.name, .offset = gpo.offset, .bit = gpo.bit, .activeType = gpo.activeType } );
   for ( Input::TolvaneDescription const & chip : description.tolvanes )
      parameters.tolvanes.push_back( { .name = chip.name, .offset = chip.offset, .resetGpoName = chip.resetGpoName } );
   for ( Input::Max24305Description const & chip : description.max24305s )
      parameters.max24305s.push_back(
         { .name = chip.name,
           .configOffset = chip.configOffset,
           .statusOffset = chip.statusOffset,
           .spiResetSupported = chip.spiResetSupported,
           .resetGpoName = chip.resetGpoName,
           .outputFrequencyInHz = chip.outputFrequencyInHz,
           .lockAfterNs = chip.simulatedLockAfterNs,
           .apllStatus = chip.simulatedApllStatus } );
   return parameters;
}

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
     simulatedCard_( clock_, simulatedParameters( description ) ),
     events_( clock_ ),
     card_(
        std::move( description ), presentHam( simulatedCard_, events_, scenario_.start.hardwarePresent ),
        [this]( Vor::Name name ) {
           return Vor::Ptr<Hardware::SetClearGpo>( new Sim::SimulatedGpo( name, events_ ) );
        } ) {
   Vor::activityManager().config().clockIs( clock_ );
   events_.cardAdd( simulatedCard_ );
   Sim::StartState const & start = scenario_.start;
   card_.timeSync()->stateIs( static_cast<PtpTimeSync::OperationalState>( start.timeSync ) );
   card_.redundancy()->modeIs( static_cast<Redundancy::RedundancyMode>( start.redundancyMode ) );
   for ( auto const & [stage, reached] : start.switchoverStage )
      card_.redundancy()->switchoverStageIs( stage, reached );
   configure( card_, inventoryOf( card_.description(), card_.ham() ) );
   for ( Sim::ScenarioChip const & chip : card_.description().scenarioChips() )
      if ( !start.gpoHamOf( chip.name ) ) card_.resetGpoOf( chip.name )->hamIs( nullptr );
   for ( Input::Max24305Description const & chip : card_.description().max24305s )
      if ( start.opsToDoValidOf( chip.name ) ) card_.handOver( chip.name );
   for ( auto const & [name, status] : card_.tolvaneStatusDir()->tolvane() )
      events_.statusAdd<Hardware::Tolvane::Status>( status );
   for ( auto const & [name, status] : card_.max24305StatusDir()->max24305() )
      events_.statusAdd<Hardware::Max24305::Status>( status );
   for ( auto const & [name, status] : card_.clockStatuses() ) events_.statusAdd<Hardware::Kiv::ClockStatus>( status );
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
