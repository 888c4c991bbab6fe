#include "framework/Reflection.h"

#include "framework/Describe.h"
#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Vor::NameNotFoundException;
using Vor::OperationNotSupportedException;
using Vor::Ptr;
using Vor::Reflected;
using Vor::String;
using Vor::Value;

/// A plain value type.
struct Point {
   U32 x = 0;
   U32 y = 0;
   static constexpr U32 dimensions = 2;
   friend bool operator==( Point const &, Point const & ) = default;
   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Member<"x", &Point::x>, Vor::Member<"y", &Point::y>, Vor::Plain<"dimensions", &Point::dimensions>>;
};

Vor::Type const & Point::staticType() { return Vor::typeOf<Point, "Test::Point">(); }

TEST( Reflection, AttributesAreGotByName ) {
   Ptr<Lamp> const lamp = lampFactory( "hall", 60, red_, Vor::entityFactory( "socket" ) );
   Reflected const hall( lamp );
   EXPECT_EQ( &hall.type(), &Lamp::staticType() );
   EXPECT_EQ( hall.get( "name" ), Value( String( "hall" ) ) );
   EXPECT_EQ( hall.get( "watts" ), Value( U64{ 60 } ) );
   EXPECT_EQ( hall.get( "colour" ), Value( String( "red" ) ) );
   EXPECT_EQ( Vor::valueText( hall.get( "socket" ) ), "/socket" );
   EXPECT_EQ( hall.get( "lit" ), Value( false ) );
}

TEST( Reflection, SettingRunsTheSetter ) {
   Ptr<Lamp> const lamp = plainLamp();
   Story story;
   Ptr<LampWatch> const watch = new LampWatch( story, "w", lamp );
   Reflected const reflected( lamp );
   reflected.set( "brightness", U64{ 5 } );
   reflected.set( "brightness", String( "5" ) );   // equal, and silent
   reflected.set( "lit", String( "true" ) );
   EXPECT_TRUE( lamp->lit() );
   EXPECT_THAT( story, ElementsAre( "w: brightness 5", "w: lit" ) );
}

TEST( Reflection, AValueThatDoesNotFitChangesNothing ) {
   Ptr<Lamp> const lamp = plainLamp();
   EXPECT_THROW( Reflected( lamp ).set( "brightness", U64{ 1 } << 32 ), Vor::RangeException );
   EXPECT_THROW( Reflected( lamp ).set( "lit", String( "maybe" ) ), Vor::RangeException );
   EXPECT_EQ( lamp->brightness(), 0u );
}

TEST( Reflection, CollectionsAreReadSetAndDeletedByKey ) {
   Ptr<Lamp> const lamp = plainLamp();
   Story story;
   Ptr<LampWatch> const watch = new LampWatch( story, "w", lamp );
   Reflected const reflected( lamp );
   reflected.setAt( "notes", U64{ 3 }, String( "flickers" ) );
   reflected.setAt( "notes", String( "4" ), String( "hums" ) );
   EXPECT_THAT( reflected.keys( "notes" ), UnorderedElementsAre( Value( U64{ 3 } ), Value( U64{ 4 } ) ) );
   EXPECT_EQ( reflected.getAt( "notes", U64{ 3 } ), Value( String( "flickers" ) ) );
   reflected.deleteAt( "notes", U64{ 3 } );
   EXPECT_THAT( story, ElementsAre( "w: note 3", "w: note 4", "w: note 3" ) );
   EXPECT_EQ( lamp->notes().count(), 1u );
}

TEST( Reflection, ADirectoryGivesItsMembersButTakesNone ) {
   Ptr<LampDir> const dir = lampDirFactory( "lamps" );
   Ptr<Lamp> const lamp = dir->lampIs( "hall", 40, white_, nullptr );
   Reflected const reflected( dir );
   EXPECT_EQ( Vor::fromValue<Ptr<Lamp>>( reflected.getAt( "lamp", String( "hall" ) ) ), lamp );
   EXPECT_EQ( Vor::fromValue<Ptr<Lamp>>( reflected.getAt( "lamp", String( "attic" ) ) ), nullptr );
   EXPECT_THROW( reflected.setAt( "lamp", String( "attic" ), Vor::toValue( lamp ) ), OperationNotSupportedException );
   reflected.deleteAt( "lamp", String( "hall" ) );
   EXPECT_EQ( dir->members().count(), 0u );
}

