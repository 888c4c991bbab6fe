// A project with folders and headers of the library's own names has its own, and the library has its.
#include "framework/Types.h"
#include "sm/Max24305Sm.h"

#include <clockpath/framework/Types.h>
#include <clockpath/sm/Max24305Sm.h>

static_assert( Theirs::types == 1 && Theirs::machine == 2 );
static_assert( sizeof( U32 ) == 4 && sizeof( Hardware::Max24305Sm ) > 0 );

int main() {}
