#include "input/Json.h"

#include "input/Limits.h"
#include "input/Number.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>

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

// Whether a line of text shows all of it as it stands: no control characters, and none that break or turn the line or
// cannot be seen, in UTF-8.
bool printable( std::string_view text ) {
   auto const code = [&]( std::size_t at ) { return at < text.size() ? static_cast<U8>( text[at] ) : U8( 0 ); };
   for ( std::size_t at = 0; at < text.size(); ++at ) {
      U32 const two = U32{ code( at ) } << 8 | code( at + 1 );
      U8 const third = code( at + 2 );
      if ( code( at ) < 0x20 || code( at ) == 0x7F ) return false;
      if ( two >= 0xC280 && two <= 0xC29F ) return false;   // U+0080 to U+009F
      if ( two == 0xE280 && ( ( third >= 0x8B && third <= 0x8F ) || ( third >= 0xA8 && third <= 0xAE ) ) ) return false;
      if ( two == 0xE281 && third >= 0xA0 && third <= 0xAF ) return false;   // U+2060 to U+206F
      if ( two == 0xEFBB && third == 0xBF ) return false;                    // U+FEFF
   }
   return true;
}

// Keys may be anything.
std::string placeText( std::string const & document, Json::json_pointer const & pointer ) {
   std::string const text = pointer.to_string();
   return document + ": " + ( pointer.empty() ? "" : ( printable( text ) ? text : jsonText( text ) ) + ": " );
}

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

// Makes the values of a text as the parser comes to them, each at its place at once. A callback of the library's own
// parser would have it look through all of a list at each of its members.
class Builder final : public nlohmann::json_sax<Json> {
 public:
   Builder( std::string const & document, std::string_view content, Limit const & texts, Json & root )
      : document_( document ), content_( content ), texts_( texts ), root_( root ) {}

   bool null() override { return put( nullptr ); }
   bool boolean( bool value ) override { return put( value ); }
   bool number_integer( std::int64_t value ) override { return put( value ); }
   bool number_unsigned( std::uint64_t value ) override { return put( value ); }
   bool number_float( double value, std::string const & ) override { return put( value ); }
   bool binary( Json::binary_t & value ) override { return put( std::move( value ) ); }   // no text has one
   bool string( std::string & value ) override {
      std::size_t const size = value.size();
      put( std::move( value ) );
      require( texts_, size );
      return true;
   }
   bool start_object( std::size_t ) override { return open( Json::object() ); }
   bool start_array( std::size_t ) override { return open( Json::array() ); }
   bool end_array() override {
      open_.pop_back();
      return true;
   }
   bool key( std::string & key ) override {
      if ( texts_.passedBy( key.size() ) ) open_.pop_back();   // the object is the place that is told
      require( texts_, key.size() );
      open_.back()->get_ref<Json::object_t &>().emplace_back( std::move( key ), nullptr );
      return true;
   }
   bool end_object() override {
      std::vector<std::string_view> keys;
      for ( auto const & [key, value] : open_.back()->get_ref<Json::object_t &>() ) keys.emplace_back( key );
      std::ranges::sort( keys );
      auto const twice = std::ranges::adjacent_find( keys );
      open_.pop_back();
      if ( twice != keys.end() )
         fail( place() / std::string( *twice ), "this key stands twice in its object; keep one" );
      return true;
   }
   bool parse_error( std::size_t read, std::string const &, Json::exception const & error ) override {
      // The offending character is one of those read. A number that is too large is no matter of syntax.
      std::size_t const position = std::min( content_.size(), read == 0 ? 0 : read - 1 );
      bool const syntax = dynamic_cast<Json::parse_error const *>( &error );
      throw InputError(
         document_ + ( syntax ? ":" + positionText( content_, position ) : "" ) + ": " + syntaxText( error.what() ) );
   }

 private:
   bool put( Json && value ) {
      Json * const at = open_.empty() ? nullptr : open_.back();
      if ( !at )
         last_ = &( root_ = std::move( value ) );
      else if ( at->is_array() )
         last_ = &at->get_ref<Json::array_t &>().emplace_back( std::move( value ) );
      else
         last_ = &( at->get_ref<Json::object_t &>().back().second = std::move( value ) );
      return true;
   }

