#include "card/CardChange.h"

#include "card/Ties.h"
#include "input/InputError.h"

#include <algorithm>
#include <tuple>

namespace Host {

namespace {

using Input::CardDescription;

bool sameAccess( CardDescription const & before, CardDescription const & now ) {
   if ( before.access.index() != now.access.index() || before.place() != now.place() ) return false;
   auto const * const mapped = std::get_if<Input::MmapAccess>( &before.access );
   if ( !mapped ) return true;
   auto const & mappedNow = std::get<Input::MmapAccess>( now.access );
   return mapped->offset == mappedNow.offset && mapped->size == mappedNow.size;
}

void requireReachable( CardDescription const & before, CardDescription const & now ) {
   if ( !sameAccess( before, now ) )
      throw Input::InputError(
         now.file + ": /access: a running agent stays with the card that it has; expected the access as it was, or "
                    "start the agent again" );
   if ( before.place().empty() && simulatedParameters( before ) != simulatedParameters( now ) )
      throw Input::InputError(
         now.file + ": the card is simulated by its agent, and its hardware stays as it was made; expected the same "
                    "chips, outputs and registers, or start the agent again" );
}

// What the configuration and the machine of a chip are made from.
auto partsOf( Input::TolvaneDescription const & chip ) {
   return std::tie( chip.name, chip.offset, chip.resetGpoName, chip.role );
}
auto partsOf( Input::Max24305Description const & chip ) {
   return std::tie(
      chip.name, chip.configOffset, chip.statusOffset, chip.resetGpoName, chip.role, chip.input, chip.tolvane,
      chip.clockStatus, chip.programSeq, chip.outputFrequencyInHz, chip.spiResetSupported, chip.sequence );
}

template<class Chip>
bool same( Chip const * before, Chip const & chip, CardDescription const & cardBefore, CardDescription const & card ) {
   return before && partsOf( *before ) == partsOf( chip ) &&
          *cardBefore.gpo( chip.resetGpoName ) == *card.gpo( chip.resetGpoName ) && cardBefore.genId == card.genId &&
          cardBefore.slotId == card.slotId;
}

}   // namespace

CardChange changeOf( CardDescription const & before, CardDescription const & now ) {
   requireReachable( before, now );
   CardChange change;
   for ( auto const & chip : now.tolvanes )
      if ( !same( before.tolvane( chip.name ), chip, before, now ) ) change.anew.insert( chip.name );
   for ( auto const & chip : now.max24305s )
      if ( !same( before.max24305( chip.name ), chip, before, now ) ) change.anew.insert( chip.name );
   auto const chips = now.scenarioChips();
   auto const takenAlong = [&]( std::string const & chip ) {
      return std::ranges::any_of( change.anew, [&]( std::string const & other ) {
         return !tieOf( before, chip, other ).empty() || !tieOf( now, chip, other ).empty();
      } );
   };
   for ( bool more = true; more; ) {
      more = false;
      for ( Sim::ScenarioChip const & chip : chips )
         if ( !change.anew.contains( chip.name ) && takenAlong( chip.name ) )
            more = change.anew.insert( chip.name ).second;
   }
   for ( Sim::ScenarioChip const & chip : before.scenarioChips() )
      if ( !now.tolvane( chip.name ) && !now.max24305( chip.name ) ) change.gone.insert( chip.name );
   return change;
}

}   // namespace Host
