#include "card/PolledHam.h"

#include "card/MmapHam.h"
#include "card/SocketHam.h"

namespace Host {

Vor::Ptr<PolledHam> polledHamOf( Input::CardDescription const & card ) {
   if ( card.place().empty() ) return nullptr;
   if ( auto const * mmap = std::get_if<Input::MmapAccess>( &card.access ) )
      return new MmapHam( "hamImpl", mmap->path, mmap->offset, mmap->size );
   return new SocketHam( "hamImpl", card.place() );
}

}   // namespace Host
