// Publishes an agent: the entities of its card and what it tells of itself (service/AgentStatus.h), in its state log.
// The progress of a bring-up comes from the machines' steps, and each step ends a turn of the log, so that readers see
// a bring-up as it goes although it has the loop's thread.
//
//    StatePublisher state( card, agentStatus, "agent.db", generation );
//    adoption.preset();
//    state.begin();                       // from here on the log has this agent's state
//    ...
//    state.turnEnds();                    // between turns of the loop
//
// Without a place nothing is written, and the entities are there all the same.
#pragma once

#include "card/Card.h"
#include "card/StepListener.h"
#include "framework/LogWriter.h"
#include "service/AgentStatus.h"
#include "service/PollSet.h"
#include "state/LogThread.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Host {

class StatePublisher final : private StepListener {
 public:
   /// The card is configured, and its machines are not made yet; it outlives this. `takesOver`: the place may be
   /// another supervisor's copy until now. Throws Input::InputError for a place that is none.
   StatePublisher(
      Card const & card, Vor::Ptr<AgentStatus> const & agent, std::optional<std::string> const & place, U32 generation,
      bool takesOver );
   ~StatePublisher();
   StatePublisher( StatePublisher const & ) = delete;
   StatePublisher & operator=( StatePublisher const & ) = delete;

   Vor::Ptr<ChipProgress> progress( std::string const & chip ) const { return progress_.at( chip ); }

   /// The card has other chips from now on, by this change of its description; before their machines are made.
   void cardChanged( CardChange const & change );

   /// Publishes all as it is now.
   void begin();
   void turnEnds();

   /// The thread that writes; null where nothing is written.
   State::LogThread * log() { return log_ ? &*log_ : nullptr; }
   /// Whether the log has this generation's state. True where nothing is written.
   bool writable() const;

 private:
   class StateWatch;

   void cardAdd();
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void told( ChipProgress & chip, Hardware::Steps::GateEvaluated const & gate );
   void told( ChipProgress & chip, Hardware::Steps::AttemptBegun const & attempt );
   void told( ChipProgress & chip, Hardware::Steps::OperationDone const & operation );
   void told( ChipProgress & chip, Hardware::Steps::LockPolled const & poll );
   void told( ChipProgress &, auto const & ) {}

   Card const & card_;
   U32 const generation_;
   Vor::Ptr<AgentStatus> const agent_;
   Vor::Ptr<Vor::Entity> const chips_;
   std::map<std::string, Vor::Ptr<ChipProgress>> progress_;
   std::map<std::string, Vor::Ptr<Vor::EntityObserver>> watches_;
   std::vector<Vor::Ptr<Vor::Entity const>> entities_;   // of the card, as published
   std::chrono::steady_clock::time_point operationToldAt_;
   Vor::LogWriter writer_;
   Vor::LogBatch whole_;
   std::optional<State::LogThread> log_;
   bool begun_ = false;
};

}   // namespace Host
