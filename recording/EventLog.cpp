#include "recording/EventLog.h"

#include "framework/Assert.h"
#include "framework/Trace.h"

#include <ostream>

namespace Recording {

void EventLog::flush() {
   out_.write( pending_.data(), static_cast<std::streamsize>( pending_.size() ) );
   out_.flush();
   pending_.clear();
}

// Pieces are large enough that a run is not bound by them, and small enough to follow a long one in its file.
EventLine EventLog::line( U64 ns, std::string_view event ) {
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
   EventLine state = line( ns, "state" );
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
