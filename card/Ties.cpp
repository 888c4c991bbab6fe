#include "card/Ties.h"

namespace Host {

namespace {

std::string resetGpoNameOf( Input::CardDescription const & card, std::string const & chip ) {
   if ( auto const * tolvane = card.tolvane( chip ) ) return tolvane->resetGpoName;
   auto const * max24305 = card.max24305( chip );
   return max24305 ? max24305->resetGpoName : "";
}

}   // namespace

std::string tieOf( Input::CardDescription const & card, std::string const & chip, std::string const & other ) {
   auto const * const max24305 = card.max24305( chip );
   auto const * const otherMax24305 = card.max24305( other );
   if ( max24305 && max24305->tolvane == other ) return "which feeds it";
   std::string const reset = resetGpoNameOf( card, chip );
   if ( !reset.empty() && reset == resetGpoNameOf( card, other ) )
      return "with which it shares the reset output " + reset;
   if ( max24305 && otherMax24305 && max24305->clockStatus == otherMax24305->clockStatus )
      return "with which it shares the clock status " + max24305->clockStatus;
   return "";
}

}   // namespace Host
