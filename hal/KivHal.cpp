#include "hal/KivHal.h"

#include "framework/Describe.h"
#include "framework/TypeRegistry.h"

namespace Hardware {

Vor::Type const & SpiCommandFifo::staticType() { return Vor::typeOf<SpiCommandFifo, "Hardware::SpiCommandFifo">(); }
Vor::Type const & SpiResponseFifo::staticType() { return Vor::typeOf<SpiResponseFifo, "Hardware::SpiResponseFifo">(); }
Vor::Type const & SpiCtrl::staticType() { return Vor::typeOf<SpiCtrl, "Hardware::SpiCtrl">(); }
Vor::Type const & SpiReset::staticType() { return Vor::typeOf<SpiReset, "Hardware::SpiReset">(); }
Vor::Type const & TolvaneEnable::staticType() { return Vor::typeOf<TolvaneEnable, "Hardware::TolvaneEnable">(); }
Vor::Type const & Max24305Status::staticType() { return Vor::typeOf<Max24305Status, "Hardware::Max24305Status">(); }

void registerKivHal( Vor::Module & module ) {
   module.typesAdd<SpiCtrl, TolvaneEnable, Max24305Status, SpiCommandFifo, SpiReset, SpiResponseFifo>();
}

}   // namespace Hardware
