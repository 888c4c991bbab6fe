#include "input/ScenarioFile.h"

#include "input/Json.h"

#include <algorithm>

namespace Input {

using namespace Sim;

namespace {

std::vector<std::string_view> namesOf( std::span<ScenarioChip const> chips ) {
   std::vector<std::string_view> names;
   for ( ScenarioChip const & chip : chips ) names.push_back( chip.name );
   return names;
}

// What slowLock takes longer unless the scenario says: well above what the APLLs need, well below what the lock wait
// allows.
constexpr U64 slowLockExtraNs = 10'000'000'000;

// Reads the parts of a scenario of one card.
class ScenarioReader {
 public:
   explicit ScenarioReader( std::span<ScenarioChip const> chips ) : chips_( chips ) {}

   Scenario read( JsonValue const & root ) const {
      JsonObject object = root.object();
      Scenario scenario;
      object["card"];   // its reader has been here
      if ( object.has( "start" ) ) scenario.start = start( object["start"] );
      if ( object.has( "events" ) )
         for ( JsonValue const & value : object["events"].list() ) scenario.events.push_back( event( value ) );
      if ( object.has( "untilNs" ) ) scenario.untilNs = object["untilNs"].u64();
      object.finish();
      std::stable_sort( scenario.events.begin(), scenario.events.end(), []( Event const & a, Event const & b ) {
         return a.atNs < b.atNs;
      } );
      return scenario;
   }

 private:
   StartState start( JsonValue const & value ) const {
      JsonObject object = value.object();
      StartState start;
      if ( object.has( "timeSync" ) ) start.timeSync = object["timeSync"].u32();
      if ( object.has( "redundancyMode" ) ) start.redundancyMode = object["redundancyMode"].u32();
      if ( object.has( "switchoverStage" ) )
         for ( auto const & [stage, reached] : object["switchoverStage"].object().members() )
            start.switchoverStage.emplace_back( stage, reached.boolean() );
      if ( object.has( "hardwarePresent" ) ) start.hardwarePresent = object["hardwarePresent"].boolean();
      if ( object.has( "simulationVmid" ) ) start.simulationVmid = object["simulationVmid"].boolean();
      if ( object.has( "gpoHam" ) ) start.gpoHam = byChip( object["gpoHam"], false );
      if ( object.has( "opsToDoValid" ) ) start.opsToDoValid = byChip( object["opsToDoValid"], true );
      object.finish();
      return start;
   }

   std::map<std::string, bool> byChip( JsonValue const & value, bool max24305Only ) const {
      std::map<std::string, bool> flags;
      for ( auto const & [name, flag] : value.object().members() ) {
         chipNamed( flag, name, max24305Only );
         flags[name] = flag.boolean();
      }
      return flags;
   }

   Event event( JsonValue const & value ) const {
      JsonObject object = value.object();
      Event event;
      event.atNs = object["atNs"].u64();
      for ( char const * key :
            { "timeSync", "redundancyMode", "switchoverStage", "hardwarePresent", "opsToDoValid", "gpoHam", "fault" } )
         object[key];
      object.finish();
      for ( auto const & [key, what] : object.members() ) actionsAppend( key, what, event.actions );
      if ( event.actions.empty() )
         value.failWith( "nothing happens here; expected one of \"timeSync\", \"redundancyMode\", \"switchoverStage\", "
                         "\"hardwarePresent\", \"opsToDoValid\", \"gpoHam\" and \"fault\" beside \"atNs\"" );
      return event;
   }

