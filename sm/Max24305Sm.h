// The state machine that brings one MAX24305 into service: it waits until the card, its sequence and its reset output
// are there, programs the chip, polls it until both analogue PLLs lock, and publishes the outcome in two records, the
// chip's status and the card's clock status.
//
// Every change of an input runs the one gate, handleEnvironmentChanges. A closed gate sets both records to 0; an open
// one programs the chip at once, on the calling thread, which is blocked for as long as the sequence takes. The lock
// wait then runs on the machine's timer.
//
// This class is not complete by itself: its variants (Max24305WithStuffedClockInputSm, Max24305WithTolvaneInputSm) run
// handleInitialized, set `initialized` and evaluate the gate once, in their constructors. A host that uses it bare does
// so itself:
//
//    auto machine = Hardware::Max24305Sm::Max24305SmIs( redundancyStatus, config, status, pllStatus, timeSync, gpo );
//    machine->handleInitialized();
//    machine->initializedIs( true );
//    machine->handleEnvironmentChanges();
//
// Missing wiring, and an active supervisor without a ready chip while time synchronisation runs, stop the process.
// A machine may lose its last reference while one of its callbacks runs: it is held until the callback returns.
#pragma once

#include "framework/Reactor.h"
#include "framework/TimerWheel.h"
#include "hardware/HwMax24305.h"
#include "platform/ClockStatus.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "platform/SetClearGpo.h"
#include "sm/Gate.h"
#include "sm/KivSpiInterface.h"
#include "sm/Max24305SmModule.h"

#include <functional>

namespace Hardware {

class Max24305Sm : public Vor::StateMachine {
   // Each reactor calls the one step that its input asks for.
   class VorRedundancyStatus final : public Vor::Reactor<Redundancy::RedundancyStatus::NotifieeConst, Max24305Sm> {
      using NotifieeConst::onSwitchoverStage;
      using Reactor::Reactor;
      void onSwitchoverStage( Vor::String stage ) override { react( &Max24305Sm::handleSwitchoverStage, stage ); }
   };
   class VorConfig final : public Vor::Reactor<Max24305::Config::NotifieeConst, Max24305Sm> {
      using Reactor::Reactor;
      void onOpsToDoValid() override { react( &Max24305Sm::handleEnvironmentChanges ); }
   };
   class VorTimeSyncStatus final : public Vor::Reactor<PtpTimeSync::Status::NotifieeConst, Max24305Sm> {
      using Reactor::Reactor;
      void onState() override { react( &Max24305Sm::handleEnvironmentChanges ); }
   };
   class VorSetClearGpo final : public Vor::Reactor<SetClearGpo::NotifieeConst, Max24305Sm> {
      using Reactor::Reactor;
      void onHam() override { react( &Max24305Sm::handleEnvironmentChanges ); }
   };
   class VorHamImpl final : public Vor::Reactor<Fru::HamImpl::NotifieeConst, Max24305Sm> {
      using Reactor::Reactor;
      void onHardwarePresent() override { react( &Max24305Sm::handleEnvironmentChanges ); }
   };
   class VorLockStatusClock final : public Vor::Reactor<Jor::TimerWheel::NotifieeConst, Max24305Sm> {
      using Reactor::Reactor;
      void onTime() override { react( &Max24305Sm::doWaitForLock ); }
   };
   template<class ReactorType, class Notifier> using Watched = Vor::ReactorAttribute<ReactorType, Notifier, Max24305Sm>;

 public:
   static constexpr U32 maxLockPollIterations = 100;
   static constexpr double lockPollPeriod = 1.0;   ///< seconds
   static constexpr char const * dovraWritableSwitchoverStage = "DovraWritable";

   /// Watches the three inputs that are given; touches no hardware and traces nothing. A null `redundancyStatus` is
   /// accepted here and stops the process where it is first needed.
   Max24305Sm(
      Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
      Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
      Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
      Vor::Ptr<Fru::Gpo const> const & resetGpo )
      : status_( status ), pllStatus_( pllStatus ), resetGpo_( resetGpo ) {
      redundancyStatus_.notifierIs( redundancyStatus );
      config_.notifierIs( config );
      timeSyncStatus_.notifierIs( timeSyncStatus );
   }

   /// A new machine with its notification switched on; takes what its constructor takes.
   static Vor::Ptr<Max24305Sm> Max24305SmIs( auto const &... parameters ) {
      return Vor::factoryOf<Max24305Sm>( parameters... );
   }

   /// Completes the wiring; runs once.
   virtual void handleInitialized();
   /// The gate: decides, from all inputs, whether the chip may be programmed now.
   virtual void handleEnvironmentChanges();
   /// Resets and programs the chip, in up to ten attempts.
   void doProgramMax24305();
   /// One poll of the lock wait.
   void doWaitForLock();
   /// Follows the supervisor's switchover.
   void handleSwitchoverStage( Vor::String stage );

