#include "recording/EventLog.h"

#include "input/Json.h"
#include "input/Number.h"
#include "recording/Fields.h"
#include "sim/Scenario.h"

#include <fmt/format.h>

#include <algorithm>
#include <concepts>
#include <iterator>
#include <ostream>
#include <utility>

namespace Recording {

namespace {

bool isContinuation( std::string_view text, std::size_t at ) {
   return at < text.size() && ( static_cast<U8>( text[at] ) & 0xC0 ) == 0x80;
}

// How many bytes the UTF-8 character at the head of the text takes; 0 when there is no valid one. Overlong forms,
// surrogates and codes above 0x10FFFF are not valid.
std::size_t utf8Length( std::string_view text ) {
   U8 const lead = static_cast<U8>( text[0] );
   U8 const second = text.size() > 1 ? static_cast<U8>( text[1] ) : U8( 0 );
   if ( lead < 0x80 ) return 1;
   if ( lead < 0xC2 || lead > 0xF4 || !isContinuation( text, 1 ) ) return 0;
   if ( lead < 0xE0 ) return 2;
   if ( !isContinuation( text, 2 ) ) return 0;
   if ( lead < 0xF0 ) return ( lead == 0xE0 && second < 0xA0 ) || ( lead == 0xED && second > 0x9F ) ? 0 : 3;
   if ( !isContinuation( text, 3 ) ) return 0;
   return ( lead == 0xF0 && second < 0x90 ) || ( lead == 0xF4 && second > 0x8F ) ? 0 : 4;
}

Input::Json startJson( std::vector<InputChange> const & start ) {
   Input::Json json = Input::Json::object();
   for ( auto const & [what, of, value] : start ) {
      // Each of a kind has a name of its own, which need not be looked for among those before it.
      Input::Json & all = json[what];
      if ( !of.empty() && !all.is_object() ) all = Input::Json::object();
      Input::Json & place =
         of.empty() ? all : all.get_ref<Input::Json::object_t &>().emplace_back( of, nullptr ).second;
      if ( isNumber( what ) )
         place = value;
      else
         place = value != 0;
   }
   return json;
}

// The description with its sequences in place, so that no other file is needed.
Input::Json cardJson( Input::CardDescription const & card ) {
   Input::Json json = Input::Json::parse( card.json );
   for ( Input::Json & chip : json["chips"] ) {
      auto const * const max24305 = card.max24305( chip["name"].get_ref<std::string const &>() );
      if ( !max24305 ) continue;
      Input::Json & sequence = chip["sequence"] = Input::Json::array();
      for ( auto const & op : max24305->sequence ) sequence.push_back( valueToStrep( op ).stdString() );
   }
   return json;
}

Input::Json sequencesJson( Input::CardDescription const & card ) {
   Input::Json json = Input::Json::array();
   for ( auto const & chip : card.max24305s )
      if ( !chip.sequenceFile.empty() )
         json.push_back( { { "chip", chip.name }, { "file", chip.sequenceFile }, { "lines", chip.sequenceLines } } );
   return json;
}

}   // namespace

bool isNumber( std::string_view input ) {
   return std::ranges::any_of( Sim::actionTypes(), [&]( Sim::ActionType const & type ) {
      return type.key == input && type.takes == Sim::ActionTakes::number_;
   } );
}

void jsonStringAppend( std::string & out, std::string_view text ) {
   // Whole runs of them, since a log is mostly text.
   auto const standsForItself = []( U8 c ) { return c >= 0x20 && c <= 0x7F && c != '"' && c != '\\'; };
   out += '"';
   for ( ;; ) {
      auto const run = static_cast<std::size_t>( std::ranges::find_if_not( text, standsForItself ) - text.begin() );
      out += text.substr( 0, run );
      text.remove_prefix( run );
      if ( text.empty() ) break;
      std::size_t length = utf8Length( text );
      U8 const head = static_cast<U8>( text.front() );
      if ( length == 0 || head < 0x20 ) {
         fmt::format_to( std::back_inserter( out ), "\\u{:04x}", head );
         length = 1;
      } else {
         if ( head == '"' || head == '\\' ) out += '\\';
         out += text.substr( 0, length );
      }
      text.remove_prefix( length );
   }
   out += '"';
}

namespace {

// Writes events, each as one line: `ns` and `ev` first, then its fields. A field without a value is left out.
class LineWriter {
 public:
   explicit LineWriter( std::string & out ) : out_( out ) {}

