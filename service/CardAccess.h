// How an agent reaches its card: the card's lock, the handle behind it, and the look whether the card is there.
//
//    CardAccess access( description, generation, pollSet, []( U32 taker ) { ::_exit( exitNotReady ); } );
//    access.look( [&] { input.look(); } );                    // first, and between turns
//    pollSet.wait( std::min( seconds, access.longestWait() ) );
#pragma once

#include "card/CardLock.h"
#include "card/MmapHam.h"
#include "card/PolledHam.h"
#include "card/RealTimeHam.h"
#include "input/CardDescription.h"
#include "service/PollSet.h"
#include "service/PresenceWatch.h"

#include <functional>
#include <limits>
#include <optional>
#include <string>

namespace Host {

class CardAccess {
 public:
   /// Takes the card, for a supervisor with its generation, from others of lower ones (card/CardLock.h). `fenced` is
   /// called when a higher one has taken it (card/FencedHam.h). Throws CardUnavailable.
   CardAccess(
      Input::CardDescription const & description, U32 generation, PollSet & pollSet,
      std::function<void( U32 )> const & fenced );

   /// What the machines' handle stands on.
   Vor::Ptr<Fru::HamImpl> ham() const { return ham_; }
   /// Of a card in the machine, else null.
   MmapHam const * mapped() const { return dynamic_cast<MmapHam const *>( polled_.ptr() ); }
   /// Of a card that is simulated in this process, else null.
   RealTimeHam * simulated() const { return simulated_.ptr(); }
   /// Whether the card was there before this process.
   bool outlivesAgent() const { return bool( polled_ ); }

   /// Looks whether the card is there; before one is announced that was not, `returns` is called. The machines are set
   /// to work inside this call.
   void look( std::function<void()> const & returns );
   bool present() const { return ham_->hardwarePresent(); }
   /// Why it is not there.
   std::string trouble() const { return polled_ ? polled_->trouble() : ""; }
   /// In seconds, until it is to be looked again.
   double longestWait() const { return presence_ ? presence_->longestWait() : std::numeric_limits<double>::infinity(); }

 private:
   Vor::Ptr<PolledHam> const polled_;        // of a card that others can reach
   Vor::Ptr<RealTimeHam> const simulated_;   // of any other
   std::optional<CardLock> lock_;
   Vor::Ptr<Fru::HamImpl> ham_;
   std::optional<PresenceWatch> presence_;
};

}   // namespace Host