   /// The gate's rows as they stand, of the variant at hand: whether it may be programmed, and what stands against it.
   /// For hosts, between the machine's calls.
   Gate gate() const;

   // Watched inputs. Setting one follows the rule of framework/Reactor.h; `new...` makes another reactor in any case.
   Vor::Ptr<Redundancy::RedundancyStatus const> redundancyStatus() const { return redundancyStatus_.notifier(); }
   auto newRedundancyStatus( Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus ) {
      return redundancyStatus_.newReactor( redundancyStatus );
   }
   virtual void redundancyStatusIs( Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus ) {
      redundancyStatus_.notifierIs( redundancyStatus );
   }
   virtual void redundancyStatusDel() { redundancyStatus_.notifierDel(); }
   Vor::Ptr<Max24305::Config const> config() const { return config_.notifier(); }
   auto newConfig( Vor::Ptr<Max24305::Config const> const & config ) { return config_.newReactor( config ); }
   virtual void configIs( Vor::Ptr<Max24305::Config const> const & config ) { config_.notifierIs( config ); }
   virtual void configDel() { config_.notifierDel(); }
   Vor::Ptr<PtpTimeSync::Status const> timeSyncStatus() const { return timeSyncStatus_.notifier(); }
   auto newTimeSyncStatus( Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus ) {
      return timeSyncStatus_.newReactor( timeSyncStatus );
   }
   virtual void timeSyncStatusIs( Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus ) {
      timeSyncStatus_.notifierIs( timeSyncStatus );
   }
   virtual void timeSyncStatusDel() { timeSyncStatus_.notifierDel(); }
   Vor::Ptr<SetClearGpo const> setClearGpo() const { return setClearGpo_.notifier(); }
   auto newSetClearGpo( Vor::Ptr<SetClearGpo const> const & setClearGpo ) {
      return setClearGpo_.newReactor( setClearGpo );
   }
   virtual void setClearGpoIs( Vor::Ptr<SetClearGpo const> const & setClearGpo ) {
      setClearGpo_.notifierIs( setClearGpo );
   }
   virtual void setClearGpoDel() { setClearGpo_.notifierDel(); }
   Vor::Ptr<Fru::HamImpl> hamImpl() const { return hamImpl_.notifier(); }
   auto newHamImpl( Vor::Ptr<Fru::HamImpl> const & hamImpl ) { return hamImpl_.newReactor( hamImpl ); }
   virtual void hamImplIs( Vor::Ptr<Fru::HamImpl> const & hamImpl ) { hamImpl_.notifierIs( hamImpl ); }
   virtual void hamImplDel() { hamImpl_.notifierDel(); }
   /// The timer of the lock wait, empty until it is on a wheel.
   Vor::Ptr<Jor::TimerWheel::NotifieeConst> lockStatusClock() const { return lockStatusClock_.reactor(); }
   auto newLockStatusClock( Vor::Ptr<Jor::TimerWheel const> const & timerWheel ) {
      return lockStatusClock_.newReactor( timerWheel );
   }
   virtual void lockStatusClockIs( Vor::Ptr<Jor::TimerWheel const> const & timerWheel ) {
      lockStatusClock_.notifierIs( timerWheel );
   }
   virtual void lockStatusClockDel() { lockStatusClock_.notifierDel(); }

   Vor::Ptr<Max24305::Status> status() const { return status_; }
   Vor::Ptr<Kiv::ClockStatus> pllStatus() const { return pllStatus_; }
   Vor::Ptr<Fru::Gpo const> resetGpo() const { return resetGpo_; }

   Vor::Ptr<KivSpiInterface> kivSpiIntf() const { return kivSpiIntf_; }
   void kivSpiIntfIs( U32 base, Vor::Ptr<Fru::HamImpl> const & hamImpl, bool resetSupported ) {
      kivSpiIntf_ = kivSpiInterfaceFactory( base, hamImpl, resetSupported );
   }
   void kivSpiIntfDel() { kivSpiIntf_ = nullptr; }
   Vor::Ptr<Jor::TimerWheel> timerWheel() const { return timerWheel_; }
   void timerWheelIs(
      Vor::Ptr<Vor::Clock const> const & systemClock, U32 tickMsecs, U32 initialMaxTicks, bool preserveOrder,
      U32 defaultBucketSize ) {
      timerWheel_ =
         Jor::TimerWheel::TimerWheelIs( systemClock, tickMsecs, initialMaxTicks, preserveOrder, defaultBucketSize );
   }
   void timerWheelDel() { timerWheel_ = nullptr; }

