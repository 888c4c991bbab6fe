// The published state of one MAX24305.
#pragma once

#include "framework/Entity.h"
#include "hardware/Max24305Types.h"
#include "platform/Ids.h"

namespace Hardware::Max24305 {

class Status final : public Vor::EntityOf<Status> {
 public:
   Status( Vor::Name name, Fru::GenerationId genId, Role role )
      : EntityOf( std::move( name ) ), genId_( genId ), role_( role ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onState() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   Fru::GenerationId genId() const { return genId_; }
   Role role() const { return role_; }
   State state() const { return state_; }
   void stateIs( State state ) { attributeIs<"state">( state_, state ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Status::name>, Vor::Fixed<"genId", &Status::genId>, Vor::Fixed<"role", &Status::role>,
      Vor::Changeable<"state", &Status::state, &Status::stateIs, &NotifieeConst::onState>>;

 private:
   Fru::GenerationId const genId_;
   Role const role_;
   State state_ = uninitialized_;
};

/// A new status that stands in no directory.
Vor::Ptr<Status> statusFactory( Vor::Name name, Fru::GenerationId genId, Role role );

}   // namespace Hardware::Max24305
