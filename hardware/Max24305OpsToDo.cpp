#include "hardware/Max24305OpsToDo.h"

namespace Hardware::Max24305 {

OpsToDoMetadata::OpsToDoMetadata( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end ) {
   Vor::needString( pos, end, "OpsToDoMetadata(" );
   firstIndex = Vor::deserializeAttr( pos, end, "firstIndex" );
   Vor::needString( pos, end, ", " );
   nextIndex = Vor::deserializeAttr( pos, end, "nextIndex" );
   Vor::needString( pos, end, ")" );
}

Vor::String valueToStrep( OpsToDoMetadata const & metadata ) {
   return Vor::format( "OpsToDoMetadata(%u, %u)", metadata.firstIndex, metadata.nextIndex );
}

}   // namespace Hardware::Max24305
