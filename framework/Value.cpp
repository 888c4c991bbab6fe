#include "framework/Value.h"

#include "framework/Entity.h"

#include <charconv>

namespace Vor {

namespace {

String objectText( PtrInterface const * object ) {
   if ( !object ) return "none";
   if ( auto const * entity = dynamic_cast<Entity const *>( object ) ) return entity->fullName();
   return object->fwkType().name();
}

template<class T> bool readWhole( String const & text, T & number ) {
   char const * const end = text.charPtr() + text.size();
   auto const result = std::from_chars( text.charPtr(), end, number );
   return result.ec == std::errc() && result.ptr == end;
}

}   // namespace

String referenceToStrep( PtrInterface const * object, PtrInterface const * beside ) {
   String const text = objectText( object );
   auto const * entity = dynamic_cast<Entity const *>( object );
   bool const alike = entity && object != beside && text == objectText( beside );
   return valueToStrep( text ) + ( alike ? format( " (entity %u)", entity->ordinal() ) : String() );
}

String valueText( Value const & value ) {
   struct {
      String operator()( std::monostate ) const { return "none"; }
      String operator()( String const & text ) const { return text; }
      String operator()( bool flag ) const { return valueToStrep( flag ); }
      String operator()( U64 number ) const { return valueToStrep( number ); }
      String operator()( double number ) const { return valueToStrep( number ); }
      String operator()( Ptr<PtrInterface const> const & object ) const { return objectText( object.ptr() ); }
      String operator()( Ptr<PtrInterface> const & object ) const { return objectText( object.ptr() ); }
   } const asText;
   return std::visit( asText, value );
}

void Detail::throwNoValueOf( Value const & value, char const * wanted ) {
   throw RangeException( "expected " + String( wanted ) + ", found " + valueToStrep( valueText( value ) ) );
}

U64 Detail::unsignedFromValue( Value const & value, U64 maximum ) {
   U64 number = 0;
   auto const * text = std::get_if<String>( &value );
   if ( auto const * held = std::get_if<U64>( &value ) )
      number = *held;
   else if ( auto const * flag = std::get_if<bool>( &value ) )
      number = *flag;
   else if ( !text || !readWhole( *text, number ) )
      throwNoValueOf( value, "an unsigned integer" );
   if ( number > maximum )
      throw RangeException(
         "expected a number up to " + valueToStrep( maximum ) + ", found " + valueToStrep( number ) );
   return number;
}

bool Detail::boolFromValue( Value const & value ) {
   if ( auto const * flag = std::get_if<bool>( &value ) ) return *flag;
   String const text = valueText( value );
   if ( text != "true" && text != "false" ) throwNoValueOf( value, "true or false" );
   return text == "true";
}

double Detail::doubleFromValue( Value const & value ) {
   double number = 0;
   if ( auto const * held = std::get_if<double>( &value ) ) return *held;
   if ( auto const * whole = std::get_if<U64>( &value ) ) return static_cast<double>( *whole );
   auto const * text = std::get_if<String>( &value );
   if ( !text || !readWhole( *text, number ) ) throwNoValueOf( value, "a number" );
   return number;
}

String Detail::stringFromValue( Value const & value ) {
   auto const * text = std::get_if<String>( &value );
   if ( !text ) throwNoValueOf( value, "a text" );
   return *text;
}

}   // namespace Vor
