#include "service/AgentRequests.h"

#include "diagnosis/Audit.h"
#include "framework/Reflection.h"
#include "input/InputError.h"
#include "input/Number.h"
#include "platform/SimulationVmid.h"
#include "recording/AsideAccesses.h"
#include "registers/RegisterReading.h"

#include <fmt/format.h>

#include <algorithm>

namespace Host {

using Input::InputError;
using Input::Json;

namespace {

constexpr std::string_view machineFolder = "/machine/";

bool isReference( std::string_view typeName ) { return typeName.starts_with( "Vor::Ptr<" ); }
bool isText( std::string_view typeName ) { return typeName == "Vor::String" || typeName == "Vor::Name"; }

std::string textAt( Json const & request, char const * key ) {
   auto const found = request.find( key );
   if ( found == request.end() || !found->is_string() )
      throw InputError( fmt::format( "the request has no text \"{}\"", key ) );
   return found->get<std::string>();
}

Vor::Attribute const &
attributeNamed( Vor::Type const & type, std::string const & name, char const * what, auto fits ) {
   std::vector<std::string_view> known;
   for ( Vor::Attribute const & attribute : type.attributes() )
      if ( fits( attribute ) ) {
         if ( attribute.name == name ) return attribute;
         known.push_back( attribute.name );
      }
   throw InputError( fmt::format( "{}: {}", type.name(), Input::unknownText( what, name, known ) ) );
}

// Programming stops the process at an operation that is none.
void requireOperation( std::string_view typeName, Vor::Value const & value ) {
   if ( typeName != "Hardware::Max24305::Op" ) return;
   auto const type = Vor::fromValue<Hardware::Max24305::Op>( value ).type;
   if ( type < Hardware::Max24305::read_ || type > Hardware::Max24305::sleep_ )
      throw InputError( "an operation that is no read, write or sleep stops the process when it is executed" );
}

}   // namespace

Json jsonOf( Vor::Value const & value ) {
   auto const asJson = []( auto const & held ) -> Json {
      using Held = std::remove_cvref_t<decltype( held )>;
      if constexpr ( std::is_same_v<Held, std::monostate> )
         return {};
      else if constexpr ( std::is_same_v<Held, Vor::String> )
         return held.stdString();
      else if constexpr ( std::is_arithmetic_v<Held> )
         return held;
      else
         return held ? Json( Vor::valueText( held ).stdString() ) : Json();
   };
   return std::visit( asJson, value );
}

AgentRequests::AgentRequests(
   Card const & card, TimeSyncInput & input, Machines const & machines, Sim::CardEvents & events )
   : card_( card ), input_( input ), machines_( machines ), events_( events ) {
   kindAdd( "set", [this]( Json const & request ) { return set( request ); } );
   kindAdd( "call", [this]( Json const & request ) { return call( request ); } );
   kindAdd( "peek", [this]( Json const & request ) { return peek( request ); } );
   kindAdd( "audit", [this]( Json const & request ) { return audit( request ); } );
   kindAdd( "retry", [this]( Json const & request ) { return retry( request ); } );
}

Json AgentRequests::answer( Json const & request ) {
   std::string const kind = textAt( request, "do" );
   if ( auto const found = kinds_.find( kind ); found != kinds_.end() ) return found->second( request );
   std::vector<std::string_view> known;
   for ( auto const & [name, answer] : kinds_ ) known.push_back( name );
   throw InputError( Input::unknownText( "request", kind, known ) );
}

std::vector<AgentRequests::Object> AgentRequests::objects() const {
   std::vector<Object> all;
   auto const add = [&]( Vor::Ptr<Vor::Entity> const & entity ) {
      all.push_back( { entity->fullName().stdString(), entity, "" } );
   };
   auto const directoryAdd = [&]( auto const & directory ) {
      add( directory );
      for ( auto const & [name, member] : directory->members() ) add( member );
   };
   add( card_.ham() );
   add( card_.hamImpl() );
   add( card_.timeSync() );
   add( card_.redundancy() );
   for ( Input::GpoDescription const & gpo : card_.description().gpos ) add( card_.gpo( gpo.name ) );
   directoryAdd( card_.tolvaneConfigDir() );
   directoryAdd( card_.tolvaneStatusDir() );
   directoryAdd( card_.max24305ConfigDir() );
   directoryAdd( card_.max24305StatusDir() );
   for ( auto const & [name, status] : card_.clockStatuses() ) add( status );
   for ( Sim::ScenarioChip const & chip : card_.description().scenarioChips() ) {
      Vor::Ptr<Vor::PtrInterface> const machine = machines_.machine( chip.name );
      if ( !machine ) continue;
      std::string const name = std::string( machineFolder ) + chip.name;
      all.push_back( { name, machine, chip.name } );
      for ( Vor::Attribute const & attribute : machine->fwkType().attributes() ) {
         if ( !attribute.get ) continue;
         Vor::Value const value = Vor::Reflected( machine ).get( attribute.name );
         auto const * owned = std::get_if<Vor::Ptr<Vor::PtrInterface>>( &value );
         if ( owned && *owned && !Vor::ptrCast<Vor::Entity>( *owned ) )
            all.push_back( { name + "/" + std::string( attribute.name ), *owned, chip.name } );
      }
   }
   return all;
}

AgentRequests::Object AgentRequests::object( std::string const & name ) const {
   std::vector<Object> const all = objects();
   auto const found = std::ranges::find( all, name, &Object::name );
   if ( found == all.end() ) throw InputError( Input::unknownText( "entity", name, Input::namesOf( all ) ) );
   return *found;
}

// Users write numbers, also hexadecimal ones, as texts.
Vor::Value AgentRequests::valueOf( Json const & json, std::string_view typeName ) const {
   if ( isReference( typeName ) ) {
      if ( json.is_null() || json == "none" ) return {};
      return object( json.is_string() ? json.get<std::string>() : json.dump() ).object;
   }
   if ( json.is_string() ) {
      std::string const text = json.get<std::string>();
      if ( auto const number = Input::numberOf<U64>( text ); number && !isText( typeName ) ) return *number;
      return Vor::String( text );
   }
   if ( json.is_boolean() ) return json.get<bool>();
   if ( json.is_number_integer() && json >= 0 ) return json.get<U64>();
   if ( json.is_number_float() ) return json.get<double>();
   throw InputError( "expected a text, a number, true or false, found " + json.dump() );
}

// What the gates do not look at, and would stop the process later.
std::string
AgentRequests::whySetRefused( Object const & of, Vor::Attribute const & attribute, Vor::Value const & value ) const {
   std::string_view const name = attribute.name;
   bool const output( Vor::ptrCast<Hardware::SetClearGpo>( of.object ) );
   if ( isReference( attribute.typeName ) && !( output && name == "ham" ) )
      return "it is part of how the card is wired, which stays as it is while the machines live";
   if ( output && ( name == "offset" || name == "bit" ) ) return "the card description says where an output is";
   if ( of.object == card_.hamImpl() && name != "hardwarePresent" ) return "the handle says so of itself";
   bool const chip( Vor::ptrCast<Hardware::Max24305::Status>( of.object ) );
   if ( chip && name == "state" && Vor::fromValue<Hardware::Max24305::State>( value ) == Hardware::Max24305::locking_ )
      return "a chip locks when its machine has programmed it";
   return "";
}

// Whether it is one of the inputs that have rules of their own.
bool AgentRequests::tellInput( Object const & of, std::string_view attribute, Vor::Value const & value ) {
   auto const tell = [&]( auto state, auto const & handOn ) {
      if ( std::string const why = input_.whyRefused( state ); !why.empty() ) throw InputError( why );
      handOn( state );
      return true;
   };
   if ( of.object == card_.timeSync() && attribute == "state" )
      return tell( Vor::fromValue<PtpTimeSync::OperationalState>( value ), [&]( auto s ) { input_.said( s ); } );
   if ( of.object == card_.redundancy() && attribute == "mode" )
      return tell( Vor::fromValue<Redundancy::RedundancyMode>( value ), [&]( auto m ) { input_.modeIs( m ); } );
   return false;
}

Json AgentRequests::set( Json const & request ) {
   Object const of = object( textAt( request, "entity" ) );
   std::string const name = textAt( request, "attribute" );
   Vor::Attribute const & attribute =
      attributeNamed( of.object->fwkType(), name, "attribute", []( auto const & one ) { return !one.call; } );
   auto const refuse = [&]( std::string const & why ) {
      throw InputError( fmt::format( "{} of {} is not set: {}", name, of.name, why ) );
   };
   bool const keyed = request.contains( "key" );
   if ( !attribute.set && !attribute.setAt ) refuse( "it cannot be changed" );
   if ( keyed && !attribute.setAt ) refuse( "it is no collection, and has no keys" );
   if ( !keyed && !attribute.set ) refuse( "it is a collection; expected a key, and the value there" );
   if ( !request.contains( "value" ) ) refuse( "expected a value" );

   Vor::Value const value = valueOf( request["value"], attribute.typeName );
   Vor::Reflected const reflected( of.object );
   try {
      if ( std::string const why = whySetRefused( of, attribute, value ); !why.empty() ) throw InputError( why );
      requireOperation( attribute.typeName, value );
      if ( keyed )
         reflected.setAt( name, valueOf( request["key"], attribute.keyTypeName ), value );
      else if ( !tellInput( of, name, value ) )
         reflected.set( name, value );
   } catch ( std::exception const & error ) {
      refuse( error.what() );
   }
   input_.look();
   Json answer{
      { "value", jsonOf(
                    keyed ? reflected.getAt( name, valueOf( request["key"], attribute.keyTypeName ) )
                          : reflected.get( name ) ) } };
   if ( std::string const held = input_.heldBack(); !held.empty() ) answer["heldBack"] = held;
   return answer;
}

Json AgentRequests::call( Json const & request ) {
   Object const of = object( textAt( request, "object" ) );
   std::string const name = textAt( request, "operation" );
   Vor::Attribute const & operation =
      attributeNamed( of.object->fwkType(), name, "operation", []( auto const & one ) { return one.call; } );
   auto const refuse = [&]( std::string const & why ) {
      throw InputError( fmt::format( "{} of {} is not called: {}", name, of.name, why ) );
   };
   Json const given = request.value( "arguments", Json::object() );
   std::vector<Vor::NamedValue> arguments;
   try {
      std::vector<std::string_view> const known( operation.argumentNames.begin(), operation.argumentNames.end() );
      for ( auto const & [argument, value] : given.items() ) {
         auto const found = std::ranges::find( known, argument );
         if ( found == known.end() ) throw InputError( Input::unknownText( "argument", argument, known ) );
         std::string_view const typeName =
            operation.argumentTypeNames[static_cast<std::size_t>( found - known.begin() )];
         arguments.push_back( { *found, valueOf( value, typeName ) } );
         requireOperation( typeName, arguments.back().value );
      }
      if ( std::ranges::any_of( operation.argumentTypeNames, isReference ) )
         throw InputError( "it wires the machine, which stays as it is while that lives" );
      if ( std::string const why = input_.whyRefused( of.chip, name ); !why.empty() ) throw InputError( why );
      Json const result = jsonOf( Vor::Reflected( of.object ).call( name, std::span( std::as_const( arguments ) ) ) );
      input_.look();
      return operation.typeName == "void" ? Json::object() : Json{ { "result", result } };
   } catch ( std::exception const & error ) {
      refuse( error.what() );
   }
   return {};
}

Json AgentRequests::peek( Json const & request ) {
   Json const words = request.value( "registers", Json::array() );
   RegisterBook const book( card_.description() );
   Recording::AsideAccesses const aside( events_, "peek" );
   RegisterAccess access( card_.description(), card_.hamImpl() );
   Json registers = Json::array();
   for ( RegisterReading & reading : readingsOf( book, words.get<std::vector<std::string>>() ) ) {
      reading.readIfAsked( access );
      registers.push_back( jsonOf( reading ) );
   }
   return { { "registers", registers } };
}

Json AgentRequests::audit( Json const & request ) {
   Recording::AsideAccesses const aside( events_, "audit" );
   RegisterAccess access( card_.description(), card_.hamImpl() );
   Json chips = Json::array();
   Json lines = Json::array();
   for ( Diagnosis::ChipAudit const & one : Diagnosis::auditOf(
            card_.description(), access, request.value( "tolerancePpm", Diagnosis::defaultTolerancePpm ) ) ) {
      chips.push_back( Diagnosis::jsonOf( one ) );
      for ( std::string const & line : Diagnosis::linesOf( one ) ) lines.push_back( line );
   }
   return { { "chips", chips }, { "lines", lines } };
}

std::string AgentRequests::whyRetryRefused( std::string const & chip, bool yes ) const {
   if ( std::string const why = input_.whyRetryRefused( chip ); !why.empty() ) return why;
   auto const config = card_.max24305ConfigDir()->max24305( chip );
   auto const output = card_.resetGpoOf( chip );
   if ( config && !config->opsToDoValid() )
      return "its sequence is not handed over; set opsToDoValid of " + config->fullName().stdString();
   if ( !config && Hardware::simulationVmid() ) return "with SIMULATION_VMID its machine does not look at its output";
   if ( !output->ham() ) return "its reset output has no handle; set ham of " + output->fullName().stdString();
   // Those that it feeds stop with it, and those with the same reset output are reset with it.
   std::string ready;
   for ( Sim::ScenarioChip const & one : card_.description().scenarioChips() ) {
      auto const * const fed = card_.description().max24305( one.name );
      bool const along = one.name == chip || ( fed && fed->tolvane == chip ) || card_.resetGpoOf( one.name ) == output;
      if ( along && card_.ready( one.name ) ) ready += ( ready.empty() ? "" : ", " ) + one.name;
   }
   if ( ready.empty() || yes ) return "";
   return fmt::format( "what is ready stops until it is brought up as well: {}; expected --yes", ready );
}

// Through the chip's own input, as a configurator would: the machine of a Tolvane is made by that where it has none.
Json AgentRequests::retry( Json const & request ) {
   std::string const chip = textAt( request, "chip" );
   auto const chips = card_.description().scenarioChips();
   if ( std::ranges::find( chips, chip, &Sim::ScenarioChip::name ) == chips.end() )
      throw InputError( Input::unknownText( "chip", chip, Input::namesOf( chips ) ) );
   if ( std::string const why = whyRetryRefused( chip, request.value( "yes", false ) ); !why.empty() )
      throw InputError( fmt::format( "{} is not brought up again: {}", chip, why ) );
   std::string state;
   if ( auto const config = card_.max24305ConfigDir()->max24305( chip ) ) {
      config->opsToDoValidIs( false );
      config->opsToDoValidIs( true );
      state = stringValue( card_.max24305StatusDir()->max24305( chip )->state() ).stdString();
   } else {
      card_.resetGpoOf( chip )->hamIs( nullptr );
      card_.resetGpoOf( chip )->hamIs( card_.ham() );
      state = stringValue( card_.tolvaneStatusDir()->tolvane( chip )->state() ).stdString();
   }
   input_.look();
   return { { "chip", chip }, { "state", state } };
}

}   // namespace Host
