#include "platform/PtpTimeSyncStatus.h"

#include "framework/Allocate.h"
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

Vor::Type const & Status::staticType() {
   static constinit auto const type = Vor::describe<Status, &statusFactory>( "PtpTimeSync::Status" );
   return type;
}

Vor::Ptr<Status> statusFactory( Vor::Name name ) { return Vor::allocate<Status>( std::move( name ) ); }

}   // namespace PtpTimeSync
