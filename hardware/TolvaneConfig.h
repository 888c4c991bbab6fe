// What the driver needs to know of one Tolvane: where its enable register is, and how to reach it.
#pragma once

#include "hardware/TolvaneTypes.h"
#include "platform/Ham.h"
#include "platform/Ids.h"

namespace Hardware::Tolvane {

class Config final : public Vor::EntityOf<Config> {
 public:
   /// Takes the constructor parameters of the list, in order.
   explicit Config( Vor::Name name, auto const &... parameters )
      : EntityOf( std::move( name ) ), stored_( parameters... ) {}

   /// Nothing of a configuration changes; its observers wait in vain.
   struct NotifieeConst : NotifieeConstBase {};
   using Notifiee = NotifieeFor<NotifieeConst>;

   Fru::GenerationId genId() const { return stored_.get<"genId">(); }
   /// Byte offset of the chip's enable register within the handle's space.
   U32 offset() const { return stored_.get<"offset">(); }
   Vor::Ptr<Fru::Ham> ham() const { return stored_.get<"ham">(); }
   /// The output that holds the chip in reset.
   Vor::Name resetGpoName() const { return stored_.get<"resetGpoName">(); }
   Role role() const { return stored_.get<"role">(); }
   Fru::SlotId slotId() const { return stored_.get<"slotId">(); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Config::name>, Vor::Fixed<"genId", &Config::genId>, Vor::Fixed<"offset", &Config::offset>,
      Vor::Fixed<"ham", &Config::ham>, Vor::Fixed<"resetGpoName", &Config::resetGpoName>,
      Vor::Fixed<"role", &Config::role>, Vor::Fixed<"slotId", &Config::slotId>>;

 private:
   Vor::Stored<Config, Attributes> stored_;
};

/// A new configuration that stands in no directory.
inline constexpr auto & configFactory = Vor::factoryOf<Config>;

}   // namespace Hardware::Tolvane
