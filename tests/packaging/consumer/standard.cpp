// The consumer's language is the consumer's choice: C++20 is the least.
#include <clockpath/sm/Max24305Sm.h>

static_assert( __cplusplus > 202002L, "the compiler was told of a newer C++, and then of an older" );

int main() {}
