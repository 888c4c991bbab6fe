#include "recording/LastLines.h"

#include <string_view>

namespace Recording {

namespace {

constexpr std::string_view inputKind = R"("ev":"input")";

// To the line's end, which goes with it.
std::string_view lineTaken( std::string_view & text ) {
   std::size_t const length = std::min( text.find( '\n' ), text.size() - 1 ) + 1;
   std::string_view const line = text.substr( 0, length );
   text.remove_prefix( length );
   return line;
}

}   // namespace

std::string LastLines::text() const {
   if ( dropped_ == 0 ) return first_ + lines_;
   std::string_view const next = lines_;
   std::string const time( next.substr( 0, next.find( ',' ) ) );   // {"ns":1
   return first_ + time + R"(,"ev":"dropped","lines":)" + std::to_string( dropped_ ) + "}\n" + lines_;
}

// A log writes whole lines.
std::streamsize LastLines::xsputn( char const * text, std::streamsize size ) {
   ( first_.empty() ? first_ : lines_ ).append( text, static_cast<std::size_t>( size ) );
   if ( lines_.size() > bytesMax_ ) drop();
   return size;
}

void LastLines::drop() {
   std::string_view rest = lines_;
   while ( rest.size() > bytesMax_ / 2 ) {
      std::string_view const line = lineTaken( rest );
      if ( line.find( inputKind ) == std::string_view::npos )
         ++dropped_;
      else
         first_ += line;
   }
   lines_.erase( 0, lines_.size() - rest.size() );
}

}   // namespace Recording
