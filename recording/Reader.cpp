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

// What stands at a place, as a value of its type; the fields of an object, as those of a struct.

template<class Struct> void takeFields( JsonObject & object, Struct & values );

void take( JsonValue const & place, std::string & text ) { text = place.text(); }

void take( JsonValue const & place, Vor::String & text ) { text = place.text(); }

void take( JsonValue const & place, bool & value ) { value = place.boolean(); }

void take( JsonValue const & place, std::unsigned_integral auto & value ) {
   using Number = std::remove_reference_t<decltype( value )>;
   value = static_cast<Number>( place.u64( 0, std::numeric_limits<Number>::max() ) );
}

void take( JsonValue const & place, Vor::Enumeration auto & value ) {
   using E = std::remove_reference_t<decltype( value )>;
   value = place.isText() ? Input::enumeratorOf<E>( place ) : static_cast<E>( place.u32() );
}

void take( JsonValue const & place, Hardware::Steps::Outcome & value ) {
   value = static_cast<Hardware::Steps::Outcome>( place.oneOf( { outcomeNames.begin(), outcomeNames.end() } ) );
}

template<class Value> void take( JsonValue const & place, std::optional<Value> & value ) {
   if ( place.present() ) take( place, value.emplace() );
}

void take( JsonValue const & place, HasFields auto & values ) {
   JsonObject object = place.object();
   takeFields( object, values );
}

void take( JsonValue const & place, decltype( Hardware::Steps::AttemptFailed::at ) & at ) {
   using namespace Hardware::Steps;
   JsonObject object = place.object();
   if ( object["step"].oneOf( { stepName<OperationDone>(), stepName<EnableDone>() } ) == 0 )
      takeFields( object, at.emplace<OperationDone>() );
   else
      takeFields( object, at.emplace<EnableDone>() );
}

void take( JsonValue const & place, std::array<U8, 4> & bytes ) {
   std::vector<JsonValue> const list = place.list();
   if ( list.size() != bytes.size() ) place.fail( "a list of 4 bytes" );
   for ( std::size_t i = 0; i < bytes.size(); ++i ) take( list[i], bytes[i] );
}

void take( JsonValue const & place, std::vector<Hardware::GateRow> & rows ) {
   for ( JsonValue const & row : place.list() ) take( row, rows.emplace_back() );
}

void takeField( JsonObject & object, std::string_view name, auto & value ) { take( object[name], value ); }

// The alternative of that place in a variant, blank.
template<class Variant> Variant alternative( std::size_t place ) {
   Variant blank;
   auto const emplace = [&]<std::size_t... places>( std::index_sequence<places...> ) {
      ( static_cast<void>( place == places && ( blank.template emplace<places>(), true ) ), ... );
   };
   emplace( std::make_index_sequence<std::variant_size_v<Variant>>() );
   return blank;
}

// The step's own fields stand behind its name.
void takeField( JsonObject & object, std::string_view name, Hardware::Step & step ) {
   step = alternative<Hardware::Step>( object[name].oneOf( { stepNames.begin(), stepNames.end() } ) );
   std::visit( [&]( auto & values ) { takeFields( object, values ); }, step );
}

template<class Struct> void takeFields( JsonObject & object, Struct & values ) {
   forEachField( values, [&]( std::string_view name, auto & value ) { takeField( object, name, value ); } );
}

void takeFields( JsonObject & object, State & state ) {
   JsonValue const value = object["value"];
   state = {
      object["entity"].text(), object["attr"].text(), value.isText() ? value.text() : std::to_string( value.u32() ) };
}

InputChange inputOf( std::string what, std::string of, JsonValue const & value ) {
   bool const number = isNumber( what );
   return { std::move( what ), std::move( of ), number ? value.u32() : value.boolean() };
}

void takeFields( JsonObject & object, InputChange & change ) {
   change = inputOf( object["what"].text(), object["of"].present() ? object["of"].text() : "", object["value"] );
}

Input::JsonDocument documentOf( std::string const & place, std::string_view line ) {
   try {
      return { place, line, Input::Limits::recordedTextBytes };
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

// Of a line that is no event log's.
constexpr std::size_t shownBytes = 40;

Reader::Reader( std::string path ) : path_( std::move( path ) ), file_( openRecording( path_ ) ) {
   if ( !*file_ ) failToRead();
   std::optional<std::string_view> const first = nextLine();
   if ( !first || !first->starts_with( R"({"ns":)" ) )
      throw Input::InputError(
         path_ + ": expected an event log, as --events writes it, or a bundle; found " +
         ( first             ? "a first line \"" + std::string( first->substr( 0, shownBytes ) ) + "\""
           : cutOff_.empty() ? "an empty file"
                             : "a first line without an end" ) );
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
      U64 const ns = object["ns"].u64();
      auto const * const kind = std::ranges::find( kindNames, object["ev"].text() );
      if ( kind != kindNames.end() ) {
         Event event{ ns, line_, alternative<What>( static_cast<std::size_t>( kind - kindNames.begin() ) ) };
         std::visit( [&]( auto & what ) { takeFields( object, what ); }, event.what );
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
