#include "recording/EventLog.h"

#include "framework/Assert.h"
#include "framework/Trace.h"
#include "recording/EventLine.h"

#include <ostream>

namespace Recording {

void EventLog::flush() {
   out_.write( pending_.data(), static_cast<std::streamsize>( pending_.size() ) );
   out_.flush();
   pending_.clear();
}

// Pieces are large enough that a run is not bound by them, and small enough to follow a long one in its file.
void EventLog::flushIfLarge() {
   constexpr std::size_t pieceSize = std::size_t{ 64 } * 1024;
   if ( pending_.size() >= pieceSize ) flush();
}

void EventLog::onWrite32( U64 ns, U32 address, U32 value ) {
   EventLine( pending_, ns, "write32" ).field( "address", address ).field( "value", value );
   flushIfLarge();
}

void EventLog::onRead32( U64 ns, U32 address, U32 value ) {
   EventLine( pending_, ns, "read32" ).field( "address", address ).field( "value", value );
   flushIfLarge();
}

void EventLog::onGpo( U64 ns, std::string_view name, bool active ) {
   EventLine( pending_, ns, "gpo" ).field( "name", name ).field( "active", active );
   flushIfLarge();
}

void EventLog::onSleep( U64 ns, U64 forNs ) {
   EventLine( pending_, ns, "sleep" ).field( "forNs", forNs );
   flushIfLarge();
}

void EventLog::onState( U64 ns, Sim::StateChange const & change ) {
   {
      EventLine line( pending_, ns, "state" );
      line.field( "entity", change.entity ).field( "attr", change.attr );
      if ( change.text.empty() )
         line.field( "value", change.value );
      else
         line.field( "value", change.text );
   }
   flushIfLarge();
}

void EventLog::onTrace( U64 ns, Vor::TraceRecord const & record ) {
   EventLine( pending_, ns, "trace" )
      .field( "facility", record.facility )
      .field( "level", record.level )
      .field( "source", record.source )
      .field( "function", record.function )
      .field( "text", record.text );
   flushIfLarge();
}

void EventLog::onLog( U64 ns, std::string_view id ) {
   EventLine( pending_, ns, "log" ).field( "id", id );
   flushIfLarge();
}

void EventLog::onSpi( U64 ns, std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) {
   EventLine( pending_, ns, "spi" ).field( "chip", chip ).field( "bytes", bytes ).field( "response", response );
   flushIfLarge();
}

void EventLog::onAbort( U64 ns, Vor::AssertionFailure const & failure ) {
   EventLine( pending_, ns, "abort" )
      .field( "expression", failure.expression )
      .field( "source", failure.source )
      .field( "function", failure.function )
      .field( "line", failure.line );
   flush();
}

}   // namespace Recording
