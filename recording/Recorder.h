// Records what happens to a card: tells a listener, such as an event log, first how all stands, then the card's events,
// the steps of the machines, and the changes of what the machines look at.
//
//    Recording::EventLog log( file );
//    Recording::Recorder const recorder( log, world.events(), world.card() );
//    world.run();
#pragma once

#include "card/Card.h"
#include "card/StepListener.h"
#include "recording/Listener.h"
#include "sim/CardEvents.h"

#include <functional>
#include <string>
#include <vector>

namespace Recording {

class Recorder final : private Host::StepListener {
 public:
   /// The card is configured, and its machines are not made yet. All outlive the recorder; the listener joins the
   /// events. `began` is the wall time, for a recording in real time.
   Recorder( Listener & listener, Sim::CardEvents & events, Host::Card const & card, std::string began = {} );

 private:
   // An attribute that the machines look at, and what it is called in the log.
   struct Source {
      Vor::Ptr<Vor::Entity const> entity;
      std::string_view attribute;
      std::string what;
      std::string of;   // a stage's name is the changed key
      std::function<U32( std::string const & of )> value;
   };
   class Watch;

   static std::vector<Source> sourcesOf( Host::Card const & card );
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;

   Listener & listener_;
   Sim::CardEvents & events_;
   std::vector<Vor::Ptr<Vor::EntityObserver>> watches_;
};

}   // namespace Recording
