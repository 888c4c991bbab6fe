// The inventory records of a card: what its description says, as the platform's inventory holds it.
#pragma once

#include "input/CardDescription.h"
#include "inventory/InvMax24305.h"
#include "inventory/InvTolvane.h"

#include <vector>

namespace Host {

struct CardInventory {
   std::vector<Vor::Ptr<Inventory::Tolvane>> tolvanes;     ///< in the card's order
   std::vector<Vor::Ptr<Inventory::Max24305>> max24305s;   ///< in the card's order
};

/// Builds the records; their register blocks are reached through `ham`.
CardInventory inventoryOf( Input::CardDescription const & description, Vor::Ptr<Fru::Ham> const & ham );

}   // namespace Host
