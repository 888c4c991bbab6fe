#include "platform/RedundancyStatus.h"

#include "framework/Describe.h"

namespace Redundancy {

Vor::EnumType const & enumType( RedundancyMode ) {
   static constexpr Vor::Enumerator enumerators[] = { { unknown_, "unknown" },         { simplex_, "simplex" },
                                                      { coldStandby_, "coldStandby" }, { standby_, "standby" },
                                                      { switchover_, "switchover" },   { active_, "active" } };
   static constinit Vor::EnumType const type( "Redundancy::RedundancyMode", enumerators, Vor::EnumType::Numbers::open );
   return type;
}

void RedundancyStatus::switchoverStageIs( Vor::String stage, bool reached ) {
   if ( switchoverStage_.valueIs( stage, reached ) ) attributeNotify<"switchoverStage">( stage );
}

void RedundancyStatus::switchoverStageDel( Vor::String stage ) {
   if ( !switchoverStage_.has( stage ) ) return;
   switchoverStage_.valueDel( stage );
   attributeNotify<"switchoverStage">( stage );
}

Vor::Type const & RedundancyStatus::staticType() {
   return Vor::typeOf<RedundancyStatus, "Redundancy::RedundancyStatus">();
}

}   // namespace Redundancy
