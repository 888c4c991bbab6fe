// What stands in registers that were asked for, as the command shows it and as an agent hands it on.
//
//    std::vector<RegisterReading> readings = readingsOf( book, words );
//    for ( RegisterReading & reading : readings ) reading.readIfAsked( access );
#pragma once

#include "input/Json.h"
#include "registers/RegisterAccess.h"

#include <optional>
#include <string>
#include <vector>

namespace Host {

struct RegisterReading {
   RegisterPlace place;
   std::optional<U32> value{};   ///< what stands there, or was to be written where that cannot be read
   std::string text{};           ///< what the value says, or why there is none
   std::optional<U32> written{};
   bool done = true;

   void read( RegisterAccess & access );
   /// Unless it says why not.
   void readIfAsked( RegisterAccess & access ) {
      if ( text.empty() ) read( access );
   }
};

/// Of a register; with a text, why it is not to be read. Unless it is named, one is left alone that loses an entry.
RegisterReading readingOf( RegisterPlace const & place, bool named );

/// Of registers and ranges. Throws Input::InputError for what the card has not, and what cannot be read.
std::vector<RegisterReading> readingsOf( RegisterBook const & book, std::vector<std::string> const & words );

/// For programs.
Input::Json jsonOf( RegisterReading const & reading );
/// Made from that. The chip is one of the card's.
RegisterReading readingOf( Input::Json const & json, Input::CardDescription const & card );

}   // namespace Host
