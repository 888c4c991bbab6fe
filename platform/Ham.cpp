#include "platform/Ham.h"

#include "framework/Describe.h"

namespace Fru {

Vor::Type const & HamImpl::staticType() { return Vor::typeOf<HamImpl, "Fru::HamImpl">(); }
Vor::Type const & Ham::staticType() { return Vor::typeOf<Ham, "Fru::Ham">(); }

}   // namespace Fru
