// The access handle of a card that comes and goes: poll() looks for it, and `hardwarePresent` follows. While the card
// is gone, reads give 0xFFFFFFFF, as those of a missing card do, and writes are lost.
//
//    if ( Vor::Ptr<Host::PolledHam> const ham = Host::polledHamOf( description ) ) ham->poll();
#pragma once

#include "input/CardDescription.h"
#include "platform/Ham.h"

#include <string>

namespace Host {

class PolledHam : public Fru::HamImpl {
 public:
   static constexpr U32 goneValue = 0xFFFFFFFF;

   /// Looks whether the card is there, and still the same. Whoever watches `hardwarePresent` reacts inside this call.
   virtual void poll() = 0;

   /// Why there is no card; empty while it is present.
   std::string const & trouble() const { return trouble_; }

   /// Readable when a look is worth it, beside the changes of the file by which the card is reached; -1 for none. It
   /// stays the same.
   virtual int wakeFd() const { return -1; }

 protected:
   explicit PolledHam( Vor::Name name ) : HamImpl( std::move( name ) ) {}

   std::string trouble_;
};

/// The handle of a card that outlives its users, which has not been looked for yet. Empty where the hardware is
/// simulated in this process.
Vor::Ptr<PolledHam> polledHamOf( Input::CardDescription const & card );

}   // namespace Host
