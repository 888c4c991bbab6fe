#include "platform/Gpo.h"

#include "framework/Describe.h"

namespace Fru {

Vor::EnumType const & enumType( ActiveType ) {
   static constexpr Vor::Enumerator enumerators[] = { { activeHigh_, "activeHigh" }, { activeLow_, "activeLow" } };
   static constinit Vor::EnumType const type( "Fru::ActiveType", enumerators );
   return type;
}

Vor::Type const & Gpo::staticType() { return Vor::typeOf<Gpo, "Fru::Gpo">(); }

}   // namespace Fru
