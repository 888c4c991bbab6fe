#include "hardware/Max24305Types.h"

namespace Hardware::Max24305 {

Vor::EnumType const & enumType( OpType ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { unknownOp_, "unknownOp" }, { read_, "read" }, { write_, "write" }, { sleep_, "sleep" } };
   static constinit Vor::EnumType const type( "Hardware::Max24305::OpType", enumerators );
   return type;
}

Vor::EnumType const & enumType( Input ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { noInput_, "noInput" }, { tolvane_, "tolvane" }, { stuffedClock_, "stuffedClock" } };
   static constinit Vor::EnumType const type( "Hardware::Max24305::Input", enumerators );
   return type;
}

Vor::EnumType const & enumType( ProgramSeq ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { ic1In10_oc1Out10_, "ic1In10_oc1Out10" }, { mClkIn25_oc1Out10_, "mClkIn25_oc1Out10" } };
   static constinit Vor::EnumType const type( "Hardware::Max24305::ProgramSeq", enumerators );
   return type;
}

Vor::EnumType const & enumType( Role ) {
   static constexpr Vor::Enumerator enumerators[] = { { unknown_, "unknown" }, { timeSync_, "timeSync" } };
   static constinit Vor::EnumType const type( "Hardware::Max24305::Role", enumerators );
   return type;
}

Vor::EnumType const & enumType( State ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { uninitialized_, "uninitialized" }, { locking_, "locking" }, { ready_, "ready" }, { failed_, "failed" } };
   static constinit Vor::EnumType const type( "Hardware::Max24305::State", enumerators );
   return type;
}

}   // namespace Hardware::Max24305
