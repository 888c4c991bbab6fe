#include "framework/Exception.h"

namespace Vor {

void throwNameInUseException( String const & message ) { throw NameInUseException( message ); }

}   // namespace Vor
