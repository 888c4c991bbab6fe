#include "framework/Assert.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace Vor {

namespace {
std::atomic<AssertionHook> assertionHook{ nullptr };
}

AssertionHook assertionHookIs( AssertionHook hook ) { return assertionHook.exchange( hook ); }

void assertionFailed( AssertionFailure const & failure ) {
   std::fprintf(
      stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name, failure.source, failure.line,
      failure.function, failure.expression );
   std::fflush( stderr );
   // Taken out before it runs, so that an assertion within the hook cannot call it again.
   if ( AssertionHook hook = assertionHook.exchange( nullptr ) ) hook( failure );
   std::abort();
}

}   // namespace Vor
