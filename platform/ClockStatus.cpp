#include "platform/ClockStatus.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"

namespace Hardware::Kiv {

Vor::EnumType const & enumType( ClockStatus::State ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { ClockStatus::notReady_, "notReady" }, { ClockStatus::ready_, "ready" }, { ClockStatus::failed_, "failed" } };
   static constinit Vor::EnumType const type(
      "Hardware::Kiv::ClockStatus::State", enumerators, Vor::EnumType::Numbers::open );
   return type;
}

Vor::Type const & ClockStatus::staticType() {
   static constinit auto const type = Vor::describe<ClockStatus, &clockStatusFactory>( "Hardware::Kiv::ClockStatus" );
   return type;
}

Vor::Ptr<ClockStatus> clockStatusFactory( Vor::Name name ) { return Vor::allocate<ClockStatus>( std::move( name ) ); }

}   // namespace Hardware::Kiv
