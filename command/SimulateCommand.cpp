#include "command/SimulateCommand.h"

#include "card/SimulatedWorld.h"
#include "command/CheckCommand.h"
#include "diagnosis/Cause.h"
#include "hal/KivHal.h"
#include "input/Json.h"
#include "input/ScenarioFile.h"
#include "platform/SimulationVmid.h"
#include "recording/EventStream.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "report/Report.h"
#include "report/TracesOn.h"
#include "service/Exit.h"

#include <unistd.h>

#include <iostream>

namespace Host {

namespace {

// How the simulated hardware stands at the end; the event log is complete by then.
std::vector<Diagnosis::ChipAudit> looksAt( SimulatedWorld & world ) {
   world.events().listenersDel();
   if ( Hardware::simulationVmid() ) return {};   // what was written is remembered by each machine for itself
   RegisterAccess access( world.card().description(), world.card().hamImpl() );
   // What a bring-up left in a FIFO hides the chip from whoever asks next, and says nothing of it.
   for ( auto const & chip : world.card().description().max24305s )
      if ( access.readWord( chip.configOffset + Hardware::SpiCtrl::address() ).value_or( 0 ) != 0 )
         access.cleanUp( chip );
   return Diagnosis::auditOf( world.card().description(), access );
}

}   // namespace

int simulate( SimulateOptions const & options ) {
   Input::JsonDocument const file = Input::readJson( options.scenario );
   Input::CardDescription card = Input::cardOfScenario( file.root() );
   Sim::Scenario scenario = Input::readScenario( file.root(), card );
   Input::requireSimulated( card );
   requireServedInputs( card );
   warningsTell( card, options.scenario, false );

   std::optional<Recording::LogFile> events;
   if ( options.events ) events.emplace( *options.events, Recording::EventLog::largePiece );
   SimulatedWorld world( std::move( card ), std::move( scenario ) );
   std::optional<Recording::Recorder> recorder;
   if ( events ) recorder.emplace( events->log(), world.events(), world.card() );
   std::optional<Diagnosis::Story> story;
   Recording::EventStream stream( [&]( Recording::Event const & event ) { story->take( event ); } );
   Recording::Recorder const streamed( stream, world.events(), world.card() );
   story.emplace( stream.header(), "--after " + options.scenario );
   std::optional<Report> report;
   if ( options.events != Recording::LogFile::standardOutput )
      world.events().listenerAdd( report.emplace( std::cout, styleOf( STDOUT_FILENO ), world, options.traceLevel ) );
   {
      TracesOn const tracesOn( events ? Vor::traceLevels : options.traceLevel ? *options.traceLevel + 1 : 0 );
      if ( report ) report->begin( "clockpath simulate " + options.scenario );
      world.run();
      if ( report ) report->end();
   }
   if ( events ) events->finish();
   std::vector<Diagnosis::Cause> const causes = Diagnosis::causesOf( *story, looksAt( world ) );
   if ( report && !causes.empty() ) std::cout << '\n' << Diagnosis::causesText( causes, styleOf( STDOUT_FILENO ) );
   return world.card().allReady() && !Diagnosis::stands( causes, options.strict ) ? exitReady : exitNotReady;
}

}   // namespace Host
