#include "service/CardAccess.h"

#include "card/FencedHam.h"

namespace Host {

CardAccess::CardAccess(
   Input::CardDescription const & description, U32 generation, PollSet & pollSet,
   std::function<void( U32 )> const & fenced )
   : polled_( polledHamOf( description ) ),
     simulated_( polled_ ? nullptr : new RealTimeHam( "hamImpl", simulatedParameters( description ) ) ),
     ham_( polled_ ? Vor::Ptr<Fru::HamImpl>( polled_ ) : simulated_ ) {
   if ( !polled_ ) return;
   std::string const place = description.place();
   lock_.emplace( place, "agent", generation );
   ham_ = new FencedHam( polled_, *lock_, fenced );   // without a generation too: any takes the card from it
   presence_.emplace( place, pollSet );
   if ( polled_->wakeFd() >= 0 ) pollSet.descriptorAdd( polled_->wakeFd(), [] {} );
}

void CardAccess::look( std::function<void()> const & returns ) {
   if ( !presence_ ) return;
   presence_->arm();
   if ( !present() ) returns();
   polled_->poll();
}

}   // namespace Host
