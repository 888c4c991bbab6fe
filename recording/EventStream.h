// Hands on what a recording has, as it happens.
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
   using Take = std::function<void( Event const & event )>;

   explicit EventStream( Take take ) : take_( std::move( take ) ) {}

   /// As recorded, once the recorder is made.
   Header const & header() const { return header_; }

   void onRecording( Header const & header ) override { header_ = header; }
   void onEvent( Event const & event ) override { take_( event ); }

 private:
   Take const take_;
   Header header_;
};

}   // namespace Recording
