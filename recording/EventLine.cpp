#include "recording/EventLine.h"

#include <fmt/format.h>

#include <iterator>

namespace Recording {

namespace {

bool isContinuation( std::string_view text, std::size_t at ) {
   return at < text.size() && ( static_cast<U8>( text[at] ) & 0xC0 ) == 0x80;
}

// How many bytes the UTF-8 character at the head of the text takes; 0 when there is no valid one. Overlong forms,
// surrogates and codes above 0x10FFFF are not valid.
std::size_t utf8Length( std::string_view text ) {
   U8 const lead = static_cast<U8>( text[0] );
   U8 const second = text.size() > 1 ? static_cast<U8>( text[1] ) : U8( 0 );
   if ( lead < 0x80 ) return 1;
   if ( lead < 0xC2 || lead > 0xF4 || !isContinuation( text, 1 ) ) return 0;
   if ( lead < 0xE0 ) return 2;
   if ( !isContinuation( text, 2 ) ) return 0;
   if ( lead < 0xF0 ) return ( lead == 0xE0 && second < 0xA0 ) || ( lead == 0xED && second > 0x9F ) ? 0 : 3;
   if ( !isContinuation( text, 3 ) ) return 0;
   return ( lead == 0xF0 && second < 0x90 ) || ( lead == 0xF4 && second > 0x8F ) ? 0 : 4;
}

}   // namespace

void jsonStringAppend( std::string & out, std::string_view text ) {
   out += '"';
   while ( !text.empty() ) {
      char const head = text.front();
      std::size_t length = utf8Length( text );
      if ( head == '"' || head == '\\' ) {
         out += '\\';
         out += head;
      } else if ( length == 0 || static_cast<U8>( head ) < 0x20 ) {
         fmt::format_to( std::back_inserter( out ), "\\u{:04x}", static_cast<U8>( head ) );
         length = 1;
      } else {
         out += text.substr( 0, length );
      }
      text.remove_prefix( length );
   }
   out += '"';
}

EventLine::EventLine( std::string & out, U64 ns, std::string_view event ) : out_( out ) {
   out_ += "{\"ns\":";
   numberAppend( ns );
   field( "ev", event );
}

EventLine & EventLine::field( std::string_view name, std::string_view text ) {
   nameAppend( name );
   jsonStringAppend( out_, text );
   return *this;
}

EventLine & EventLine::field( std::string_view name, std::span<U8 const> bytes ) {
   nameAppend( name );
   fmt::format_to( std::back_inserter( out_ ), "[{}]", fmt::join( bytes, "," ) );
   return *this;
}

void EventLine::nameAppend( std::string_view name ) {
   out_ += ",\"";
   out_ += name;
   out_ += "\":";
}

void EventLine::numberAppend( U64 number ) {
   fmt::format_int const digits( number );
   out_.append( digits.data(), digits.size() );
}

}   // namespace Recording
