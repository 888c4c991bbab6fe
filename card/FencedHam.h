// The handle of a card that another supervisor may take: before every access it asks the card's lock whether the card
// is still its holder's (card/CardLock.h), so that at most one access already begun is late. Once another generation
// has the card, nothing reaches it any more, and `fenced` is called, which ends the process: a supervisor that has lost
// its card has nothing left to do on it.
#pragma once

#include "card/CardLock.h"
#include "card/WrappingHam.h"

#include <functional>

namespace Host {

class FencedHam final : public WrappingHam {
 public:
   /// The lock outlives the handle. `fenced` gets the generation that has the card, at every access from then on, and
   /// does not return to a machine that goes on: where it does return, reads give 0xFFFFFFFF and writes are lost.
   FencedHam( Vor::Ptr<Fru::HamImpl> const & real, CardLock const & lock, std::function<void( U32 )> fenced );

   void read32( U32 address, U32 & value ) override;
   void write32( U32 address, U32 value ) override;

 private:
   CardLock const & lock_;
   std::function<void( U32 )> const fenced_;
};

}   // namespace Host
