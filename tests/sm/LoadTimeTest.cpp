// The linked library: its types are there without anybody calling it.
#include "framework/Log.h"
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

TEST( LoadTime, TheLoggedMessagesAreDeclaredInTheOrderOfTheModules ) {
   std::vector<std::string> ids;
   for ( Vor::LogHandle const * handle : Vor::logHandles() ) ids.push_back( handle->id().stdString() );
   EXPECT_EQ( ids, ( std::vector<std::string>{ "TOLVANE_INIT_FAILED", "MAX24305_INIT_FAILED" } ) );
}

}   // namespace
