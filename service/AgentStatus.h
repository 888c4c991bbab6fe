// What an agent tells of itself and of its bring-ups, beside the entities of its card: entities like those, so that
// they stand in its state log, and every tool reads them there.
//
//    /agent              one AgentStatus
//    /agent/chip/NAME    a ChipProgress for each chip
#pragma once

#include "framework/Directory.h"

namespace Host {

class AgentStatus final : public Vor::EntityOf<AgentStatus> {
 public:
   explicit AgentStatus( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onRole() {}
      virtual void onGeneration() {}
      virtual void onProcess() {}
      virtual void onSocket() {}
      virtual void onCard() {}
      virtual void onActivity() {}
      virtual void onTimeSyncSource() {}
      virtual void onHeldBack() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// "single", "active", "standby" or "stopped".
   Vor::String role() const { return stored_.get<"role">(); }
   void roleIs( Vor::String role ) { attributeIs<"role">( stored_, std::move( role ) ); }
   U32 generation() const { return stored_.get<"generation">(); }
   void generationIs( U32 generation ) { attributeIs<"generation">( stored_, generation ); }
   U32 process() const { return stored_.get<"process">(); }
   void processIs( U32 process ) { attributeIs<"process">( stored_, process ); }
   /// Path of the socket that takes requests; empty where there is none.
   Vor::String socket() const { return stored_.get<"socket">(); }
   void socketIs( Vor::String socket ) { attributeIs<"socket">( stored_, std::move( socket ) ); }
   /// Path of the card description.
   Vor::String card() const { return stored_.get<"card">(); }
   void cardIs( Vor::String card ) { attributeIs<"card">( stored_, std::move( card ) ); }
   /// What the agent is at: "bringing up ptp0", empty between turns.
   Vor::String activity() const { return stored_.get<"activity">(); }
   void activityIs( Vor::String activity ) { attributeIs<"activity">( stored_, std::move( activity ) ); }
   /// What the source of time synchronisation said last; empty before its first answer.
   Vor::String timeSyncSource() const { return stored_.get<"timeSyncSource">(); }
   void timeSyncSourceIs( Vor::String said ) { attributeIs<"timeSyncSource">( stored_, std::move( said ) ); }
   /// Why that is not what the machines were told; empty where it is.
   Vor::String heldBack() const { return stored_.get<"heldBack">(); }
   void heldBackIs( Vor::String why ) { attributeIs<"heldBack">( stored_, std::move( why ) ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &AgentStatus::name>,
      Vor::Changeable<"role", &AgentStatus::role, &AgentStatus::roleIs, &NotifieeConst::onRole>,
      Vor::Changeable<"generation", &AgentStatus::generation, &AgentStatus::generationIs, &NotifieeConst::onGeneration>,
      Vor::Changeable<"process", &AgentStatus::process, &AgentStatus::processIs, &NotifieeConst::onProcess>,
      Vor::Changeable<"socket", &AgentStatus::socket, &AgentStatus::socketIs, &NotifieeConst::onSocket>,
      Vor::Changeable<"card", &AgentStatus::card, &AgentStatus::cardIs, &NotifieeConst::onCard>,
      Vor::Changeable<"activity", &AgentStatus::activity, &AgentStatus::activityIs, &NotifieeConst::onActivity>,
      Vor::Changeable<
         "timeSyncSource", &AgentStatus::timeSyncSource, &AgentStatus::timeSyncSourceIs,
         &NotifieeConst::onTimeSyncSource>,
      Vor::Changeable<"heldBack", &AgentStatus::heldBack, &AgentStatus::heldBackIs, &NotifieeConst::onHeldBack>>;

 private:
   Vor::Stored<AgentStatus, Attributes> stored_;
};

class ChipProgress final : public Vor::EntityOf<ChipProgress> {
 public:
   explicit ChipProgress( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   using GateRows = Vor::HashMap<Vor::String, Vor::String>;

   struct NotifieeConst : NotifieeConstBase {
      virtual void onAttempt() {}
      virtual void onAttempts() {}
      virtual void onOperation() {}
      virtual void onOperations() {}
      virtual void onPoll() {}
      virtual void onPolls() {}
      virtual void onStateSinceMs() {}
      virtual void onCause() {}
      virtual void onAdopted() {}
      virtual void onWatched() {}
      virtual void onWatchedSinceMs() {}
      virtual void onGate( Vor::String ) {}
      virtual void onGate() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// Of the bring-up under way or the last one, from 1; 0 before the first. `attempts`: how many there may be.
   U32 attempt() const { return stored_.get<"attempt">(); }
   void attemptIs( U32 attempt ) { attributeIs<"attempt">( stored_, attempt ); }
   U32 attempts() const { return stored_.get<"attempts">(); }
   void attemptsIs( U32 attempts ) { attributeIs<"attempts">( stored_, attempts ); }
   /// The operation that is done, from 1; 0 before the first of the attempt.
   U32 operation() const { return stored_.get<"operation">(); }
   void operationIs( U32 operation ) { attributeIs<"operation">( stored_, operation ); }
   U32 operations() const { return stored_.get<"operations">(); }
   void operationsIs( U32 operations ) { attributeIs<"operations">( stored_, operations ); }
   /// The lock poll that is done, from 1; 0 before the first.
   U32 poll() const { return stored_.get<"poll">(); }
   void pollIs( U32 poll ) { attributeIs<"poll">( stored_, poll ); }
   U32 polls() const { return stored_.get<"polls">(); }
   void pollsIs( U32 polls ) { attributeIs<"polls">( stored_, polls ); }
   /// Since when the published state stands, in milliseconds of wall time since 1970.
   U64 stateSinceMs() const { return stored_.get<"stateSinceMs">(); }
   void stateSinceMsIs( U64 ms ) { attributeIs<"stateSinceMs">( stored_, ms ); }
   /// Why the chip is not ready, or not well; empty where nothing is known.
   Vor::String cause() const { return stored_.get<"cause">(); }
   void causeIs( Vor::String cause ) { attributeIs<"cause">( stored_, std::move( cause ) ); }
   /// "adopted", or why the chip was brought up instead; empty where nobody asked.
   Vor::String adopted() const { return stored_.get<"adopted">(); }
   void adoptedIs( Vor::String adopted ) { attributeIs<"adopted">( stored_, std::move( adopted ) ); }

   /// What is wrong with the ready chip, as the agent saw when it looked last; empty where nothing is.
   Vor::String watched() const { return stored_.get<"watched">(); }
   void watchedIs( Vor::String trouble ) { attributeIs<"watched">( stored_, std::move( trouble ) ); }
   /// Since when something is, as `stateSinceMs`; 0 where nothing is.
   U64 watchedSinceMs() const { return stored_.get<"watchedSinceMs">(); }
   void watchedSinceMsIs( U64 ms ) { attributeIs<"watchedSinceMs">( stored_, ms ); }

   /// The rows of the gate, as the machine looked at them last, by condition: its value, with "not met: " before it
   /// where it is not.
   GateRows const & gate() const { return gate_; }
   void gateIs( Vor::String const & condition, Vor::String const & value );
   void gateDel( Vor::String const & condition );

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &ChipProgress::name>,
      Vor::Changeable<"attempt", &ChipProgress::attempt, &ChipProgress::attemptIs, &NotifieeConst::onAttempt>,
      Vor::Changeable<"attempts", &ChipProgress::attempts, &ChipProgress::attemptsIs, &NotifieeConst::onAttempts>,
      Vor::Changeable<"operation", &ChipProgress::operation, &ChipProgress::operationIs, &NotifieeConst::onOperation>,
      Vor::Changeable<
         "operations", &ChipProgress::operations, &ChipProgress::operationsIs, &NotifieeConst::onOperations>,
      Vor::Changeable<"poll", &ChipProgress::poll, &ChipProgress::pollIs, &NotifieeConst::onPoll>,
      Vor::Changeable<"polls", &ChipProgress::polls, &ChipProgress::pollsIs, &NotifieeConst::onPolls>,
      Vor::Changeable<
         "stateSinceMs", &ChipProgress::stateSinceMs, &ChipProgress::stateSinceMsIs, &NotifieeConst::onStateSinceMs>,
      Vor::Changeable<"cause", &ChipProgress::cause, &ChipProgress::causeIs, &NotifieeConst::onCause>,
      Vor::Changeable<"adopted", &ChipProgress::adopted, &ChipProgress::adoptedIs, &NotifieeConst::onAdopted>,
      Vor::Changeable<"watched", &ChipProgress::watched, &ChipProgress::watchedIs, &NotifieeConst::onWatched>,
      Vor::Changeable<
         "watchedSinceMs", &ChipProgress::watchedSinceMs, &ChipProgress::watchedSinceMsIs,
         &NotifieeConst::onWatchedSinceMs>,
      Vor::Collection<
         "gate", &ChipProgress::gate, &ChipProgress::gateIs, &ChipProgress::gateDel, NotifieeConst, Vor::String,
         &NotifieeConst::onGate, &NotifieeConst::onGate>>;

 private:
   Vor::Stored<ChipProgress, Attributes> stored_;
   GateRows gate_;
};

inline constexpr auto & agentStatusFactory = Vor::factoryOf<AgentStatus>;
inline constexpr auto & chipProgressFactory = Vor::factoryOf<ChipProgress>;

}   // namespace Host
