// The redundancy status of the supervisor that runs this agent: its mode, and the stages a switchover has reached.
#pragma once

#include "framework/Entity.h"
#include "framework/HashMap.h"

namespace Redundancy {

enum RedundancyMode : U32 { unknown_, simplex_, coldStandby_, standby_, switchover_, active_ };

Vor::EnumType const & enumType( RedundancyMode );
using Vor::stringValue;
using Vor::valueToStrep;
using Vor::operator<<;

class RedundancyStatus final : public Vor::EntityOf<RedundancyStatus> {
 public:
   using SwitchoverStages = Vor::HashMap<Vor::String, bool>;

   explicit RedundancyStatus( Vor::Name name ) : EntityOf( std::move( name ) ) {}

   struct NotifieeConst : NotifieeConstBase {
      virtual void onMode() {}
      virtual void onSwitchoverStage( Vor::String ) {}
      virtual void onSwitchoverStage() {}
      /// A hook of the framework for observers that cannot wait for a visit; none of the drivers needs it.
      virtual void onSwitchoverStagevorImmediate() {}
   };
   using Notifiee = NotifieeFor<NotifieeConst>;

   RedundancyMode mode() const { return stored_.get<"mode">(); }
   void modeIs( RedundancyMode mode ) { attributeIs<"mode">( stored_, mode ); }

   /// Which stages were named so far, and whether each is reached.
   SwitchoverStages const & switchoverStage() const { return switchoverStage_; }
   /// Tells of the stage unless it stood there with that value.
   void switchoverStageIs( Vor::String stage, bool reached );
   void switchoverStageDel( Vor::String stage );

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Fixed<"name", &RedundancyStatus::name>,
      Vor::Changeable<"mode", &RedundancyStatus::mode, &RedundancyStatus::modeIs, &NotifieeConst::onMode>,
      Vor::Collection<
         "switchoverStage", &RedundancyStatus::switchoverStage, &RedundancyStatus::switchoverStageIs,
         &RedundancyStatus::switchoverStageDel, NotifieeConst, Vor::String, &NotifieeConst::onSwitchoverStage,
         &NotifieeConst::onSwitchoverStage>>;

 private:
   Vor::Stored<RedundancyStatus, Attributes> stored_;
   SwitchoverStages switchoverStage_;
};

inline constexpr auto & redundancyStatusFactory = Vor::factoryOf<RedundancyStatus>;

}   // namespace Redundancy
