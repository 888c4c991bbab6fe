#include "hal/KivHal.h"

#include "framework/Describe.h"

namespace Hardware {

Vor::Type const & SpiCommandFifo::staticType() {
   static constinit auto const type = Vor::describe<SpiCommandFifo>( "Hardware::SpiCommandFifo" );
   return type;
}

Vor::Type const & SpiResponseFifo::staticType() {
   static constinit auto const type = Vor::describe<SpiResponseFifo>( "Hardware::SpiResponseFifo" );
   return type;
}

Vor::Type const & SpiCtrl::staticType() {
   static constinit auto const type = Vor::describe<SpiCtrl>( "Hardware::SpiCtrl" );
   return type;
}

Vor::Type const & SpiReset::staticType() {
   static constinit auto const type = Vor::describe<SpiReset>( "Hardware::SpiReset" );
   return type;
}

Vor::Type const & TolvaneEnable::staticType() {
   static constinit auto const type = Vor::describe<TolvaneEnable>( "Hardware::TolvaneEnable" );
   return type;
}

Vor::Type const & Max24305Status::staticType() {
   static constinit auto const type = Vor::describe<Max24305Status>( "Hardware::Max24305Status" );
   return type;
}

}   // namespace Hardware
