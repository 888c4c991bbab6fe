#include "inventory/InvTolvane.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Inventory {

Vor::Type const & Tolvane::staticType() { return Vor::typeOf<Tolvane, "Inventory::Tolvane">(); }

void registerInvTolvane( Vor::Module & module ) { module.typesAdd<Tolvane>(); }

}   // namespace Inventory
