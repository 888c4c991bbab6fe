#include "sim/TolvaneChip.h"

#include "hal/KivHal.h"

namespace Sim {

using Hardware::TolvaneEnable;

TolvaneChip::TolvaneChip( FaultBoard & faults ) : faults_( faults ) {
   faults_.listenerAdd( FaultKind::noPower_, FaultBoard::begins_, [this] { enabled_ = false; } );
}

Hal::Registers TolvaneChip::registers() const { return Hardware::tolvaneBlock; }

U32 TolvaneChip::read( U32 address ) {
   TolvaneEnable shown;
   shown.enableIs( enabled_ );
   shown.powerGoodIs( enabled_ );
   return faults_.asRead( static_cast<U16>( address ), shown.value() );
}

void TolvaneChip::write( U32, U32 value ) {
   if ( inReset_ ) return;
   bool const enable = TolvaneEnable( value ).enable();
   enabled_ = enable && !faults_.occurs( FaultKind::noPower_ );
}

void TolvaneChip::resetIs( bool asserted ) {
   inReset_ = asserted;
   if ( asserted ) enabled_ = false;
}

}   // namespace Sim
