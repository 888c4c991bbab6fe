// The published state of one Tolvane: the only link between its machine and that of the MAX24305 it feeds.
#pragma once

#include "framework/Entity.h"
#include "hardware/TolvaneTypes.h"
#include "platform/Ids.h"

namespace Hardware::Tolvane {

class Status final : public Vor::EntityOf<Status> {
 public:
   Status( Vor::Name name, Fru::GenerationId genId, Role role )
      : EntityOf( std::move( name ) ), genId_( genId ), role_( role ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onState() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   Fru::GenerationId genId() const { return genId_; }
   State state() const { return state_; }
   void stateIs( State state ) { attributeIs<"state">( state_, state ); }
   Role role() const { return role_; }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &Status::name>, Vor::Fixed<"genId", &Status::genId>,
      Vor::Changeable<"state", &Status::state, &Status::stateIs, &NotifieeConst::onState>,
      Vor::Fixed<"role", &Status::role>>;

 private:
   Fru::GenerationId const genId_;
   State state_ = uninitialized_;
   Role const role_;
};

/// A new status that stands in no directory.
Vor::Ptr<Status> statusFactory( Vor::Name name, Fru::GenerationId genId, Role role );

}   // namespace Hardware::Tolvane
