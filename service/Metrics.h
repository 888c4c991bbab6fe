// What an agent tells monitoring, in the text form that Prometheus reads: docs/metrics.md lists the names. It counts
// the machines' steps from its making on.
//
//    Metrics metrics( card, status, state, watch, [&]( std::string text ) { place.textIs( std::move( text ) ); } );
//    pollSet.wait( std::min( seconds, metrics.longestWait() ) );
//    metrics.look();                                                // between turns
//
// The text is handed over when a state has changed, inside a bring-up too, and every ten seconds.
#pragma once

#include "card/Card.h"
#include "card/CardChange.h"
#include "card/StepListener.h"
#include "service/AgentStatus.h"
#include "service/ClockWatch.h"
#include "service/StatePublisher.h"

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace Host {

class Metrics final : private StepListener {
 public:
   static constexpr double periodSeconds = 10;
   using Hand = std::function<void( std::string text )>;

   /// All outlive it; the card is configured.
   Metrics(
      Card const & card, Vor::Ptr<AgentStatus const> const & agent, StatePublisher const & state,
      ClockWatch const & watch, Hand hand );

   void look();
   /// Chips that are gone are told no more, and those made anew go on where they were.
   void cardChanged( CardChange const & change );
   /// In seconds, until the text is to be handed over again.
   double longestWait() const;
   /// As things are now.
   std::string text() const;

 private:
   /// Bounds of the times to lock, in seconds; what takes longer is counted with all.
   static constexpr std::array lockBounds{ 0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 50.0, 100.0 };
   struct Counts {
      U64 attempts = 0;
      U64 operations = 0;
      U64 lockPolls = 0;
      U64 mismatches = 0;
      std::optional<double> locksSince{};
      std::array<U64, lockBounds.size()> locked{};   // within that bound
      U64 lockedCount = 0;
      double lockedSeconds = 0;
   };
   class Text;

   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void statesTell( Text & text ) const;
   void countsTell( Text & text ) const;
   void locksTell( Text & text ) const;
   void watchedTell( Text & text ) const;

   Card const & card_;
   Vor::Ptr<AgentStatus const> const agent_;
   StatePublisher const & state_;
   ClockWatch const & watch_;
   Hand const hand_;
   std::map<std::string, Counts> counts_;   // of each chip
   double handedAt_ = 0;
   bool news_ = true;   // a state has changed
};

}   // namespace Host
