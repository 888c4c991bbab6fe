#include "command/StateView.h"

#include "card/MirroredHam.h"
#include "input/CardDescription.h"
#include "input/InputError.h"
#include "platform/Ham.h"
#include "service/AgentRequests.h"
#include "service/AgentStatus.h"
#include "service/UsualPlaces.h"
#include "state/OpenLog.h"

#include <fmt/format.h>

#include <poll.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

std::string placeOf( StateOptions const & options ) {
   if ( !options.state.empty() && !options.card.empty() )
      throw Input::InputError( "--state and --card each name a state; expected one of them" );
   if ( !options.card.empty() ) return usualStatePath( Input::readCard( options.card ) );
   if ( options.state.empty() )
      throw Input::InputError( "expected --state WHERE, or --card CARD for the usual place of that card's agent" );
   return options.state;
}

}   // namespace

StateView::StateView( StateOptions const & options )
   : source_( State::openSource( placeOf( options ) ) ),
     mirror_( []( Vor::String const & text ) { std::cerr << "clockpath: " << text << '\n'; } ) {
   handlesMirrored( mirror_ );
   position_ = source_->snapshot( batch_ );
   mirror_.snapshotIs( batch_ );
}

Vor::Ptr<Vor::Entity> StateView::entity( std::string const & name ) const {
   if ( auto const found = mirror_.entity( name ) ) return found;
   std::vector<std::string> names;
   for ( auto const & known : entities() ) names.push_back( known->fullName().stdString() );
   throw Input::InputError( Input::unknownText( "entity", name, { names.begin(), names.end() } ) );
}

std::string StateView::socket() const {
   auto const agent = the<AgentStatus>( "/agent" );
   return agent ? agent->socket().stdString() : "";
}

void StateView::follow(
   std::function<void( Vor::LogEntry const & )> const & applied, std::function<void( Vor::LogPosition )> const & gap ) {
   constexpr int longestMs = 1000;
   pollfd look{ source_->wakeFd(), POLLIN, 0 };
   Vor::LogBatch one;
   for ( ;; ) {
      Vor::LogPosition at = position_;
      switch ( source_->next( position_, batch_, at ) ) {
      case Vor::LogSource::Got::nothing:
         ::poll( &look, 1, longestMs );
         continue;
      case Vor::LogSource::Got::gap:
         at = source_->snapshot( batch_ );
         gap( at );
         position_ = at;
         mirror_.snapshotIs( batch_ );
         return;
      case Vor::LogSource::Got::turn:
         position_ = at;
         for ( Vor::LogEntry const & entry : batch_ ) {
            one.clear();
            one.entryAdd( entry );
            mirror_.turn( one );
            applied( entry );
         }
         return;
      }
   }
}

std::string shownText( Vor::Value const & value ) {
   constexpr U64 alike = 10;   // below, both are written the same
   auto const * number = std::get_if<U64>( &value );
   if ( auto const * text = std::get_if<Vor::String>( &value ); text && text->empty() ) return "\"\"";
   return number && *number >= alike ? fmt::format( "{} (0x{:x})", *number, *number )
                                     : Vor::oneLine( Vor::valueText( value ) ).stdString();
}

std::string ShownValue::name() const {
   return std::string( attribute ) +
          ( std::holds_alternative<std::monostate>( key ) ? "" : "[" + Vor::valueText( key ).stdString() + "]" );
}

std::vector<ShownValue> shownValues( Vor::Ptr<Vor::Entity> const & entity, std::string const & attribute ) {
   Vor::Reflected const reflected( entity );
   std::vector<ShownValue> values;
   std::vector<std::string_view> known;
   for ( Vor::Attribute const & one : reflected.type().attributes() ) {
      if ( !one.get && !one.keys ) continue;
      known.push_back( one.name );
      if ( !attribute.empty() && one.name != attribute ) continue;
      if ( one.get ) {
         values.push_back( { one.name, {}, reflected.get( one.name ) } );
         continue;
      }
      std::vector<Vor::Value> keys = reflected.keys( one.name );
      std::ranges::sort( keys, []( Vor::Value const & a, Vor::Value const & b ) {
         auto const * first = std::get_if<U64>( &a );
         auto const * second = std::get_if<U64>( &b );
         return first && second ? *first < *second : Vor::valueText( a ) < Vor::valueText( b );
      } );
      for ( Vor::Value const & key : keys ) values.push_back( { one.name, key, reflected.getAt( one.name, key ) } );
   }
   if ( !attribute.empty() && std::ranges::find( known, attribute ) == known.end() )
      throw Input::InputError(
         fmt::format( "{}: {}", reflected.type().name(), Input::unknownText( "attribute", attribute, known ) ) );
   return values;
}

Input::Json jsonOf( std::vector<ShownValue> const & values ) {
   Input::Json object = Input::Json::object();
   for ( ShownValue const & one : values )
      if ( std::holds_alternative<std::monostate>( one.key ) )
         object[std::string( one.attribute )] = jsonOf( one.value );
      else
         object[std::string( one.attribute )][Vor::valueText( one.key ).stdString()] = jsonOf( one.value );
   return object;
}

}   // namespace Host
