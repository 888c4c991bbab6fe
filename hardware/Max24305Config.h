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
   /// Takes the constructor parameters of the list, in order.
   explicit Config( Vor::Name name, auto const &... parameters )
      : WithOpsToDo( std::move( name ) ), stored_( parameters... ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onOpsToDo( U32 ) {}
      virtual void onOpsToDo() {}
      virtual void onOpsToDoMetadata() {}
      virtual void onOpsToDoValid() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   Fru::GenerationId genId() const { return stored_.get<"genId">(); }
   /// Byte offset, within the handle's space, of the SPI master that reaches the chip.
   U32 configOffset() const { return stored_.get<"configOffset">(); }
   /// Byte offset, within the handle's space, of the register that reports the measured output frequency.
   U32 statusOffset() const { return stored_.get<"statusOffset">(); }
   Vor::Ptr<Fru::Ham const> ham() const { return stored_.get<"ham">(); }
   /// The output that holds the chip in reset.
   Vor::Name resetGpoName() const { return stored_.get<"resetGpoName">(); }
   Role role() const { return stored_.get<"role">(); }
   Input input() const { return stored_.get<"input">(); }
   /// The requested output frequency, in hertz.
   U32 outputFrequencyInHz() const { return stored_.get<"outputFrequencyInHz">(); }
   Fru::SlotId slotId() const { return stored_.get<"slotId">(); }
   /// Whether the SPI master offers a reset.
   bool spiResetSupported() const { return stored_.get<"spiResetSupported">(); }

   bool opsToDoValid() const { return stored_.get<"opsToDoValid">(); }
   void opsToDoValidIs( bool valid ) { attributeIs<"opsToDoValid">( stored_, valid ); }

   /// Empties the queue, then takes the hand-over back.
   void doCleanup() {
      Vor::Ptr<Vor::PtrInterface const> const held = vorHeld();
      opsToDoDelAll();
      opsToDoValidIs( false );
   }

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
   Vor::Stored<Config, Attributes> stored_;
};

/// A new configuration that stands in no directory.
inline constexpr auto & configFactory = Vor::factoryOf<Config>;

}   // namespace Hardware::Max24305
