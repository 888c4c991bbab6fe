#include "host/SimulateCommand.h"

#include "host/Exit.h"
#include "host/Report.h"
#include "host/SimulatedWorld.h"
#include "host/TracesOn.h"
#include "sim/EventLog.h"
#include "sim/Json.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>

namespace Host {

namespace {

constexpr char toStandardOutput[] = "-";

// The card that a scenario names, or holds in place.
CardDescription cardOf( Sim::JsonValue const & scenario ) {
   Sim::JsonValue const card = scenario.object()["card"];
   if ( card.isText() ) {
      std::string const path = besideFile( card.document().name(), card.name() );
      std::string content;
      try {
         content = Sim::readFile( path );
      } catch ( Sim::InputError const & error ) {
         card.failWith( std::string( "the card description " ) + error.what() );
      }
      Sim::JsonDocument const document( path, content );
      return cardDescription( document.root() );
   }
   if ( !card.isObject() ) card.fail( "the path of a card description, or a card description in place" );
   return cardDescription( card );
}

class EventsFile {
 public:
   explicit EventsFile( std::string const & path ) : path_( path ) {
      if ( path == toStandardOutput ) return;
      errno = 0;
      file_.open( path, std::ios::binary | std::ios::trunc );
      if ( !file_ ) fail( std::string( ": " ) + std::strerror( errno ? errno : EIO ) );
   }
   std::ostream & stream() { return file_.is_open() ? file_ : std::cout; }
   void finish() {
      // What the system said is not kept once a stream has failed.
      if ( !stream().flush() ) fail( " in full; is there room for it?" );
   }

 private:
   [[noreturn]] void fail( std::string const & why ) const {
      throw Sim::InputError(
         ( path_ == toStandardOutput ? "standard output" : path_ ) + ": the event log cannot be written" + why );
   }

   std::string const path_;
   std::ofstream file_;
};

}   // namespace

int simulate( SimulateOptions const & options ) {
   Sim::JsonDocument const file = Sim::readJson( options.scenario );
   CardDescription card = cardOf( file.root() );
   std::vector<Sim::ScenarioChip> const chips = card.scenarioChips();
   Sim::Scenario scenario = Sim::readScenario( file.root(), chips );
   if ( !std::holds_alternative<SimulatedAccess>( card.access ) )
      throw Sim::InputError(
         card.file + ": /access/kind: only a simulated card can be simulated; expected \"simulated\", found \"mmap\"" );
   requireServedInputs( card );

   std::optional<EventsFile> eventsFile;
   if ( options.events ) eventsFile.emplace( *options.events );
   bool const reported = options.events != toStandardOutput;

   SimulatedWorld world( std::move( card ), std::move( scenario ) );
   std::optional<Sim::EventLog> log;
   if ( eventsFile ) world.events().listenerIs( log.emplace( eventsFile->stream() ) );
   std::optional<Report> report;
   if ( reported )
      world.events().listenerIs( report.emplace( std::cout, styleOf( STDOUT_FILENO ), world, options.traceLevel ) );
   U32 const levels = log ? Vor::traceLevels : options.traceLevel ? *options.traceLevel + 1 : 0;
   {
      TracesOn const tracesOn( levels );
      if ( report ) report->begin( "clockpath simulate " + options.scenario );
      world.run();
      if ( report ) report->end();
   }
   if ( log ) {
      log->flush();
      eventsFile->finish();
   }
   return world.card().allReady() ? exitReady : exitNotReady;
}

}   // namespace Host
