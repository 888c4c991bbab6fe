// An assertion in a file compiled with NDEBUG; AssertTest.cpp calls it.
#undef NDEBUG
#define NDEBUG
#include "framework/Assert.h"

#include <cassert>

namespace Vor {

void assertWithNdebug( bool condition );

static constexpr char vorSource[] = "AssertNdebugTest";

void assertWithNdebug( bool condition ) {
   assert( condition );   // passes, also when false: NDEBUG really is in force
   VOR_ASSERT( condition );
}

}   // namespace Vor
