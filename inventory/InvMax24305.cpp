#include "inventory/InvMax24305.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Inventory {

Vor::Type const & Max24305::staticType() {
   static constinit auto const type = Vor::describe<Max24305, &max24305Factory>( "Inventory::Max24305" );
   return type;
}

Vor::Ptr<Max24305> max24305Factory( Vor::Name name ) { return Vor::allocate<Max24305>( std::move( name ) ); }

void registerInvMax24305( Vor::Module & module ) { module.typeNodeIs( Max24305::staticType() ); }

}   // namespace Inventory
