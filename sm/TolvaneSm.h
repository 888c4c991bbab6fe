// The state machine that brings up a Tolvane, the companion clock chip: it waits until the card answers and the reset
// output can be driven, takes the chip out of reset, enables it, and publishes whether it answers.
//
// It remembers no success: every change of its inputs that leaves the conditions met resets the chip and brings it up
// again, on the calling thread (0.8 s an attempt, five attempts at most). Missing wiring stops the process.
//
//    auto machine = Hardware::TolvaneSm::TolvaneSmIs( config, status, resetGpo );   // may bring the chip up
#pragma once

#include "framework/Reactor.h"
#include "framework/Trace.h"
#include "hardware/HwTolvane.h"
#include "platform/SetClearGpo.h"
#include "sm/Gate.h"

namespace Vor {
class Module;
}

namespace Hardware {

class TolvaneSm final : public Vor::StateMachine {
   class VorSetClearGpo final : public Vor::Reactor<SetClearGpo::NotifieeConst, TolvaneSm> {
      using Reactor::Reactor;
      void onHam() override { react( &TolvaneSm::handleEnvironmentChanges ); }
      void onNotifier() override { react( &TolvaneSm::handleEnvironmentChanges ); }
   };
   class VorHamImpl final : public Vor::Reactor<Fru::HamImpl::NotifieeConst, TolvaneSm> {
      using Reactor::Reactor;
      void onHardwarePresent() override { react( &TolvaneSm::handleEnvironmentChanges ); }
      void onNotifier() override { react( &TolvaneSm::handleEnvironmentChanges ); }
   };

 public:
   /// Keeps its three arguments and runs handleInitialized.
   TolvaneSm(
      Vor::Ptr<Tolvane::Config const> const & config, Vor::Ptr<Tolvane::Status> const & status,
      Vor::Ptr<Fru::Gpo const> const & resetGpo )
      : config_( config ), status_( status ), resetGpo_( resetGpo ) {
      handleInitialized();
   }

   /// A new machine with its notification switched on; takes what its constructor takes.
   static Vor::Ptr<TolvaneSm> TolvaneSmIs( auto const &... parameters ) {
      return Vor::factoryOf<TolvaneSm>( parameters... );
   }

   /// Wires both reactors, then decides for the first time.
   void handleInitialized();
   /// The single decision point.
   void handleEnvironmentChanges();
   /// Resets, enables and checks the chip, in up to five attempts.
   void doProgramTolvane();

   /// The gate's rows as they stand. For hosts, between the machine's calls.
   Gate gate() const;

   Vor::Ptr<Tolvane::Config const> config() const { return config_; }
   Vor::Ptr<Tolvane::Status> status() const { return status_; }
   Vor::Ptr<Fru::Gpo const> resetGpo() const { return resetGpo_; }

   // Watched inputs. Setting one follows the rule of framework/Reactor.h; pointing one elsewhere decides anew.
   Vor::Ptr<SetClearGpo const> setClearGpo() const { return setClearGpo_.notifier(); }
   void setClearGpoIs( Vor::Ptr<SetClearGpo const> const & setClearGpo ) { setClearGpo_.notifierIs( setClearGpo ); }
   void setClearGpoDel() { setClearGpo_.notifierDel(); }
   Vor::Ptr<Fru::HamImpl> hamImpl() const { return hamImpl_.notifier(); }
   void hamImplIs( Vor::Ptr<Fru::HamImpl> const & hamImpl ) { hamImpl_.notifierIs( hamImpl ); }
   void hamImplDel() { hamImpl_.notifierDel(); }

   bool initialized() const { return initialized_; }
   void initializedIs( bool initialized ) { initialized_ = initialized; }
   /// Attempts left in the run under way, or where the last one stopped.
   U32 numRetries() const { return numRetries_; }

   Vor::Type const & fwkType() const override { return staticType(); }
   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"config", &TolvaneSm::config>, Vor::Fixed<"status", &TolvaneSm::status>,
      Vor::Fixed<"resetGpo", &TolvaneSm::resetGpo>,
      Vor::Plain<"setClearGpo", &TolvaneSm::setClearGpo, &TolvaneSm::setClearGpoIs>,
      Vor::Plain<"hamImpl", &TolvaneSm::hamImpl, &TolvaneSm::hamImplIs>,
      Vor::Plain<"numRetries", &TolvaneSm::numRetries>,
      Vor::Operation<"handleEnvironmentChanges", &TolvaneSm::handleEnvironmentChanges>,
      Vor::Operation<"doProgramTolvane", &TolvaneSm::doProgramTolvane>,
      Vor::Operation<"handleInitialized", &TolvaneSm::handleInitialized>>;

 private:
   static constexpr char vorSource[] = "TolvaneSm";
   static constexpr U32 maxAttempts = 5;

   Vor::Ptr<Tolvane::Config const> const config_;
   Vor::Ptr<Tolvane::Status> const status_;
   Vor::Ptr<Fru::Gpo const> const resetGpo_;
   Vor::ReactorAttribute<VorSetClearGpo, SetClearGpo const, TolvaneSm> setClearGpo_{ *this };
   Vor::ReactorAttribute<VorHamImpl, Fru::HamImpl, TolvaneSm> hamImpl_{ *this };
   bool initialized_ = false;
   U32 numRetries_ = maxAttempts;
};

/// Registers this module's type and declares its logged message.
void registerTolvaneSm( Vor::Module & module );

}   // namespace Hardware
