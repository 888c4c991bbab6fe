#include "command/OpenCard.h"

#include "card/MmapHam.h"
#include "input/ScenarioFile.h"

#include <iostream>

namespace Host {

CardFiles::CardFiles( std::string const & cardPath, std::string const & after ) {
   if ( after.empty() ) {
      card = Input::readCard( cardPath );
      return;
   }
   Input::JsonDocument const file = Input::readJson( after );
   card = Input::cardOfScenario( file.root() );
   scenario = Input::readScenario( file.root(), card );
   Input::requireSimulated( card );
   requireServedInputs( card );
}

OpenCard::OpenCard( CardFiles const & files, std::string const & user ) {
   Vor::Ptr<Fru::HamImpl> ham;
   if ( auto const * mmap = std::get_if<Input::MmapAccess>( &files.card.access ) ) {
      lock_.emplace( mmap->path, "clockpath " + user );
      Vor::Ptr<MmapHam> const mapped = new MmapHam( "hamImpl", mmap->path, mmap->offset, mmap->size );
      mapped->poll();
      if ( !mapped->hardwarePresent() ) throw CardUnavailable( "the card is not there: " + mapped->trouble() );
      ham = mapped;
   } else {
      world_ = std::make_unique<SimulatedWorld>( files.card, files.scenario );
      world_->events().listenerAdd( *this );
      world_->run();
      ham = world_->card().hamImpl();
   }
   registers_.emplace( files.card, ham );
}

void OpenCard::onUnclaimed( U64, U32 address, Sim::AccessDirection direction ) {
   // What was written where nothing is, and then read back, is one mistake.
   if ( unclaimed_.insert( address ).second )
      std::cerr << "clockpath: warning: " << Sim::unclaimedText( address, direction ) << '\n';
}

}   // namespace Host
