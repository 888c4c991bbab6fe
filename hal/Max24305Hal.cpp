#include "hal/Max24305Hal.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Hardware {

Vor::Type const & ApllStatus::staticType() {
   static constinit auto const type = Vor::describe<ApllStatus>( "Hardware::ApllStatus" );
   return type;
}

void registerMax24305Hal( Vor::Module & module ) { module.typeNodeIs( ApllStatus::staticType() ); }

}   // namespace Hardware
