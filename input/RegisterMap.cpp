#include "input/RegisterMap.h"

#include <cinttypes>
#include <cstdio>

namespace Input {

void RegisterMap::wordsClaim(
   U32 base, std::initializer_list<U32> offsets, std::string const & owner, Input::JsonValue const & place ) {
   constexpr U64 wordSize = 4;
   if ( base % wordSize != 0 )
      place.failWith(
         "expected an offset that is a multiple of 4, for a register is a 32-bit word; found " +
         std::to_string( base ) );
   U64 const limit = limited_ ? size_ : U64{ 1 } << 32;
   for ( U32 const offset : offsets ) {
      U64 const address = U64{ base } + offset;
      if ( address + wordSize > limit )
         place.failWith(
            "the register at " + hexText( address ) + " of " + owner +
            " lies outside the card's space; expected it below " + hexText( limit ) + ", found the offset " +
            std::to_string( base ) );
      auto const [claim, isNew] = claims_.try_emplace( static_cast<U32>( address ), Claim{ owner, place.pointer() } );
      if ( !isNew && claim->second.owner != owner )
         place.failWith(
            "the register at " + hexText( address ) + " of " + owner + " belongs to " + claim->second.owner +
            " already (" + claim->second.pointer + "); expected offsets that do not overlap, found " +
            std::to_string( base ) );
   }
}

std::string hexText( U64 value ) {
   char text[24];
   std::snprintf( text, sizeof text, "0x%" PRIx64, value );
   return text;
}

}   // namespace Input