TEST( Reflection, OperationsTakeNamedArgumentsInAnyOrder ) {
   Ptr<Lamp> const lamp = plainLamp();
   Reflected const reflected( lamp );
   EXPECT_EQ( reflected.call( "blink", { { "seconds", U64{ 7 } }, { "times", U64{ 3 } } } ), Value( U64{ 21 } ) );
   EXPECT_EQ( lamp->brightness(), 3u );
   EXPECT_THROW( reflected.call( "blink", { { "times", U64{ 3 } } } ), NameNotFoundException );
   EXPECT_THROW(
      reflected.call( "blink", { { "seconds", U64{ 7 } }, { "times", U64{ 3 } }, { "colour", U64{ 0 } } } ),
      NameNotFoundException );
   EXPECT_THAT( Lamp::staticType().attribute( "blink" ).argumentNames, ElementsAre( "times", "seconds" ) );
}

TEST( Reflection, UnknownNamesAreErrors ) {
   Reflected const reflected( plainLamp() );
   EXPECT_THROW( reflected.get( "wats" ), NameNotFoundException );
   EXPECT_THROW( reflected.set( "", U64{ 1 } ), NameNotFoundException );
   EXPECT_THROW( reflected.keys( "Notes" ), NameNotFoundException );
   EXPECT_THROW( reflected.call( "blinks" ), NameNotFoundException );
}

TEST( Reflection, WhatAnAttributeDoesNotOfferIsNotSupported ) {
   Reflected const reflected( plainLamp() );
   EXPECT_THROW( reflected.set( "watts", U64{ 1 } ), OperationNotSupportedException );
   EXPECT_THROW( reflected.get( "notes" ), OperationNotSupportedException );
   EXPECT_THROW( reflected.get( "blink" ), OperationNotSupportedException );
   EXPECT_THROW( reflected.keys( "lit" ), OperationNotSupportedException );
   EXPECT_THROW( reflected.getAt( "lit", U64{ 0 } ), OperationNotSupportedException );
   EXPECT_THROW( reflected.deleteAt( "lit", U64{ 0 } ), OperationNotSupportedException );
   EXPECT_THROW( reflected.call( "lit" ), OperationNotSupportedException );
   EXPECT_THROW( reflected.isDefault(), OperationNotSupportedException );
   try {
      reflected.set( "watts", U64{ 1 } );
   } catch ( OperationNotSupportedException const & error ) {
      EXPECT_STREQ( error.what(), "attribute 'watts' of Test::Lamp does not support 'set'" );
   }
}

TEST( Reflection, AReadOnlyReferenceOnlyReads ) {
   Ptr<Lamp> const lamp = plainLamp();
   Reflected const reflected{ Ptr<Lamp const>( lamp ) };
   EXPECT_EQ( reflected.get( "lit" ), Value( false ) );
   EXPECT_THROW( reflected.set( "lit", true ), OperationNotSupportedException );
   EXPECT_THROW( reflected.setAt( "notes", U64{ 1 }, String( "n" ) ), OperationNotSupportedException );
   EXPECT_THROW( reflected.deleteAt( "notes", U64{ 1 } ), OperationNotSupportedException );
   EXPECT_THROW(
      reflected.call( "blink", { { "seconds", U64{ 7 } }, { "times", U64{ 3 } } } ), OperationNotSupportedException );
   EXPECT_FALSE( lamp->lit() );
}

TEST( Reflection, TheObjectIsHeld ) {
   Ptr<Lamp> lamp = plainLamp();
   Reflected const reflected( lamp );
   lamp = nullptr;
   EXPECT_EQ( Lamp::living, 1 );
   EXPECT_EQ( reflected.get( "watts" ), Value( U64{ 40 } ) );
}

TEST( Reflection, ValuesAreWorkedOnInPlace ) {
   Point point;
   Reflected const reflected( point );
   EXPECT_TRUE( reflected.isDefault() );
   reflected.set( "y", U64{ 4 } );
   EXPECT_EQ( point.y, 4u );
   EXPECT_FALSE( reflected.isDefault() );
   EXPECT_EQ( reflected.get( "dimensions" ), Value( U64{ 2 } ) );
   EXPECT_THROW( reflected.set( "dimensions", U64{ 3 } ), OperationNotSupportedException );
   Point const fixed;
   EXPECT_THROW( Reflected( fixed ).set( "y", U64{ 4 } ), OperationNotSupportedException );
}

TEST( Reflection, ObjectsAreHashedByIdentityAndValuesNotAtAll ) {
   Ptr<Lamp> const lamp = plainLamp();
   EXPECT_EQ( Reflected( lamp ).hash(), Reflected( Ptr<Lamp const>( lamp ) ).hash() );
   EXPECT_NE( Reflected( lamp ).hash(), Reflected( plainLamp() ).hash() );
   Point point;
   EXPECT_THROW( Reflected( point ).hash(), Vor::UnhashableTypeException );
}

TEST( Reflection, AnObjectWithoutADescriptorHasNoAttributes ) {
   struct Thing : Vor::PtrInterface {};
   Ptr<Thing> const thing = new Thing;
   EXPECT_THROW( Reflected( thing ).get( "name" ), NameNotFoundException );
}

}   // namespace
}   // namespace Test
