// The reset line between an output of the FPGA and a chip: it follows the output, unless it is stuck.
#pragma once

#include "sim/Fault.h"

namespace Sim {

/// A chip seen from its reset line.
class Resettable {
 public:
   virtual void resetIs( bool asserted ) = 0;

 protected:
   ~Resettable() = default;
};

/// Chip and faults outlive the line. At the start it is released.
class ResetLine final : private FaultListener {
 public:
   ResetLine( Resettable & chip, FaultBoard & faults ) : chip_( chip ), faults_( faults ) {
      faults_.listenerAdd( *this );
   }

   /// What the output drives: true for the active level.
   void drivenIs( bool asserted ) {
      if ( asserted == driven_ ) return;
      driven_ = asserted;
      if ( !asserted && faults_.occurs( FaultKind::resetStuck_ ) ) return;
      chip_.resetIs( asserted );
   }

 private:
   void onFaultBegin( FaultKind ) override {}
   void onFaultEnd( FaultKind kind ) override {
      if ( kind == FaultKind::resetStuck_ && !faults_.active( kind ) ) chip_.resetIs( driven_ );
   }

   Resettable & chip_;
   FaultBoard & faults_;
   bool driven_ = false;
};

}   // namespace Sim
