#include "hardware/Max24305Config.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Hardware::Max24305 {

Config::Config(
   Vor::Name name, Fru::GenerationId genId, U32 configOffset, U32 statusOffset, Vor::Ptr<Fru::Ham const> ham,
   Vor::Name resetGpoName, Role role, Input input, U32 outputFrequencyInHz, Fru::SlotId slotId, bool spiResetSupported )
   : WithOpsToDo( std::move( name ) ),
     genId_( genId ),
     configOffset_( configOffset ),
     statusOffset_( statusOffset ),
     ham_( std::move( ham ) ),
     resetGpoName_( std::move( resetGpoName ) ),
     role_( role ),
     input_( input ),
     outputFrequencyInHz_( outputFrequencyInHz ),
     slotId_( slotId ),
     spiResetSupported_( spiResetSupported ) {}

void Config::doCleanup() {
   Vor::Ptr<Vor::PtrInterface const> const held = vorHeld();
   opsToDoDelAll();
   opsToDoValidIs( false );
}

Vor::Type const & Config::staticType() {
   static constinit auto const type = Vor::describe<Config, &configFactory>( "Hardware::Max24305::Config" );
   return type;
}

Vor::Ptr<Config> configFactory(
   Vor::Name name, Fru::GenerationId genId, U32 configOffset, U32 statusOffset, Vor::Ptr<Fru::Ham const> ham,
   Vor::Name resetGpoName, Role role, Input input, U32 outputFrequencyInHz, Fru::SlotId slotId,
   bool spiResetSupported ) {
   return Vor::allocate<Config>(
      name, genId, configOffset, statusOffset, ham, resetGpoName, role, input, outputFrequencyInHz, slotId,
      spiResetSupported );
}

}   // namespace Hardware::Max24305
