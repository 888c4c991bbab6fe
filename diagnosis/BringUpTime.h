// How long a chip's bring-up may take: what its sequence and the machine's own waits come to.
//
//    Diagnosis::BringUpTime const time = Diagnosis::bringUpTime( chip, spiClockInHz );
//
// Nothing is added up from constants: the machine itself brings the chip up on a simulated card, in virtual time. What
// an operation takes does not depend on the register, so each reads or writes one whose content is known; the
// sequence's own values, right or wrong, do not matter.
#pragma once

#include "input/CardDescription.h"

namespace Diagnosis {

/// From the first reset of the chip to its final state.
struct BringUpTime {
   U64 bestNs = 0;    ///< the first attempt succeeds, and the first poll finds the lock
   U64 worstNs = 0;   ///< all attempts but the last fail at the end of the sequence, and no poll finds the lock
};

/// The sequence holds no unknown operation. No Host::SimulatedWorld lives meanwhile.
BringUpTime bringUpTime( Input::Max24305Description const & chip, U64 spiClockInHz );

}   // namespace Diagnosis
