// The inventory record of a MAX24305: where its register blocks are, what resets it, what it is for, what clock feeds
// it, and the operations that program it. Whoever builds the inventory writes it; the configuring agent reads it.
#pragma once

#include "hardware/Max24305OpsToDo.h"
#include "platform/InventoryBlocks.h"

namespace Vor {
class Module;
}

namespace Inventory {

class Max24305 final : public Hardware::Max24305::WithOpsToDo<Max24305> {
 public:
   using Role = Hardware::Max24305::Role;
   using Input = Hardware::Max24305::Input;
   using ProgramSeq = Hardware::Max24305::ProgramSeq;

   explicit Max24305( Vor::Name name ) : WithOpsToDo( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onConfigBlock() {}
      virtual void onStatusBlock() {}
      virtual void onReset() {}
      virtual void onRole() {}
      virtual void onInput() {}
      virtual void onProgramSeq() {}
      virtual void onOutputFrequencyInHz() {}
      virtual void onOpsToDo( U32 ) {}
      virtual void onOpsToDo() {}
      virtual void onOpsToDoMetadata() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// The SPI master that reaches the chip.
   Vor::Ptr<Max24305ConfigBlock> configBlock() const { return stored_.get<"configBlock">(); }
   void configBlockIs( Vor::Ptr<Max24305ConfigBlock> block ) {
      attributeIs<"configBlock">( stored_, std::move( block ) );
   }
   /// The register that reports the measured output frequency.
   Vor::Ptr<Max24305StatusBlock> statusBlock() const { return stored_.get<"statusBlock">(); }
   void statusBlockIs( Vor::Ptr<Max24305StatusBlock> block ) {
      attributeIs<"statusBlock">( stored_, std::move( block ) );
   }
   /// The output that holds the chip in reset.
   Vor::Ptr<Gpo> reset() const { return stored_.get<"reset">(); }
   void resetIs( Vor::Ptr<Gpo> reset ) { attributeIs<"reset">( stored_, std::move( reset ) ); }
   Role role() const { return stored_.get<"role">(); }
   void roleIs( Role role ) { attributeIs<"role">( stored_, role ); }
   Input input() const { return stored_.get<"input">(); }
   void inputIs( Input input ) { attributeIs<"input">( stored_, input ); }
   ProgramSeq programSeq() const { return stored_.get<"programSeq">(); }
   void programSeqIs( ProgramSeq programSeq ) { attributeIs<"programSeq">( stored_, programSeq ); }
   /// In hertz.
   U32 outputFrequencyInHz() const { return stored_.get<"outputFrequencyInHz">(); }
   void outputFrequencyInHzIs( U32 frequency ) { attributeIs<"outputFrequencyInHz">( stored_, frequency ); }

   /// Empties the queue; everything else stays.
   void doCleanup() { opsToDoDelAll(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Max24305::name>,
      Vor::Changeable<"configBlock", &Max24305::configBlock, &Max24305::configBlockIs, &NotifieeConst::onConfigBlock>,
      Vor::Changeable<"statusBlock", &Max24305::statusBlock, &Max24305::statusBlockIs, &NotifieeConst::onStatusBlock>,
      Vor::Changeable<"reset", &Max24305::reset, &Max24305::resetIs, &NotifieeConst::onReset>,
      // A record made without a role is a time-synchronisation chip: that is what the cards carry it for.
      Vor::Changeable<
         "role", &Max24305::role, &Max24305::roleIs, &NotifieeConst::onRole, Hardware::Max24305::timeSync_>,
      Vor::Changeable<"input", &Max24305::input, &Max24305::inputIs, &NotifieeConst::onInput>,
      Vor::Changeable<"programSeq", &Max24305::programSeq, &Max24305::programSeqIs, &NotifieeConst::onProgramSeq>,
      Vor::Changeable<
         "outputFrequencyInHz", &Max24305::outputFrequencyInHz, &Max24305::outputFrequencyInHzIs,
         &NotifieeConst::onOutputFrequencyInHz>,
      OpsToDoAttribute<NotifieeConst>, OpsToDoMetadataAttribute<NotifieeConst>,
      Vor::Operation<"doCleanup", &Max24305::doCleanup>>;

 private:
   Vor::Stored<Max24305, Attributes> stored_;
};

inline constexpr auto & max24305Factory = Vor::factoryOf<Max24305>;

/// Registers this module's types.
void registerInvMax24305( Vor::Module & module );

}   // namespace Inventory
