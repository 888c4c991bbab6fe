// The published state of one MAX24305.
#pragma once

#include "framework/Entity.h"
#include "hardware/Max24305Types.h"
#include "platform/Ids.h"

namespace Hardware::Max24305 {

class Status final : public Vor::EntityOf<Status> {
 public:
   /// Takes the constructor parameters of the list, in order.
   explicit Status( Vor::Name name, auto const &... parameters )
      : EntityOf( std::move( name ) ), stored_( parameters... ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onState() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   Fru::GenerationId genId() const { return stored_.get<"genId">(); }
   Role role() const { return stored_.get<"role">(); }
   State state() const { return stored_.get<"state">(); }
   void stateIs( State state ) { attributeIs<"state">( stored_, state ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Status::name>, Vor::Fixed<"genId", &Status::genId>, Vor::Fixed<"role", &Status::role>,
      Vor::Changeable<"state", &Status::state, &Status::stateIs, &NotifieeConst::onState>>;

 private:
   Vor::Stored<Status, Attributes> stored_;
};

/// A new status that stands in no directory.
inline constexpr auto & statusFactory = Vor::factoryOf<Status>;

}   // namespace Hardware::Max24305
