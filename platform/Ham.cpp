#include "platform/Ham.h"

#include "framework/Describe.h"

namespace Fru {

Vor::Type const & HamImpl::staticType() { return Vor::entityType<HamImpl, "Fru::HamImpl">(); }

Vor::Type const & Ham::staticType() { return Vor::entityType<Ham, "Fru::Ham">(); }

}   // namespace Fru
