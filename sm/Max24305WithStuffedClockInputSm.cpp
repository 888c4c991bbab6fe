#include "sm/Max24305WithStuffedClockInputSm.h"

#include "framework/Describe.h"

namespace Hardware {

using namespace Max24305SmModule;

void Max24305WithStuffedClockInputSm::handleInitialized() {
   VOR_TRACE( traceHandle, 1, __PRETTY_FUNCTION__ );
   Max24305Sm::handleInitialized();
   initializedIs( true );
   Max24305Sm::handleEnvironmentChanges();
}

Vor::Type const & Max24305WithStuffedClockInputSm::staticType() {
   return Vor::typeOf<Max24305WithStuffedClockInputSm, "Hardware::Max24305WithStuffedClockInputSm">();
}

}   // namespace Hardware
