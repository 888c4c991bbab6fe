#include "hal/Max24305Hal.h"

#include "framework/Describe.h"

namespace Hardware {

Vor::Type const & ApllStatus::staticType() {
   static constinit auto const type = Vor::describe<ApllStatus>( "Hardware::ApllStatus" );
   return type;
}

}   // namespace Hardware
