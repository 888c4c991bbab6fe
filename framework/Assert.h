// Assertions that are always on, whatever NDEBUG says: broken wiring stops the agent instead of a wrong clock
// reaching the card.
//
// VOR_ASSERT( expression ) names its source by `vorSource`, found by ordinary look-up at the place of use, so a
// class or file declares it once:
//
//    class Machine {
//       static constexpr char vorSource[] = "Machine";
//       void start() { VOR_ASSERT( config() ); }   // "Machine:12: void Machine::start(): Assertion `config()' failed."
//    };
#pragma once

#include "framework/Types.h"

namespace Vor {

/// What an assertion says as it fails; the texts live as long as the call.
struct AssertionFailure {
   char const * expression;
   char const * source;     ///< the module's source name, not a path
   char const * function;   ///< the full signature
   U32 line;
};

/// Called once as an assertion fails, before the process aborts; it must not throw.
using AssertionHook = void ( * )( AssertionFailure const & );

/// Installs `hook` (null: none) and returns the one that stood there. The event log uses it to end its file.
AssertionHook assertionHookIs( AssertionHook hook );

/// Writes "PROGRAM: SOURCE:LINE: FUNCTION: Assertion `EXPRESSION' failed." to standard error, calls the hook, aborts.
[[noreturn]] void assertionFailed( AssertionFailure const & failure );

}   // namespace Vor

/// Stops the process unless the expression holds; its text is the expression exactly as written.
#define VOR_ASSERT( ... )                                                                                              \
   ( static_cast<bool>( __VA_ARGS__ )                                                                                  \
        ? void( 0 )                                                                                                    \
        : ::Vor::assertionFailed( { #__VA_ARGS__, vorSource, __PRETTY_FUNCTION__, __LINE__ } ) )
