#include "platform/ClockStatus.h"

#include "framework/Describe.h"

namespace Hardware::Kiv {

Vor::EnumType const & enumType( ClockStatus::State ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { ClockStatus::notReady_, "notReady" }, { ClockStatus::ready_, "ready" }, { ClockStatus::failed_, "failed" } };
   static constinit Vor::EnumType const type(
      "Hardware::Kiv::ClockStatus::State", enumerators, Vor::EnumType::Numbers::open );
   return type;
}

Vor::Type const & ClockStatus::staticType() { return Vor::typeOf<ClockStatus, "Hardware::Kiv::ClockStatus">(); }

}   // namespace Hardware::Kiv
