// The agent: looks after the chips of a card in real time, until a signal asks it to stop. It tells what happens on
// standard output (report/Journal.h), and writes an event log where one is asked for.
//
//    Host::Agent agent( Input::readCard( path ), {} );
//    return agent.run();
#pragma once

#include "card/Card.h"
#include "card/CardLock.h"
#include "card/Machines.h"
#include "card/PolledHam.h"
#include "card/RealTimeHam.h"
#include "card/StepListener.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "report/Journal.h"
#include "report/TracesOn.h"
#include "service/CauseTeller.h"
#include "service/PollSet.h"
#include "service/PresenceWatch.h"
#include "service/StopSignals.h"
#include "service/TimerSlack.h"
#include "sim/CardEvents.h"

#include <optional>

namespace Host {

struct AgentOptions {
   U32 timeSync = 1;                         ///< state of PTP time synchronisation, which no one else tells here
   U32 redundancyMode = 3;                   ///< mode of the supervisor, likewise
   std::optional<U32> traceLevel = {};       ///< shows traces up to this level
   U32 timerSlackNs = 1;                     ///< of the agent's thread (service/TimerSlack.h)
   std::optional<std::string> events = {};   ///< the file of the event log
   std::string failures =
      FailureFolder::usualPath();   ///< folder of the recordings of failures, which `events` replaces
   bool forget = false;             ///< forgets the first failures that the folder has
};

class Agent final : private StepListener {
 public:
   /// The card is configured, and no machine is made yet. One may live at a time, on the thread that made it. Throws
   /// Input::InputError for a chip whose input no machine serves, and for an event log that cannot be written, and
   /// CardUnavailable for a card that somebody else uses.
   Agent( Input::CardDescription const & description, AgentOptions const & options );
   Agent( Agent const & ) = delete;
   Agent & operator=( Agent const & ) = delete;

   /// Until a signal stops it. Gives the exit code: 0 when all chips were ready then and no cause stood, else 1.
   int run();

 private:
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   Vor::Ptr<Fru::HamImpl> hamImpl();
   Vor::Ptr<Hardware::SetClearGpo> output( Vor::Name const & name );
   void look();

   std::optional<CardLock> const lock_;   // of a card that outlives its agents
   TimerSlack const timerSlack_;
   Vor::Ptr<PolledHam> const polledHam_;       // of such a card
   Vor::Ptr<RealTimeHam> const realTimeHam_;   // of one that is simulated in this process
   StopSignals signals_;
   PollSet pollSet_;
   std::optional<PresenceWatch> presence_;   // of a card that comes and goes
   std::optional<Recording::LogFile> log_;
   Sim::CardEvents events_;
   Card card_;
   std::optional<Journal> journal_;
   TracesOn const tracesOn_;
   std::optional<Recording::Recorder> recorder_;   // of the event log
   std::optional<CauseTeller> teller_;
   Machines machines_;
};

}   // namespace Host