   /// Polls since the last successful programming.
   U32 lockPollCount() const { return lockPollCount_; }
   void lockPollCountIs( U32 count ) { lockPollCount_ = count; }
   void lockPollCountInc( U32 delta ) { lockPollCount_ += delta; }
   bool initialized() const { return initialized_; }
   void initializedIs( bool initialized ) { initialized_ = initialized; }

   Vor::Type const & fwkType() const override { return staticType(); }
   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::FixedAtFirst<"redundancyStatus", &Max24305Sm::redundancyStatus, &Max24305Sm::redundancyStatusIs>,
      Vor::FixedAtFirst<"config", &Max24305Sm::config, &Max24305Sm::configIs>,
      Vor::Fixed<"status", &Max24305Sm::status>, Vor::Fixed<"pllStatus", &Max24305Sm::pllStatus>,
      Vor::FixedAtFirst<"timeSyncStatus", &Max24305Sm::timeSyncStatus, &Max24305Sm::timeSyncStatusIs>,
      Vor::Fixed<"resetGpo", &Max24305Sm::resetGpo>,
      Vor::Plain<"setClearGpo", &Max24305Sm::setClearGpo, &Max24305Sm::setClearGpoIs>,
      Vor::Plain<"hamImpl", &Max24305Sm::hamImpl, &Max24305Sm::hamImplIs>,
      Vor::Plain<"kivSpiIntf", &Max24305Sm::kivSpiIntf>,
      Vor::Plain<"lockPollCount", &Max24305Sm::lockPollCount, &Max24305Sm::lockPollCountIs>,
      Vor::Plain<"timerWheel", &Max24305Sm::timerWheel>, Vor::Plain<"lockStatusClock", &Max24305Sm::lockStatusClock>,
      Vor::Plain<"initialized", &Max24305Sm::initialized, &Max24305Sm::initializedIs>,
      Vor::Plain<"maxLockPollIterations", &Max24305Sm::maxLockPollIterations>,
      Vor::Plain<"lockPollPeriod", &Max24305Sm::lockPollPeriod>,
      Vor::Plain<"dovraWritableSwitchoverStage", &Max24305Sm::dovraWritableSwitchoverStage>,
      Vor::Operation<"doProgramMax24305", &Max24305Sm::doProgramMax24305>,
      Vor::Operation<"doWaitForLock", &Max24305Sm::doWaitForLock>,
      Vor::Operation<"handleSwitchoverStage", &Max24305Sm::handleSwitchoverStage, "stage">,
      Vor::Operation<
         "timerWheelIs", &Max24305Sm::timerWheelIs, "systemClock", "tickMsecs", "initialMaxTicks", "preserveOrder",
         "defaultBucketSize">,
      Vor::Operation<"kivSpiIntfIs", &Max24305Sm::kivSpiIntfIs, "base", "hamImpl", "resetSupported">>;

 protected:
   /// The place of time sync among the gate's rows; a gate looks at it only when those before it are met.
   static constexpr std::size_t timeSyncPlace = 3;

   /// Makes the row that depends on where the chip's input comes from; that of the reset output unless a variant has
   /// another.
   void inputRowIs( std::function<GateRow()> row ) { inputRow_ = std::move( row ); }

   /// Sets both published records to 0, the chip's first.
   void publishedStatesReset();

 private:
   bool dovraWritable() const;

   Watched<VorRedundancyStatus, Redundancy::RedundancyStatus const> redundancyStatus_{ *this };
   Watched<VorConfig, Max24305::Config const> config_{ *this };
   Vor::Ptr<Max24305::Status> const status_;
   Vor::Ptr<Kiv::ClockStatus> const pllStatus_;
   Watched<VorTimeSyncStatus, PtpTimeSync::Status const> timeSyncStatus_{ *this };
   Vor::Ptr<Fru::Gpo const> const resetGpo_;
   Watched<VorSetClearGpo, SetClearGpo const> setClearGpo_{ *this };
   Watched<VorHamImpl, Fru::HamImpl> hamImpl_{ *this };
   Vor::Ptr<KivSpiInterface> kivSpiIntf_;
   U32 lockPollCount_ = 0;
   Vor::Ptr<Jor::TimerWheel> timerWheel_;
   Watched<VorLockStatusClock, Jor::TimerWheel const> lockStatusClock_{ *this };
   bool initialized_ = false;
   std::function<GateRow()> inputRow_ = [this] {
      return resetOutputRow( setClearGpo(), " Gpo ham not available yet" );
   };
};

/// What Max24305SmIs returns, for creation by the type's name.
inline constexpr auto & max24305SmFactory = Vor::factoryOf<Max24305Sm>;

}   // namespace Hardware
