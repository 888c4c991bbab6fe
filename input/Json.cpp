#include "input/Json.h"

#include "input/Number.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <set>
#include <sstream>

namespace Input {

namespace {

std::string jsonText( std::string_view text ) {
   return Json( text ).dump( -1, ' ', false, Json::error_handler_t::replace );
}

// What stands at a place, as short as it still tells.
std::string found( Json const & json ) {
   constexpr std::size_t longest = 60;
   switch ( json.type() ) {
   case Json::value_t::object:
      return "an object";
   case Json::value_t::array:
      return json.empty() ? "an empty list" : "a list";
   case Json::value_t::string: {
      auto const & text = json.get_ref<std::string const &>();
      if ( text.size() <= longest ) return jsonText( text );
      return jsonText( text.substr( 0, longest ) + "..." );
   }
   default:
      return json.dump();
   }
}

std::string placeText( std::string const & document, Json::json_pointer const & pointer ) {
   return document + ": " + ( pointer.empty() ? "" : pointer.to_string() + ": " );
}

// Follows the parse to find a key that stands twice in one object, which would otherwise lose its first value.
class DuplicateKeys {
 public:
   explicit DuplicateKeys( std::string const & document ) : document_( document ) {}

   bool operator()( int, Json::parse_event_t event, Json & parsed ) {
      using Event = Json::parse_event_t;
      switch ( event ) {
      case Event::object_start:
      case Event::array_start:
         frames_.push_back( { event == Event::array_start, 0, {}, {} } );
         break;
      case Event::key:
         keyIs( parsed.get_ref<std::string const &>() );
         break;
      case Event::object_end:
      case Event::array_end:
         frames_.pop_back();
         [[fallthrough]];
      case Event::value:
         if ( !frames_.empty() ) ++frames_.back().index;
         break;
      }
      return true;
   }

 private:
   struct Frame {
      bool list;
      std::size_t index;
      std::string key;
      std::set<std::string> keys;
   };

   void keyIs( std::string const & key ) {
      Frame & frame = frames_.back();
      frame.key = key;
      if ( frame.keys.insert( key ).second ) return;
      Json::json_pointer pointer;
      for ( Frame const & f : frames_ ) pointer /= f.list ? std::to_string( f.index ) : f.key;
      throw InputError( placeText( document_, pointer ) + "this key stands twice in its object; keep one" );
   }

