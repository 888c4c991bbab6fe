#include "service/CardAccess.h"

#include "card/FencedHam.h"

#include <algorithm>
#include <limits>

namespace Host {

namespace {

// A process that ends tells nobody who does not talk to it.
constexpr double socketLookPeriod = 0.5;

}   // namespace

CardAccess::CardAccess(
   Input::CardDescription const & description, U32 generation, PollSet & pollSet,
   std::function<void( U32 )> const & fenced ) {
   std::string place;   // of the card's file or socket
   if ( auto const * const mmap = std::get_if<Input::MmapAccess>( &description.access ) ) {
      place = mmap->path;
      lock_.emplace( place, "agent", generation );
      ham_ = mapped_ = new MmapHam( "hamImpl", mmap->path, mmap->offset, mmap->size );
   } else if ( auto const & access = std::get<Input::SimulatedAccess>( description.access ); !access.socket.empty() ) {
      place = access.socket;
      lock_.emplace( place, "agent", generation );
      ham_ = socket_ = new SocketHam( "hamImpl", access.socket );
   } else
      ham_ = simulated_ = new RealTimeHam( "hamImpl", simulatedParameters( description ) );
   if ( lock_ && generation > 0 ) ham_ = new FencedHam( ham_, *lock_, fenced );
   if ( !place.empty() ) presence_.emplace( place, pollSet );
}

void CardAccess::look( std::function<void()> const & returns ) {
   if ( !presence_ ) return;
   presence_->arm();
   if ( !present() ) returns();
   if ( mapped_ )
      mapped_->poll();
   else
      socket_->poll();
}

double CardAccess::longestWait() const {
   if ( !presence_ ) return std::numeric_limits<double>::infinity();
   return socket_ ? std::min( presence_->longestWait(), socketLookPeriod ) : presence_->longestWait();
}

}   // namespace Host
