// Those who hear all that a recording has: the lines that a card's events make, the first line, steps and inputs.
// recording/Recorder.h tells them; the event log writes down what it hears, an EventStream hands it on as values.
#pragma once

#include "recording/Event.h"
#include "sim/CardListener.h"

#include <string_view>

namespace Recording {

class Listener : public Sim::CardListener {
 public:
   /// First of all.
   virtual void onRecording( Header const & /*header*/ ) {}
   virtual void onStep( U64 /*ns*/, std::string_view /*chip*/, Hardware::Step const & ) {}
   virtual void onInput( U64 /*ns*/, InputChange const & ) {}
   virtual void onAside( U64 /*ns*/, Aside const & ) {}
};

}   // namespace Recording
