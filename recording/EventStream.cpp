#include "recording/EventStream.h"

#include "framework/Assert.h"
#include "framework/Log.h"
#include "framework/Trace.h"

namespace Recording {

void EventStream::onStep( U64 ns, std::string_view chip, Hardware::Step const & step ) {
   if ( auto const * const gate = std::get_if<Hardware::Steps::GateEvaluated>( &step ) )
      hand( ns, Gate{ std::string( chip ), { gate->rows.begin(), gate->rows.end() } } );
   else
      hand( ns, Step{ std::string( chip ), step } );
}

void EventStream::onState( U64 ns, Sim::StateChange const & change ) {
   std::string const value = change.text.empty() ? std::to_string( change.value ) : std::string( change.text );
   hand( ns, State{ std::string( change.entity ), std::string( change.attr ), value } );
}

void EventStream::onTrace( U64 ns, Vor::TraceRecord const & record ) {
   hand( ns, Trace{ record.facility, record.level, record.source, record.function, record.text.stdString() } );
}

void EventStream::onLog( U64 ns, Vor::LogRecord const & record ) { hand( ns, Log{ record.id.stdString() } ); }

void EventStream::onAbort( U64 ns, Vor::AssertionFailure const & failure ) {
   hand( ns, Abort{ failure.expression, failure.source, failure.function, failure.line } );
}

}   // namespace Recording
