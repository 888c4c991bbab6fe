#include "inventory/InvTolvane.h"

#include "framework/Describe.h"

namespace Inventory {

Vor::Type const & Tolvane::staticType() { return Vor::typeOf<Tolvane, "Inventory::Tolvane">(); }

}   // namespace Inventory
