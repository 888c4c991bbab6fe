// A simulated card in virtual time with an agent's inputs; the test makes the machines, and turns the loop.
#pragma once

#include "card/StepListener.h"
#include "card/VirtualWorld.h"
#include "framework/ActivityManager.h"
#include "service/TimeSyncInput.h"
#include "sim/SimulatedHam.h"
#include "tests/input/Cards.h"

#include <map>
#include <string>

namespace Host {

/// Begins on a standby supervisor, at time sync 1 of a source that has not said anything, and without machines.
class LiveCard final : private StepListener {
 public:
   explicit LiveCard( std::string const & description = Input::wholeCard )
      : hardware( clock, simulatedParameters( Input::cardOf( description ) ) ),
        world(
           clock, Input::cardOf( description ), {},
           [this]( Sim::CardEvents & events ) {
              return Vor::Ptr<Fru::HamImpl>( new Sim::SimulatedHam( "hamImpl", hardware, events ) );
           },
           &hardware ) {}

   void makeMachines() {
      while ( world.machines().makeNext() ) {
      }
   }
   /// As an agent's loop does.
   void run( double seconds ) {
      double const end = now() + seconds;
      for ( ;; ) {
         Vor::activityManager().turn();
         input.look();
         double const next = Vor::activityManager().nextTime();
         if ( next > end ) break;
         if ( next > now() ) clock->nowIs( next );
      }
      if ( now() < end ) clock->nowIs( end );
   }
   double now() const { return clock->now(); }

   U32 timeSync() const { return card().timeSync()->state(); }
   U32 mode() const { return card().redundancy()->mode(); }
   Vor::Ptr<Hardware::Max24305::Status> chip( std::string const & name = "ptp0" ) const {
      return card().max24305StatusDir()->max24305( name );
   }
   void chipIs( Hardware::Max24305::State state, Hardware::Kiv::ClockStatus::State clockState ) const {
      for ( char const * name : { "ptp0", "ptp1" } ) {
         chip( name )->stateIs( state );
         card().clockStatusOf( name )->stateIs( clockState );
      }
   }
   Card const & card() const { return const_cast<LiveCard *>( this )->world.card(); }

   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::SimulatedCard hardware;
   VirtualWorld world;
   Vor::Ptr<AgentStatus> const status = agentStatusFactory( "agent" );
   TimeSyncInput input{ card(), status };
   std::map<std::string, int> attempts;   // by chip

 private:
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override {
      if ( std::holds_alternative<Hardware::Steps::AttemptBegun>( step ) ) ++attempts[config.name().charPtr()];
   }
};

}   // namespace Host
