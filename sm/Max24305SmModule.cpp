#include "sm/Max24305SmModule.h"

#include "framework/TypeRegistry.h"
#include "sm/KivSpiInterface.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "sm/Max24305WithTolvaneInputSm.h"

namespace Hardware::Max24305SmModule {

Vor::TraceHandle const traceHandle( "Hardware::Max24305Sm" );

Vor::LogHandle const & initFailed() {
   static Vor::LogHandle const handle(
      "MAX24305_INIT_FAILED", 3, "Possible hardware error with the Max24305 chip.",
      "Initialization of the Max24305 chip has failed.", Vor::CallSupportIfPersists, 0.0, 1.0, 0 );
   return handle;
}

void registerTypes( Vor::Module & module ) {
   module.typesAdd<KivSpiInterface, Max24305WithTolvaneInputSm, Max24305WithStuffedClockInputSm, Max24305Sm>();
   initFailed();
}

}   // namespace Hardware::Max24305SmModule
