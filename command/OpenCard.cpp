#include "command/OpenCard.h"

#include "card/MmapHam.h"
#include "input/ScenarioFile.h"

#include <unistd.h>

#include <iostream>

namespace Host {

CardFiles::CardFiles( CardOptions const & options ) {
   if ( options.after.empty() ) {
      card = Input::readCard( options.card );
      return;
   }
   Input::JsonDocument const file = Input::readJson( options.after );
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

bool confirmed( CardOptions const & options, std::string const & command, std::string const & what ) {
   if ( options.yes ) return true;
   if ( ::isatty( STDIN_FILENO ) != 1 )
      throw Input::InputError(
         command + " changes the hardware of " + ( options.after.empty() ? options.card : options.after ) +
         ": expected --yes, since nobody can be asked here" );
   std::cout << what << "Go on? [y/N] " << std::flush;
   std::string answer;
   std::getline( std::cin, answer );
   return answer == "y" || answer == "Y" || answer == "yes";
}

void jsonTell( Input::Json const & json ) {
   // A file's name, or what stands in it, need not be UTF-8.
   std::cout << json.dump( 3, ' ', false, Input::Json::error_handler_t::replace ) << '\n';
}

}   // namespace Host
