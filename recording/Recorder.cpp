#include "recording/Recorder.h"

#include "platform/SimulationVmid.h"

#include <algorithm>

namespace Recording {

class Recorder::Watch final : public Vor::EntityObserver {
 public:
   Watch( Recorder & recorder, Source source ) : recorder_( recorder ), source_( std::move( source ) ) {
      vorAttach( source_.entity );
   }
   void onAttribute( Vor::Entity const &, Vor::Attribute const & attribute, Vor::Value const & key ) override {
      if ( attribute.name != source_.attribute ) return;
      auto const * const stage = std::get_if<Vor::String>( &key );
      std::string const & of = stage ? stage->stdString() : source_.of;
      recorder_.listener_.tell( recorder_.events_.nowNs(), InputChange{ source_.what, of, source_.value( of ) } );
   }

 private:
   Recorder & recorder_;
   Source const source_;
};

std::vector<Recorder::Source> Recorder::sourcesOf( Host::Card const & card ) {
   std::vector<Source> sources;
   auto const add =
      [&]( auto const & entity, std::string_view attribute, std::string what, std::string of, auto const & value ) {
         sources.push_back(
            { entity, attribute, std::move( what ), std::move( of ),
              [entity, value]( std::string const & key ) { return static_cast<U32>( value( *entity, key ) ); } } );
      };
   add( card.timeSync(), "state", "timeSync", "", []( auto & status, auto & ) { return status.state(); } );
   add( card.redundancy(), "mode", "redundancyMode", "", []( auto & status, auto & ) { return status.mode(); } );
   add( card.redundancy(), "switchoverStage", "switchoverStage", "", []( auto & status, std::string const & stage ) {
      return status.switchoverStage().value( stage );
   } );
   add( card.hamImpl(), "hardwarePresent", "hardwarePresent", "", []( auto & ham, auto & ) {
      return ham.hardwarePresent();
   } );
   for ( auto const & chip : card.description().max24305s )
      add(
         card.max24305ConfigDir()->max24305( chip.name ), "opsToDoValid", "opsToDoValid", chip.name,
         []( auto & config, auto & ) { return config.opsToDoValid(); } );
   for ( auto const & chip : card.description().scenarioChips() )
      add( card.resetGpoOf( chip.name ), "ham", "gpoHam", chip.name, []( auto & output, auto & ) {
         return bool( output.ham() );
      } );
   return sources;
}

Recorder::Recorder( Listener & listener, Sim::CardEvents & events, Host::Card const & card, std::string began )
   : listener_( listener ), events_( events ) {
   Header header;
   header.program = CLOCKPATH_VERSION;
   header.began = std::move( began );
   header.card = card.description();
   header.start.push_back( { "simulationVmid", "", Hardware::simulationVmid() } );
   for ( Source & source : sourcesOf( card ) ) {
      std::vector<std::string> names{ source.of };
      if ( source.what == "switchoverStage" ) {
         names.clear();
         for ( auto const & [stage, reached] : card.redundancy()->switchoverStage() )
            names.push_back( stage.stdString() );
         std::ranges::sort( names );
      }
      for ( std::string const & name : names ) header.start.push_back( { source.what, name, source.value( name ) } );
      watches_.push_back( new Watch( *this, std::move( source ) ) );
   }
   for ( auto const & chip : card.description().scenarioChips() )
      if ( card.ready( chip.name ) ) header.start.push_back( { adoptedInput, chip.name, 1 } );
   listener_.onRecording( header );
   events_.listenerAdd( listener_ );
}

void Recorder::onStep( Vor::Entity const & config, Hardware::Step const & step ) {
   listener_.onStep( events_.nowNs(), config.name().string(), step );
}

}   // namespace Recording