   std::string const & document_;
   std::vector<Frame> frames_;
};

std::string positionText( std::string_view content, std::size_t position ) {
   std::string_view const before = content.substr( 0, position );
   auto const lines = std::count( before.begin(), before.end(), '\n' );
   std::size_t const lineStart = before.rfind( '\n' ) == std::string_view::npos ? 0 : before.rfind( '\n' ) + 1;
   return std::to_string( lines + 1 ) + ":" + std::to_string( position - lineStart + 1 );
}

// The parser's own words, without the tag and the position that it puts in front of them:
// "[json.exception.parse_error.101] parse error at line 1, column 5: syntax error while parsing ..."
std::string syntaxText( std::string_view what ) {
   for ( std::string_view const front : { "] ", "column " } )
      if ( auto const at = what.find( front ); at != std::string_view::npos ) what.remove_prefix( at + front.size() );
   if ( auto const colon = what.find( ": " ); colon != std::string_view::npos && std::isdigit( what.front() ) )
      what.remove_prefix( colon + 2 );
   return std::string( what );
}

std::size_t distance( std::string_view a, std::string_view b ) {
   std::vector<std::size_t> row( b.size() + 1 );
   std::iota( row.begin(), row.end(), std::size_t{ 0 } );
   for ( std::size_t i = 0; i < a.size(); ++i ) {
      std::size_t diagonal = row[0];
      row[0] = i + 1;
      for ( std::size_t j = 0; j < b.size(); ++j ) {
         std::size_t const substituted = diagonal + ( std::tolower( static_cast<unsigned char>( a[i] ) ) !=
                                                      std::tolower( static_cast<unsigned char>( b[j] ) ) );
         diagonal = row[j + 1];
         row[j + 1] = std::min( { row[j] + 1, row[j + 1] + 1, substituted } );
      }
   }
   return row.back();
}

}   // namespace

std::string JsonValue::text() const {
   if ( !isText() ) fail( "a text" );
   return json_->get<std::string>();
}

std::string JsonValue::name() const {
   if ( !isText() || json_->get_ref<std::string const &>().empty() ) fail( "a name (a text that is not empty)" );
   return json_->get<std::string>();
}

bool JsonValue::boolean() const {
   if ( !json_ || !json_->is_boolean() ) fail( "true or false" );
   return json_->get<bool>();
}

U64 JsonValue::u64( U64 minimum, U64 maximum ) const {
   std::optional<U64> number;
   // Numbers with a point or an exponent are floating point here, and would silently lose their last digits.
   if ( json_ && json_->is_number_unsigned() ) number = json_->get<U64>();
   if ( isText() && text().starts_with( "0x" ) ) number = numberOf<U64>( text() );
   if ( !number || *number < minimum || *number > maximum )
      fail( "a whole number from " + std::to_string( minimum ) + " to " + std::to_string( maximum ) );
   return *number;
}

JsonObject JsonValue::object() const {
   if ( !isObject() ) fail( "an object" );
   return JsonObject( *this );
}

std::vector<JsonValue> JsonValue::list() const {
   if ( !isList() ) fail( "a list" );
   std::vector<JsonValue> values;
   for ( Json const & element : *json_ ) values.push_back( { *document_, &element, pointer_ / values.size() } );
   return values;
}

std::size_t JsonValue::oneOf( std::vector<std::string_view> const & texts ) const {
   if ( isText() ) {
      auto const match = std::ranges::find( texts, json_->get_ref<std::string const &>() );
      if ( match != texts.end() ) return static_cast<std::size_t>( match - texts.begin() );
   }
   fail( choicesText( texts ) );
}

NamedFile JsonValue::file( std::string const & what ) const {
   std::string const path = besideFile( document_->name(), name() );
   try {
      return { path, readFile( path ) };
   } catch ( InputError const & error ) {
      failWith( what + " " + error.what() );
   }
}

void JsonValue::fail( std::string const & expected ) const {
   failWith( "expected " + expected + ", found " + ( json_ ? found( *json_ ) : "nothing: the key is missing" ) );
}

void JsonValue::failWith( std::string const & message ) const {
   throw InputError( placeText( document_->name(), pointer_ ) + message );
}

JsonValue JsonObject::operator[]( std::string_view key ) {
   if ( std::ranges::find( known_, key ) == known_.end() ) known_.emplace_back( key );
   auto const member = place_.json_->find( std::string( key ) );
   Json const * const value = member == place_.json_->end() ? nullptr : &*member;
   return { *place_.document_, value, place_.pointer_ / std::string( key ) };
}

std::vector<std::pair<std::string, JsonValue>> JsonObject::members() {
   std::vector<std::pair<std::string, JsonValue>> members;
   for ( auto const & item : place_.json_->items() ) members.emplace_back( item.key(), ( *this )[item.key()] );
   return members;
}

void JsonObject::finish() const {
   std::vector<std::string_view> const known( known_.begin(), known_.end() );
   std::vector<std::string> mistakes;
   for ( auto const & item : place_.json_->items() ) {
      if ( std::ranges::find( known, item.key() ) != known.end() ) continue;
      std::string_view const near = nearestChoice( item.key(), known );
      mistakes.push_back(
         placeText( place_.document_->name(), place_.pointer_ / item.key() ) + "unknown key, found with " +
         found( item.value() ) + ( near.empty() ? "" : "; did you mean " + jsonText( near ) + "?" ) +
         "; known here: " + choicesText( known ) );
   }
   if ( !mistakes.empty() ) throw InputError( mistakes );
}

JsonDocument::JsonDocument( std::string name, std::string_view content ) : name_( std::move( name ) ) {
   try {
      json_ = Json::parse( content, DuplicateKeys( name_ ) );
   } catch ( Json::parse_error const & error ) {
      // `byte` counts the characters read, the offending one included.
      std::size_t const position = std::min( content.size(), error.byte == 0 ? 0 : error.byte - 1 );
      throw InputError( name_ + ":" + positionText( content, position ) + ": " + syntaxText( error.what() ) );
   } catch ( Json::exception const & error ) {
      throw InputError( name_ + ": " + syntaxText( error.what() ) );
   }
}

std::string besideFile( std::string const & file, std::string const & path ) {
   return ( std::filesystem::path( file ).parent_path() / path ).lexically_normal().string();
}

std::string readFile( std::string const & path ) {
   errno = 0;
   std::ifstream file( path, std::ios::binary );
   std::ostringstream content;
   // Opening a folder succeeds and reading it fails; an empty file makes the copy fail without an error of its own.
   if ( file && file.peek() != std::ifstream::traits_type::eof() ) content << file.rdbuf();
   if ( !file.is_open() || file.bad() || errno != 0 )
      throw InputError( path + ": cannot be read: " + std::strerror( errno ? errno : EIO ) );
   return content.str();
}

JsonDocument readJson( std::string const & path ) { return JsonDocument( path, readFile( path ) ); }

std::string choicesText( std::vector<std::string_view> const & choices ) {
   if ( choices.empty() ) return "nothing";
   std::string text;
   for ( std::size_t i = 0; i < choices.size(); ++i ) {
      if ( i > 0 ) text += i + 1 == choices.size() ? " or " : ", ";
      text += jsonText( choices[i] );
   }
   return text;
}

std::string_view nearestChoice( std::string_view text, std::vector<std::string_view> const & choices ) {
   std::string_view nearest;
   std::size_t best = text.size() / 3 + 2;
   for ( std::string_view const choice : choices ) {
      std::size_t const d = distance( text, choice );
      if ( d < best && d < choice.size() ) {
         best = d;
         nearest = choice;
      }
   }
   return nearest;
}

std::string
unknownText( std::string const & what, std::string_view text, std::vector<std::string_view> const & choices ) {
   constexpr std::size_t choicesMax = 20;
   std::string_view const near = nearestChoice( text, choices );
   return "there is no " + what + " " + jsonText( text ) +
          ( near.empty() ? "" : "; did you mean " + jsonText( near ) + "?" ) +
          ( choices.size() > choicesMax ? ""
                                        : ( near.empty() ? "; expected " : " Expected " ) + choicesText( choices ) );
}

}   // namespace Input
