// The entities and the simulated hardware that a scenario's actions change.
#pragma once

#include "hardware/Max24305Config.h"
#include "platform/Ham.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "platform/SetClearGpo.h"
#include "sim/SimulatedCard.h"

#include <map>
#include <string>
#include <vector>

namespace Sim {

/// What a scenario acts upon. A pointer that no event of the scenario needs may be empty.
struct ScenarioTargets {
   struct Chip {
      Vor::Ptr<Hardware::SetClearGpo> resetGpo{};
      Vor::Ptr<Fru::Ham const> gpoHam{};   ///< the handle that the reset output has while its `gpoHam` is true
      Vor::Ptr<Hardware::Max24305::Config> config{};   ///< of a MAX24305
   };

   std::vector<SimulatedCard *> cards{};             ///< a fault of the card is one of all of them
   std::vector<Vor::Ptr<Fru::HamImpl>> hamImpls{};   ///< whose `hardwarePresent` the scenario changes, in order
   Vor::Ptr<PtpTimeSync::Status> timeSync{};
   Vor::Ptr<Redundancy::RedundancyStatus> redundancy{};
   std::map<std::string, Chip> chips{};
};

}   // namespace Sim
