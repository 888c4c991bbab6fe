#include "hal/Max24305Hal.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Hardware {

Vor::Type const & ApllStatus::staticType() { return Vor::typeOf<ApllStatus, "Hardware::ApllStatus">(); }

void registerMax24305Hal( Vor::Module & module ) { module.typesAdd<ApllStatus>(); }

}   // namespace Hardware
