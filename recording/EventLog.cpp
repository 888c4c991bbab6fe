#include "recording/EventLog.h"

#include "framework/Assert.h"
#include "framework/Log.h"
#include "framework/Trace.h"

#include <fmt/format.h>

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

}   // namespace

void jsonStringAppend( std::string & out, std::string_view text ) {
   out += '"';
   while ( !text.empty() ) {
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

// One line while it is being written: `ns` and `ev` first, then fields, then the line's end as it is destroyed.
class EventLog::Line {
 public:
   Line( std::string & out, U64 ns, std::string_view event ) : out_( out ) {
      out_ += "{\"ns\":";
      append( ns );
      field( "ev", event );
   }
   ~Line() { out_ += "}\n"; }
   Line( Line const & ) = delete;
   Line & operator=( Line const & ) = delete;

   Line & field( std::string_view name, auto const & value ) {
      out_ += ",\"";
      out_ += name;
      out_ += "\":";
      append( value );
      return *this;
   }

 private:
   void append( std::string_view text ) { jsonStringAppend( out_, text ); }
   void append( std::same_as<bool> auto flag ) { out_ += flag ? "true" : "false"; }
   // Much faster than formatting, and a log has millions of numbers.
   void append( std::unsigned_integral auto number ) requires( !std::same_as<decltype( number ), bool> ) {
      fmt::format_int const digits( number );
      out_.append( digits.data(), digits.size() );
   }
   void append( std::array<U8, 4> const & bytes ) {
      char separator = '[';
      for ( U8 const byte : bytes ) {
         out_ += std::exchange( separator, ',' );
         append( byte );
      }
      out_ += ']';
   }

   std::string & out_;
};

void EventLog::flush() {
   out_.write( pending_.data(), static_cast<std::streamsize>( pending_.size() ) );
   out_.flush();
   pending_.clear();
}

// Pieces are large enough that a run is not bound by them, and small enough to follow a long one in its file.
EventLog::Line EventLog::line( U64 ns, std::string_view event ) {
   constexpr std::size_t pieceSize = std::size_t{ 64 } * 1024;
   if ( pending_.size() >= pieceSize ) flush();
   return { pending_, ns, event };
}

void EventLog::onWrite32( U64 ns, U32 address, U32 value ) {
   line( ns, "write32" ).field( "address", address ).field( "value", value );
}

void EventLog::onRead32( U64 ns, U32 address, U32 value ) {
   line( ns, "read32" ).field( "address", address ).field( "value", value );
}

void EventLog::onGpo( U64 ns, std::string_view name, bool active ) {
   line( ns, "gpo" ).field( "name", name ).field( "active", active );
}

void EventLog::onSleep( U64 ns, U64 forNs ) { line( ns, "sleep" ).field( "forNs", forNs ); }

void EventLog::onState( U64 ns, Sim::StateChange const & change ) {
   Line state = line( ns, "state" );
   state.field( "entity", change.entity ).field( "attr", change.attr );
   if ( change.text.empty() )
      state.field( "value", change.value );
   else
      state.field( "value", change.text );
}

void EventLog::onTrace( U64 ns, Vor::TraceRecord const & record ) {
   line( ns, "trace" )
      .field( "facility", record.facility )
      .field( "level", record.level )
      .field( "source", record.source )
      .field( "function", record.function )
      .field( "text", record.text );
}

void EventLog::onLog( U64 ns, Vor::LogRecord const & record ) { line( ns, "log" ).field( "id", record.id ); }

void EventLog::onSpi( U64 ns, std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) {
   line( ns, "spi" ).field( "chip", chip ).field( "bytes", bytes ).field( "response", response );
}

void EventLog::onAbort( U64 ns, Vor::AssertionFailure const & failure ) {
   line( ns, "abort" )
      .field( "expression", failure.expression )
      .field( "source", failure.source )
      .field( "function", failure.function )
      .field( "line", failure.line );
   flush();
}

}   // namespace Recording
