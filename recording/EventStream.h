// What a recording has, as values and as it happens: what recording/Reader.h reads from a log later.
//
//    Recording::EventStream stream( [&]( Recording::Event const & event ) { story.take( event ); } );
//    Recording::Recorder const recorder( stream, world.events(), world.card() );
//    world.run();
#pragma once

#include "recording/Listener.h"

#include <functional>

namespace Recording {

class EventStream final : public Listener {
 public:
   /// The event is good as long as the call; its line is 0.
   using Take = std::function<void( Event const & event )>;

   explicit EventStream( Take take ) : take_( std::move( take ) ) {}

   /// As recorded, once the recorder is made.
   Header const & header() const { return header_; }

   void onRecording( Header const & header ) override { header_ = header; }
   void onStep( U64 ns, std::string_view chip, Hardware::Step const & step ) override;
   void onInput( U64 ns, InputChange const & change ) override { hand( ns, change ); }
   void onAside( U64 ns, Aside const & aside ) override { hand( ns, aside ); }
   void onWrite32( U64 ns, U32 address, U32 value ) override { hand( ns, Write32{ address, value } ); }
   void onRead32( U64 ns, U32 address, U32 value ) override { hand( ns, Read32{ address, value } ); }
   void onGpo( U64 ns, std::string_view name, bool active ) override { hand( ns, Gpo{ std::string( name ), active } ); }
   void onSleep( U64 ns, U64 forNs ) override { hand( ns, Sleep{ forNs } ); }
   void onState( U64 ns, Sim::StateChange const & change ) override;
   void onTrace( U64 ns, Vor::TraceRecord const & record ) override;
   void onLog( U64 ns, Vor::LogRecord const & record ) override;
   void onSpi( U64 ns, std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) override {
      hand( ns, Spi{ std::string( chip ), bytes, response } );
   }
   void onAbort( U64 ns, Vor::AssertionFailure const & failure ) override;

 private:
   template<class What> void hand( U64 ns, What what ) { take_( { ns, 0, std::move( what ) } ); }

   Take const take_;
   Header header_;
};

}   // namespace Recording
