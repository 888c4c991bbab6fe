// Gathers what happens while a simulated card is brought up - accesses, outputs, sleeps, states, traces, logs, the SPI
// buses, a failing assertion - and tells the listeners, in the order in which it happens.
//
// It takes its times from the virtual clock that it is made with. Made without one it lives in real time, for a card in
// the machine too: times count from then on, on the system's steady clock.
//
// While one lives, the clock's sleeps and the process's traces, logged messages and assertions come to it; those who
// had them before get them back. One at a time may live. Traces come from the levels that are switched on: a log that
// leaves nothing out wants all of them on.
//
//    Sim::CardEvents events( clock );
//    Recording::EventLog log( file );
//    events.listenerAdd( log );
//    events.cardAdd( card );
//    events.statusAdd( max24305Status );
#pragma once

#include "framework/Assert.h"
#include "framework/Entity.h"
#include "framework/Log.h"
#include "framework/Trace.h"
#include "sim/CardListener.h"
#include "sim/SimulatedCard.h"
#include "sim/VirtualClock.h"

#include <chrono>
#include <optional>
#include <type_traits>
#include <vector>

namespace Sim {

class CardEvents final {
 public:
   explicit CardEvents( Vor::Ptr<VirtualClock> clock = nullptr );
   ~CardEvents();
   CardEvents( CardEvents const & ) = delete;
   CardEvents & operator=( CardEvents const & ) = delete;

   /// Listeners are told in the order in which they joined, and live as long as something happens.
   void listenerAdd( CardListener & listener ) { listeners_.push_back( &listener ); }
   void listenerDel( CardListener & listener ) { std::erase( listeners_, &listener ); }
   /// Nobody is told any more, of what somebody does to the card when all is over.
   void listenersDel() { listeners_.clear(); }

   /// The card's buses, and accesses where it has no register, are told of; the card outlives the events.
   void cardAdd( SimulatedCard & card );

   /// The sleeps of the present thread are told of, which in virtual time the clock does.
   void sleepsAdd();

   /// The changes of the status's `state` are told of.
   template<class Status> void statusAdd( Vor::Ptr<Status const> const & status ) {
      watches_.push_back( new StateWatch<Status>( status, *this ) );
   }

   /// Of no status any more.
   void statusesDel();

   U64 nowNs() const {
      if ( clock_ ) return clock_->nowNs();
      return static_cast<U64>( std::chrono::nanoseconds( std::chrono::steady_clock::now() - start_ ).count() );
   }

   /// Tells the listeners of something that happens now: tell( &CardListener::onGpo, name, active ).
   template<class... Args>
   void tell( void ( CardListener::*what )( U64, Args... ), std::type_identity_t<Args> const &... args ) {
      for ( CardListener * listener : listeners_ ) ( listener->*what )( nowNs(), args... );
   }

 private:
   static constexpr char vorSource[] = "CardEvents";

   template<class Status> class StateWatch final : public Vor::EntityObserver {
    public:
      StateWatch( Vor::Ptr<Status const> const & status, CardEvents & events ) : events_( events ) {
         vorAttach( status );
      }
      void onAttribute( Vor::Entity const & entity, Vor::Attribute const & attribute, Vor::Value const & ) override {
         if ( attribute.name != "state" ) return;
         auto const state = static_cast<Status const &>( entity ).state();
         char const * const text = enumType( state ).text( state );
         Vor::String const name = entity.fullName();
         events_.tell( &CardListener::onState, { name, attribute.name, state, text ? text : "" } );
      }

    private:
      CardEvents & events_;
   };

   Vor::Ptr<VirtualClock> clock_;
   std::chrono::steady_clock::time_point const start_ = std::chrono::steady_clock::now();
   std::optional<ThreadSleeps> sleeps_;
   std::vector<CardListener *> listeners_;
   std::vector<SimulatedCard *> cards_;
   std::vector<Vor::Ptr<Vor::EntityObserver>> watches_;
   Vor::Ptr<Vor::TraceSink> outerTraceSink_;
   Vor::Ptr<Vor::LogSink> outerLogSink_;
   Vor::AssertionHook outerAssertionHook_;
};

}   // namespace Sim
