#include "card/CardInventory.h"

namespace Host {

namespace {

Vor::Ptr<Inventory::Tolvane> recordOf( Input::TolvaneDescription const & chip, Vor::Ptr<Fru::Ham> const & ham ) {
   Vor::Ptr<Inventory::Tolvane> const record = Inventory::tolvaneFactory( chip.name );
   record->blockIs( new Inventory::TolvaneBlock( ham, chip.offset ) );
   record->resetIs( new Inventory::Gpo( chip.resetGpoName ) );
   record->roleIs( chip.role );
   return record;
}

Vor::Ptr<Inventory::Max24305> recordOf( Input::Max24305Description const & chip, Vor::Ptr<Fru::Ham> const & ham ) {
   Vor::Ptr<Inventory::Max24305> const record = Inventory::max24305Factory( chip.name );
   record->configBlockIs( new Inventory::Max24305ConfigBlock( ham, chip.configOffset, chip.spiResetSupported ) );
   record->statusBlockIs( new Inventory::Max24305StatusBlock( ham, chip.statusOffset ) );
   record->resetIs( new Inventory::Gpo( chip.resetGpoName ) );
   record->roleIs( chip.role );
   record->inputIs( chip.input );
   record->programSeqIs( chip.programSeq );
   record->outputFrequencyInHzIs( chip.outputFrequencyInHz );
   for ( Hardware::Max24305::Op const & op : chip.sequence ) record->opsToDoEnq( op );
   return record;
}

}   // namespace

CardInventory inventoryOf( Input::CardDescription const & description, Vor::Ptr<Fru::Ham> const & ham ) {
   CardInventory inventory;
   for ( Input::TolvaneDescription const & chip : description.tolvanes )
      inventory.tolvanes.push_back( recordOf( chip, ham ) );
   for ( Input::Max24305Description const & chip : description.max24305s )
      inventory.max24305s.push_back( recordOf( chip, ham ) );
   return inventory;
}

}   // namespace Host
