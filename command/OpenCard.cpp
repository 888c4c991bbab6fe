#include "command/OpenCard.h"

#include "card/FencedHam.h"
#include "card/PolledHam.h"
#include "input/ScenarioFile.h"
#include "platform/SimulationVmid.h"

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
   std::get<Input::SimulatedAccess>( card.access ).socket.clear();   // it is simulated here, in virtual time
}

void simulationModeTell() {
   if ( Hardware::simulationVmid() )
      std::cerr << "clockpath: warning: SIMULATION_VMID is in the environment: reads of a chip give what this process "
                   "has written to it, and no chip need be reset; unset it to work on the card\n";
}

OpenCard::OpenCard( CardFiles const & files, std::string const & user ) {
   Vor::Ptr<Fru::HamImpl> ham;
   if ( Vor::Ptr<PolledHam> const polled = polledHamOf( files.card ) ) {
      lock_.emplace( files.card.place(), "clockpath " + user );
      polled->poll();
      simulationModeTell();
      if ( !polled->hardwarePresent() ) throw CardUnavailable( "the card is not there: " + polled->trouble() );
      ham = new FencedHam( polled, *lock_, []( U32 generation ) {
         throw CardUnavailable( "the card was taken by generation " + std::to_string( generation ) );
      } );
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
