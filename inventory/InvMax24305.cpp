#include "inventory/InvMax24305.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Inventory {

Vor::Type const & Max24305::staticType() { return Vor::typeOf<Max24305, "Inventory::Max24305">(); }

void registerInvMax24305( Vor::Module & module ) { module.typesAdd<Max24305>(); }

}   // namespace Inventory
