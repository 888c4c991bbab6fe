#include "input/SequenceFile.h"

#include "input/Json.h"

#include <sstream>

namespace Input {

using Hardware::Max24305::Op;

Op opOf( std::string_view text ) {
   Vor::String const line( text );
   auto pos = line.begin();
   auto const column = [&] { return static_cast<std::size_t>( pos - line.begin() ) + 1; };
   try {
      Op const op( pos, line.end() );
      if ( pos != line.end() )
         throw Vor::ParseException( "expected the end of the line, found " + Vor::foundText( pos, line.end() ) );
      return op;
   } catch ( Vor::Exception const & error ) {
      throw OpError{ column(), error.what() };
   }
}

std::vector<Op> sequenceOf( std::string const & name, std::string_view content, std::vector<U32> * lines ) {
   constexpr std::string_view blanks = " \t\r\v\f";
   std::vector<Op> sequence;
   std::istringstream text{ std::string( content ) };
   U32 lineNumber = 0;
   for ( std::string line; std::getline( text, line ); ) {
      ++lineNumber;
      std::size_t const start = line.find_first_not_of( blanks );
      if ( start == std::string::npos || line[start] == '#' ) continue;
      line.erase( line.find_last_not_of( blanks ) + 1 );
      try {
         sequence.push_back( opOf( line.substr( start ) ) );
         if ( lines ) lines->push_back( lineNumber );
      } catch ( OpError const & error ) {
         throw InputError(
            name + ":" + std::to_string( lineNumber ) + ":" + std::to_string( start + error.column ) + ": " +
            error.message );
      }
   }
   if ( sequence.empty() )
      throw InputError(
         name + ": expected at least one operation, such as " +
         valueToStrep( Op( 0, Hardware::Max24305::read_, 0, 36 ) ).stdString() + ", found none" );
   return sequence;
}

std::vector<Op> readSequence( std::string const & path ) { return sequenceOf( path, readFile( path ) ); }

}   // namespace Input
