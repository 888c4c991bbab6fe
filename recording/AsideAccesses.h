// Accesses, and the sleeps between them, that no machine makes, on a card that is recorded: the recording says so as
// long as one lives, and a replay passes over them.
//
//    Recording::AsideAccesses const aside( events, "watch" );
//    access.readByte( chip, 7 );
#pragma once

#include "sim/CardEvents.h"

#include <string_view>

namespace Recording {

class AsideAccesses {
 public:
   /// `by`: who makes them. Both outlive it.
   AsideAccesses( Sim::CardEvents & events, std::string_view by ) : events_( events ), by_( by ) { tell( true ); }
   ~AsideAccesses() { tell( false ); }
   AsideAccesses( AsideAccesses const & ) = delete;
   AsideAccesses & operator=( AsideAccesses const & ) = delete;

 private:
   void tell( bool begins ) { events_.tell( &Sim::CardListener::onAside, by_, begins ); }

   Sim::CardEvents & events_;
   std::string_view const by_;
};

}   // namespace Recording
