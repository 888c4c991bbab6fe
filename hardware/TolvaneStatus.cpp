#include "hardware/TolvaneStatus.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Hardware::Tolvane {

Vor::Type const & Status::staticType() {
   static constinit auto const type = Vor::describe<Status, &statusFactory>( "Hardware::Tolvane::Status" );
   return type;
}

Vor::Ptr<Status> statusFactory( Vor::Name name, Fru::GenerationId genId, Role role ) {
   return Vor::allocate<Status>( name, genId, role );
}

}   // namespace Hardware::Tolvane
