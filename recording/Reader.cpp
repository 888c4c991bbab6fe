#include "recording/Reader.h"

#include "input/Json.h"
#include "recording/Bundle.h"
#include "recording/Fields.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <concepts>
#include <cstring>
#include <limits>

namespace Recording {

namespace {

using Input::JsonObject;
using Input::JsonValue;
using What = decltype( Event::what );

// The fields of the object, as those of a struct; below the readers of all that may stand there.
template<class Struct> void takeFields( JsonObject & object, Struct & values );

// What stands at a place, as a value of its type.

void take( JsonValue const & place, bool & value ) { value = place.boolean(); }

void take( JsonValue const & place, std::unsigned_integral auto & value ) {
   using Number = std::remove_reference_t<decltype( value )>;
   value = static_cast<Number>( place.u64( 0, std::numeric_limits<Number>::max() ) );
}

void take( JsonValue const & place, Vor::Enumeration auto & value ) {
   using E = std::remove_reference_t<decltype( value )>;
   auto const enumerators = enumType( value ).enumerators();
   value = static_cast<E>(
      place.isText() ? enumerators[place.oneOf( Input::namesOf( enumerators, &Vor::Enumerator::text ) )].value
                     : place.u32() );
}

void take( JsonValue const & place, Hardware::Steps::Outcome & value ) {
   value = static_cast<Hardware::Steps::Outcome>( place.oneOf( { outcomeNames.begin(), outcomeNames.end() } ) );
}

template<class Value> void take( JsonValue const & place, std::optional<Value> & value ) {
   if ( place.present() ) take( place, value.emplace() );
}

void take( JsonValue const & place, Hardware::Max24305::Op & op ) {
   JsonObject object = place.object();
   takeFields( object, op );
}

void take( JsonValue const & place, decltype( Hardware::Steps::AttemptFailed::at ) & at ) {
   using namespace Hardware::Steps;
   JsonObject object = place.object();
   if ( object["step"].oneOf( { stepName<OperationDone>(), stepName<EnableDone>() } ) == 0 )
      takeFields( object, at.emplace<OperationDone>() );
   else
      takeFields( object, at.emplace<EnableDone>() );
}

template<class Struct> void takeFields( JsonObject & object, Struct & values ) {
   forEachField( values, [&]( std::string_view name, auto & value ) { take( object[name], value ); } );
}

template<class Value> Value taken( JsonValue const & place ) {
   Value value{};
   take( place, value );
   return value;
}

What spiOf( JsonObject & object ) {
   Spi spi{ object["chip"].text(), {}, taken<U8>( object["response"] ) };
   std::vector<JsonValue> const bytes = object["bytes"].list();
   if ( bytes.size() != spi.bytes.size() ) object["bytes"].fail( "a list of 4 bytes" );
   std::ranges::transform( bytes, spi.bytes.begin(), taken<U8> );
   return spi;
}

What stateOf( JsonObject & object ) {
   JsonValue const value = object["value"];
   return State{
      object["entity"].text(), object["attr"].text(), value.isText() ? value.text() : std::to_string( value.u32() ) };
}

// The alternative of that place in the variant, then the fields of the one that it is.
template<std::size_t... places> Hardware::Step blankStep( std::size_t place, std::index_sequence<places...> ) {
   Hardware::Step step;
   ( static_cast<void>( place == places && ( step.emplace<places>(), true ) ), ... );
   return step;
}

What stepOf( JsonObject & object ) {
   std::size_t const place = object["step"].oneOf( { stepNames.begin(), stepNames.end() } );
   Step told{ object["chip"].text(), blankStep( place, std::make_index_sequence<stepNames.size()>() ) };
   std::visit( [&]( auto & values ) { takeFields( object, values ); }, told.step );
   return told;
}

What gateOf( JsonObject & object ) {
   Gate gate{ object["chip"].text(), {} };
   for ( JsonValue const & value : object["rows"].list() ) {
      JsonObject row = value.object();
      gate.rows.push_back( { row["condition"].text(), row["value"].text(), row["met"].boolean() } );
   }
   return gate;
}

InputChange inputOf( std::string what, std::string of, JsonValue const & value ) {
   bool const number = isNumber( what );
   return { std::move( what ), std::move( of ), number ? value.u32() : value.boolean() };
}

constexpr std::string_view firstKind = "recording";

struct KindOfLine {
   std::string_view name;
   What ( *read )( JsonObject & );
};

constexpr auto kindsOfLines = std::to_array<KindOfLine>(
   { { "write32",
       []( JsonObject & o ) -> What {
          return Write32{ o["address"].u32(), o["value"].u32() };
       } },
     { "read32",
       []( JsonObject & o ) -> What {
          return Read32{ o["address"].u32(), o["value"].u32() };
       } },
     { "gpo",
       []( JsonObject & o ) -> What {
          return Gpo{ o["name"].text(), o["active"].boolean() };
       } },
     { "sleep", []( JsonObject & o ) -> What { return Sleep{ o["forNs"].u64() }; } },
     { "state", stateOf },
     { "trace",
       []( JsonObject & o ) -> What {
          return Trace{
             o["facility"].text(), o["level"].u32(), o["source"].text(), o["function"].text(), o["text"].text() };
       } },
     { "log", []( JsonObject & o ) -> What { return Log{ o["id"].text() }; } },
     { "spi", spiOf },
     { "abort",
       []( JsonObject & o ) -> What {
          return Abort{ o["expression"].text(), o["source"].text(), o["function"].text(), o["line"].u32() };
       } },
     { "step", stepOf },
     { "gate", gateOf },
     { "input",
       []( JsonObject & o ) -> What {
          return inputOf( o["what"].text(), o["of"].present() ? o["of"].text() : "", o["value"] );
       } },
     { "aside",
       []( JsonObject & o ) -> What {
          return Aside{ o["by"].text(), o["begins"].boolean() };
       } },
     { "dropped", []( JsonObject & o ) -> What { return Dropped{ o["lines"].u64() }; } } } );

Input::JsonDocument documentOf( std::string const & place, std::string_view line ) {
   try {
      return { place, line };
   } catch ( Input::InputError const & error ) {
      // Its first line is the log's line, whose number stands in front already.
      std::string message = error.what();
      if ( message.starts_with( place + ":1:" ) ) message.erase( place.size(), 2 );
      throw Input::InputError( message );
   }
}

Input::CardDescription cardOf( JsonObject & first ) {
   std::string const file = first["cardFile"].text();
   Input::CardDescription card;
   try {
      if ( first.has( "card" ) )
         card = Input::cardDescription( Input::JsonDocument( file, first["card"].onOneLine() ).root() );
   } catch ( Input::InputError const & error ) {
      first["card"].failWith( error.what() );
   }
   for ( JsonValue const & value : first["sequences"].list() ) {
      JsonObject sequence = value.object();
      Input::Max24305Description & chip = card.max24305s[sequence["chip"].oneOf( Input::namesOf( card.max24305s ) )];
      chip.sequenceFile = sequence["file"].text();
      for ( JsonValue const & line : sequence["lines"].list() ) chip.sequenceLines.push_back( line.u32() );
      if ( chip.sequenceLines.size() != chip.sequence.size() )
         sequence["lines"].fail( "a line of each of the " + std::to_string( chip.sequence.size() ) + " operations" );
   }
   return card;
}

Header headerOf( JsonValue const & root ) {
   JsonObject first = root.object();
   if ( first["ev"].text() != firstKind )
      first["ev"].fail( "\"recording\", with which every log of this program begins" );
   Header header;
   header.program = first["program"].text();
   header.version = first["version"].u32();
   if ( header.version > formatVersion )
      first["version"].fail(
         "a format up to " + std::to_string( formatVersion ) + ", or version " + header.program + " of the program" );
   if ( first.has( "began" ) ) header.began = first["began"].text();
   header.card = cardOf( first );
   for ( auto const & [what, value] : first["start"].object().members() ) {
      if ( !value.isObject() ) {
         header.start.push_back( inputOf( what, "", value ) );
         continue;
      }
      for ( auto const & [of, flag] : value.object().members() ) header.start.push_back( inputOf( what, of, flag ) );
   }
   return header;
}

}   // namespace

std::vector<std::string_view> kinds() {
   std::vector<std::string_view> names = Input::namesOf( kindsOfLines );
   names.insert( names.begin(), firstKind );
   return names;
}

Reader::Reader( std::string path ) : path_( std::move( path ) ), file_( openRecording( path_ ) ) {
   if ( !*file_ ) failToRead();
   std::optional<std::string_view> const first = nextLine();
   if ( !first )
      throw Input::InputError(
         cutOff_.empty() ? path_ + ": expected an event log, as --events writes it; found an empty file" : cutOff_ );
   header_ = headerOf( documentOf( place(), *first ).root() );
}

Header const & Reader::cardHeader() const {
   if ( header_.card.json.empty() )
      throw Input::InputError( path_ + ":1: expected the card description under \"card\", found none" );
   return header_;
}

std::optional<Event> Reader::next() {
   while ( std::optional<std::string_view> const line = nextLine() ) {
      Input::JsonDocument const document = documentOf( place(), *line );
      JsonObject object = document.root().object();
      Event event{ object["ns"].u64(), line_, {} };
      auto const * const kind = std::ranges::find( kindsOfLines, object["ev"].text(), &KindOfLine::name );
      if ( kind != kindsOfLines.end() ) {
         event.what = kind->read( object );
         return event;
      }
      ++skipped_;
   }
   return std::nullopt;
}

std::optional<std::string_view> Reader::nextLine() {
   if ( file_->eof() ) return std::nullopt;
   errno = 0;
   file_->getline( buffer_.get(), longestLine );
   if ( file_->bad() ) failToRead();
   auto const length = static_cast<std::size_t>( file_->gcount() );
   if ( file_->eof() && length == 0 ) return std::nullopt;
   ++line_;
   if ( file_->eof() ) {
      cutOff_ = place() + ": the line has no end, for whoever wrote it was stopped; it is left out";
      return std::nullopt;
   }
   if ( file_->fail() )
      throw Input::InputError(
         place() + ": expected a line of at most " + std::to_string( longestLine ) +
         " bytes, found a longer one; is this an event log?" );
   return text_ = std::string_view( buffer_.get(), length - 1 );
}

void Reader::failToRead() const {
   throw Input::InputError( path_ + ": cannot be read: " + std::strerror( errno ? errno : EIO ) );
}

}   // namespace Recording
