// The agent: looks after the chips of a card in real time, until a signal asks it to stop. It tells what happens on
// standard output (report/Journal.h).
//
//    Host::Agent agent( Input::readCard( path ), {} );
//    return agent.run();
#pragma once

#include "card/Card.h"
#include "card/Machines.h"
#include "card/MmapHam.h"
#include "card/StepListener.h"
#include "report/Journal.h"
#include "service/PollSet.h"
#include "service/PresenceWatch.h"
#include "service/StopSignals.h"
#include "service/TimerSlack.h"

#include <optional>

namespace Host {

struct AgentOptions {
   U32 timeSync = 1;                     ///< state of PTP time synchronisation, which no one else tells here
   U32 redundancyMode = 3;               ///< mode of the supervisor, likewise
   std::optional<U32> traceLevel = {};   ///< shows traces up to this level
   U32 timerSlackNs = 1;                 ///< of the agent's thread (service/TimerSlack.h)
};

class Agent final : private StepListener {
 public:
   /// The card is configured, and no machine is made yet. One may live at a time, on the thread that made it.
   Agent( Input::CardDescription const & description, AgentOptions const & options );
   Agent( Agent const & ) = delete;
   Agent & operator=( Agent const & ) = delete;

   /// Until a signal stops it. Gives the exit code: 0 when all chips were ready then, else 1. Throws Input::InputError
   /// for a chip whose input no machine serves.
   int run();

 private:
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void look();

   TimerSlack const timerSlack_;
   Journal const journal_;
   Vor::Ptr<MmapHam> const mmapHam_;   // empty for a simulated card
   StopSignals signals_;
   PollSet pollSet_;
   std::optional<PresenceWatch> presence_;   // of a mapped card
   Card card_;
   std::optional<JournalWatch> watch_;
   std::optional<Machines> machines_;
};

}   // namespace Host
