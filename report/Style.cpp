#include "report/Style.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace Host {

std::string Style::painted( char const * code, std::string_view text ) const {
   std::string const plain( text );
   return colour_ && !plain.empty() ? "\033[" + std::string( code ) + "m" + plain + "\033[0m" : plain;
}

Style styleOf( int descriptor ) {
   char const * const noColour = std::getenv( "NO_COLOR" );
   return Style( ::isatty( descriptor ) == 1 && ( !noColour || *noColour == '\0' ) );
}

std::size_t shownWidth( std::string_view text ) {
   std::size_t width = 0;
   for ( std::size_t at = 0; at < text.size(); ++at )
      if ( text[at] == '\033' )
         at = std::min( text.find( 'm', at ), text.size() );                  // a colour ends with it
      else if ( ( static_cast<unsigned char>( text[at] ) & 0xC0 ) != 0x80 )   // continuation bytes take no column
         ++width;
   return width;
}

std::string padded( std::string_view text, std::size_t width ) {
   std::size_t const shown = shownWidth( text );
   return std::string( text ) + std::string( shown < width ? width - shown : 0, ' ' );
}

std::string Table::text( Style const & style ) const {
   std::vector<std::size_t> widths;
   for ( auto const & row : rows_ ) {
      widths.resize( std::max( widths.size(), row.size() ) );
      for ( std::size_t i = 0; i < row.size(); ++i ) widths[i] = std::max( widths[i], shownWidth( row[i] ) );
   }
   std::string text;
   for ( auto const & row : rows_ ) {
      std::string line;
      for ( std::size_t i = 0; i < row.size(); ++i ) line += padded( row[i], widths[i] ) + "  ";
      line.erase( line.find_last_not_of( ' ' ) + 1 );
      text += ( &row == &rows_.front() ? style.quiet( line ) : line ) + "\n";
   }
   return text;
}

}   // namespace Host