   void actionsAppend( std::string const & key, JsonValue const & what, std::vector<Action> & actions ) const {
      if ( key == "timeSync" ) {
         actions.push_back( TimeSyncIs{ what.u32() } );
      } else if ( key == "redundancyMode" ) {
         actions.push_back( RedundancyModeIs{ what.u32() } );
      } else if ( key == "switchoverStage" ) {
         for ( auto const & [stage, reached] : what.object().members() )
            actions.push_back( SwitchoverStageIs{ stage, reached.boolean() } );
      } else if ( key == "hardwarePresent" ) {
         actions.push_back( HardwarePresentIs{ what.boolean() } );
      } else if ( key == "opsToDoValid" ) {
         auto [chip, flag] = chipFlag( what, true );
         actions.push_back( OpsToDoValidIs{ std::move( chip ), flag } );
      } else if ( key == "gpoHam" ) {
         auto [chip, flag] = chipFlag( what, false );
         actions.push_back( GpoHamIs{ std::move( chip ), flag } );
      } else if ( key == "fault" ) {
         actions.push_back( fault( what ) );
      }
   }

   std::pair<std::string, bool> chipFlag( JsonValue const & value, bool max24305Only ) const {
      JsonObject object = value.object();
      std::string chip = object["chip"].name();
      chipNamed( object["chip"], chip, max24305Only );
      bool const flag = object["value"].boolean();
      object.finish();
      return { std::move( chip ), flag };
   }

   FaultIs fault( JsonValue const & value ) const {
      JsonObject object = value.object();
      FaultIs result;
      std::vector<std::string_view> kinds;
      for ( FaultKind const kind : faultKinds() ) kinds.push_back( faultKindText( kind ) );
      Fault & fault = result.fault;
      fault.kind = faultKinds()[object["kind"].oneOf( kinds )];
      result.chip = faultChip( object["chip"], fault.kind );
      if ( fault.kind == FaultKind::bitFlip_ ) {
         fault.address = static_cast<U16>( object["address"].u32( 0xFFFF ) );
         fault.mask = static_cast<U8>( object["mask"].u64( 1, 0xFF ) );
      }
      if ( fault.kind == FaultKind::slowLock_ )
         fault.extraNs = object.has( "extraNs" ) ? object["extraNs"].u64() : slowLockExtraNs;
      if ( object.has( "forNs" ) ) fault.forNs = object["forNs"].u64();
      if ( object.has( "count" ) ) fault.count = object["count"].u64( 1 );
      if ( fault.forNs && fault.count )
         value.failWith( "a fault lasts for a span or a number of times; expected \"forNs\" or \"count\", found both" );
      object.finish();
      return result;
   }

   // A fault of the whole card may name one of its chips. The name may be left out where only one chip comes into
   // question.
   std::string faultChip( JsonValue const & where, FaultKind kind ) const {
      std::vector<std::string_view> const able = chipsWith( kind );
      if ( faultFits( kind, FaultTarget::card_ ) ) {
         if ( where.present() ) chipNamed( where, where.name(), false );
         return {};
      }
      if ( !where.present() && able.size() == 1 ) return std::string( able.front() );
      std::string const name = where.name();
      if ( !faultFits( kind, chipNamed( where, name, false ).target ) )
         where.failWith(
            "the chip \"" + name + "\" cannot have the fault \"" + std::string( faultKindText( kind ) ) +
            "\"; expected " + choicesText( able ) );
      return name;
   }

   ScenarioChip const & chipNamed( JsonValue const & where, std::string const & name, bool max24305Only ) const {
      auto const chip =
         std::find_if( chips_.begin(), chips_.end(), [&]( ScenarioChip const & c ) { return c.name == name; } );
      if ( chip == chips_.end() )
         where.failWith( "the card has no chip \"" + name + "\"; expected " + choicesText( namesOf( chips_ ) ) );
      if ( max24305Only && chip->target != FaultTarget::max24305_ )
         where.failWith( "\"" + name + "\" is a Tolvane, which has no sequence; expected the name of a MAX24305" );
      return *chip;
   }

   std::vector<std::string_view> chipsWith( FaultKind kind ) const {
      std::vector<std::string_view> names;
      for ( ScenarioChip const & chip : chips_ )
         if ( faultFits( kind, chip.target ) ) names.push_back( chip.name );
      return names;
   }

   std::span<ScenarioChip const> chips_;
};

}   // namespace

Scenario readScenario( JsonValue const & root, std::span<ScenarioChip const> chips ) {
   return ScenarioReader( chips ).read( root );
}

}   // namespace Input
