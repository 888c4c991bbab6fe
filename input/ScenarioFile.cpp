#include "input/ScenarioFile.h"

#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"
#include "input/CardDescription.h"
#include "input/Json.h"
#include "sim/SpiMaster.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace Input {

using namespace Sim;

namespace {

// What slowLock takes longer unless the scenario says: well above what the APLLs need, well below what the lock wait
// allows.
constexpr U64 slowLockExtraNs = 10'000'000'000;

// Reads how the hardware is built where it differs from its description.
class BuiltReader {
 public:
   explicit BuiltReader( CardDescription const & card ) : card_( card ) {}

   SimulatedCard::Parameters read( JsonValue const & value ) {
      if ( !std::holds_alternative<SimulatedAccess>( card_.access ) )
         value.fail( "no hardware as built, since the card's access is not \"simulated\"" );
      built_ = simulatedParameters( card_ );
      JsonObject object = value.object();
      if ( object.has( "gpos" ) )
         for ( auto const & [name, what] : object["gpos"].object().members() ) output( name, what );
      if ( object.has( "chips" ) )
         for ( auto const & [name, what] : object["chips"].object().members() ) chip( name, what );
      object.finish();
      try {
         SimulatedCard const made( new VirtualClock, built_ );
      } catch ( std::invalid_argument const & error ) {
         value.failWith(
            error.what() +
            std::string( "; expected hardware in which each register, and each bit of an output, has one owner" ) );
      }
      return std::move( built_ );
   }

 private:
   void output( std::string const & name, JsonValue const & value ) {
      auto const output = std::ranges::find( built_.outputs, name, &SimulatedCard::Output::name );
      if ( output == built_.outputs.end() )
         value.failWith(
            "the card has no output \"" + name + "\"; expected " + choicesText( namesOf( built_.outputs ) ) );
      JsonObject object = value.object();
      if ( object.has( "bit" ) ) output->bit = object["bit"].u32( 31 );
      if ( object.has( "activeType" ) ) output->activeType = enumeratorOf<Fru::ActiveType>( object["activeType"] );
      object.finish();
   }

   void chip( std::string const & name, JsonValue const & value ) {
      auto const tolvane = std::ranges::find( built_.tolvanes, name, &SimulatedCard::Tolvane::name );
      auto const max24305 = std::ranges::find( built_.max24305s, name, &SimulatedCard::Max24305::name );
      JsonObject object = value.object();
      if ( tolvane != built_.tolvanes.end() ) {
         if ( object.has( "offset" ) ) tolvane->offset = offset( object["offset"], Hardware::tolvaneBlock );
      } else if ( max24305 != built_.max24305s.end() ) {
         SimulatedCard::Max24305 & chip = *max24305;
         if ( object.has( "configOffset" ) )
            chip.configOffset = offset( object["configOffset"], Hardware::spiMasterBlock );
         if ( object.has( "statusOffset" ) )
            chip.statusOffset = offset( object["statusOffset"], Hardware::frequencyBlock );
         if ( object.has( "outputFrequencyInHz" ) ) chip.outputFrequencyInHz = object["outputFrequencyInHz"].u32();
         if ( object.has( "spiResponses" ) ) chip.spiResponses = object["spiResponses"].u32( SpiMaster::fifoDepth );
         if ( object.has( "spiCommands" ) ) chip.spiCommands = object["spiCommands"].u32( SpiMaster::fifoDepth );
      } else {
         std::vector<ScenarioChip> const chips = card_.scenarioChips();
         value.failWith( "the card has no chip \"" + name + "\"; expected " + choicesText( namesOf( chips ) ) );
      }
      object.finish();
   }

   // Of a block whose registers all lie in the card's space.
   static U32 offset( JsonValue const & value, Hal::Registers block ) {
      U32 const offset = value.u32( 0xFFFF'FFFC - block.back().address );
      if ( offset % 4 != 0 ) value.fail( "an offset that is a multiple of 4, for a register is a 32-bit word" );
      return offset;
   }

   CardDescription const & card_;
   SimulatedCard::Parameters built_;
};

// Reads the parts of a scenario of one card.
class ScenarioReader {
 public:
   explicit ScenarioReader( CardDescription const & card ) : card_( card ) {
      for ( ScenarioChip const & chip : card.scenarioChips() ) chips_.push_back( chip );
   }

