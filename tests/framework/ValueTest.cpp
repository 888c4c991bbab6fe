#include "framework/Value.h"

#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Test::ValueTests {
namespace {

using Vor::fromValue;
using Vor::Name;
using Vor::ParseException;
using Vor::Ptr;
using Vor::RangeException;
using Vor::String;
using Vor::toValue;
using Vor::Value;
using Vor::valueText;

/// A value type with a text form.
class Pair {
 public:
   Pair( U32 l, U32 r ) : left( l ), right( r ) {}
   Pair( String::IteratorConst & pos, String::IteratorConst const & end ) {
      left = Vor::deserializeAttr( pos, end, "left" );
      Vor::needString( pos, end, "/" );
      right = Vor::deserializeAttr( pos, end, "right" );
   }
   U32 left = 0;
   U32 right = 0;
   friend String valueToStrep( Pair const & pair ) { return Vor::format( "%u/%u", pair.left, pair.right ); }
};

TEST( Value, KindsAreKept ) {
   EXPECT_EQ( toValue( true ), Value( true ) );
   EXPECT_EQ( toValue( U8{ 7 } ), Value( U64{ 7 } ) );
   EXPECT_EQ( toValue( 4294967295u ), Value( U64{ 4294967295 } ) );
   EXPECT_EQ( toValue( 0.25 ), Value( 0.25 ) );
   EXPECT_EQ( toValue( String( "a" ) ), Value( String( "a" ) ) );
   EXPECT_EQ( toValue( Name( "a" ) ), Value( String( "a" ) ) );
   EXPECT_EQ( toValue( "a" ), Value( String( "a" ) ) );
   EXPECT_EQ( toValue( Pair( 1, 2 ) ), Value( String( "1/2" ) ) );
}

TEST( Value, AnEnumeratorTravelsAsItsText ) {
   EXPECT_EQ( toValue( deepBlue_ ), Value( String( "deepBlue" ) ) );
   EXPECT_EQ( toValue( static_cast<Colour>( 5 ) ), Value( U64{ 5 } ) );
   EXPECT_EQ( fromValue<Colour>( toValue( deepBlue_ ) ), deepBlue_ );
   EXPECT_EQ( fromValue<Colour>( U64{ 7 } ), deepBlue_ );
   EXPECT_THROW( fromValue<Colour>( String( "pink" ) ), RangeException );
   EXPECT_THROW( fromValue<Colour>( true ), RangeException );
}

TEST( Value, ANumberWithoutAnEnumeratorIsTakenByAnOpenEnumerationOnly ) {
   for ( U64 const number : { U64{ 2 }, U64{ 4294967295 } } ) {
      EXPECT_THROW( fromValue<Colour>( number ), RangeException ) << number;
      EXPECT_EQ( fromValue<Mood>( number ), number );
      EXPECT_EQ( toValue( fromValue<Mood>( number ) ), Value( number ) );
   }
   EXPECT_THROW( fromValue<Colour>( ( U64{ 1 } << 32 ) + 1 ), RangeException );
   EXPECT_THROW( fromValue<Mood>( ( U64{ 1 } << 32 ) + 1 ), RangeException );
   EXPECT_THROW( fromValue<Mood>( String( "2" ) ), RangeException );
}

TEST( Value, NumbersAreTakenWithinTheirWidthOnly ) {
   EXPECT_EQ( fromValue<U8>( U64{ 255 } ), 255 );
   EXPECT_THROW( fromValue<U8>( U64{ 256 } ), RangeException );
   EXPECT_EQ( fromValue<U32>( String( "4294967295" ) ), 4294967295u );
   EXPECT_THROW( fromValue<U32>( String( "4294967296" ) ), RangeException );
   for ( char const * wrong : { "", "-1", " 1", "1 ", "1x", "99999999999999999999" } )
      EXPECT_THROW( fromValue<U32>( String( wrong ) ), RangeException ) << wrong;
   EXPECT_THROW( fromValue<U32>( 1.0 ), RangeException );
   EXPECT_THROW( fromValue<U32>( Value() ), RangeException );
   EXPECT_EQ( fromValue<U32>( true ), 1u );   // a one-bit field gives a bool, and takes it back
}

TEST( Value, BoolsAndNumbersWithAPointAreTakenAsTextToo ) {
   EXPECT_TRUE( fromValue<bool>( true ) );
   EXPECT_FALSE( fromValue<bool>( String( "false" ) ) );
   EXPECT_THROW( fromValue<bool>( String( "yes" ) ), RangeException );
   EXPECT_EQ( fromValue<double>( String( "2.5" ) ), 2.5 );
   EXPECT_EQ( fromValue<double>( U64{ 2 } ), 2.0 );
   EXPECT_THROW( fromValue<double>( String( "2.5s" ) ), RangeException );
   EXPECT_THROW( fromValue<String>( U64{ 2 } ), RangeException );
}

TEST( Value, AValueTypeIsReadBackFromTheWholeOfItsText ) {
   EXPECT_EQ( fromValue<Pair>( String( "3/4" ) ).right, 4u );
   EXPECT_THROW( fromValue<Pair>( String( "3/" ) ), ParseException );
   EXPECT_THROW( fromValue<Pair>( String( "3/4 " ) ), ParseException );
}

TEST( Value, ReferencesKeepTheirTypeAndTheirAccess ) {
   Ptr<Lamp> const lamp = plainLamp();
   Value const writable = toValue( lamp );
   Value const readable = toValue( Ptr<Lamp const>( lamp ) );
   EXPECT_EQ( fromValue<Ptr<Lamp>>( writable ), lamp );
   EXPECT_EQ( fromValue<Ptr<Lamp const>>( writable ), lamp );
   EXPECT_EQ( fromValue<Ptr<Vor::Entity const>>( readable ), lamp );
   EXPECT_THROW( fromValue<Ptr<Lamp>>( readable ), RangeException );   // read-only access does not become writable
   EXPECT_THROW( fromValue<Ptr<LampDir>>( writable ), RangeException );
   EXPECT_THROW( fromValue<Ptr<Lamp>>( String( "lamp" ) ), RangeException );
}

TEST( Value, AnEmptyReferenceIsOneOfEveryType ) {
   EXPECT_EQ( fromValue<Ptr<Lamp>>( Value() ), nullptr );
   EXPECT_EQ( fromValue<Ptr<Lamp const>>( toValue( Ptr<LampDir>() ) ), nullptr );
}

TEST( Value, AReferenceStandsBesideAnotherOfItsFullNameWithItsOrdinal ) {
   Ptr<Lamp> const hall = plainLamp( "hall" );
   Ptr<Lamp> const twin = plainLamp( "hall" );
   Ptr<Lamp> const attic = plainLamp( "attic" );
   EXPECT_EQ( twin->ordinal(), hall->ordinal() + 1 );
   EXPECT_EQ( Vor::referenceToStrep( hall.ptr(), attic.ptr() ), "'/hall'" );
   EXPECT_EQ( Vor::referenceToStrep( hall.ptr(), hall.ptr() ), "'/hall'" );
   EXPECT_EQ( Vor::referenceToStrep( hall.ptr(), nullptr ), "'/hall'" );
   EXPECT_EQ( Vor::referenceToStrep( nullptr, hall.ptr() ), "'none'" );
   EXPECT_EQ( Vor::referenceToStrep( hall.ptr(), twin.ptr() ), Vor::format( "'/hall' (entity %u)", hall->ordinal() ) );
   EXPECT_EQ( Vor::referenceToStrep( twin.ptr(), hall.ptr() ), Vor::format( "'/hall' (entity %u)", twin->ordinal() ) );
}

TEST( Value, TextForPeople ) {
   EXPECT_EQ( valueText( Value() ), "none" );
   EXPECT_EQ( valueText( String( "it's" ) ), "it's" );
   EXPECT_EQ( valueText( true ), "true" );
   EXPECT_EQ( valueText( U64{ 12 } ), "12" );
   EXPECT_EQ( valueText( toValue( plainLamp( "hall" ) ) ), "/hall" );
   EXPECT_EQ( valueText( toValue( Ptr<Lamp>() ) ), "none" );
   struct Thing : Vor::PtrInterface {};
   EXPECT_EQ( valueText( toValue( Ptr<Thing>( new Thing ) ) ), "Vor::PtrInterface" );
}

}   // namespace
}   // namespace Test::ValueTests
