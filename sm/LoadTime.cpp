// What happens when the library is loaded: its modules register their types and declare their logged messages, in this
// order; besides, their trace facilities become known. No hardware is touched and nothing runs.
//
// One file for all of them, because the order of static initialisers across source files is not fixed, and because this
// file names every module, so that none is dropped from an archive.

#include "framework/TypeRegistry.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"
#include "hardware/HwMax24305.h"
#include "hardware/HwTolvane.h"
#include "inventory/InvMax24305.h"
#include "inventory/InvTolvane.h"
#include "sm/Max24305SmModule.h"
#include "sm/TolvaneSm.h"

namespace {

Vor::Module const kivHal( "KivHal", Hardware::registerKivHal );
Vor::Module const max24305Hal( "Max24305Hal", Hardware::registerMax24305Hal );
Vor::Module const invTolvane( "InvTolvane", Inventory::registerInvTolvane );
Vor::Module const hwTolvane( "HwTolvane", Hardware::Tolvane::registerHwTolvane );
Vor::Module const invMax24305( "InvMax24305", Inventory::registerInvMax24305 );
Vor::Module const hwMax24305( "HwMax24305", Hardware::Max24305::registerHwMax24305 );
Vor::Module const tolvaneSm( "TolvaneSm", Hardware::registerTolvaneSm );
Vor::Module const max24305Sm( "Max24305Sm", Hardware::Max24305SmModule::registerTypes );
// The short sleep has no type.
Vor::Module const utils( "Utils", []( Vor::Module & ) {} );

}   // namespace

/// Who links archives asks for this name, and so takes the file in.
extern "C" void clockpathLoadTime() {}
