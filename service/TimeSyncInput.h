// What the machines are told of time synchronisation, and of the supervisor's redundancy: what their sources say, but
// for what would do harm now, which is held back until it does none.
//
// - Before the source of time synchronisation has said something no machine is made, for a bounded time.
// - While a chip locks, no change of time synchronisation is handed on but one to 0: a change from 1 to 2 programs the
//   chip again, and ends the process of an active supervisor.
// - An active supervisor with a chip that is not ready is told 1 in place of 2 to 4, for which its gates stop the
//   process; also before a card that returned is announced.
//
//    TimeSyncInput input( card, agentStatus );
//    input.said( PtpTimeSync::locked_ );                       // the source
//    input.look();                                             // at each turn, and before a card is announced
#pragma once

#include "card/Card.h"
#include "service/AgentStatus.h"

#include <optional>
#include <string>

namespace Host {

class TimeSyncInput {
 public:
   /// Both outlive it. What is held back is told there.
   TimeSyncInput( Card const & card, Vor::Ptr<AgentStatus> const & status );

   /// The source says so, from now on.
   void said( PtpTimeSync::OperationalState state );
   bool answered() const { return said_.has_value(); }

   /// Hands on what can be now. Machines may be set to work inside this call.
   void look();
   /// The card returns, and is about to be announced: no chip will be ready then.
   void lookBeforeCard();

   /// The supervisor's mode changes; what the machines are told is made right first.
   void modeIs( Redundancy::RedundancyMode mode );

   /// Why setting `attribute` of that entity to this would end the process now; empty where it would not. Also of an
   /// operation that evaluates a gate, without an attribute.
   std::string whyRefused( std::string const & entity, std::string const & attribute, std::string const & value ) const;

 private:
   Card const & card_;
   Vor::Ptr<AgentStatus> const status_;
   std::optional<PtpTimeSync::OperationalState> said_;
};

}   // namespace Host
