#include "command/SimulateCommand.h"

#include "command/FileCommands.h"
#include "command/OpenCard.h"
#include "diagnosis/Cause.h"
#include "hal/KivHal.h"
#include "platform/SimulationVmid.h"
#include "recording/EventStream.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "report/Report.h"
#include "report/ReportText.h"
#include "report/TracesOn.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <unistd.h>

#include <chrono>
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

void endTell( SimulatedWorld const & world, Style const & style, std::chrono::duration<double> took ) {
   std::cout << fmt::format(
      "\n{} {} s of virtual time, simulated in {:.3f} s\n",
      world.card().allReady() ? style.good( "All chips are ready." ) : style.bad( "Not every chip is ready." ),
      momentText( world.nowNs() ), took.count() );
}

}   // namespace

int simulate( SimulateOptions const & options ) {
   CardFiles const files( "", options.scenario );
   warningsTell( files.card, options.scenario, false );

   std::optional<Recording::LogFile> events;
   std::vector<std::string> inputs = files.card.files();
   inputs.push_back( options.scenario );
   if ( options.events ) events.emplace( *options.events, Recording::EventLog::largePiece, inputs );
   SimulatedWorld world( files.card, files.scenario );
   std::optional<Recording::Recorder> recorder;
   if ( events ) recorder.emplace( events->log(), world.events(), world.card() );
   Style const style = styleOf( STDOUT_FILENO );
   std::optional<Report> report;
   std::optional<Diagnosis::Story> story;
   Recording::EventStream stream( [&]( Recording::Event const & event ) {
      story->take( event );
      if ( report ) report->take( event );
   } );
   Recording::Recorder const streamed( stream, world.events(), world.card() );
   story.emplace( stream.header(), "--after " + options.scenario );
   if ( options.events != Recording::LogFile::standardOutput ) {
      // What the scenario does is told as such.
      NarratorOptions const shown{ .traceLevel = options.traceLevel, .inputs = false };
      world.events().listenerAdd( report.emplace( std::cout, style, world.card().description(), shown ) );
   }
   {
      TracesOn const tracesOn( events ? Vor::traceLevels : options.traceLevel ? *options.traceLevel + 1 : 0 );
      auto const started = std::chrono::steady_clock::now();
      if ( report ) report->begin( "clockpath simulate " + options.scenario );
      world.run();
      if ( report ) report->end();
      if ( report ) endTell( world, style, std::chrono::steady_clock::now() - started );
   }
   if ( events ) events->finish();
   std::vector<Diagnosis::Cause> const causes = Diagnosis::causesOf( *story, looksAt( world ) );
   if ( report && !causes.empty() ) std::cout << '\n' << Diagnosis::causesText( causes, style );
   return world.card().allReady() && !Diagnosis::stands( causes, options.strict ) ? exitReady : exitNotReady;
}

}   // namespace Host
