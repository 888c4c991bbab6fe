// What the machines are told of time synchronisation, and of the supervisor's redundancy: what their sources say, but
// for what would do harm now, which is held back until it does none.
//
// - Before the source of time synchronisation has said something no machine is made, for a bounded time.
// - While a chip locks, no change of time synchronisation is handed on but one to 0: a change from 1 to 2 programs the
//   chip again, and ends the process of an active supervisor.
// - An active supervisor with a chip that is not ready is told 1 in place of 2 to 4, for which its gates stop the
//   process; also before a card that returned is announced. A supervisor becomes active when that stands.
//
//    TimeSyncInput input( card, agentStatus );
//    input.said( PtpTimeSync::locked_ );                       // the source
//    while ( input.mayBegin() && machines.makeNext() ) input.look();
//    input.look();                                             // at each turn of the loop
//
// A chip counts as ready when its status and its clock status are. Telling 1 in place of a running state leaves every
// ready chip alone; one that is not ready, and whose gate is open, is programmed again, as by any change.
#pragma once

#include "card/Card.h"
#include "service/AgentStatus.h"

#include <optional>
#include <string>
#include <string_view>

namespace Host {

class TimeSyncInput {
 public:
   static constexpr double firstAnswerSeconds = 10;

   /// Both outlive it. What is said, and what is held back, is told in `status`.
   TimeSyncInput( Card const & card, Vor::Ptr<AgentStatus> const & status );
   ~TimeSyncInput();
   TimeSyncInput( TimeSyncInput const & ) = delete;
   TimeSyncInput & operator=( TimeSyncInput const & ) = delete;

   /// What the source is, where it is no user: users are refused then, with this name.
   void sourceIs( std::string source ) { source_ = std::move( source ); }
   /// The source says so, from now on. Machines may be set to work inside this call, as in the two that follow.
   void said( PtpTimeSync::OperationalState state );
   /// The supervisor's mode is to be this one, from now on.
   void modeIs( Redundancy::RedundancyMode mode );
   /// Hands on what can be now; also before a card is announced that was away.
   void look();

   /// Empty where nothing is.
   std::string heldBack() const { return status_->heldBack().stdString(); }

   bool answered() const { return said_.has_value(); }
   /// Whether machines may be made: the source has answered, or had its time.
   bool mayBegin() const { return longestWait() == 0; }
   /// In seconds, until they may.
   double longestWait() const;

   // Why somebody who asks for it now is refused, since a gate would stop the process or another source says what it
   // is; empty where he is not.
   std::string whyRefused( PtpTimeSync::OperationalState state ) const;
   std::string whyRefused( Redundancy::RedundancyMode mode ) const;
   /// Of an operation of the chip's machine.
   std::string whyRefused( std::string const & chip, std::string_view operation ) const;
   /// Of bringing the chip up again, through its inputs.
   std::string whyRetryRefused( std::string const & chip ) const;

 private:
   class HardwareWatch;

   bool active() const { return mode_ == Redundancy::active_; }
   std::string chipThatLocks() const;
   std::string chipNotReady() const;
   /// What a refusal tells the user to do, where time sync runs.
   std::string whatToDoFirst() const;
   std::string handOn();

   Card const & card_;
   Vor::Ptr<AgentStatus> const status_;
   Vor::Ptr<HardwareWatch> const hardware_;
   double const beganAt_;
   std::string source_;
   std::optional<PtpTimeSync::OperationalState> said_;
   Redundancy::RedundancyMode mode_;
};

}   // namespace Host
