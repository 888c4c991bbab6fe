#include "input/SequenceFile.h"

#include "input/Json.h"
#include "input/Number.h"

#include <algorithm>
#include <sstream>

namespace Input {

using Hardware::Max24305::Op;
using Hardware::Max24305::OpType;
using enum OpType;

namespace {

constexpr std::string_view blanks = " \t\r\v\f";

// The units of pauses, the longest first.
struct Unit {
   std::string_view name;
   U32 ns;
};
constexpr Unit units[] = { { "s", 1'000'000'000 }, { "ms", 1'000'000 }, { "us", 1'000 }, { "ns", 1 } };

// "20ms" is 20000000; nothing for what is no pause.
std::optional<U32> pauseNsOf( std::string_view text ) {
   std::size_t const digits = std::min( text.find_first_not_of( "0123456789" ), text.size() );
   auto const * const unit = std::ranges::find( units, text.substr( digits ), &Unit::name );
   if ( unit == std::end( units ) ) return std::nullopt;
   auto const number = numberOf( text.substr( 0, digits ), std::numeric_limits<U32>::max() / unit->ns );
   return number ? std::optional( *number * unit->ns ) : std::nullopt;
}

// In the longest unit of which it is a whole number.
std::string pauseText( U32 ns ) {
   auto const fits = [ns]( Unit const & unit ) { return ns % unit.ns == 0 && ( ns > 0 || unit.ns == 1 ); };
   Unit const & unit = *std::ranges::find_if( units, fits );
   return std::to_string( ns / unit.ns ).append( unit.name );
}

// The words of a line up to its comment, and behind them an empty one, which stands for all that is missing.
std::vector<std::string_view> wordsOf( std::string_view line, std::string_view separators ) {
   line = line.substr( 0, line.find( '#' ) );
   std::vector<std::string_view> words;
   std::size_t end = 0;
   do {
      std::size_t const start = std::min( line.find_first_not_of( separators, end ), line.size() );
      end = std::min( line.find_first_of( separators, start ), line.size() );
      words.push_back( line.substr( start, end - start ) );
   } while ( !words.back().empty() );
   return words;
}

// What was read of a word of the line, if anything.
U32 required( std::string_view line, std::string_view word, std::optional<U32> value, std::string const & expected ) {
   if ( value ) return *value;
   Vor::String const found( word );
   throw OpError{
      static_cast<std::size_t>( word.data() - line.data() ) + 1,
      "expected " + expected + ", found " + Vor::foundText( found.begin(), found.end() ).stdString() };
}

void requireEnd( std::string_view line, std::string_view word ) {
   required( line, word, word.empty() ? std::optional( 0U ) : std::nullopt, "the end of the line" );
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

// `what` a file must have at least one of, with an example.
Sequence operationsOf(
   std::string const & name, std::string_view content, Op ( *read )( std::string_view line, U32 key ),
   std::string const & what, std::vector<U32> * lineNumbers = nullptr ) {
   Sequence sequence;
   Mistakes mistakes;
   std::istringstream lines{ std::string( content ) };
   U32 number = 0;
   for ( std::string line; std::getline( lines, line ); ) {
      ++number;
      std::size_t const start = line.find_first_not_of( blanks );
      if ( start == std::string::npos || line[start] == '#' ) continue;
      line.erase( line.find_last_not_of( blanks ) + 1 );
      if ( Limits::operations.passedBy( sequence.size() + 1 ) )
         throw InputError(
            name + ":" + std::to_string( number ) + ": expected " + Limits::operations.text() + ", found more" );
      mistakes.gather( [&] {
         try {
            sequence.push_back( read( std::string_view( line ).substr( start ), static_cast<U32>( sequence.size() ) ) );
         } catch ( OpError const & error ) {
            throw InputError(
               name + ":" + std::to_string( number ) + ":" + std::to_string( start + error.column ) + ": " +
               error.message );
         }
         if ( lineNumbers ) lineNumbers->push_back( number );
      } );
   }
   mistakes.raise();
   if ( sequence.empty() ) throw InputError( name + ": expected at least one " + what + ", found none" );
   return sequence;
}

// A line of a list.
Op writeOf( std::string_view line, U32 key ) {
   auto const words = wordsOf( line, " \t\r\v\f,;" );
   U32 const address =
      required( line, words[0], numberOf( words[0], 0xFFFF, 16 ), "a hexadecimal address from 0 to ffff" );
   U32 const value = required( line, words[1], numberOf( words[1], 0xFF, 16 ), "a hexadecimal value from 0 to ff" );
   requireEnd( line, words[2] );
   return { key, write_, address, value };
}

}   // namespace

Op opOf( std::string_view text, U32 key ) {
   auto const words = wordsOf( text, blanks );
   auto const types = enumType( OpType{} ).enumerators();
   auto const type = std::ranges::find( types, words[0], &Vor::Enumerator::text );
   Op op( key, type == types.end() ? unknownOp_ : static_cast<OpType>( type->value ), 0, 0 );
   bool const isPause = op.type == sleep_;
   // What lacks a number is in neither form, and is told so.
   if ( op.type == unknownOp_ || words.size() < ( isPause ? 3 : 4 ) ) return opOfTextForm( text );
   if ( isPause ) {
      op.value = required(
         text, words[1], pauseNsOf( words[1] ),
         "a pause such as 1ms, in ns, us, ms or s, of 0 to 4294967295 whole ns" );
      requireEnd( text, words[2] );
   } else {
      op.address = required( text, words[1], numberOf( words[1] ), "an address from 0 to 0xffffffff" );
      op.value = required( text, words[2], numberOf( words[2] ), "a value from 0 to 0xffffffff" );
      requireEnd( text, words[3] );
   }
   return op;
}

std::string shortText( Op const & op ) {
   std::string const type = stringValue( op.type ).stdString();
   if ( op.type == sleep_ ) return type + " " + pauseText( op.value );
   if ( op.type == unknownOp_ ) return valueToStrep( op ).stdString();
   return type + Vor::format( " 0x%02x 0x%02x", op.address, op.value ).stdString();
}

Sequence sequenceOf( std::string const & name, std::string_view content, std::vector<U32> * lines ) {
   std::string const example = valueToStrep( Op( 0, read_, 0, 36 ) ).stdString();
   return operationsOf( name, content, opOf, "operation, such as " + example, lines );
}

Sequence readSequence( std::string const & path ) { return sequenceOf( path, readFile( path ) ); }

Sequence listOf( std::string const & name, std::string_view content ) {
   return operationsOf( name, content, writeOf, "register, such as 0x0010,0x3c" );
}

Sequence withReadBacks( Sequence const & sequence ) {
   Sequence result;
   for ( Op const & op : sequence ) {
      result.push_back( op );
      if ( op.type == write_ ) result.emplace_back( 0, read_, op.address, op.value & 0xFF );
   }
   for ( U32 key = 0; Op & op : result ) op.key = key++;
   return result;
}

}   // namespace Input
