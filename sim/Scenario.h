// A scenario: the starting state of the services outside the card, what happens to them and to the hardware at which
// virtual time, and when the run ends. input/ScenarioFile.h reads one from a file.
#pragma once

#include "framework/Types.h"
#include "hardware/Max24305Config.h"
#include "platform/Ham.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "platform/SetClearGpo.h"
#include "sim/Fault.h"
#include "sim/SimulatedCard.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Sim {

/// The entities and the simulated hardware that a scenario's actions change. A pointer that no event of the scenario
/// needs may be empty.
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

/// Something that happens: a row of actionTypes(), and what that row takes.
///
///    Action{ .key = "gpoHam", .name = "ptp0", .value = false }
struct Action {
   std::string key{};    ///< of the row
   std::string name{};   ///< of the chip or the stage; empty where there is none, and for a fault of the whole card
   U32 value = 0;        ///< the number, or 1 or 0 for a flag
   Fault fault{};
};

enum class ActionTakes { number_, flag_, flagOfStage_, flagOfChip_, flagOfMax24305_, fault_ };

/// A sort of action. A new one is a row in the source, and one in docs/scenario.md; only one that takes what none has
/// taken yet also needs a reader, in input/ScenarioFile.cpp.
struct ActionType {
   std::string_view key;   ///< in scenarios
   ActionTakes takes;
   std::string ( *text )( Action const & action );
   /// Whether the targets have what the action is about.
   bool ( *possible )( Action const & action, ScenarioTargets const & targets );
   void ( *apply )( Action const & action, ScenarioTargets const & targets );
};
std::span<ActionType const> actionTypes();

/// The action's row. Throws std::invalid_argument where there is none.
ActionType const & typeOf( Action const & action );
/// The action for people: "time-sync state 2", "fault bitFlip at ptp0, 3 times".
std::string actionText( Action const & action );
/// Throws std::invalid_argument where the targets lack what the action is about.
void actionCheck( Action const & action, ScenarioTargets const & targets );
/// The same, and makes it happen.
void actionApply( Action const & action, ScenarioTargets const & targets );

/// What the machines find at time 0.
struct StartState {
   bool simulationVmid = false;   ///< the library's own simulated mode, for the whole run
   std::vector<Action>
      actions{};   ///< what differs from a card at rest: present, wired, handed over, time sync enabling
};

/// What one line of the file does, in the order written there.
struct Event {
   U64 atNs = 0;
   std::vector<Action> actions;
};

struct Scenario {
   StartState start;
   std::vector<Event> events;    ///< those of one time happen in this order
   std::optional<U64> untilNs;   ///< without it the run ends when nothing is left to happen
   /// The hardware as it really is, where that is not what the library is told of it.
   std::optional<SimulatedCard::Parameters> built{};
};

/// A chip that a scenario can name.
struct ScenarioChip {
   std::string name;
   FaultTarget target = FaultTarget::max24305_;
};

}   // namespace Sim
