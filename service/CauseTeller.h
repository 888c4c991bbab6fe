// Tells the agent's journal why a chip is not ready, or not well, as soon as its machine is done with it, and when
// something is waited for that should long have come. Each cause is told once, until it is over. Of a failed
// bring-up it keeps the recording, unless the agent writes one anyway.
//
//    CauseTeller teller( events, card, journal, FailureFolder( path ) );
//    pollSet.wait( std::min( seconds, teller.longestWait() ) );
//    teller.look();                                                       // between turns
#pragma once

#include "diagnosis/Cause.h"
#include "recording/EventStream.h"
#include "recording/LastEvents.h"
#include "recording/Recorder.h"
#include "report/Journal.h"
#include "service/FailureFolder.h"

#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Host {

class CauseTeller {
 public:
   /// The card is configured, and its machines are not made yet; all outlive the teller. Recordings of failures go to
   /// the folder, where there is one; `began` is their wall time.
   CauseTeller(
      Sim::CardEvents & events, Card const & card, Journal & journal, std::optional<FailureFolder> folder,
      std::string const & began );
   ~CauseTeller();
   CauseTeller( CauseTeller const & ) = delete;
   CauseTeller & operator=( CauseTeller const & ) = delete;

   /// No machine is at work.
   void look();

   /// The causes that were told and stand still, of chips that a change of the card leaves alone. The teller of the
   /// card as it is then is given them: there one stands until something happens to its chip.
   std::vector<Diagnosis::Cause> causesOfOthers( CardChange const & change ) const;
   void causesAre( std::vector<Diagnosis::Cause> before ) { causes_ = before_ = std::move( before ); }

   /// Whether a cause that was told stands still.
   bool stands() const { return !causes_.empty(); }
   /// Of each chip, what of that is told first; empty where nothing is.
   std::map<std::string, std::string> byChip() const;

   /// In seconds, until something has been waited for too long; infinity where nothing is.
   double longestWait() const;

 private:
   static constexpr U64 never = std::numeric_limits<U64>::max();

   // The recording that is written where something fails.
   struct Kept {
      Kept( FailureFolder folder, Sim::CardEvents & events, Card const & card, std::string const & began );
      FailureFolder const folder;
      Recording::LastEvents last;
      Recording::Recorder const recorder;
   };

   void take( Recording::Event const & event );
   void keep( std::string const & chip );
   U64 firstWaitEndNs() const;

   Sim::CardEvents & events_;
   Journal & journal_;
   std::optional<Kept> kept_;
   std::optional<Diagnosis::Story> story_;
   Recording::EventStream stream_;
   Recording::Recorder const recorder_;
   bool news_ = true;                       // since the last look
   U64 waitsEndNs_ = never;                 // when one that the last look found becomes too long
   std::set<std::string> failed_;           // chips whose bring-up failed since the last look
   std::vector<Diagnosis::Cause> causes_;   // those that were told, and stand
   std::vector<Diagnosis::Cause> before_;   // of them those that were told before the story began
};

}   // namespace Host
