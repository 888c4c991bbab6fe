#include "input/SequenceFile.h"

#include "input/Json.h"
#include "input/Number.h"

#include <algorithm>
#include <sstream>

namespace Input {

using Hardware::Max24305::Op;
using Hardware::Max24305::OpType;

namespace {

constexpr std::string_view blanks = " \t\r\v\f";

// The units of pauses, with the zeros that make nanoseconds of a whole number of them; the longest first.
struct Unit {
   std::string_view name;
   std::string_view zeros;
};
constexpr Unit units[] = { { "s", "000000000" }, { "ms", "000000" }, { "us", "000" }, { "ns", "" } };

// "1.5ms" is 1500000; nothing for what is no pause, or no whole number of nanoseconds.
std::optional<U32> pauseNsOf( std::string_view text ) {
   std::size_t const digits = std::min( text.find_first_not_of( "0123456789." ), text.size() );
   auto const * const unit = std::ranges::find( units, text.substr( digits ), &Unit::name );
   if ( unit == std::end( units ) || text.find( '.' ) == 0 ) return std::nullopt;
   std::string_view const number = text.substr( 0, digits );
   std::size_t const point = std::min( number.find( '.' ), number.size() );
   std::string_view fraction = number.substr( std::min( point + 1, number.size() ) );
   fraction = fraction.substr( 0, fraction.find_last_not_of( '0' ) + 1 );
   if ( digits == 0 || fraction.size() > unit->zeros.size() ) return std::nullopt;
   std::string ns( number.substr( 0, point ) );
   return numberOf( ns.append( fraction ).append( unit->zeros.substr( fraction.size() ) ) );
}

std::string pauseText( U32 ns ) {
   std::string const text = std::to_string( ns );
   auto const whole = [&]( Unit const & unit ) {
      return text.ends_with( unit.zeros ) && text.size() > unit.zeros.size();
   };
   Unit const & unit = *std::ranges::find_if( units, whole );
   return text.substr( 0, text.size() - unit.zeros.size() ).append( unit.name );
}

// The words of a line, one by one.
class Words {
 public:
   Words( std::string_view line, std::string_view separators ) : line_( line ), separators_( separators ) {}

   /// Empty behind the last.
   std::string_view next() {
      start_ = std::min( line_.find_first_not_of( separators_, end_ ), line_.size() );
      end_ = std::min( line_.find_first_of( separators_, start_ ), line_.size() );
      return word();
   }
   /// The next word as `read` takes it, which gives nothing for one that is not what is expected.
   template<class Read> auto nextOf( Read const & read, std::string const & expected ) {
      auto const value = read( next() );
      if ( !value ) fail( expected );
      return *value;
   }
   /// How many are left.
   std::size_t count() const {
      Words rest = *this;
      std::size_t words = 0;
      while ( !rest.next().empty() ) ++words;
      return words;
   }
   void finish() {
      if ( !next().empty() ) fail( "the end of the line" );
   }

 private:
   std::string_view word() const { return line_.substr( start_, end_ - start_ ); }
   [[noreturn]] void fail( std::string const & expected ) const {
      Vor::String const found( word() );
      throw OpError{
         start_ + 1, "expected " + expected + ", found " + Vor::foundText( found.begin(), found.end() ).stdString() };
   }

