// A scenario: the starting state of the services outside the card, what happens to them and to the hardware at which
// virtual time, and when the run ends. input/ScenarioFile.h reads one from a file.
#pragma once

#include "framework/Types.h"
#include "sim/Fault.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Sim {

/// The services outside the card as the machines find them at time 0.
struct StartState {
   U32 timeSync = 1;         ///< PtpTimeSync::Status state; 0 is disabled
   U32 redundancyMode = 3;   ///< Redundancy::RedundancyStatus mode; 5 is active, 4 a switchover under way
   std::vector<std::pair<std::string, bool>> switchoverStage;   ///< in the order written; a stage not named is absent
   bool hardwarePresent = true;
   bool simulationVmid = false;                ///< the library's own simulated mode, for the whole run
   std::map<std::string, bool> gpoHam;         ///< by chip; one not named is true
   std::map<std::string, bool> opsToDoValid;   ///< by MAX24305; one not named is true

   bool gpoHamOf( std::string const & chip ) const;
   bool opsToDoValidOf( std::string const & chip ) const;
};

struct TimeSyncIs {
   U32 state;
};
struct RedundancyModeIs {
   U32 mode;
};
struct SwitchoverStageIs {
   std::string stage;
   bool reached;
};
struct HardwarePresentIs {
   bool present;
};
struct OpsToDoValidIs {
   std::string chip;
   bool valid;
};
/// Whether the chip's reset output has its access handle.
struct GpoHamIs {
   std::string chip;
   bool present;
};
struct FaultIs {
   std::string chip;   ///< empty for a fault of the whole card
   Fault fault;
};

using Action =
   std::variant<TimeSyncIs, RedundancyModeIs, SwitchoverStageIs, HardwarePresentIs, OpsToDoValidIs, GpoHamIs, FaultIs>;

/// What one line of the file does, in the order written there.
struct Event {
   U64 atNs = 0;
   std::vector<Action> actions;
};

struct Scenario {
   StartState start;
   std::vector<Event> events;    ///< by time; those of one time in the order of the file
   std::optional<U64> untilNs;   ///< without it the run ends when nothing is left to happen
};

/// A chip that a scenario can name.
struct ScenarioChip {
   std::string name;
   FaultTarget target = FaultTarget::max24305_;
};

/// The action for people: "time-sync state 2", "fault bitFlip at ptp0, 3 times".
std::string actionText( Action const & action );

}   // namespace Sim
