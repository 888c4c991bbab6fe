// The card-level clock status, written by the clock chips' machines and read by whoever distributes the clock.
#pragma once

#include "framework/Entity.h"

namespace Hardware::Kiv {

class ClockStatus final : public Vor::EntityOf<ClockStatus> {
 public:
   enum State : U32 { notReady_, ready_, failed_ };

   explicit ClockStatus( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onState() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   State state() const { return stored_.get<"state">(); }
   void stateIs( State state ) { attributeIs<"state">( stored_, state ); }

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &ClockStatus::name>,
      Vor::Changeable<"state", &ClockStatus::state, &ClockStatus::stateIs, &NotifieeConst::onState>>;

 private:
   Vor::Stored<ClockStatus, Attributes> stored_;
};

Vor::EnumType const & enumType( ClockStatus::State );
using Vor::stringValue;
using Vor::valueToStrep;
using Vor::operator<<;

inline constexpr auto & clockStatusFactory = Vor::factoryOf<ClockStatus>;

}   // namespace Hardware::Kiv
