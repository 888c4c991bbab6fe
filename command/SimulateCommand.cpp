#include "command/SimulateCommand.h"

#include "card/SimulatedWorld.h"
#include "command/CheckCommand.h"
#include "input/Json.h"
#include "input/ScenarioFile.h"
#include "recording/EventLog.h"
#include "report/Report.h"
#include "report/TracesOn.h"
#include "service/Exit.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>

namespace Host {

namespace {

constexpr char toStandardOutput[] = "-";

// The event log and where it goes.
class EventsFile {
 public:
   explicit EventsFile( std::string const & path ) : path_( path ) {
      if ( path == toStandardOutput ) return;
      errno = 0;
      file_.open( path, std::ios::binary | std::ios::trunc );
      if ( !file_ ) fail( std::string( ": " ) + std::strerror( errno ? errno : EIO ) );
   }
   Recording::EventLog & log() { return log_; }
   void finish() {
      log_.flush();
      // What the system said is not kept once a stream has failed.
      if ( !out_ ) fail( " in full; is there room for it?" );
   }

 private:
   [[noreturn]] void fail( std::string const & why ) const {
      throw Input::InputError(
         ( path_ == toStandardOutput ? "standard output" : path_ ) + ": the event log cannot be written" + why );
   }

   std::string const path_;
   std::ofstream file_;
   std::ostream & out_ = path_ == toStandardOutput ? std::cout : file_;
   Recording::EventLog log_{ out_ };
};

}   // namespace

int simulate( SimulateOptions const & options ) {
   Input::JsonDocument const file = Input::readJson( options.scenario );
   Input::CardDescription card = Input::cardOfScenario( file.root() );
   std::vector<Sim::ScenarioChip> const chips = card.scenarioChips();
   Sim::Scenario scenario = Input::readScenario( file.root(), chips );
   Input::requireSimulated( card );
   requireServedInputs( card );
   std::vector<Diagnosis::Warning> const warnings = Diagnosis::warningsOf( card );
   for ( std::string const & unknown : unknownOperations( warnings ) )
      std::cerr << "clockpath: warning: " << unknown << '\n';
   warningCountTell( warnings, options.scenario );

   std::optional<EventsFile> events;
   if ( options.events ) events.emplace( *options.events );
   SimulatedWorld world( std::move( card ), std::move( scenario ) );
   if ( events ) world.events().listenerAdd( events->log() );
   std::optional<Report> report;
   if ( options.events != toStandardOutput )
      world.events().listenerAdd( report.emplace( std::cout, styleOf( STDOUT_FILENO ), world, options.traceLevel ) );
   {
      TracesOn const tracesOn( events ? Vor::traceLevels : options.traceLevel ? *options.traceLevel + 1 : 0 );
      if ( report ) report->begin( "clockpath simulate " + options.scenario );
      world.run();
      if ( report ) report->end();
   }
   if ( events ) events->finish();
   return world.card().allReady() ? exitReady : exitNotReady;
}

}   // namespace Host
