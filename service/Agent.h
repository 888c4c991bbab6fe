// The agent: looks after the chips of a card in real time, until a signal asks it to stop. It tells what happens on
// standard output (report/Journal.h), publishes its state, and writes an event log where one is asked for.
//
//    ServiceManager manager;
//    Host::Agent agent( Input::readCard( path ), {}, manager );
//    return agent.run();
//
// Under a service manager (service/ServiceManager.h) SIGHUP has it read the description again, between two turns.
// Chips that are described as before stay untouched, those that are not are made anew, and those that are gone stay as
// they stand; a description that cannot be taken changes nothing.
#pragma once

#include "card/Card.h"
#include "card/Machines.h"
#include "card/StepListener.h"
#include "recording/LogFile.h"
#include "recording/Recorder.h"
#include "report/Journal.h"
#include "report/TracesOn.h"
#include "service/Adoption.h"
#include "service/AgentOptions.h"
#include "service/AgentRequests.h"
#include "service/CardAccess.h"
#include "service/CauseTeller.h"
#include "service/ClockWatch.h"
#include "service/ControlSocket.h"
#include "service/Metrics.h"
#include "service/MetricsPlace.h"
#include "service/PollSet.h"
#include "service/PtpDaemon.h"
#include "service/ServiceManager.h"
#include "service/Standby.h"
#include "service/StatePublisher.h"
#include "service/StopSignals.h"
#include "service/TimeSyncInput.h"
#include "service/TimerSlack.h"
#include "sim/CardEvents.h"

#include <optional>

namespace Host {

class Agent final : private StepListener, private Sim::CardListener {
 public:
   /// The card is configured, and no machine is made yet. One may live at a time, on the
   /// thread that made it. With `takeOver` it follows the supervisor whose state that is. Throws Input::InputError for
   /// a chip whose input no machine serves, and for an event log that cannot be written, and CardUnavailable for a card
   /// that somebody else uses.
   Agent(
      Input::CardDescription const & description, AgentOptions const & options, ServiceManager & manager,
      std::optional<TakeOver> takeOver = std::nullopt );
   Agent( Agent const & ) = delete;
   Agent & operator=( Agent const & ) = delete;

   /// Until a signal stops it. Gives the exit code: 0 when all chips were ready then and no cause stood, or when a
   /// service manager has asked it to stop, else 1.
   int run();
   /// Whether it ended because it is to stand by.
   bool standsBy() const { return standsBy_; }
   /// As read last.
   Input::CardDescription const & description() const { return card_.description(); }

 private:
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void onSleep( U64 ns, U64 forNs ) override;
   int ended();
   void awaitTimeSync();
   void follow( PtpOptions const & options );
   void adopt();
   void journalBegin();
   void beginToTell();
   void makeMachines();
   void chipsTell( std::string const & began );
   void reload();
   void take( Input::CardDescription description, CardChange const & change );
   std::string states() const;
   void betweenTurns();
   void look();
   void lookAtRole();
   void lookAtLog();
   double longestWait() const;
   bool ends() const;
   Input::Json roleAsked( Input::Json const & request );
   Input::Json position();

   AgentOptions const options_;
   ServiceManager & manager_;
   TakeOver const before_;   // what the agent before this one published, and the generation of this one
   TimerSlack const timerSlack_;
   PollSet pollSet_;
   CardAccess access_;
   StopSignals signals_;
   std::optional<Recording::LogFile> log_;
   Sim::CardEvents events_;
   Card card_;
   Vor::Ptr<AgentStatus> const status_;
   TimeSyncInput input_;
   std::optional<Journal> journal_;
   std::optional<Adoption> adoption_;
   TracesOn const tracesOn_;
   std::optional<Recording::Recorder> recorder_;   // of the event log
   std::optional<CauseTeller> teller_;
   std::optional<StatePublisher> state_;
   std::optional<ClockWatch> watch_;
   std::optional<MetricsPlace> metricsPlace_;
   std::optional<Metrics> metrics_;
   std::optional<Machines> machines_;
   std::optional<AgentRequests> requests_;
   std::optional<ControlSocket> control_;
   std::optional<PtpDaemon> ptp_;   // where that is the source
   bool standsBy_ = false;
   bool stale_ = false;
   std::string trouble_;   // of the state log, as it was told last
};

}   // namespace Host
