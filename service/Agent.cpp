#include "service/Agent.h"

#include "card/SimulatedWorld.h"
#include "framework/ActivityManager.h"
#include "input/InputError.h"
#include "recording/RecordedHam.h"
#include "report/Style.h"
#include "service/Exit.h"
#include "service/WallTime.h"
#include "sim/SimulatedGpo.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

std::optional<CardLock> lockOf( Input::CardDescription const & description ) {
   std::string const place = description.place();
   return place.empty() ? std::nullopt : std::optional<CardLock>( std::in_place, place, "agent" );
}

Vor::Ptr<RealTimeHam> realTimeHamOf( Input::CardDescription const & description ) {
   return description.place().empty() ? new RealTimeHam( "hamImpl", simulatedParameters( description ) ) : nullptr;
}

std::vector<Input::GpoDescription> resetOutputsOf( Input::CardDescription const & description ) {
   std::vector<Input::GpoDescription> outputs;
   for ( auto const & chip : description.tolvanes ) outputs.push_back( *description.gpo( chip.resetGpoName ) );
   for ( auto const & chip : description.max24305s ) outputs.push_back( *description.gpo( chip.resetGpoName ) );
   return outputs;
}

// Each line is written as it ends: whatever stops the agent, its log has what happened.
std::optional<Recording::LogFile> logFileOf( std::optional<std::string> const & path ) {
   if ( path == Recording::LogFile::standardOutput )
      throw Input::InputError( "--events: the agent's standard output has its journal; expected a file, found \"-\"" );
   return path ? std::optional<Recording::LogFile>( std::in_place, *path, 1 ) : std::nullopt;
}

}   // namespace

Agent::Agent( Input::CardDescription const & description, AgentOptions const & options )
   : lock_( lockOf( description ) ),
     timerSlack_( options.timerSlackNs ),
     polledHam_( polledHamOf( description ) ),
     realTimeHam_( realTimeHamOf( description ) ),
     signals_( dynamic_cast<MmapHam const *>( polledHam_.ptr() ), resetOutputsOf( description ) ),
     log_( logFileOf( options.events ) ),
     card_( description, hamImpl(), [this]( Vor::Name name ) { return output( name ); } ),
     tracesOn_( Vor::traceLevels ),   // a recording has all that can be told
     machines_( card_ ) {
   if ( realTimeHam_ ) events_.cardAdd( realTimeHam_->card() );
   card_.timeSync()->stateIs( static_cast<PtpTimeSync::OperationalState>( options.timeSync ) );
   card_.redundancy()->modeIs( static_cast<Redundancy::RedundancyMode>( options.redundancyMode ) );
   configure( card_, inventoryOf( description, card_.ham() ) );
   for ( Input::Max24305Description const & chip : description.max24305s ) card_.handOver( chip.name );
   journal_.emplace(
      std::cout, styleOf( STDOUT_FILENO ), ::isatty( STDOUT_FILENO ) == 1, events_, card_, options.traceLevel );
   statesAdd( events_, card_ );
   events_.sleepsAdd();
   std::string const began = wallTime();
   FailureFolder const folder( options.failures );
   if ( options.forget ) folder.forget();
   if ( log_ ) recorder_.emplace( log_->log(), events_, card_, began );
   teller_.emplace( events_, card_, *journal_, log_ ? std::nullopt : std::optional( folder ), began );
   pollSet_.descriptorAdd( signals_.descriptor(), [] {} );   // the loop asks for itself whether it is to stop
   if ( polledHam_ ) presence_.emplace( description.place(), pollSet_ );
   if ( polledHam_ && polledHam_->wakeFd() >= 0 ) pollSet_.descriptorAdd( polledHam_->wakeFd(), [] {} );
}

int Agent::run() {
   journal_->begin();
   look();   // first, so that each machine finds the card as it is
   if ( polledHam_ && !polledHam_->hardwarePresent() )
      journal_->line( "waiting for the card: " + polledHam_->trouble() );
   while ( !signals_.stopAsked() && machines_.makeNext() ) signals_.underWayIs( nullptr );
   Vor::activityManager().run(
      [this] { return signals_.stopAsked(); },
      [this]( double seconds ) {
         signals_.underWayIs( nullptr );
         teller_->look();
         double const wait = std::min( seconds, teller_->longestWait() );
         pollSet_.wait( presence_ ? std::min( wait, presence_->longestWait() ) : wait );
         if ( !signals_.stopAsked() ) look();
      } );
   bool const ready = card_.allReady();
   teller_->look();
   journal_->line( ready ? "stopped, all chips ready" : "stopped, not every chip ready" );
   if ( log_ ) log_->finish();
   return ready && !teller_->stands() ? exitReady : exitNotReady;
}

Vor::Ptr<Fru::HamImpl> Agent::hamImpl() {
   return new Recording::RecordedHam( polledHam_ ? Vor::Ptr<Fru::HamImpl>( polledHam_ ) : realTimeHam_, events_ );
}

Vor::Ptr<Hardware::SetClearGpo> Agent::output( Vor::Name const & name ) {
   return new Sim::SimulatedGpo( name, events_ );
}

void Agent::onStep( Vor::Entity const & config, Hardware::Step const & step ) {
   if ( std::holds_alternative<Hardware::Steps::AttemptBegun>( step ) ) signals_.underWayIs( config.name().charPtr() );
}

// A card that comes or goes sets the machines to work inside this call.
void Agent::look() {
   if ( presence_ ) {
      presence_->arm();
      polledHam_->poll();
   }
   signals_.underWayIs( nullptr );
}

}   // namespace Host
