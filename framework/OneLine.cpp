#include "framework/OneLine.h"

namespace Vor {

String oneLine( std::string_view text ) {
   std::string line;
   line.reserve( text.size() );
   for ( char const c : text ) {
      auto const code = static_cast<unsigned char>( c );
      switch ( c ) {
      case '\\':
         line += "\\\\";
         break;
      case '\n':
         line += "\\n";
         break;
      case '\r':
         line += "\\r";
         break;
      case '\t':
         line += "\\t";
         break;
      default:
         if ( code < 0x20 || code == 0x7F )
            line += format( "\\x%02x", code );
         else
            line += c;
      }
   }
   return line;
}

}   // namespace Vor
