// The handle of a card that another supervisor may take: before every access it compares the generation that the card's
// lock has with its owner's (card/CardLock.h), so that at most one access already begun is late. Once another
// generation has the card, nothing reaches it any more, and `fenced` is called, which ends the process: a supervisor
// that has lost its card has nothing left to do on it.
#pragma once

#include "card/CardLock.h"
#include "platform/Ham.h"

#include <functional>

namespace Host {

class FencedHam final : public Fru::HamImpl {
 public:
   /// The lock outlives the handle. `fenced` gets the generation that has the card, and does not return to a machine
   /// that goes on: where it does return, reads give 0xFFFFFFFF and writes are lost.
   FencedHam( Vor::Ptr<Fru::HamImpl> const & real, CardLock const & lock, std::function<void( U32 )> fenced );

   void read32( U32 address, U32 & value ) override;
   void write32( U32 address, U32 value ) override;

 private:
   Vor::Ptr<Fru::HamImpl> const real_;
   CardLock const & lock_;
   std::function<void( U32 )> const fenced_;
};

}   // namespace Host
