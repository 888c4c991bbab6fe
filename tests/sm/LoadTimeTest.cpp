// The linked library: its types are there without anybody calling it.
#include "tests/sm/RegisteredTypes.h"

#include <gtest/gtest.h>

namespace {

// Taken before main runs any code of this process.
Registered::Types const atStart = Registered::types();

TEST( LoadTime, TheLinkedLibraryHasRegisteredItsTypesInOrder ) {
   EXPECT_EQ( Registered::types(), Registered::ofTheLibrary );
}

TEST( LoadTime, TheTypesAreThereBeforeAnyCodeOfTheProcessRuns ) { EXPECT_EQ( atStart, Registered::ofTheLibrary ); }

TEST( LoadTime, EveryTypeIsFoundByItsName ) {
   for ( auto const & [module, types] : Registered::ofTheLibrary )
      for ( std::string const & type : types ) {
         ASSERT_TRUE( Vor::typeRegistry().type( type ) ) << type;
         EXPECT_EQ( Vor::typeRegistry().type( type )->name(), type );
      }
}

}   // namespace
