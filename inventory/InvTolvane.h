// The inventory record of a Tolvane: that the card carries the chip, and how it is wired.
#pragma once

#include "hardware/TolvaneTypes.h"
#include "platform/InventoryBlocks.h"

namespace Vor {
class Module;
}

namespace Inventory {

class Tolvane final : public Vor::EntityOf<Tolvane> {
 public:
   explicit Tolvane( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onBlock() {}
      virtual void onReset() {}
      virtual void onRole() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   /// The register block through which the chip is enabled.
   Vor::Ptr<TolvaneBlock> block() const { return block_; }
   void blockIs( Vor::Ptr<TolvaneBlock> block ) { attributeIs<"block">( block_, std::move( block ) ); }
   /// The output that holds the chip in reset.
   Vor::Ptr<Gpo> reset() const { return reset_; }
   void resetIs( Vor::Ptr<Gpo> reset ) { attributeIs<"reset">( reset_, std::move( reset ) ); }
   Hardware::Tolvane::Role role() const { return role_; }
   void roleIs( Hardware::Tolvane::Role role ) { attributeIs<"role">( role_, role ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Tolvane::name>,
      Vor::Changeable<"block", &Tolvane::block, &Tolvane::blockIs, &NotifieeConst::onBlock>,
      Vor::Changeable<"reset", &Tolvane::reset, &Tolvane::resetIs, &NotifieeConst::onReset>,
      Vor::Changeable<"role", &Tolvane::role, &Tolvane::roleIs, &NotifieeConst::onRole>>;

 private:
   Vor::Ptr<TolvaneBlock> block_;
   Vor::Ptr<Gpo> reset_;
   // A record made without a role is a time-synchronisation chip: that is what the cards carry it for.
   Hardware::Tolvane::Role role_ = Hardware::Tolvane::timeSync_;
};

Vor::Ptr<Tolvane> tolvaneFactory( Vor::Name name );

/// Registers this module's types.
void registerInvTolvane( Vor::Module & module );

}   // namespace Inventory