   Scenario read( JsonValue const & root ) {
      JsonObject object = root.object();
      Scenario scenario;
      // The first one's reader has been here. In a message they stand in this order.
      for ( char const * const key : { "card", "built", "start", "events" } ) object[key];
      Mistakes mistakes;
      object.gather(
         mistakes, "built", [&]( auto const & value ) { scenario.built = BuiltReader( card_ ).read( value ); } );
      Mistakes toldBelow;
      object.gather( toldBelow, "untilNs", [&]( auto const & value ) { lastNs_ = std::min( lastNs_, value.u64() ); } );
      object.gather( mistakes, "start", [&]( auto const & value ) { scenario.start = start( value ); } );
      object.gather( mistakes, "events", [&]( auto const & events ) {
         for ( JsonValue const & value : events.list( Limits::events ) )
            mistakes.gather( [&] { scenario.events.push_back( event( value ) ); } );
      } );
      object.gather( mistakes, "untilNs", [&]( auto const & value ) { scenario.untilNs = value.u64(); } );
      mistakes.gather( [&] { object.finish(); } );
      mistakes.raise();
      std::ranges::stable_sort( scenario.events, {}, &Event::atNs );
      return scenario;
   }

 private:
   StartState start( JsonValue const & value ) {
      JsonObject object = value.object();
      StartState start;
      for ( ActionType const & type : actionTypes() )
         if ( type.takes != ActionTakes::fault_ && object.has( type.key ) )
            actionsAppend( type, object[type.key], true, start.actions );
      if ( object.has( "simulationVmid" ) ) start.simulationVmid = object["simulationVmid"].boolean();
      object.finish();
      return start;
   }

   Event event( JsonValue const & value ) {
      JsonObject object = value.object();
      Event event;
      event.atNs = object["atNs"].u64();
      if ( event.atNs > lastNs_ )
         object["atNs"].failWith(
            "nothing happens at " + std::to_string( event.atNs ) + " ns, when the run is over; expected a time up to " +
            std::to_string( lastNs_ ) );
      for ( ActionType const & type : actionTypes() ) object[type.key];
      object.finish();
      for ( auto const & [key, what] : object.members() )
         if ( key != "atNs" ) actionsAppend( typeOf( { .key = key } ), what, false, event.actions );
      if ( event.actions.empty() )
         value.failWith(
            "nothing happens here; expected one of " + choicesText( namesOf( actionTypes(), &ActionType::key ) ) +
            " beside \"atNs\"" );
      return event;
   }

   // What a line of the file says of one sort of action. The flags of chips stand by name at the start, where all may
   // be told, and one a line in the events.
   void actionsAppend( ActionType const & type, JsonValue const & what, bool atStart, std::vector<Action> & actions ) {
      auto const append = [&]( std::string const & name, U32 number ) {
         actions.push_back( { .key = std::string( type.key ), .name = name, .value = number } );
      };
      auto const appendOfChip = [&]( JsonValue const & where, std::string const & chip, JsonValue const & flag ) {
         chipNamed( where, chip, type.takes == ActionTakes::flagOfMax24305_ );
         append( chip, flag.boolean() );
      };
      switch ( type.takes ) {
      case ActionTakes::number_:
         append( "", what.u32() );
         break;
      case ActionTakes::flag_:
         append( "", what.boolean() );
         break;
      case ActionTakes::flagOfStage_:
         for ( auto const & [stage, flag] : what.object().members() ) {
            what.requireName( stage );
            what.requireWithin( Limits::stages, ++stages_ );
            append( stage, flag.boolean() );
         }
         break;
      case ActionTakes::flagOfChip_:
      case ActionTakes::flagOfMax24305_: {
         JsonObject object = what.object();
         if ( atStart ) {
            for ( auto const & [chip, flag] : object.members() ) appendOfChip( flag, chip, flag );
         } else {
            JsonValue const chip = object["chip"];
            appendOfChip( chip, chip.name(), object["value"] );
         }
         object.finish();
         break;
      }
      case ActionTakes::fault_:
         what.requireWithin( Limits::faults, ++faults_ );
         actions.push_back( fault( what ) );
      }
   }

   Action fault( JsonValue const & value ) const {
      JsonObject object = value.object();
      Action result{ .key = "fault" };
      Fault & fault = result.fault;
      fault.kind = faultKinds()[object["kind"].oneOf( namesOf( faultKinds(), faultKindText ) )];
      result.name = faultChip( object["chip"], fault.kind );
      parameters( object, result );
      if ( fault.kind != FaultKind::chipReset_ ) {   // which takes no time
         if ( object.has( "forNs" ) ) fault.forNs = object["forNs"].u64( 1 );
         if ( object.has( "count" ) ) fault.count = object["count"].u64( 1 );
      }
      if ( fault.forNs && fault.count )
         value.failWith( "a fault lasts for a span or a number of times; expected \"forNs\" or \"count\", found both" );
      object.finish();
      return result;
   }

