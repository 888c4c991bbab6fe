#include "platform/Ham.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Fru {

Vor::Type const & HamImpl::staticType() {
   static constinit auto const type = Vor::describe<HamImpl>( "Fru::HamImpl" );
   return type;
}

Vor::Type const & Ham::staticType() {
   static constinit auto const type = Vor::describe<Ham, &hamFactory>( "Fru::Ham" );
   return type;
}

Vor::Ptr<Ham> hamFactory( Vor::Name name ) { return Vor::allocate<Ham>( std::move( name ) ); }

}   // namespace Fru