   void append( Event const & event ) {
      out_ += "{\"ns\":";
      append( event.ns );
      field( "ev", kindNames[event.what.index()] );
      std::visit( [&]( auto const & what ) { fields( what ); }, event.what );
      out_ += "}\n";
   }

 private:
   void fields( auto const & values ) {
      forEachField( values, [&]( std::string_view name, auto const & value ) { field( name, value ); } );
   }
   void fields( InputChange const & change ) {
      field( "what", change.what );
      if ( !change.of.empty() ) field( "of", change.of );
      if ( isNumber( change.what ) )
         field( "value", change.value );
      else
         field( "value", change.value != 0 );
   }
   // No enumerator's text is a number.
   void fields( State const & state ) {
      field( "entity", state.entity );
      field( "attr", state.attr );
      if ( auto const number = Input::numberOf( state.value ) )
         field( "value", *number );
      else
         field( "value", state.value );
   }

   void field( std::string_view name, auto const & value ) {
      out_ += std::exchange( separator_, ",\"" );
      out_ += name;
      out_ += "\":";
      append( value );
   }
   template<class Value> void field( std::string_view name, std::optional<Value> const & value ) {
      if ( value ) field( name, *value );
   }
   // The name of a step, and behind it the step's own fields.
   template<class... Steps> void stepFields( std::variant<Steps...> const & step ) {
      std::visit(
         [&]<class One>( One const & values ) {
            field( "step", stepName<One>() );
            fields( values );
         },
         step );
   }
   void field( std::string_view, Hardware::Step const & step ) { stepFields( step ); }

   // `fill` adds the fields of an object that is a value.
   void object( auto const & fill ) {
      out_ += '{';
      separator_ = "\"";
      fill();
      separator_ = ",\"";
      out_ += '}';
   }
   void list( auto const & values ) {
      std::string_view separator = "[";
      for ( auto const & value : values ) {
         out_ += std::exchange( separator, "," );
         append( value );
      }
      out_ += values.empty() ? "[]" : "]";
   }

   void append( std::string_view text ) { jsonStringAppend( out_, text ); }
   void append( std::same_as<bool> auto flag ) { out_ += flag ? "true" : "false"; }
   // Much faster than formatting, and a log has millions of numbers.
   void append( std::unsigned_integral auto number ) requires( !std::same_as<decltype( number ), bool> ) {
      fmt::format_int const digits( number );
      out_.append( digits.data(), digits.size() );
   }
   void append( std::array<U8, 4> const & bytes ) { list( bytes ); }
   void append( Vor::Enumeration auto value ) {
      if ( char const * const text = enumType( value ).text( value ) )
         append( std::string_view( text ) );
      else
         append( U32{ value } );
   }
   void append( Hardware::Steps::Outcome outcome ) { append( outcomeNames[static_cast<std::size_t>( outcome )] ); }
   void append( decltype( Hardware::Steps::AttemptFailed::at ) const & at ) {
      object( [&] { stepFields( at ); } );
   }
   void append( std::vector<Hardware::GateRow> const & rows ) { list( rows ); }
   void append( HasFields auto const & values ) {
      object( [&] { fields( values ); } );
   }

   std::string & out_;
   std::string_view separator_ = ",\"";   // before the next field
};

}   // namespace

void EventLog::flush() {
   out_.write( pending_.data(), static_cast<std::streamsize>( pending_.size() ) );
   out_.flush();
   pending_.clear();
}

void EventLog::onRecording( Header const & header ) {
   Input::Json first{
      { "ns", 0 }, { "ev", "recording" }, { "version", header.version }, { "program", header.program } };
   if ( !header.began.empty() ) first["began"] = header.began;
   first["cardFile"] = header.card.file;
   if ( !header.card.json.empty() ) first["card"] = cardJson( header.card );   // some are made without a file
   first["sequences"] = sequencesJson( header.card );
   first["start"] = startJson( header.start );
   pending_ += first.dump( -1, ' ', false, Input::Json::error_handler_t::replace ) + "\n";
   lineEnded();
}

void EventLog::onEvent( Event const & event ) {
   LineWriter( pending_ ).append( event );
   lineEnded();
   if ( std::holds_alternative<Abort>( event.what ) ) flush();
}

}   // namespace Recording
