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
   Vor::Ptr<TolvaneBlock> block() const { return stored_.get<"block">(); }
   void blockIs( Vor::Ptr<TolvaneBlock> block ) { attributeIs<"block">( stored_, std::move( block ) ); }
   /// The output that holds the chip in reset.
   Vor::Ptr<Gpo> reset() const { return stored_.get<"reset">(); }
   void resetIs( Vor::Ptr<Gpo> reset ) { attributeIs<"reset">( stored_, std::move( reset ) ); }
   Hardware::Tolvane::Role role() const { return stored_.get<"role">(); }
   void roleIs( Hardware::Tolvane::Role role ) { attributeIs<"role">( stored_, role ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Tolvane::name>,
      Vor::Changeable<"block", &Tolvane::block, &Tolvane::blockIs, &NotifieeConst::onBlock>,
      Vor::Changeable<"reset", &Tolvane::reset, &Tolvane::resetIs, &NotifieeConst::onReset>,
      // A record made without a role is a time-synchronisation chip: that is what the cards carry it for.
      Vor::Changeable<"role", &Tolvane::role, &Tolvane::roleIs, &NotifieeConst::onRole, Hardware::Tolvane::timeSync_>>;

 private:
   Vor::Stored<Tolvane, Attributes> stored_;
};

inline constexpr auto & tolvaneFactory = Vor::factoryOf<Tolvane>;

/// Registers this module's types.
void registerInvTolvane( Vor::Module & module );

}   // namespace Inventory
