// Reading of JSON files that people write: every error names the file, the JSON pointer, what was expected and what
// stood there.
//
//    Input::JsonDocument const file = Input::readJson( "card.json" );
//    Input::JsonObject chip = file.root().object();
//    std::string const name = chip[ "name" ].text();
//    U32 const genId = chip.has( "genId" ) ? chip[ "genId" ].u32() : 0;
//    chip.finish();   // a key that nobody asked for is an error, and so is `name` when it is missing
//
// A JsonValue borrows from its document. A key that is missing gives an absent value, and the error is raised when
// its content is asked for, so that the message can say what was expected there. Keys keep the order of the file; one
// that stands twice in an object is an error, and so is what passes a limit (input/Limits.h).
#pragma once

#include "framework/Enumeration.h"
#include "input/InputError.h"
#include "input/Limits.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Input {

using Json = nlohmann::ordered_json;

class JsonDocument;
class JsonObject;

struct NamedFile {
   std::string path;
   std::string content;
};

/// A value and its place.
class JsonValue {
 public:
   bool present() const { return json_; }
   bool isObject() const { return json_ && json_->is_object(); }
   bool isList() const { return json_ && json_->is_array(); }
   bool isText() const { return json_ && json_->is_string(); }

   std::string text() const;
   /// A text that is not empty, of printable characters.
   std::string name() const;
   /// Raises the error of this place for what is no name of printable characters, such as a key.
   void requireName( std::string_view name ) const;
   bool boolean() const;
   /// A number, or the text of a hexadecimal one: "0x2000".
   U64 u64( U64 minimum = 0, U64 maximum = std::numeric_limits<U64>::max() ) const;
   U32 u32( U32 maximum = std::numeric_limits<U32>::max() ) const { return static_cast<U32>( u64( 0, maximum ) ); }
   JsonObject object() const;
   std::vector<JsonValue> list( Limit const & limit = Limits::members ) const;

   /// One of a set of texts; gives its index.
   std::size_t oneOf( std::vector<std::string_view> const & texts ) const;

   /// The file that is named here, relative to the document's folder. `what` it is begins the error where it cannot be
   /// read: "the sequence file".
   NamedFile file( std::string const & what ) const;

   /// Raises the error of this place: what was expected, and what stands here.
   [[noreturn]] void fail( std::string const & expected ) const;
   /// Raises the error of this place where more was found than may be.
   void requireWithin( Limit const & limit, std::size_t found ) const;
   /// Raises an error of this place in words of its own.
   [[noreturn]] void failWith( std::string const & message ) const;

   /// The value as JSON without line breaks.
   std::string onOneLine() const { return json_ ? json_->dump() : "null"; }

   /// RFC 6901; empty for the whole document.
   std::string pointer() const { return pointer_.to_string(); }
   JsonDocument const & document() const { return *document_; }

 private:
   friend JsonDocument;
   friend JsonObject;
   JsonValue( JsonDocument const & document, Json const * json, Json::json_pointer pointer )
      : document_( &document ), json_( json ), pointer_( std::move( pointer ) ) {}

   JsonDocument const * document_;
   Json const * json_;
   Json::json_pointer pointer_;
};

/// An object whose keys are asked for one by one.
class JsonObject {
 public:
   /// The value of that key, absent where the object has none; the key counts as known from now on.
   JsonValue operator[]( std::string_view key );
   bool has( std::string_view key ) { return ( *this )[key].present(); }

   /// Has the value of a key read that may be left out, and gathers its mistakes.
   template<class Read> void gather( Mistakes & mistakes, std::string_view key, Read const & read ) {
      if ( JsonValue const value = ( *this )[key]; value.present() ) mistakes.gather( [&] { read( value ); } );
   }

   /// All members in the order of the file, for objects whose keys are names; all count as known.
   std::vector<std::pair<std::string, JsonValue>> members();

   /// Raises an error for the keys that nobody asked for, each with the nearest known one as a suggestion.
   void finish() const;

   JsonValue const & place() const { return place_; }

 private:
   friend JsonValue;
   explicit JsonObject( JsonValue place ) : place_( std::move( place ) ) {}

   JsonValue place_;
   std::vector<std::string> known_;
   bool allKnown_ = false;
};

class JsonDocument {
 public:
   /// `name` stands in front of every message, as the file's name does.
   JsonDocument( std::string name, std::string_view content, Limit const & texts = Limits::textBytes );

   std::string const & name() const { return name_; }
   JsonValue root() const { return { *this, &json_, Json::json_pointer() }; }

 private:
   std::string name_;
   Json json_;
};

/// `path` as seen from the folder of `file`, unless it is absolute.
std::string besideFile( std::string const & file, std::string const & path );

/// Reads a whole file. Throws InputError when it cannot be read.
std::string readFile( std::string const & path );

/// Reads and parses a file. Throws InputError, for wrong syntax with line and column.
JsonDocument readJson( std::string const & path );

inline constexpr auto nameOf = []( auto const & thing ) -> std::string_view { return thing.name; };

/// What the things are called, as choices: each by its `name`, or by what `called` gives of it.
template<class Things, class Called = decltype( nameOf )>
std::vector<std::string_view> namesOf( Things const & things, Called const & called = nameOf ) {
   std::vector<std::string_view> names;
   names.reserve( things.size() );
   for ( auto const & thing : things ) names.push_back( std::invoke( called, thing ) );
   return names;
}

/// The enumerator whose text stands there.
template<Vor::Enumeration E> E enumeratorOf( JsonValue const & value ) {
   auto const enumerators = enumType( E{} ).enumerators();
   return static_cast<E>( enumerators[value.oneOf( namesOf( enumerators, &Vor::Enumerator::text ) )].value );
}

/// The text of a list of choices: "a, b or c", each in double quotes.
std::string choicesText( std::vector<std::string_view> const & choices );

/// The choice nearest to `text`, empty when none is near enough for a typing error.
std::string_view nearestChoice( std::string_view text, std::vector<std::string_view> const & choices );

/// "there is no WHAT "text"; did you mean "near"? Expected ...", for messages. Of many choices only the near one.
std::string
unknownText( std::string const & what, std::string_view text, std::vector<std::string_view> const & choices );

}   // namespace Input
