// What one chip's bring-up is doing, worked out from what can be seen from outside: its reset output, the accesses to
// its registers, the transactions on its bus, its published state.
#pragma once

#include "input/CardDescription.h"

#include <optional>
#include <string>

namespace Host {

struct ChipTrack {
   enum class Phase { idle_, pulse_, cleanUp_, operations_, lock_ };

   std::string name;
   std::string resetGpoName;
   Input::Max24305Description const * max24305 = nullptr;   ///< either this
   Input::TolvaneDescription const * tolvane = nullptr;     ///< or this; both outlive the track

   std::string state = "uninitialized";
   std::string clock;   ///< text of its clock status, empty before the first change
   std::string gate;    ///< as last shown

   Phase phase = Phase::idle_;
   bool pulsePending = false;   ///< its reset output was pulsed, and it has not been seen to work since
   bool attemptOpen = false;
   U32 attempts = 0;            ///< of the present bring-up
   std::size_t operation = 0;   ///< done of the sequence in the present attempt
   std::optional<U8> answer;    ///< of the chip to the last operation, when that was a read
   U32 polls = 0;
   U8 pollStatus = 0;
   std::optional<U32> frequencyInHz;

   U64 pulseNs = 0;
   U64 accessNs = 0;       ///< first access after the pulse
   U64 operationsNs = 0;   ///< end of the clean-up
   U64 lockNs = 0;         ///< end of the operations
   U64 lastNs = 0;         ///< of the last thing seen
   U64 endNs = 0;          ///< ready or failed

   std::size_t operations() const { return max24305 ? max24305->sequence.size() : 0; }

   /// A transaction on its bus: moves on to the operation that it carries out.
   void transactionIs( bool write, U16 address, U8 response );
   /// The last operation that was begun, null where none was.
   Hardware::Max24305::Op const * lastOperation() const;
   /// Why the attempt that has just ended failed, as far as can be seen.
   std::string failureText() const;
};

}   // namespace Host
