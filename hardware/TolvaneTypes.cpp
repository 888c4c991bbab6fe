#include "hardware/TolvaneTypes.h"

namespace Hardware::Tolvane {

Vor::EnumType const & enumType( Role ) {
   static constexpr Vor::Enumerator enumerators[] = { { unknown_, "unknown" }, { timeSync_, "timeSync" } };
   static constinit Vor::EnumType const type( "Hardware::Tolvane::Role", enumerators );
   return type;
}

Vor::EnumType const & enumType( State ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { uninitialized_, "uninitialized" }, { ready_, "ready" }, { failed_, "failed" } };
   static constinit Vor::EnumType const type( "Hardware::Tolvane::State", enumerators );
   return type;
}

}   // namespace Hardware::Tolvane
