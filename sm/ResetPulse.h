// The pulse on a chip's reset output with which each attempt of a machine begins.
#pragma once

#include "platform/Gpo.h"
#include "util/Utils.h"

namespace Hardware {

/// Resets the chip for `activeNs` and gives it `recoveryNs` to come back. The output is asked for its implementation
/// each time: it may change in between.
inline void pulseReset( Vor::Ptr<Fru::Gpo const> const & output, U32 activeNs, U32 recoveryNs ) {
   output->impl()->doEnable();
   nsleep( activeNs );
   output->impl()->doDisable();
   nsleep( recoveryNs );
}

}   // namespace Hardware
