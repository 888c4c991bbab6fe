// What the driver needs to know of one Tolvane: where its enable register is, and how to reach it.
#pragma once

#include "hardware/TolvaneTypes.h"
#include "platform/Ham.h"
#include "platform/Ids.h"

namespace Hardware::Tolvane {

class Config final : public Vor::EntityOf<Config> {
 public:
   Config(
      Vor::Name name, Fru::GenerationId genId, U32 offset, Vor::Ptr<Fru::Ham> ham, Vor::Name resetGpoName, Role role,
      Fru::SlotId slotId )
      : EntityOf( std::move( name ) ),
        genId_( genId ),
        offset_( offset ),
        ham_( std::move( ham ) ),
        resetGpoName_( std::move( resetGpoName ) ),
        role_( role ),
        slotId_( slotId ) {}

   /// Nothing of a configuration changes; its observers wait in vain.
   struct NotifieeConst : NotifieeConstBase {};
   using Notifiee = NotifieeFor<NotifieeConst>;

   Fru::GenerationId genId() const { return genId_; }
   /// Byte offset of the chip's enable register within the handle's space.
   U32 offset() const { return offset_; }
   Vor::Ptr<Fru::Ham> ham() const { return ham_; }
   /// The output that holds the chip in reset.
   Vor::Name resetGpoName() const { return resetGpoName_; }
   Role role() const { return role_; }
   Fru::SlotId slotId() const { return slotId_; }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Config::name>, Vor::Fixed<"genId", &Config::genId>, Vor::Fixed<"offset", &Config::offset>,
      Vor::Fixed<"ham", &Config::ham>, Vor::Fixed<"resetGpoName", &Config::resetGpoName>,
      Vor::Fixed<"role", &Config::role>, Vor::Fixed<"slotId", &Config::slotId>>;

 private:
   Fru::GenerationId const genId_;
   U32 const offset_;
   Vor::Ptr<Fru::Ham> const ham_;
   Vor::Name const resetGpoName_;
   Role const role_;
   Fru::SlotId const slotId_;
};

/// A new configuration that stands in no directory.
Vor::Ptr<Config> configFactory(
   Vor::Name name, Fru::GenerationId genId, U32 offset, Vor::Ptr<Fru::Ham> ham, Vor::Name resetGpoName, Role role,
   Fru::SlotId slotId );

}   // namespace Hardware::Tolvane
