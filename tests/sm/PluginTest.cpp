// The library as a plug-in: loaded into a process that knows the framework only, used by name, and unloaded.
#include "framework/Log.h"
#include "framework/Reflection.h"
#include "tests/sm/RegisteredTypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

using Vor::String;
using Vor::Value;

class PluginTest : public testing::Test {
 protected:
   void load() {
      library = dlopen( CLOCKPATH_LIBRARY, RTLD_NOW | RTLD_LOCAL );
      ASSERT_TRUE( library ) << dlerror();
   }
   void unload() {
      ASSERT_EQ( dlclose( library ), 0 ) << dlerror();
      EXPECT_EQ( dlopen( CLOCKPATH_LIBRARY, RTLD_NOW | RTLD_NOLOAD ), nullptr ) << "it is still in the process";
   }
   static Vor::Ptr<Vor::PtrInterface> make( char const * type, std::vector<Vor::NamedValue> const & arguments ) {
      return Vor::typeRegistry().type( type )->make( arguments );
   }
   void * library = nullptr;
};

TEST_F( PluginTest, NothingIsRegisteredBefore ) { EXPECT_TRUE( Registered::types().empty() ); }

TEST_F( PluginTest, LoadingRegistersTheTypesInOrderAndUnloadingTakesThemAway ) {
   for ( int round = 0; round < 3; ++round ) {
      load();
      EXPECT_EQ( Registered::types(), Registered::ofTheLibrary );
      unload();
      EXPECT_TRUE( Registered::types().empty() );
   }
}

TEST_F( PluginTest, LoadingDeclaresTheLoggedMessagesInTheOrderOfTheModules ) {
   auto const declared = [] {
      std::vector<std::string> ids;
      for ( Vor::LogHandle const * handle : Vor::logHandles() ) ids.push_back( handle->id().stdString() );
      return ids;
   };
   EXPECT_THAT( declared(), testing::IsEmpty() );
   load();
   EXPECT_THAT( declared(), testing::ElementsAre( "TOLVANE_INIT_FAILED", "MAX24305_INIT_FAILED" ) );
   unload();
   EXPECT_THAT( declared(), testing::IsEmpty() );
}

TEST_F( PluginTest, EntitiesAreMadeAndUsedByName ) {
   load();
   {
      auto const status = make(
         "Hardware::Max24305::Status",
         { { "name", String( "ptp0" ) }, { "genId", String( "1" ) }, { "role", String( "timeSync" ) } } );
      Vor::Reflected const reflected( status );
      EXPECT_EQ( reflected.get( "state" ), Value( String( "uninitialized" ) ) );
      reflected.set( "state", String( "ready" ) );
      EXPECT_EQ( reflected.get( "state" ), Value( String( "ready" ) ) );

      auto const record = make( "Inventory::Max24305", { { "name", String( "ptp0" ) } } );
      Vor::Reflected( record ).setAt(
         "opsToDo", U64{ 10 },
         String( "Value('Hardware::Max24305::Op', ** {'key': 5, 'type': 'write', 'address': 0, 'value': 60})" ) );
      EXPECT_EQ( Vor::Reflected( record ).keys( "opsToDo" ), std::vector<Value>{ U64{ 10 } } );
   }
   unload();
}

}   // namespace
