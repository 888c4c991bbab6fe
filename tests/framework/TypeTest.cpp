#include "framework/Type.h"

#include "framework/Reflection.h"
#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Vor::Attribute;
using Vor::NamedValue;
using Vor::NameNotFoundException;
using Vor::Ptr;
using Vor::String;

std::string messageOf( auto && step ) {
   try {
      step();
   } catch ( Vor::Exception const & error ) {
      return error.what();
   }
   ADD_FAILURE() << "nothing was thrown";
   return "";
}

TEST( Type, AttributesStandInTheOrderOfTheList ) {
   std::vector<std::string_view> names;
   for ( Attribute const & attribute : Lamp::staticType().attributes() ) names.push_back( attribute.name );
   EXPECT_THAT(
      names, testing::ElementsAre( "name", "watts", "colour", "socket", "brightness", "lit", "notes", "blink" ) );
}

TEST( Type, AttributesSayOfWhichKindTheyAre ) {
   Vor::Type const & type = Lamp::staticType();
   EXPECT_EQ( type.attribute( "watts" ).kind, Attribute::Kind::constructorParameter );
   EXPECT_EQ( type.attribute( "lit" ).kind, Attribute::Kind::changeable );
   EXPECT_EQ( type.attribute( "notes" ).kind, Attribute::Kind::collection );
   EXPECT_EQ( type.attribute( "blink" ).kind, Attribute::Kind::operation );
}

TEST( Type, AttributesSayOfWhichTypeTheyAre ) {
   std::map<std::string_view, std::string_view> types;
   for ( Attribute const & attribute : Lamp::staticType().attributes() ) types[attribute.name] = attribute.typeName;
   EXPECT_THAT(
      types, UnorderedElementsAre(
                Pair( "name", "Vor::Name" ), Pair( "watts", "U32" ), Pair( "colour", "Test::Colour" ),
                Pair( "socket", "Vor::Ptr<const Vor::Entity>" ), Pair( "brightness", "U32" ), Pair( "lit", "bool" ),
                Pair( "notes", "Vor::String" ), Pair( "blink", "U32" ) ) );
   EXPECT_EQ( Lamp::staticType().attribute( "notes" ).keyTypeName, "U32" );
   EXPECT_EQ( Lamp::staticType().attribute( "lit" ).keyTypeName, "" );
   Attribute const & lamps = LampDir::staticType().attribute( "lamp" );
   EXPECT_EQ( lamps.typeName, "Vor::Ptr<Test::Lamp>" );
   EXPECT_EQ( lamps.keyTypeName, "Vor::Name" );
}

TEST( Type, OperationsSayOfWhichTypesTheirArgumentsAre ) {
   Attribute const & blink = Lamp::staticType().attribute( "blink" );
   EXPECT_THAT( blink.argumentNames, ElementsAre( "times", "seconds" ) );
   EXPECT_THAT( blink.argumentTypeNames, ElementsAre( "U32", "U32" ) );
   EXPECT_THAT( Lamp::staticType().attribute( "lit" ).argumentTypeNames, IsEmpty() );
}

TEST( Type, AnUnknownAttributeIsAnErrorThatTellsWhatThereIs ) {
   EXPECT_THROW( Lamp::staticType().attribute( "wats" ), NameNotFoundException );
   EXPECT_EQ(
      messageOf( [] { LampDir::staticType().attribute( "lamps" ); } ),
      "Test::LampDir has no attribute 'lamps'; it has name, lamp" );
}

TEST( Type, AnObjectIsMadeFromNamedArgumentsInAnyOrder ) {
   Ptr<Vor::Entity> const socket = Vor::entityFactory( "socket" );
   NamedValue const arguments[] = {
      { "colour", String( "deepBlue" ) },
      { "socket", Vor::toValue( socket ) },
      { "name", String( "hall" ) },
      { "watts", String( "60" ) } };
   Ptr<Lamp> const lamp = Vor::ptrCast<Lamp>( Lamp::staticType().make( arguments ) );
   ASSERT_TRUE( lamp );
   EXPECT_EQ( lamp->name(), "hall" );
   EXPECT_EQ( lamp->watts(), 60u );
   EXPECT_EQ( lamp->colour(), deepBlue_ );
   EXPECT_EQ( lamp->socket(), socket );
   EXPECT_EQ( lamp->references(), 1 );
}

TEST( Type, AMissingOrUnknownConstructorArgumentIsNamed ) {
   NamedValue const missing[] = { { "name", String( "hall" ) }, { "watts", U64{ 60 } }, { "colour", String( "red" ) } };
   EXPECT_EQ( messageOf( [&] { Lamp::staticType().make( missing ); } ), "'Test::Lamp' needs the argument 'socket'" );
   // A changeable attribute is no constructor argument.
   NamedValue const unknown[] = { { "name", String( "hall" ) }, { "lit", true } };
   EXPECT_EQ( messageOf( [&] { Lamp::staticType().make( unknown ); } ), "'Test::Lamp' takes no argument 'lit'" );
}

TEST( Type, AnArgumentOfTheWrongKindIsARangeError ) {
   NamedValue const wrong[] = {
      { "name", String( "hall" ) }, { "watts", String( "bright" ) }, { "colour", String( "red" ) }, { "socket", {} } };
   EXPECT_THROW( Lamp::staticType().make( wrong ), Vor::RangeException );
}

TEST( Type, AClosedEnumerationTakesNoOtherNumberFromAMaker ) {
   NamedValue const wrong[] = {
      { "name", String( "hall" ) }, { "watts", U64{ 60 } }, { "colour", U64{ 5 } }, { "socket", {} } };
   EXPECT_EQ( messageOf( [&] { Lamp::staticType().make( wrong ); } ), "Test::Colour has no enumerator of value 5" );
}

TEST( Type, ATypeWithoutAFactoryMakesNothing ) {
   EXPECT_THROW( Vor::PtrInterface::staticType().make( {} ), Vor::OperationNotSupportedException );
}

}   // namespace
}   // namespace Test
