// What an agent's loop does with a request that came over its socket (service/ControlSocket.h).
//
//    { "do": "set", "entity": "/timeSync", "attribute": "state", "value": "locked" }       with "key" in a collection
//    { "do": "call", "object": "/machine/ptp0/kivSpiIntf", "operation": "doRead", "arguments": { "address": 7 } }
//    { "do": "peek", "registers": [ "ptp0:0x10-0x1f", "osc0.tolvaneEnable" ] }
//    { "do": "audit", "tolerancePpm": 100 }
//    { "do": "retry", "chip": "ptp0", "yes": true }                                        brings it up again
//
// Entities are known by their full names, the machines of the card's chips as "/machine/CHIP", and what a machine owns
// below it; all through their reflection alone. What a user set or called goes through the same hands as what the
// agent's sources say (service/TimeSyncInput.h). Refused, with the reason: what would stop the process - by a gate, or
// by what it would do to the card's wiring - and what cannot be set.
#pragma once

#include "card/Machines.h"
#include "input/Json.h"
#include "service/TimeSyncInput.h"
#include "sim/CardEvents.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Host {

/// A value as JSON: of a reference the full name.
Input::Json jsonOf( Vor::Value const & value );

class AgentRequests {
 public:
   using Answer = std::function<Input::Json( Input::Json const & request )>;

   /// All outlive it. What peek and audit read is told as no machine's.
   AgentRequests( Card const & card, TimeSyncInput & input, Machines const & machines, Sim::CardEvents & events );

   /// Requests of another kind.
   void kindAdd( std::string const & kind, Answer answer ) { kinds_[kind] = std::move( answer ); }

   /// Throws an exception whose text is the reason, where it is refused. Machines may be set to work inside this call.
   Input::Json answer( Input::Json const & request );

 private:
   struct Object {
      std::string name;
      Vor::Ptr<Vor::PtrInterface> object;
      std::string chip;   // of a machine
   };

   std::vector<Object> objects() const;
   Object object( std::string const & name ) const;
   Vor::Value valueOf( Input::Json const & json, std::string_view typeName ) const;
   std::string whySetRefused( Object const & of, Vor::Attribute const & attribute, Vor::Value const & value ) const;
   bool tellInput( Object const & of, std::string_view attribute, Vor::Value const & value );

   Input::Json set( Input::Json const & request );
   Input::Json call( Input::Json const & request );
   Input::Json peek( Input::Json const & request );
   Input::Json audit( Input::Json const & request );
   std::string whyRetryRefused( std::string const & chip, bool yes ) const;
   Input::Json retry( Input::Json const & request );

   Card const & card_;
   TimeSyncInput & input_;
   Machines const & machines_;
   Sim::CardEvents & events_;
   std::map<std::string, Answer> kinds_;
};

}   // namespace Host
