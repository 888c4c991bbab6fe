#include "report/Style.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace Host {

std::string Style::painted( Tone tone, std::string_view text ) const {
   constexpr std::string_view codes[] = { "", "32", "31", "33", "2", "1" };
   std::string const plain( text );
   if ( !colour_ || plain.empty() || tone == Tone::plain_ ) return plain;
   return fmt::format( "\033[{}m{}\033[0m", codes[static_cast<std::size_t>( tone )], plain );
}

Style styleOf( int descriptor ) {
   char const * const noColour = std::getenv( "NO_COLOR" );
   return Style( ::isatty( descriptor ) == 1 && ( !noColour || *noColour == '\0' ) );
}

namespace {

struct Extent {
   std::size_t bytes = 0;
   std::size_t columns = 0;
};

// Of the text's first columns, as many as there are up to a number.
Extent extentOf( std::string_view text, std::size_t atMost ) {
   Extent extent;
   for ( ; extent.bytes < text.size(); ++extent.bytes )
      if ( text[extent.bytes] == '\033' )
         extent.bytes = std::min( text.find( 'm', extent.bytes ), text.size() - 1 );    // a colour ends with it
      else if ( ( static_cast<unsigned char>( text[extent.bytes] ) & 0xC0 ) == 0x80 )   // it takes no column of its own
         continue;
      else if ( extent.columns == atMost )
         break;
      else
         ++extent.columns;
   return extent;
}

}   // namespace

std::size_t shownWidth( std::string_view text ) { return extentOf( text, text.size() ).columns; }

std::vector<std::string> wrapped( std::string_view text, std::size_t width ) {
   std::vector<std::string> rows;
   for ( ;; ) {
      std::size_t const fits = extentOf( text, width ).bytes;
      if ( fits == text.size() ) break;
      std::size_t const blank = text.rfind( ' ', fits );
      std::size_t end = blank == std::string_view::npos || blank == 0 ? fits : blank;
      for ( std::string_view const stop : { ", ", "; " } )
         if ( std::size_t const at = text.rfind( stop, fits - 1 ); at != std::string_view::npos && at >= fits / 2 )
            end = at + 1;   // it stays at the row's end
      rows.emplace_back( text.substr( 0, end ) );
      text.remove_prefix( std::min( text.find_first_not_of( ' ', end ), text.size() ) );
   }
   rows.emplace_back( text );
   return rows;
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
   constexpr std::string_view gap = "  ";
   auto const lineOf = [&] {
      return std::accumulate( widths.begin(), widths.end(), gap.size() * ( widths.size() - 1 ) );
   };
   while ( lineOf() > lineWidth ) --*std::ranges::max_element( widths );

   std::string text;
   for ( auto const & row : rows_ ) {
      std::vector<std::vector<std::string>> cells;
      std::size_t height = 0;
      for ( std::size_t i = 0; i < row.size(); ++i )
         height = std::max( height, cells.emplace_back( wrapped( row[i], widths[i] ) ).size() );
      for ( std::size_t at = 0; at < height; ++at ) {
         std::string line;
         for ( std::size_t i = 0; i < row.size(); ++i )
            line += padded( at < cells[i].size() ? cells[i][at] : "", widths[i] ).append( gap );
         line.erase( line.find_last_not_of( ' ' ) + 1 );
         text += ( &row == &rows_.front() ? style.quiet( line ) : line ) + "\n";
      }
   }
   return text;
}

}   // namespace Host
