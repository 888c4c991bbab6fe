#include "recording/EventLog.h"

#include "framework/Assert.h"
#include "framework/Trace.h"

#include <fmt/format.h>

#include <concepts>
#include <iterator>
#include <ostream>
#include <span>

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
      char const head = text.front();
      std::size_t length = utf8Length( text );
      if ( head == '"' || head == '\\' ) {
         out += '\\';
         out += head;
      } else if ( length == 0 || static_cast<U8>( head ) < 0x20 ) {
         fmt::format_to( std::back_inserter( out ), "\\u{:04x}", static_cast<U8>( head ) );
         length = 1;
      } else {
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
      numberAppend( ns );
      field( "ev", event );
   }
   ~Line() { out_ += "}\n"; }
   Line( Line const & ) = delete;
   Line & operator=( Line const & ) = delete;

   Line & field( std::string_view name, std::string_view text ) {
      nameAppend( name );
      jsonStringAppend( out_, text );
      return *this;
   }
   Line & field( std::string_view name, std::span<U8 const> bytes ) {
      nameAppend( name );
      fmt::format_to( std::back_inserter( out_ ), "[{}]", fmt::join( bytes, "," ) );
      return *this;
   }
   template<std::unsigned_integral T> Line & field( std::string_view name, T value ) {
      nameAppend( name );
      if constexpr ( std::same_as<T, bool> )
         out_ += value ? "true" : "false";
      else
         numberAppend( value );
      return *this;
   }

 private:
   void nameAppend( std::string_view name ) {
      out_ += ",\"";
      out_ += name;
      out_ += "\":";
   }
   void numberAppend( U64 number ) {
      fmt::format_int const digits( number );
      out_.append( digits.data(), digits.size() );
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

void EventLog::onLog( U64 ns, std::string_view id ) { line( ns, "log" ).field( "id", id ); }

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
