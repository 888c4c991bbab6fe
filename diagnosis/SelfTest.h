// The part of a card's self-test that disturbs it: each reset output is pulsed alone, to see whose identification
// vanishes and returns, then a thousand values go to a register of each MAX24305 and back. The chips are left in
// reset. What only reads is the audit (diagnosis/Audit.h).
//
//    for ( Diagnosis::TestResult const & result : Diagnosis::offlineTest( card, access ) ) ...
#pragma once

#include "diagnosis/Audit.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Diagnosis {

/// Of a chip, by name.
using TestResult = std::pair<std::string, Point>;

/// A chip that is not there has no transfers. It sleeps through the resets, some seconds for each output; `begins` is
/// told of each piece of work as it begins.
std::vector<TestResult> offlineTest(
   Input::CardDescription const & card, Host::RegisterAccess & access,
   std::function<void( std::string const & )> const & begins );

}   // namespace Diagnosis
