#include "card/Machines.h"

#include "input/InputError.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "sm/Max24305WithTolvaneInputSm.h"
#include "sm/TolvaneSm.h"

#include <algorithm>

namespace Host {

namespace {

void requireServed( Input::CardDescription const & card, Input::Max24305Description const & chip ) {
   Hardware::Max24305::Input const input = chip.input;
   if ( input == Hardware::Max24305::tolvane_ || input == Hardware::Max24305::stuffedClock_ ) return;
   throw Input::InputError(
      card.file + ": the chip \"" + chip.name + "\" has the input \"" + stringValue( input ).stdString() +
      "\", from which it cannot be brought up; expected \"tolvane\" or \"stuffedClock\"" );
}

}   // namespace

void requireServedInputs( Input::CardDescription const & card ) {
   for ( Input::Max24305Description const & chip : card.max24305s ) requireServed( card, chip );
}

Vor::Ptr<Vor::PtrInterface> max24305Machine( Card const & card, std::string const & chip ) {
   using namespace Hardware;
   Input::Max24305Description const & description = *card.description().max24305( chip );
   requireServed( card.description(), description );
   Vor::Ptr<Max24305::Config> const config = card.max24305ConfigDir()->max24305( chip );
   Vor::Ptr<Max24305::Status> const status = card.max24305StatusDir()->max24305( chip );
   Vor::Ptr<Fru::Gpo const> const resetGpo = card.gpo( config->resetGpoName().string().stdString() );
   if ( config->input() == Max24305::tolvane_ )
      return Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
         card.redundancy(), config, status, card.clockStatusOf( chip ), card.timeSync(), resetGpo,
         card.tolvaneStatusDir()->tolvane( description.tolvane ) );
   return Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
      card.redundancy(), config, status, card.clockStatusOf( chip ), card.timeSync(), resetGpo );
}

Vor::Ptr<Vor::PtrInterface> tolvaneMachine( Card const & card, std::string const & chip ) {
   Vor::Ptr<Hardware::Tolvane::Config> const config = card.tolvaneConfigDir()->tolvane( chip );
   return Hardware::TolvaneSm::TolvaneSmIs(
      config, card.tolvaneStatusDir()->tolvane( chip ), card.gpo( config->resetGpoName().string().stdString() ) );
}

Machines::Machines( Card const & card ) : card_( card ) { requireServedInputs( card.description() ); }

bool Machines::makeNext() {
   auto const & tolvanes = card_.description().tolvanes;
   auto const & max24305s = card_.description().max24305s;
   std::size_t const made = machines_.size();
   if ( made < tolvanes.size() )
      machines_.push_back( tolvaneMachine( card_, tolvanes[made].name ) );
   else if ( made - tolvanes.size() < max24305s.size() )
      machines_.push_back( max24305Machine( card_, max24305s[made - tolvanes.size()].name ) );
   else
      return false;
   return true;
}

Vor::Ptr<Vor::PtrInterface> Machines::machine( std::string const & chip ) const {
   std::size_t at = 0;
   auto const isAt = [&]( auto const & described ) { return described.name == chip || ( ++at, false ); };
   auto const & card = card_.description();
   bool const known = std::ranges::any_of( card.tolvanes, isAt ) || std::ranges::any_of( card.max24305s, isAt );
   return known && at < machines_.size() ? machines_[at] : nullptr;
}

}   // namespace Host