   std::string_view line_;
   std::string_view separators_;
   std::size_t start_ = 0;
   std::size_t end_ = 0;
};

// Unknown for a word that begins no short form.
OpType shortType( std::string_view word ) {
   for ( OpType const type : { Hardware::Max24305::read_, Hardware::Max24305::write_, Hardware::Max24305::sleep_ } )
      if ( word == enumType( type ).text( type ) ) return type;
   return Hardware::Max24305::unknownOp_;
}

Op opOfTextForm( std::string_view text ) {
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

// Has each line read that is neither blank nor a comment, less the blanks around it, with its number.
template<class Read> void eachLine( std::string const & name, std::string_view content, Read const & read ) {
   Mistakes mistakes;
   std::istringstream lines{ std::string( content ) };
   U32 lineNumber = 0;
   for ( std::string line; std::getline( lines, line ); ) {
      ++lineNumber;
      std::size_t const start = line.find_first_not_of( blanks );
      if ( start == std::string::npos || line[start] == '#' ) continue;
      line.erase( line.find_last_not_of( blanks ) + 1 );
      mistakes.gather( [&] {
         try {
            read( std::string_view( line ).substr( start ), lineNumber );
         } catch ( OpError const & error ) {
            throw InputError(
               name + ":" + std::to_string( lineNumber ) + ":" + std::to_string( start + error.column ) + ": " +
               error.message );
         }
      } );
   }
   mistakes.raise();
}

}   // namespace

Op opOf( std::string_view text, U32 key ) {
   Words words( text.substr( 0, text.find( '#' ) ), blanks );
   Op op( key, shortType( words.next() ), 0, 0 );
   std::size_t const numbers = op.type == Hardware::Max24305::sleep_ ? 1 : 2;
   // What lacks a number is in neither form, and is told so.
   if ( op.type == Hardware::Max24305::unknownOp_ || words.count() < numbers ) return opOfTextForm( text );
   auto const number = []( std::string_view word ) { return numberOf( word ); };
   if ( op.type == Hardware::Max24305::sleep_ ) {
      op.value = words.nextOf( pauseNsOf, "a pause such as 1ms, in ns, us, ms or s, of 0 to 4294967295 whole ns" );
   } else {
      op.address = words.nextOf( number, "an address from 0 to 0xffffffff" );
      op.value = words.nextOf( number, "a value from 0 to 0xffffffff" );
   }
   words.finish();
   return op;
}

std::string shortText( Op const & op ) {
   std::string const type = stringValue( op.type ).stdString();
   switch ( op.type ) {
   case Hardware::Max24305::read_:
   case Hardware::Max24305::write_:
      return type + Vor::format( " 0x%02x 0x%02x", op.address, op.value ).stdString();
   case Hardware::Max24305::sleep_:
      return type + " " + pauseText( op.value );
   default:
      return valueToStrep( op ).stdString();
   }
}

Sequence sequenceOf( std::string const & name, std::string_view content, std::vector<U32> * lines ) {
   Sequence sequence;
   U32 key = 0;   // counts lines that cannot be read as well
   eachLine( name, content, [&]( std::string_view line, U32 number ) {
      sequence.push_back( opOf( line, key++ ) );
      if ( lines ) lines->push_back( number );
   } );
   if ( sequence.empty() )
      throw InputError(
         name + ": expected at least one operation, such as " +
         valueToStrep( Op( 0, Hardware::Max24305::read_, 0, 36 ) ).stdString() + ", found none" );
   return sequence;
}

Sequence readSequence( std::string const & path ) { return sequenceOf( path, readFile( path ) ); }

Sequence listOf( std::string const & name, std::string_view content ) {
   Sequence sequence;
   eachLine( name, content, [&]( std::string_view line, U32 ) {
      if ( line.starts_with( "//" ) ) return;
      Words words( line.substr( 0, std::min( line.find( '#' ), line.find( "//" ) ) ), " \t\r\v\f,;" );
      auto const hex = []( U32 maximum ) {
         return [maximum]( std::string_view word ) {
            bool const marked = word.starts_with( "0x" ) || word.starts_with( "0X" );
            return numberOf( ( marked ? "" : "0x" ) + std::string( word ), maximum );
         };
      };
      U32 const address = words.nextOf( hex( 0xFFFF ), "a hexadecimal address from 0 to ffff" );
      U32 const value = words.nextOf( hex( 0xFF ), "a hexadecimal value from 0 to ff" );
      words.finish();
      sequence.emplace_back( static_cast<U32>( sequence.size() ), Hardware::Max24305::write_, address, value );
   } );
   if ( sequence.empty() )
      throw InputError( name + ": expected at least one register, such as 0x0010,0x3c, found none" );
   return sequence;
}

Sequence withReadBacks( Sequence const & sequence ) {
   Sequence result;
   auto const add = [&]( OpType type, U32 address, U32 value ) {
      result.emplace_back( static_cast<U32>( result.size() ), type, address, value );
   };
   for ( Op const & op : sequence ) {
      add( op.type, op.address, op.value );
      if ( op.type == Hardware::Max24305::write_ ) add( Hardware::Max24305::read_, op.address, op.value & 0xFF );
   }
   return result;
}

}   // namespace Input
