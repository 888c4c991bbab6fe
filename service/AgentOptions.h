// What a user asks of an agent.
#pragma once

#include "framework/Types.h"
#include "service/FailureFolder.h"
#include "service/PtpDaemon.h"

#include <optional>
#include <string>

namespace Host {

enum class Role {
   single_,    ///< the only agent of its card
   active_,    ///< of two supervisors the one that has the card
   standby_,   ///< the other one
};

struct AgentOptions {
   std::optional<U32> timeSync = 1;          ///< what the source of PTP time synchronisation says; none: it will
   PtpOptions ptp = {};                      ///< the PTP daemon that is the source in its place, where there is one
   U32 redundancyMode = 3;                   ///< mode of the only supervisor
   std::optional<U32> traceLevel = {};       ///< shows traces up to this level
   U32 timerSlackNs = 1;                     ///< of the agent's thread (service/TimerSlack.h)
   std::optional<std::string> events = {};   ///< the file of the event log
   std::string failures =
      FailureFolder::usualPath();   ///< folder of the recordings of failures, which `events` replaces
   bool forget = false;             ///< forgets the first failures that the folder has

   double watchSeconds = 10;                  ///< how often it looks at chips that are ready; 0: never
   std::optional<std::string> metrics = {};   ///< where metrics are told (service/MetricsPlace.h); none: nowhere
   std::optional<std::string> state = {};     ///< where the state log is (state/OpenLog.h); beside the lock unless told
   std::optional<std::string> socket = {};    ///< path of the control socket; where they usually stand unless told
   Role role = Role::single_;
   U32 generation = 0;   ///< of an active supervisor; 0: the next one after those that log and card know
};

}   // namespace Host
