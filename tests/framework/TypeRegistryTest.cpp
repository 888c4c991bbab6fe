#include "framework/TypeRegistry.h"

#include "framework/Exception.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Vor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constinit Type const apple( "Test::Apple" );
constinit Type const pear( "Test::Pear" );
constinit Type const otherApple( "Test::Apple" );

void registerFruit( Module & module ) {
   module.typeNodeIs( pear );
   module.typeNodeIs( apple );
}
void registerNothing( Module & ) {}

std::vector<std::string> moduleNames() {
   std::vector<std::string> names;
   for ( Module const * module : typeRegistry().modules() ) names.push_back( module->name() );
   return names;
}

TEST( TypeRegistry, ModulesAndTypesStandInTheOrderOfTheirRegistration ) {
   Module const nothing( "Nothing", registerNothing );
   Module const fruit( "Fruit", registerFruit );
   EXPECT_THAT( moduleNames(), ElementsAre( "Nothing", "Fruit" ) );
   EXPECT_THAT( nothing.types(), IsEmpty() );
   EXPECT_THAT( fruit.types(), ElementsAre( &pear, &apple ) );
}

TEST( TypeRegistry, ATypeIsFoundByItsNameWhileItsModuleIsThere ) {
   EXPECT_EQ( typeRegistry().type( "Test::Apple" ), nullptr );
   {
      Module const fruit( "Fruit", registerFruit );
      EXPECT_EQ( typeRegistry().type( "Test::Apple" ), &apple );
      EXPECT_EQ( typeRegistry().type( "Test::Plum" ), nullptr );
   }
   EXPECT_EQ( typeRegistry().type( "Test::Apple" ), nullptr );
   EXPECT_THAT( moduleNames(), IsEmpty() );
}

TEST( TypeRegistry, ModulesMayLeaveInAnyOrder ) {
   auto first = std::make_unique<Module>( "First", registerNothing );
   Module const second( "Second", registerNothing );
   first.reset();
   EXPECT_THAT( moduleNames(), ElementsAre( "Second" ) );
}

TEST( TypeRegistry, ANameInUseIsRefusedAndItsModuleDoesNotStay ) {
   Module const fruit( "Fruit", registerFruit );
   auto const registerAnother = []( Module & module ) { module.typeNodeIs( otherApple ); };
   EXPECT_THROW( Module( "Other", registerAnother ), NameInUseException );
   EXPECT_THAT( moduleNames(), ElementsAre( "Fruit" ) );
   EXPECT_EQ( typeRegistry().type( "Test::Apple" ), &apple );
}

TEST( TypeRegistry, ANameTwiceInOneModuleIsRefused ) {
   auto const registerTwice = []( Module & module ) {
      module.typeNodeIs( apple );
      module.typeNodeIs( otherApple );
   };
   EXPECT_THROW( Module( "Twice", registerTwice ), NameInUseException );
}

}   // namespace
}   // namespace Vor
