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
#include "sm/InitFailed.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "sm/Max24305WithTolvaneInputSm.h"
#include "sm/TolvaneSm.h"

namespace Hardware {

namespace {

template<class T> Vor::Type const & descriptor() {
   if constexpr ( Vor::Enumeration<T> )
      return enumType( T{} );
   else
      return T::staticType();
}

template<class... T> void registerTypes( Vor::Module & module ) { ( module.typeNodeIs( descriptor<T>() ), ... ); }

Vor::Module const
   kivHal( "KivHal", registerTypes<SpiCtrl, TolvaneEnable, Max24305Status, SpiCommandFifo, SpiReset, SpiResponseFifo> );
Vor::Module const max24305Hal( "Max24305Hal", registerTypes<ApllStatus> );
Vor::Module const invTolvane( "InvTolvane", registerTypes<Inventory::Tolvane> );
Vor::Module const hwTolvane(
   "HwTolvane",
   registerTypes<
      Tolvane::Status, Tolvane::State, Tolvane::StatusDir, Tolvane::ConfigDir, Tolvane::Role, Tolvane::Config> );
Vor::Module const invMax24305( "InvMax24305", registerTypes<Inventory::Max24305> );
Vor::Module const hwMax24305(
   "HwMax24305", registerTypes<
                    Max24305::Status, Max24305::Input, Max24305::OpType, Max24305::State, Max24305::StatusDir,
                    Max24305::ConfigDir, Max24305::Role, Max24305::Op, Max24305::ProgramSeq, Max24305::Config> );
Vor::Module const tolvaneSm( "TolvaneSm", registerTypes<TolvaneSm> );
Vor::Module const max24305Sm(
   "Max24305Sm",
   registerTypes<KivSpiInterface, Max24305WithTolvaneInputSm, Max24305WithStuffedClockInputSm, Max24305Sm> );
// The short sleep has no type.
Vor::Module const utils( "Utils", registerTypes<> );

}   // namespace

Vor::LogHandle const tolvaneInitFailed(
   "TOLVANE_INIT_FAILED", 3, "Possible hardware error with the Tolvane chip.",
   "Initialization of the Tolvane chip has failed.", Vor::CallSupportIfPersists, 0.0, 1.0, 0 );
Vor::LogHandle const max24305InitFailed(
   "MAX24305_INIT_FAILED", 3, "Possible hardware error with the Max24305 chip.",
   "Initialization of the Max24305 chip has failed.", Vor::CallSupportIfPersists, 0.0, 1.0, 0 );

}   // namespace Hardware

/// Who links archives asks for this name, and so takes the file in.
extern "C" void clockpathLoadTime() {}
