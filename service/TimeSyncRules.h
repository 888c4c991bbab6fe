// What the states of a PTP daemon's ports mean to the clock chips: the state of time synchronisation, and how long it
// is held over.
//
//    no port: no daemon, or none that answers; disabled         disabled
//    initialising, faulty, listening, passive, before master    enabling
//    uncalibrated                                               acquiring
//    slave, or master in service                                locked
//
// Of several ports the best counts: one that is slave is a clock to run on, whatever the others are.
//
//    Holdover holdover( 14400 );
//    std::optional<Ptp::Port> const best = bestOf( ports );
//    holdover.stateOf( best ? timeSyncOf( best->state ) : PtpTimeSync::disabled_, now );
//
// A daemon that was locked goes through lower states when its master is lost, its cable pulled, or itself started
// again, and is locked again within seconds; the chips run on meanwhile. Handed on, those states would take a good
// clock down: 0 resets its chip. So anything less than locked is holdover after it, for so long, and then what it is.
#pragma once

#include "platform/PtpTimeSyncStatus.h"
#include "service/PtpManagement.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

namespace Host {

constexpr PtpTimeSync::OperationalState timeSyncOf( Ptp::PortState port ) {
   switch ( port ) {
   case Ptp::PortState::disabled_:
      return PtpTimeSync::disabled_;
   case Ptp::PortState::uncalibrated_:
      return PtpTimeSync::acquiring_;
   case Ptp::PortState::slave_:
   case Ptp::PortState::master_:
      return PtpTimeSync::locked_;
   default:
      return PtpTimeSync::enabling_;
   }
}

/// The port that counts, none of none. Of those that mean the same the one that has come furthest, then the first.
inline std::optional<Ptp::Port> bestOf( std::span<Ptp::Port const> ports ) {
   auto const rank = []( Ptp::Port const & port ) { return std::pair( timeSyncOf( port.state ), port.state ); };
   auto const best = std::ranges::max_element( ports, {}, rank );
   return best == ports.end() ? std::nullopt : std::optional( *best );
}

class Holdover {
 public:
   /// 0: nothing is held over.
   explicit Holdover( double seconds ) : seconds_( seconds ) {}

   /// It was locked, or held over, by then. Times never go back.
   void lockedAt( double now ) { until_ = now + seconds_; }

   /// What the daemon counts as now, which is `found`.
   PtpTimeSync::OperationalState stateOf( PtpTimeSync::OperationalState found, double now ) {
      if ( found == PtpTimeSync::locked_ )
         lockedAt( now );
      else if ( now < until_ )
         return PtpTimeSync::holdover_;
      return found;
   }

 private:
   double const seconds_;
   double until_ = 0;
};

}   // namespace Host
