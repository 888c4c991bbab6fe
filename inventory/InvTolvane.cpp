#include "inventory/InvTolvane.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Inventory {

Vor::Type const & Tolvane::staticType() {
   static constinit auto const type = Vor::describe<Tolvane, &tolvaneFactory>( "Inventory::Tolvane" );
   return type;
}

Vor::Ptr<Tolvane> tolvaneFactory( Vor::Name name ) { return Vor::allocate<Tolvane>( std::move( name ) ); }

void registerInvTolvane( Vor::Module & module ) { module.typeNodeIs( Tolvane::staticType() ); }

}   // namespace Inventory
