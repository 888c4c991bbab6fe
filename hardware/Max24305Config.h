// What the driver needs to know of one MAX24305: where its register blocks are, how to reach them, and what to program.
//
// The writer fills `opsToDo` and then sets `opsToDoValid`, which hands the sequence over to the chip's machine.
#pragma once

#include "hardware/Max24305OpsToDo.h"
#include "platform/Ham.h"
#include "platform/Ids.h"

namespace Hardware::Max24305 {

class Config final : public WithOpsToDo<Config> {
 public:
   Config(
      Vor::Name name, Fru::GenerationId genId, U32 configOffset, U32 statusOffset, Vor::Ptr<Fru::Ham const> ham,
      Vor::Name resetGpoName, Role role, Input input, U32 outputFrequencyInHz, Fru::SlotId slotId,
      bool spiResetSupported );

   struct NotifieeConst : NotifieeConstBase {
      virtual void onOpsToDo( U32 ) {}
      virtual void onOpsToDo() {}
      virtual void onOpsToDoMetadata() {}
      virtual void onOpsToDoValid() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   Fru::GenerationId genId() const { return genId_; }
   /// Byte offset, within the handle's space, of the SPI master that reaches the chip.
   U32 configOffset() const { return configOffset_; }
   /// Byte offset, within the handle's space, of the register that reports the measured output frequency.
   U32 statusOffset() const { return statusOffset_; }
   Vor::Ptr<Fru::Ham const> ham() const { return ham_; }
   /// The output that holds the chip in reset.
   Vor::Name resetGpoName() const { return resetGpoName_; }
   Role role() const { return role_; }
   Input input() const { return input_; }
   /// The requested output frequency, in hertz.
   U32 outputFrequencyInHz() const { return outputFrequencyInHz_; }
   Fru::SlotId slotId() const { return slotId_; }
   /// Whether the SPI master offers a reset.
   bool spiResetSupported() const { return spiResetSupported_; }

   bool opsToDoValid() const { return opsToDoValid_; }
   void opsToDoValidIs( bool valid ) { attributeIs<"opsToDoValid">( opsToDoValid_, valid ); }

   /// Empties the queue, then takes the hand-over back.
   void doCleanup();

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Config::name>, Vor::Fixed<"genId", &Config::genId>,
      Vor::Fixed<"configOffset", &Config::configOffset>, Vor::Fixed<"statusOffset", &Config::statusOffset>,
      Vor::Fixed<"ham", &Config::ham>, Vor::Fixed<"resetGpoName", &Config::resetGpoName>,
      Vor::Fixed<"role", &Config::role>, Vor::Fixed<"input", &Config::input>,
      Vor::Fixed<"outputFrequencyInHz", &Config::outputFrequencyInHz>, Vor::Fixed<"slotId", &Config::slotId>,
      Vor::Fixed<"spiResetSupported", &Config::spiResetSupported>, OpsToDoAttribute<NotifieeConst>,
      OpsToDoMetadataAttribute<NotifieeConst>,
      Vor::Changeable<"opsToDoValid", &Config::opsToDoValid, &Config::opsToDoValidIs, &NotifieeConst::onOpsToDoValid>,
      Vor::Operation<"doCleanup", &Config::doCleanup>>;

 private:
   Fru::GenerationId const genId_;
   U32 const configOffset_;
   U32 const statusOffset_;
   Vor::Ptr<Fru::Ham const> const ham_;
   Vor::Name const resetGpoName_;
   Role const role_;
   Input const input_;
   U32 const outputFrequencyInHz_;
   Fru::SlotId const slotId_;
   bool const spiResetSupported_;
   bool opsToDoValid_ = false;
};

/// A new configuration that stands in no directory.
Vor::Ptr<Config> configFactory(
   Vor::Name name, Fru::GenerationId genId, U32 configOffset, U32 statusOffset, Vor::Ptr<Fru::Ham const> ham,
   Vor::Name resetGpoName, Role role, Input input, U32 outputFrequencyInHz, Fru::SlotId slotId,
   bool spiResetSupported );

}   // namespace Hardware::Max24305
