#include "card/Card.h"

#include "framework/TypeRegistry.h"
#include "sim/CardEvents.h"

#include <algorithm>
#include <utility>

namespace Host {

namespace {

// The types around the library's, so that they are found by name too: in its modules stand only its own.
Vor::Module const platform( "Platform", []( Vor::Module & module ) {
   module.typesAdd<
      Vor::Entity, Fru::Ham, Fru::HamImpl, Fru::Gpo, Fru::ActiveType, Hardware::SetClearGpo, Hardware::Kiv::ClockStatus,
      Hardware::Kiv::ClockStatus::State, PtpTimeSync::Status, PtpTimeSync::OperationalState,
      Redundancy::RedundancyStatus, Redundancy::RedundancyMode>();
} );

template<class Entity> Vor::Ptr<Entity> placed( Vor::Ptr<Entity> entity, Vor::Ptr<Vor::Entity> const & parent ) {
   entity->parentIs( parent.ptr() );
   return entity;
}

}   // namespace

Card::Card( Input::CardDescription description, Vor::Ptr<Fru::HamImpl> const & hamImpl, MakeGpo const & makeGpo )
   : description_( std::move( description ) ),
     makeGpo_( makeGpo ),
     ham_( Fru::hamFactory( "ham" ) ),
     timeSync_( PtpTimeSync::statusFactory( "timeSync" ) ),
     redundancy_( Redundancy::redundancyStatusFactory( "redundancy" ) ),
     gpo_( Vor::entityFactory( "gpo" ) ),
     hardware_( Vor::entityFactory( "hardware" ) ),
     tolvane_( placed( Vor::entityFactory( "tolvane" ), hardware_ ) ),
     max24305_( placed( Vor::entityFactory( "max24305" ), hardware_ ) ),
     kiv_( placed( Vor::entityFactory( "kiv" ), hardware_ ) ),
     clockStatus_( placed( Vor::entityFactory( "clockStatus" ), kiv_ ) ),
     tolvaneConfigDir_( placed( Hardware::Tolvane::configDirFactory( "config" ), tolvane_ ) ),
     tolvaneStatusDir_( placed( Hardware::Tolvane::statusDirFactory( "status" ), tolvane_ ) ),
     max24305ConfigDir_( placed( Hardware::Max24305::configDirFactory( "config" ), max24305_ ) ),
     max24305StatusDir_( placed( Hardware::Max24305::statusDirFactory( "status" ), max24305_ ) ) {
   ham_->hamImplIs( hamImpl );
   wire();
}

// Makes the outputs and clock statuses that are not there.
void Card::wire() {
   for ( Input::GpoDescription const & gpo : description_.gpos ) {
      if ( gpos_.contains( gpo.name ) ) continue;
      Vor::Ptr<Hardware::SetClearGpo> const output = placed( makeGpo_( gpo.name ), gpo_ );
      output->activeTypeIs( gpo.activeType );
      output->offsetIs( gpo.offset );
      output->bitIs( gpo.bit );
      output->hamIs( ham_ );
      gpos_[gpo.name] = output;
   }
   for ( Input::Max24305Description const & chip : description_.max24305s ) {
      Vor::Ptr<Hardware::Kiv::ClockStatus> & status = clockStatuses_[chip.clockStatus];
      if ( !status ) status = placed( Hardware::Kiv::clockStatusFactory( chip.clockStatus ), clockStatus_ );
   }
}

Card::~Card() {
   // Whoever still holds one of these must not find its parent gone.
   for ( auto const & [name, status] : clockStatuses_ ) status->parentIs( nullptr );
   for ( auto const & [name, output] : gpos_ ) output->parentIs( nullptr );
   for ( Vor::Entity * entity : std::initializer_list<Vor::Entity *>{
            tolvaneConfigDir_.ptr(), tolvaneStatusDir_.ptr(), max24305ConfigDir_.ptr(), max24305StatusDir_.ptr(),
            clockStatus_.ptr(), kiv_.ptr(), tolvane_.ptr(), max24305_.ptr() } )
      entity->parentIs( nullptr );
}

Vor::Ptr<Hardware::SetClearGpo> Card::gpo( std::string const & name ) const {
   auto const found = gpos_.find( name );
   return found == gpos_.end() ? nullptr : found->second;
}

Vor::Ptr<Hardware::SetClearGpo> Card::resetGpoOf( std::string const & chip ) const {
   if ( auto const * tolvane = description_.tolvane( chip ) ) return gpo( tolvane->resetGpoName );
   auto const * max24305 = description_.max24305( chip );
   return max24305 ? gpo( max24305->resetGpoName ) : nullptr;
}

Vor::Ptr<Hardware::Kiv::ClockStatus> Card::clockStatusOf( std::string const & chip ) const {
   auto const * max24305 = description_.max24305( chip );
   return max24305 ? clockStatuses_.at( max24305->clockStatus ) : nullptr;
}

std::vector<Vor::Ptr<Vor::Entity const>> Card::entities() const {
   std::vector<Vor::Ptr<Vor::Entity const>> all{ ham_->hamImpl(), ham_, timeSync_, redundancy_, gpo_ };
   for ( auto const & [name, output] : gpos_ ) all.push_back( output );
   for ( Vor::Ptr<Vor::Entity> const & entity : { hardware_, tolvane_, max24305_, kiv_, clockStatus_ } )
      all.push_back( entity );
   for ( auto const & [name, status] : clockStatuses_ ) all.push_back( status );
   all.insert( all.end(), { tolvaneConfigDir_, tolvaneStatusDir_, max24305ConfigDir_, max24305StatusDir_ } );
   return all;
}

void Card::descriptionIs( Input::CardDescription description, CardChange const & change ) {
   auto const dropped = [&]( std::string const & chip ) {
      return change.anew.contains( chip ) || change.gone.contains( chip );
   };
   for ( Sim::ScenarioChip const & chip : description_.scenarioChips() )
      if ( dropped( chip.name ) ) {
         tolvaneConfigDir_->memberDel( chip.name );
         tolvaneStatusDir_->memberDel( chip.name );
         max24305ConfigDir_->memberDel( chip.name );
         max24305StatusDir_->memberDel( chip.name );
      }
   std::erase_if( clockStatuses_, [&]( auto const & status ) {
      bool const stays = std::ranges::any_of( description.max24305s, [&]( Input::Max24305Description const & chip ) {
         return chip.clockStatus == status.first && !dropped( chip.name );
      } );
      if ( !stays ) status.second->parentIs( nullptr );
      return !stays;
   } );
   std::erase_if( gpos_, [&]( auto const & output ) {
      Input::GpoDescription const * const gpo = description.gpo( output.first );
      bool const stays = gpo && *gpo == *description_.gpo( output.first );
      if ( !stays ) output.second->parentIs( nullptr );
      return !stays;
   } );
   description_ = std::move( description );
   wire();
   Input::CardDescription anew = description_;
   auto const reduce = [&]( auto & chips ) {
      for ( auto & chip : std::exchange( chips, {} ) )
         if ( change.anew.contains( chip.name ) ) chips.push_back( chip );
   };
   reduce( anew.tolvanes );
   reduce( anew.max24305s );
   configure( *this, inventoryOf( anew, ham_ ) );
   for ( Input::Max24305Description const & chip : anew.max24305s ) handOver( chip.name );
}

void Card::handOver( std::string const & chip ) { max24305ConfigDir_->max24305( chip )->opsToDoValidIs( true ); }

void Card::adopt( std::string const & chip ) const {
   if ( auto const tolvane = tolvaneStatusDir_->tolvane( chip ) ) return tolvane->stateIs( Hardware::Tolvane::ready_ );
   max24305StatusDir_->max24305( chip )->stateIs( Hardware::Max24305::ready_ );
   clockStatusOf( chip )->stateIs( Hardware::Kiv::ClockStatus::ready_ );
}

bool Card::ready( std::string const & chip ) const {
   if ( auto const tolvane = tolvaneStatusDir_->tolvane( chip ) ) return tolvane->state() == Hardware::Tolvane::ready_;
   auto const max24305 = max24305StatusDir_->max24305( chip );
   return max24305 && max24305->state() == Hardware::Max24305::ready_;
}

bool Card::allReady() const {
   auto const chips = description_.scenarioChips();
   return std::ranges::all_of( chips, [this]( Sim::ScenarioChip const & chip ) { return ready( chip.name ); } );
}

void configure( Card & card, CardInventory const & inventory ) {
   Fru::GenerationId const genId( card.description().genId );
   Fru::SlotId const slotId( card.description().slotId );
   for ( Vor::Ptr<Inventory::Tolvane> const & record : inventory.tolvanes ) {
      card.tolvaneConfigDir()->tolvaneIs(
         record->name(), genId, record->block()->offset(), record->block()->ham(), record->reset()->name(),
         record->role(), slotId );
      card.tolvaneStatusDir()->tolvaneIs( record->name(), genId, record->role() );
   }
   card.max24305ConfigDir()->supportedIs( card.description().max24305s.size() > 0 );
   for ( Vor::Ptr<Inventory::Max24305> const & record : inventory.max24305s ) {
      Vor::Ptr<Hardware::Max24305::Config> const config = card.max24305ConfigDir()->max24305Is(
         record->name(), genId, record->configBlock()->offset(), record->statusBlock()->offset(),
         record->configBlock()->ham(), record->reset()->name(), record->role(), record->input(),
         record->outputFrequencyInHz(), slotId, record->configBlock()->spiResetSupported() );
      for ( auto const & element : record->opsToDo() ) config->opsToDoEnq( element.value() );
      card.max24305StatusDir()->max24305Is( record->name(), genId, record->role() );
   }
}

void statesAdd( Sim::CardEvents & events, Card const & card ) {
   for ( auto const & [name, status] : card.tolvaneStatusDir()->tolvane() )
      events.statusAdd<Hardware::Tolvane::Status>( status );
   for ( auto const & [name, status] : card.max24305StatusDir()->max24305() )
      events.statusAdd<Hardware::Max24305::Status>( status );
   for ( auto const & [name, status] : card.clockStatuses() ) events.statusAdd<Hardware::Kiv::ClockStatus>( status );
}

}   // namespace Host
