#include "input/RegisterMap.h"

#include <cinttypes>
#include <cstdio>

namespace Input {

void RegisterMap::blockClaim( U32 base, Hal::Registers block, std::string const & owner, JsonValue const & place ) {
   for ( Hal::RegisterDeclaration const & reg : block ) {
      auto const * const first = claim( base, reg.address, Sim::wholeRegister, owner, place );
      if ( first )
         place.failWith(
            "the register at " + hexText( U64{ base } + reg.address ) + " of " + owner + " belongs to " +
            first->owner.name + " already (" + first->owner.pointer +
            "); expected offsets that do not overlap, found " + std::to_string( base ) );
   }
}

void RegisterMap::bitClaim(
   U32 offset, U32 bit, std::string const & owner, JsonValue const & offsetPlace, JsonValue const & bitPlace ) {
   if ( auto const * const first = claim( offset, 0, U32{ 1 } << bit, owner, offsetPlace ) )
      bitPlace.failWith(
         "bit " + std::to_string( bit ) + " at " + hexText( offset ) + " is " + first->owner.name +
         " already; expected a bit of its own" );
}

RegisterMap::Claims::Claim const *
RegisterMap::claim( U32 base, U32 address, U32 bits, std::string const & owner, JsonValue const & place ) {
   constexpr U64 wordSize = 4;
   if ( base % wordSize != 0 )
      place.failWith(
         "expected an offset that is a multiple of 4, for a register is a 32-bit word; found " +
         std::to_string( base ) );
   U64 const at = U64{ base } + address;
   if ( at + wordSize > limit_ )
      place.failWith(
         "the register at " + hexText( at ) + " of " + owner + " lies outside the card's space; expected it below " +
         hexText( limit_ ) + ", found the offset " + std::to_string( base ) );
   return claims_.claim( static_cast<U32>( at ), bits, { owner, place.pointer() } );
}

std::string hexText( U64 value ) {
   char text[24];
   std::snprintf( text, sizeof text, "0x%" PRIx64, value );
   return text;
}

}   // namespace Input