   // What the action's kind of fault takes beside its chip and its end.
   void parameters( JsonObject & object, Action & action ) const {
      Fault & fault = action.fault;
      switch ( fault.kind ) {
      case FaultKind::bitFlip_:
      case FaultKind::bitStuck_: {
         bool const ofTolvane = chipNamed( object["chip"], action.name, false ).target == FaultTarget::tolvane_;
         U32 const lastBits = ofTolvane ? 0xFFFF'FFFF : 0xFF;
         // A Tolvane's only register need not be told.
         if ( !ofTolvane || object.has( "address" ) )
            fault.address = static_cast<U16>( object["address"].u32( ofTolvane ? 0 : 0xFFFF ) );
         fault.mask = static_cast<U32>( object["mask"].u64( 1, lastBits ) );
         if ( fault.kind == FaultKind::bitStuck_ ) fault.value = object["value"].u32( lastBits );
         break;
      }
      case FaultKind::misoStuck_:
         fault.value = object["value"].u32( 1 );
         break;
      case FaultKind::spiShift_:
         fault.bits = static_cast<U32>( object["bits"].u64( 1, 7 ) );
         break;
      case FaultKind::flapLock_:
         fault.periodNs = object["periodNs"].u64( 1 );
         fault.lockedNs = object["lockedNs"].u64( 0, fault.periodNs - 1 );
         [[fallthrough]];
      case FaultKind::loseLock_:
         if ( object.has( "mask" ) ) fault.mask = apllMask( object["mask"] );
         break;
      case FaultKind::slowLock_:
         fault.extraNs = object.has( "extraNs" ) ? object["extraNs"].u64() : slowLockExtraNs;
         break;
      default:
         break;
      }
   }

   static U32 apllMask( JsonValue const & value ) {
      Hardware::ApllStatus const aplls( value.u32( 0xFF ) );
      if ( !aplls.apll1Locked() && !aplls.apll2Locked() )
         value.fail( "a mask with the bit of an APLL in register 7: 1, 16, or 17 for both" );
      return aplls.value();
   }

   // A fault of the whole card may name one of its chips. The name may be left out where only one chip comes into
   // question; for the bits of a register, where only one MAX24305 does.
   std::string faultChip( JsonValue const & where, FaultKind kind ) const {
      std::vector<std::string_view> const able = chipsWith( kind );
      if ( faultFits( kind, FaultTarget::card_ ) ) {
         if ( where.present() ) chipNamed( where, where.name(), false );
         return {};
      }
      for ( auto const & meant : { able, chipsWith( kind, ofRegister( kind ) ) } )
         if ( !where.present() && meant.size() == 1 ) return std::string( meant.front() );
      std::string const name = where.name();
      if ( !faultFits( kind, chipNamed( where, name, false ).target ) )
         where.failWith(
            "the chip \"" + name + "\" cannot have the fault \"" + std::string( faultKindText( kind ) ) +
            "\"; expected " + choicesText( able ) );
      return name;
   }

   ScenarioChip const & chipNamed( JsonValue const & where, std::string const & name, bool max24305Only ) const {
      ScenarioChip const * const chip = chips_.find( name );
      if ( !chip )
         where.failWith( "the card has no chip \"" + name + "\"; expected " + choicesText( namesOf( chips_ ) ) );
      if ( max24305Only && chip->target != FaultTarget::max24305_ )
         where.failWith( "\"" + name + "\" is a Tolvane, which has no sequence; expected the name of a MAX24305" );
      return *chip;
   }

   static bool ofRegister( FaultKind kind ) { return kind == FaultKind::bitFlip_ || kind == FaultKind::bitStuck_; }

   std::vector<std::string_view> chipsWith( FaultKind kind, bool max24305Only = false ) const {
      std::vector<std::string_view> names;
      for ( ScenarioChip const & chip : chips_ )
         if ( faultFits( kind, chip.target ) && ( !max24305Only || chip.target == FaultTarget::max24305_ ) )
            names.push_back( chip.name );
      return names;
   }

   CardDescription const & card_;
   NamedList<ScenarioChip> chips_;
   U64 lastNs_ = std::numeric_limits<U64>::max() - 1;   // at which something can happen
   std::size_t stages_ = 0;                             // that were read so far, and faults
   std::size_t faults_ = 0;
};

}   // namespace

Scenario readScenario( JsonValue const & root, CardDescription const & card ) {
   return ScenarioReader( card ).read( root );
}

}   // namespace Input