   bool open( Json && empty ) {
      put( std::move( empty ) );
      require( Limits::nesting, open_.size() + 1 );
      open_.push_back( last_ );
      return true;
   }

   // Of the value that was put last.
   Json::json_pointer place() const {
      Json::json_pointer place;
      for ( Json const * json : open_ )
         if ( json->is_array() )
            place /= json->size() - 1;
         else
            place /= json->get_ref<Json::object_t const &>().back().first;
      return place;
   }

   void require( Limit const & limit, std::size_t found ) const {
      if ( limit.passedBy( found ) ) fail( place(), "expected " + limit.text() + ", found " + std::to_string( found ) );
   }

   [[noreturn]] void fail( Json::json_pointer const & place, std::string const & message ) const {
      throw InputError( placeText( document_, place ) + message );
   }

   std::string const & document_;
   std::string_view const content_;
   Limit const texts_;
   Json & root_;
   std::vector<Json *> open_;   // the objects and lists that have not ended; they stay in place until they have
   Json * last_ = nullptr;      // what was put last
};

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
   std::string const name = json_->get<std::string>();
   requireName( name );
   return name;
}

void JsonValue::requireName( std::string_view name ) const {
   requireWithin( Limits::nameBytes, name.size() );
   if ( !printable( name ) ) failWith( "expected a name of printable characters, found " + jsonText( name ) );
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

std::vector<JsonValue> JsonValue::list( Limit const & limit ) const {
   if ( !isList() ) fail( "a list" );
   requireWithin( limit, json_->size() );
   std::vector<JsonValue> values;
   values.reserve( json_->size() );
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

void JsonValue::requireWithin( Limit const & limit, std::size_t found ) const {
   if ( limit.passedBy( found ) ) failWith( "expected " + limit.text() + ", found " + std::to_string( found ) );
}

void JsonValue::failWith( std::string const & message ) const {
   throw InputError( placeText( document_->name(), pointer_ ) + message );
}

JsonValue JsonObject::operator[]( std::string_view key ) {
   if ( !allKnown_ && std::ranges::find( known_, key ) == known_.end() ) known_.emplace_back( key );
   auto const member = place_.json_->find( std::string( key ) );
   Json const * const value = member == place_.json_->end() ? nullptr : &*member;
   return { *place_.document_, value, place_.pointer_ / std::string( key ) };
}

// Not by key, for which the object would be searched each time.
std::vector<std::pair<std::string, JsonValue>> JsonObject::members() {
   allKnown_ = true;
   std::vector<std::pair<std::string, JsonValue>> members;
   for ( auto const & [key, value] : place_.json_->get_ref<Json::object_t const &>() )
      members.emplace_back( key, JsonValue( *place_.document_, &value, place_.pointer_ / key ) );
   return members;
}

void JsonObject::finish() const {
   if ( allKnown_ ) return;
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

JsonDocument::JsonDocument( std::string name, std::string_view content, Limit const & texts )
   : name_( std::move( name ) ) {
   Builder builder( name_, content, texts, json_ );
   Json::sax_parse( content, &builder );
}

std::string besideFile( std::string const & file, std::string const & path ) {
   return ( std::filesystem::path( file ).parent_path() / path ).lexically_normal().string();
}

std::string readFile( std::string const & path ) {
   errno = 0;
   std::ifstream file( path, std::ios::binary );
   std::string content;
   std::string piece( std::size_t{ 64 } * 1024, '\0' );
   while ( file.read( piece.data(), static_cast<std::streamsize>( piece.size() ) ) || file.gcount() > 0 ) {
      content.append( piece, 0, static_cast<std::size_t>( file.gcount() ) );
      if ( Limits::fileBytes.passedBy( content.size() ) )
         throw InputError( path + ": expected " + Limits::fileBytes.text() + ", found more" );
   }
   // Opening a folder succeeds and reading it fails.
   if ( !file.is_open() || file.bad() )
      throw InputError( path + ": cannot be read: " + std::strerror( errno ? errno : EIO ) );
   return content;
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
