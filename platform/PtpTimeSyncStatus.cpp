#include "platform/PtpTimeSyncStatus.h"

#include "framework/Describe.h"

namespace PtpTimeSync {

Vor::EnumType const & enumType( OperationalState ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { disabled_, "disabled" },
      { enabling_, "enabling" },
      { acquiring_, "acquiring" },
      { locked_, "locked" },
      { holdover_, "holdover" } };
   static constinit Vor::EnumType const type(
      "PtpTimeSync::OperationalState", enumerators, Vor::EnumType::Numbers::open );
   return type;
}

Vor::Type const & Status::staticType() { return Vor::typeOf<Status, "PtpTimeSync::Status">(); }

}   // namespace PtpTimeSync
