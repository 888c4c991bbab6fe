#include "framework/Text.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <ostream>

namespace Vor {

std::ostream & operator<<( std::ostream & out, String const & text ) { return out << text.stdString(); }

Name::Name( String const & text ) {
   if ( !text.empty() ) shared_ = new Shared( text );
}

String const & Name::string() const {
   static String const none;
   return shared_ ? shared_->text : none;
}

std::ostream & operator<<( std::ostream & out, Name const & name ) { return out << name.string(); }

/// Converts what traces are made of, without the C library, which sets up a stream for every text and takes longer over
/// it than all the rest of a trace does. False at the first conversion that is not plain.
static bool convertPlain( std::string & text, char const * conversion, std::va_list arguments ) {
   auto const append = [&text]( auto number, int base ) {
      char digits[16];
      text += std::string_view( digits, std::to_chars( digits, std::end( digits ), number, base ).ptr );
   };
   for ( ;; ) {
      char const * percent = conversion;
      while ( *percent && *percent != '%' ) ++percent;
      text += std::string_view( conversion, percent );
      if ( !*percent ) return true;
      switch ( percent[1] ) {
      case 'x':
         append( va_arg( arguments, unsigned ), 16 );
         break;
      case 'u':
         append( va_arg( arguments, unsigned ), 10 );
         break;
      case 'd':
         append( va_arg( arguments, int ), 10 );
         break;
      default:
         return false;
      }
      conversion = percent + 2;
   }
}

String format( char const * conversion, ... ) {
   std::va_list arguments;
   va_start( arguments, conversion );
   std::string plain;
   bool const isPlain = convertPlain( plain, conversion, arguments );
   va_end( arguments );
   if ( isPlain ) return String( std::move( plain ) );
   va_start( arguments, conversion );
   std::va_list again;
   va_copy( again, arguments );
   int const length = std::vsnprintf( nullptr, 0, conversion, arguments );
   va_end( arguments );
   std::string text( length < 0 ? 0 : static_cast<std::size_t>( length ), '\0' );
   std::vsnprintf( text.data(), text.size() + 1, conversion, again );
   va_end( again );
   return String( std::move( text ) );
}

String oneLine( std::string_view text ) {
   constexpr std::string_view named = "\\\n\r\t";
   constexpr std::string_view names = "\\nrt";
   std::string line;
   line.reserve( text.size() );
   for ( char const c : text ) {
      auto const code = static_cast<unsigned char>( c );
      if ( auto const which = named.find( c ); which != std::string_view::npos )
         line.append( { '\\', names[which] } );
      else if ( code < 0x20 || code == 0x7F )
         line += format( "\\x%02x", code );
      else
         line += c;
   }
   return line;
}

}   // namespace Vor
