// Whose the registers of a card's space are, and the bits of those that several share: nothing has two owners.
//
//    Sim::RegisterClaims<std::string> claims;
//    claims.claim( 0x2000, 1u << 0, "the output osc0Reset" );
//    if ( auto const * first = claims.claim( 0x2000, Sim::wholeRegister, "the chip osc0" ) ) fail( first->owner );
#pragma once

#include "framework/Types.h"

#include <map>
#include <utility>

namespace Sim {

inline constexpr U32 wholeRegister = 0xFFFF'FFFF;

template<class Owner> class RegisterClaims {
 public:
   struct Claim {
      U32 bits;
      Owner owner;
   };

   /// Claims those bits of the register. Null, or the earlier claim of some of them, which stands.
   Claim const * claim( U32 address, U32 bits, Owner owner ) {
      auto const [first, last] = claims_.equal_range( address );
      for ( auto it = first; it != last; ++it )
         if ( it->second.bits & bits ) return &it->second;
      claims_.emplace( address, Claim{ bits, std::move( owner ) } );
      return nullptr;
   }

 private:
   std::multimap<U32, Claim> claims_;
};

}   // namespace Sim
