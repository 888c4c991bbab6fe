#include "recording/Listener.h"

#include "framework/Assert.h"
#include "framework/Log.h"
#include "framework/Trace.h"

namespace Recording {

void Listener::onStep( U64 ns, std::string_view chip, Hardware::Step const & step ) {
   if ( auto const * const gate = std::get_if<Hardware::Steps::GateEvaluated>( &step ) )
      tell( ns, Gate{ std::string( chip ), { gate->rows.begin(), gate->rows.end() } } );
   else
      tell( ns, Step{ std::string( chip ), step } );
}

void Listener::onState( U64 ns, Sim::StateChange const & change ) {
   std::string const value = change.text.empty() ? std::to_string( change.value ) : std::string( change.text );
   tell( ns, State{ std::string( change.entity ), std::string( change.attr ), value } );
}

void Listener::onTrace( U64 ns, Vor::TraceRecord const & record ) {
   tell( ns, Trace{ record.facility, record.level, record.source, record.function, record.text.stdString() } );
}

void Listener::onLog( U64 ns, Vor::LogRecord const & record ) { tell( ns, Log{ record.id.stdString() } ); }

void Listener::onAbort( U64 ns, Vor::AssertionFailure const & failure ) {
   tell( ns, Abort{ failure.expression, failure.source, failure.function, failure.line } );
}

}   // namespace Recording
