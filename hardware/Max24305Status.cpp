#include "hardware/Max24305Status.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Hardware::Max24305 {

Vor::Type const & Status::staticType() {
   static constinit auto const type = Vor::describe<Status, &statusFactory>( "Hardware::Max24305::Status" );
   return type;
}

Vor::Ptr<Status> statusFactory( Vor::Name name, Fru::GenerationId genId, Role role ) {
   return Vor::allocate<Status>( name, genId, role );
}

}   // namespace Hardware::Max24305
