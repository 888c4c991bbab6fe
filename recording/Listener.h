// Those who hear all that a recording has, as values and as it happens: what recording/Reader.h reads from a log later.
// recording/Recorder.h tells them; the event log writes down what it hears, an EventStream hands it on.
#pragma once

#include "recording/Event.h"
#include "sim/CardListener.h"

#include <string_view>

namespace Recording {

class Listener : public Sim::CardListener {
 public:
   /// First of all.
   virtual void onRecording( Header const & header ) = 0;
   /// The event is good as long as the call; its line is 0.
   virtual void onEvent( Event const & event ) = 0;

   void tell( U64 ns, What what ) { onEvent( { ns, 0, std::move( what ) } ); }

   // What is told otherwise, as events.

   /// A gate that was looked at is a kind of event of its own.
   void onStep( U64 ns, std::string_view chip, Hardware::Step const & step );
   void onWrite32( U64 ns, U32 address, U32 value ) final { tell( ns, Write32{ address, value } ); }
   void onRead32( U64 ns, U32 address, U32 value ) final { tell( ns, Read32{ address, value } ); }
   void onGpo( U64 ns, std::string_view name, bool active ) final { tell( ns, Gpo{ std::string( name ), active } ); }
   void onSleep( U64 ns, U64 forNs ) final { tell( ns, Sleep{ forNs } ); }
   void onState( U64 ns, Sim::StateChange const & change ) final;
   void onTrace( U64 ns, Vor::TraceRecord const & record ) final;
   void onLog( U64 ns, Vor::LogRecord const & record ) final;
   void onSpi( U64 ns, std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) final {
      tell( ns, Spi{ std::string( chip ), bytes, response } );
   }
   void onAside( U64 ns, std::string_view by, bool begins ) final { tell( ns, Aside{ std::string( by ), begins } ); }
   void onAbort( U64 ns, Vor::AssertionFailure const & failure ) final;
};

}   // namespace Recording
