#include "hal/Max24305Hal.h"

#include "framework/Describe.h"

namespace Hardware {

Vor::Type const & ApllStatus::staticType() { return Vor::typeOf<ApllStatus, "Hardware::ApllStatus">(); }

}   // namespace Hardware
