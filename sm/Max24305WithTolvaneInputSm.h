// The MAX24305 machine for a chip that is fed by a Tolvane: it programs its chip only while that one is ready, and has
// a gate of its own in place of the base's: the Tolvane's row stands where the base's has that of the reset output.
#pragma once

#include "hardware/TolvaneStatus.h"
#include "sm/Max24305Sm.h"

namespace Hardware {

class Max24305WithTolvaneInputSm final : public Max24305Sm {
   class VorTolvaneStatus final : public Vor::Reactor<Tolvane::Status::NotifieeConst, Max24305WithTolvaneInputSm> {
      using Reactor::Reactor;
      void onState() override { react( &Max24305WithTolvaneInputSm::handleEnvironmentChanges ); }
      void onNotifier() override { react( &Max24305WithTolvaneInputSm::handleEnvironmentChanges ); }
   };

 public:
   /// Wires the machine and evaluates its gate once, which may bring the chip up before this returns. An empty
   /// `tolvaneStatus` stops the process.
   Max24305WithTolvaneInputSm(
      Vor::Ptr<Redundancy::RedundancyStatus const> const & redundancyStatus,
      Vor::Ptr<Max24305::Config const> const & config, Vor::Ptr<Max24305::Status> const & status,
      Vor::Ptr<Kiv::ClockStatus> const & pllStatus, Vor::Ptr<PtpTimeSync::Status const> const & timeSyncStatus,
      Vor::Ptr<Fru::Gpo const> const & resetGpo, Vor::Ptr<Tolvane::Status const> const & tolvaneStatus )
      : Max24305Sm( redundancyStatus, config, status, pllStatus, timeSyncStatus, resetGpo ) {
      tolvaneStatus_.notifierIs( tolvaneStatus );
      inputRowIs( [this] { return tolvaneRow( this->tolvaneStatus(), " Tolvane does not exist or its not ready." ); } );
      handleInitialized();
   }

   /// A new machine with its notification switched on; takes what its constructor takes.
   static Vor::Ptr<Max24305WithTolvaneInputSm> Max24305WithTolvaneInputSmIs( auto const &... parameters ) {
      return Vor::factoryOf<Max24305WithTolvaneInputSm>( parameters... );
   }

   void handleInitialized() override;
   void handleEnvironmentChanges() override;

   /// The feeding chip's status. Pointing it at another one evaluates the gate.
   Vor::Ptr<Tolvane::Status const> tolvaneStatus() const { return tolvaneStatus_.notifier(); }
   void tolvaneStatusIs( Vor::Ptr<Tolvane::Status const> const & tolvaneStatus ) {
      tolvaneStatus_.notifierIs( tolvaneStatus );
   }
   void tolvaneStatusDel() { tolvaneStatus_.notifierDel(); }

   Vor::Type const & fwkType() const override { return staticType(); }
   static Vor::Type const & staticType();
   using Attributes = Vor::AttributesThen<
      Max24305Sm::Attributes,
      Vor::FixedAtFirst<
         "tolvaneStatus", &Max24305WithTolvaneInputSm::tolvaneStatus, &Max24305WithTolvaneInputSm::tolvaneStatusIs>>;

 private:
   Vor::ReactorAttribute<VorTolvaneStatus, Tolvane::Status const, Max24305WithTolvaneInputSm> tolvaneStatus_{ *this };
};

}   // namespace Hardware
