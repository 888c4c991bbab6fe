#include "inventory/InvMax24305.h"

#include "framework/Describe.h"

namespace Inventory {

Vor::Type const & Max24305::staticType() { return Vor::typeOf<Max24305, "Inventory::Max24305">(); }

}   // namespace Inventory
