// Looks at the chips that are ready, since their machines do not once they are: whether they answer; identification,
// lock and frequency of a MAX24305, and one register that a reset clears; the enable register of a Tolvane. All as the
// audit judges it (diagnosis/Audit.h).
// What it finds stands in the journal as it begins and as it ends, and in the chip's progress; nothing is reset.
//
//    ClockWatch watch( card, state, journal, events, 10 );
//    pollSet.wait( std::min( seconds, watch.longestWait() ) );
//    watch.look();                                                // between turns
//
// The first look comes a period after a bring-up has ended, its lock included: while any chip is brought up, there is
// none. Answers that came too late are taken from the SPI masters, before and behind the accesses.
#pragma once

#include "card/Card.h"
#include "card/CardChange.h"
#include "diagnosis/Audit.h"
#include "report/Journal.h"
#include "service/StatePublisher.h"
#include "sim/CardEvents.h"

#include <map>
#include <string>

namespace Host {

class ClockWatch {
 public:
   /// All outlive it. A period of 0 seconds: nothing is looked at.
   ClockWatch(
      Card const & card, StatePublisher const & state, Journal const & journal, Sim::CardEvents & events,
      double periodSeconds );

   /// No machine is at work.
   void look();
   /// Of chips that are made anew or gone, what was seen counts no more.
   void cardChanged( CardChange const & change );
   /// In seconds, until the next one is due; infinity while there is nothing to look at.
   double longestWait() const;

   /// By chip, as it was seen last; those that are not ready are left out.
   std::map<std::string, Diagnosis::ChipAudit> const & seen() const { return seen_; }

 private:
   bool quiet() const;
   void forget( std::string const & chip );
   void take( Diagnosis::ChipAudit const & audit );

   Card const & card_;
   StatePublisher const & state_;
   Journal const & journal_;
   Sim::CardEvents & events_;
   double const periodSeconds_;
   double nextAt_;
   std::map<std::string, Diagnosis::ChipAudit> seen_;
   std::map<std::string, std::string> troubles_;   // what is told as not well, by chip
};

}   // namespace Host
