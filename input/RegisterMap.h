// The words of a card's space that a description claims, to find two owners of one word, and words that are
// misaligned or outside the space.
//
//    RegisterMap map( spaceSize );
//    map.wordsClaim( offset.u32(), { "the SPI master of \"ptp0\"", { 0x00, 0x10, 0x20, 0x30 } }, offset );
#pragma once

#include "framework/Types.h"
#include "input/Json.h"

#include <initializer_list>
#include <map>
#include <optional>
#include <string>

namespace Input {

class RegisterMap {
 public:
   /// `size` of the space in bytes; without it all of 32 bits.
   explicit RegisterMap( std::optional<U32> size ) : size_( size.value_or( 0 ) ), limited_( size.has_value() ) {}

   /// Claims the words at `base` plus each of `offsets` for `owner`; an error is raised at `place`. Owners with the
   /// same text share words.
   void wordsClaim(
      U32 base, std::initializer_list<U32> offsets, std::string const & owner, Input::JsonValue const & place );

 private:
   struct Claim {
      std::string owner;
      std::string pointer;
   };

   U64 size_;
   bool limited_;
   std::map<U32, Claim> claims_;
};

/// "0x2000", as addresses stand in messages.
std::string hexText( U64 value );

}   // namespace Input
