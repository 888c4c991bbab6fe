// The registers of a card's space that a description claims, to find two owners of one, and registers misaligned or
// outside the space.
//
//    RegisterMap map( spaceSize );
//    map.blockClaim( offset.u32(), Hardware::spiMasterBlock, "the SPI master of \"ptp0\"", offset );
#pragma once

#include "hal/Block.h"
#include "input/Json.h"
#include "sim/RegisterClaims.h"

#include <optional>
#include <string>

namespace Input {

class RegisterMap {
 public:
   /// `size` of the space in bytes; without it all of 32 bits.
   explicit RegisterMap( std::optional<U32> size ) : limit_( size ? U64{ *size } : U64{ 1 } << 32 ) {}

   /// Claims the block's registers at `base` for `owner`; an error is raised at `place`.
   void blockClaim( U32 base, Hal::Registers block, std::string const & owner, JsonValue const & place );
   /// Claims one bit of the register at `offset`, which others may share; an error is raised at one of the places.
   void bitClaim(
      U32 offset, U32 bit, std::string const & owner, JsonValue const & offsetPlace, JsonValue const & bitPlace );

 private:
   struct Owner {
      std::string name;
      std::string pointer;
   };
   using Claims = Sim::RegisterClaims<Owner>;

   // The earlier claim that stands in the way, or null.
   Claims::Claim const * claim( U32 base, U32 address, U32 bits, std::string const & owner, JsonValue const & place );

   U64 limit_;
   Claims claims_;
};

/// "0x2000", as addresses stand in messages.
std::string hexText( U64 value );

}   // namespace Input
