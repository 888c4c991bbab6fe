#include "hardware/TolvaneConfig.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Hardware::Tolvane {

Vor::Type const & Config::staticType() {
   static constinit auto const type = Vor::describe<Config, &configFactory>( "Hardware::Tolvane::Config" );
   return type;
}

Vor::Ptr<Config> configFactory(
   Vor::Name name, Fru::GenerationId genId, U32 offset, Vor::Ptr<Fru::Ham> ham, Vor::Name resetGpoName, Role role,
   Fru::SlotId slotId ) {
   return Vor::allocate<Config>( name, genId, offset, ham, resetGpoName, role, slotId );
}

}   // namespace Hardware::Tolvane
