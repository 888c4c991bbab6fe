// The agent: looks after the chips of a card in real time, until a signal asks it to stop. It tells what happens on
// standard output (report/Journal.h).
//
//    Host::Agent agent( Input::readCard( path ), {} );
//    return agent.run();
#pragma once

#include "card/Card.h"
#include "card/Machines.h"
#include "card/MmapHam.h"
#include "card/RealTimeHam.h"
#include "card/StepListener.h"
#include "report/Journal.h"
#include "service/PollSet.h"
#include "service/PresenceWatch.h"
#include "service/StopSignals.h"
#include "service/TimerSlack.h"
#include "sim/CardEvents.h"

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
   /// The card is configured, and no machine is made yet. One may live at a time, on the thread that made it. Throws
   /// Input::InputError for a chip whose input no machine serves.
   Agent( Input::CardDescription const & description, AgentOptions const & options );
   Agent( Agent const & ) = delete;
   Agent & operator=( Agent const & ) = delete;

   /// Until a signal stops it. Gives the exit code: 0 when all chips were ready then, else 1.
   int run();

 private:
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void look();

   TimerSlack const timerSlack_;
   Vor::Ptr<MmapHam> const mmapHam_;           // of a mapped card
   Vor::Ptr<RealTimeHam> const realTimeHam_;   // of a simulated one
   StopSignals signals_;
   PollSet pollSet_;
   std::optional<PresenceWatch> presence_;   // of a mapped card
   Card card_;
   Vor::Ptr<Journal> const journal_;
   Sim::CardEvents events_;   // in the time of a simulated card; the journal has its own
   Machines machines_;
};

}   // namespace Host
