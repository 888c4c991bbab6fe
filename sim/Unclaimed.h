// An access to an address where the card has no register: the bus answers it, with 0, and nobody else notices.
#pragma once

#include "framework/Text.h"
#include "framework/Types.h"

#include <string>

namespace Sim {

enum class AccessDirection { read_, write_ };

class UnclaimedObserver {
 public:
   virtual void onUnclaimed( U32 address, AccessDirection direction ) = 0;

 protected:
   ~UnclaimedObserver() = default;
};

/// "read of 0x4000, where the card has no register: it gives 0"
inline std::string unclaimedText( U32 address, AccessDirection direction ) {
   bool const isRead = direction == AccessDirection::read_;
   return Vor::format(
             "%s 0x%x, where the card has no register: %s", isRead ? "read of" : "write to", address,
             isRead ? "it gives 0" : "it is lost" )
      .stdString();
}

}   // namespace Sim
