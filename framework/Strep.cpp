#include "framework/Strep.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace Vor {

String valueToStrep( double value ) {
   char text[32];
   auto const [end, error] = std::to_chars( text, text + sizeof text, value );
   return { text, static_cast<std::size_t>( end - text ) };
}

String valueToStrep( String const & value ) {
   std::string text = "'";
   for ( char const c : value ) {
      if ( c == '\n' || c == '\0' || c == '\'' || c == '\\' ) text += '\\';
      text += c == '\n' ? 'n' : c == '\0' ? '0' : c;
   }
   return text + "'";
}

String valueToStrep( Name const & value ) { return valueToStrep( value.string() ); }

String foundText( String::IteratorConst const & pos, String::IteratorConst const & end ) {
   constexpr std::ptrdiff_t shown = 40;
   if ( pos == end ) return "the end of the text";
   bool const all = end - pos <= shown;
   return valueToStrep( String( std::string( pos, all ? end : pos + shown ) + ( all ? "" : "..." ) ) );
}

void needString( String::IteratorConst & pos, String::IteratorConst const & end, char const * literal ) {
   std::string_view const needed = literal;
   if ( static_cast<std::size_t>( end - pos ) < needed.size() || !std::equal( needed.begin(), needed.end(), pos ) )
      throw ParseException( "expected \"" + String( literal ) + "\", found " + foundText( pos, end ) );
   pos += static_cast<std::ptrdiff_t>( needed.size() );
}

U32 deserializeAttr( String::IteratorConst & pos, String::IteratorConst const & end, char const * attributeName ) {
   auto const digitsEnd = std::find_if_not( pos, end, []( char c ) { return c >= '0' && c <= '9'; } );
   U32 value = 0;
   std::string const digits( pos, digitsEnd );
   auto const result = std::from_chars( digits.data(), digits.data() + digits.size(), value );
   if ( digits.empty() || result.ec != std::errc() )
      throw DeserializeException(
         format(
            "attribute '%s': expected an unsigned integer from 0 to %u, found ", attributeName,
            std::numeric_limits<U32>::max() ) +
         ( digits.empty() ? foundText( pos, end ) : valueToStrep( String( digits ) ) ) );
   pos = digitsEnd;
   return value;
}

String quotedText( String::IteratorConst & pos, String::IteratorConst const & end ) {
   auto at = pos;
   needString( at, end, "'" );
   std::string text;
   for ( ; at != end && *at != '\''; ++at ) {
      bool const escaped = *at == '\\';
      if ( escaped && ++at == end ) break;
      text += escaped && *at == 'n' ? '\n' : escaped && *at == '0' ? '\0' : *at;
   }
   if ( at == end ) throw ParseException( "expected a text closed by \"'\", found " + foundText( pos, end ) );
   pos = at + 1;
   return text;
}

void rethrowFromDeserializeAttr( RangeException const & error, char const * attributeName ) {
   throw DeserializeException( format( "attribute '%s': ", attributeName ) + error.message() );
}

}   // namespace Vor
