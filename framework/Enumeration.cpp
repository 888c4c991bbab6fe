#include "framework/Enumeration.h"

#include <algorithm>
#include <cctype>

namespace Vor {

U32 EnumType::instance( unsigned value ) const {
   if ( !text( value ) ) throw RangeException( format( "%s has no enumerator of value %u", name(), value ) );
   return value;
}

U32 EnumType::instance( std::string_view text ) const {
   for ( Enumerator const & enumerator : enumerators_ )
      if ( enumerator.text == text ) return enumerator.value;
   String known;
   for ( Enumerator const & enumerator : enumerators_ )
      known += ( known.empty() ? "" : ", " ) + String( enumerator.text );
   throw RangeException(
      String( name() ) + " has no enumerator " + valueToStrep( String( text ) ) + "; it has " + known );
}

char const * EnumType::text( U32 value ) const {
   auto const found = std::ranges::find( enumerators_, value, &Enumerator::value );
   return found == enumerators_.end() ? nullptr : found->text;
}

String EnumType::stringValue( U32 value ) const {
   char const * known = text( value );
   return known ? String( known ) : valueToStrep( value );
}

U32 EnumType::sequenceToValue( String::IteratorConst & pos, String::IteratorConst const & end ) const {
   auto at = pos;
   bool const quoted = pos != end && *pos == '\'';
   auto const wordEnd = std::find_if_not( pos, end, []( unsigned char c ) { return std::isalnum( c ) || c == '_'; } );
   String text( std::string( pos, wordEnd ) );
   if ( quoted ) {
      try {
         text = quotedText( at, end );
      } catch ( ParseException const & error ) {   // an unclosed quote is no enumerator either
         throw RangeException( error.message() );
      }
   } else {
      at = wordEnd;
   }
   U32 const value = instance( std::string_view( text ) );
   pos = at;
   return value;
}

}   // namespace Vor
