#include "hal/Reg32.h"

#include "framework/Describe.h"
#include "framework/Reflection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Hal {
namespace {

using Vor::Reflected;
using Vor::String;
using Vor::Value;

// What must not compile.
static_assert( !std::is_convertible_v<U32, Reg32>, "a number is no register by accident" );
static_assert( !std::is_convertible_v<Reg32, U32> );

constexpr char bitmaskFailed[] =
   ": /usr/include/Fru/Hal:8: T Hal::bitmask\\(U16, U16\\) \\[with T = unsigned int; U16 = short unsigned int\\]: "
   "Assertion `from <= to' failed\\.\n";
constexpr char bitsIsFailed[] =
   ": /usr/include/Fru/Hal:20: void Hal::bitsIs\\(T&, U16, U16, T\\) \\[with T = unsigned int; U16 = short unsigned "
   "int\\]: Assertion `\\(newValue & ~mask\\) == 0' failed\\.\n";

TEST( Bitmask, CoversOneBitMoreThanTheDistance ) {
   EXPECT_EQ( bitmask( 0, 0 ), 0x1u );
   EXPECT_EQ( bitmask( 12, 12 ), 0x1u );
   EXPECT_EQ( bitmask( 16, 21 ), 0x3Fu );
   EXPECT_EQ( bitmask( 0, 7 ), 0xFFu );
   EXPECT_EQ( bitmask( 0, 30 ), 0x7FFFFFFFu );
}

TEST( Bitmask, Widths31And32AreAllOnes ) {
   EXPECT_EQ( bitmask( 0, 31 ), 0xFFFFFFFFu );
   EXPECT_EQ( bitmask( 0, 32 ), 0xFFFFFFFFu );
   EXPECT_EQ( bitmask( 5, 36 ), 0xFFFFFFFFu );
   EXPECT_EQ( bitmask( 1, 33 ), 0xFFFFFFFFu );
}

TEST( BitmaskDeathTest, ARangeThatEndsBeforeItStartsStopsTheProcess ) {
   EXPECT_DEATH( bitmask( 1, 0 ), bitmaskFailed );
   EXPECT_DEATH( bitmask( 0xFFFF, 0xFFFE ), bitmaskFailed );
}

TEST( Reg32, ANewOneIsZero ) {
   EXPECT_EQ( Reg32().value(), 0u );
   EXPECT_EQ( Reg32( 0x12345678 ).value(), 0x12345678u );
   EXPECT_EQ( sizeof( Reg32 ), sizeof( U32 ) );
}

TEST( Reg32, BitsAreShiftedDown ) {
   Reg32 const reg( 0xA5C30F01 );
   EXPECT_EQ( reg.bits( { 0, 0 } ), 1u );
   EXPECT_EQ( reg.bits( { 8, 11 } ), 0xFu );
   EXPECT_EQ( reg.bits( { 24, 31 } ), 0xA5u );
   EXPECT_EQ( reg.bits( { 31, 31 } ), 1u );
   EXPECT_EQ( reg.bits( { 0, 31 } ), 0xA5C30F01u );
}

TEST( Reg32, SettingBitsKeepsTheOthers ) {
   Reg32 reg( 0xFFFFFFFF );
   reg.bitsIs( { 8, 15 }, 0x12 );
   EXPECT_EQ( reg.value(), 0xFFFF12FFu );
   reg.valueIs( 0 );
   reg.bitsIs( { 16, 21 }, 0x3F );
   EXPECT_EQ( reg.value(), 0x003F0000u );
   reg.bitsIs( { 31, 31 }, 1 );
   EXPECT_EQ( reg.value(), 0x803F0000u );
}

TEST( Reg32, TheWholeRangeTakesAnyValue ) {
   for ( U32 const value : { 0u, 1u, 0x80000000u, 0xFFFFFFFFu } ) {
      Reg32 reg( 0x5A5A5A5A );
      reg.bitsIs( { 0, 31 }, value );
      EXPECT_EQ( reg.value(), value );
      reg.bitsIs( { 0, 32 }, ~value );
      EXPECT_EQ( reg.value(), ~value );
      EXPECT_EQ( reg.bits( { 0, 32 } ), ~value );
   }
}

TEST( Reg32, ARangeThatLeavesTheWordReachesTheBitsThatThereAre ) {
   Reg32 reg( 0xF0000000 );
   EXPECT_EQ( reg.bits( { 28, 35 } ), 0xFu );
   EXPECT_EQ( reg.bits( { 32, 40 } ), 0u );
   reg.bitsIs( { 28, 35 }, 0xA5 );
   EXPECT_EQ( reg.value(), 0x50000000u );
   reg.bitsIs( { 64, 64 }, 1 );
   EXPECT_EQ( reg.value(), 0x50000000u );
}

TEST( Reg32DeathTest, AValueThatDoesNotFitStopsTheProcess ) {
   Reg32 reg;
   EXPECT_DEATH( reg.bitsIs( { 16, 21 }, 64 ), bitsIsFailed );
   EXPECT_DEATH( reg.bitsIs( { 0, 0 }, 2 ), bitsIsFailed );
   EXPECT_DEATH( reg.bitsIs( { 0, 30 }, 0x80000000 ), bitsIsFailed );
   reg.bitsIs( { 16, 21 }, 63 );
   EXPECT_EQ( reg.value(), 0x003F0000u );
}

TEST( Reg32DeathTest, TheRangeIsCheckedBeforeTheValue ) {
   Reg32 reg;
   EXPECT_DEATH( reg.bits( { 5, 4 } ), bitmaskFailed );
   EXPECT_DEATH( reg.bitsIs( { 5, 4 }, 0xFFFFFFFF ), bitmaskFailed );
   // From above the word the mask's complement would be empty; the range is wrong all the same.
   EXPECT_DEATH( reg.bitsIs( { 40, 4 }, 0 ), bitmaskFailed );
}

TEST( Reg32, RemovingBitsIsNotImplemented ) {
   Reg32 reg( 5 );
   try {
      reg.bitsDel( { 0, 1 } );
      ADD_FAILURE() << "nothing was thrown";
   } catch ( Vor::NoImplementationException const & error ) {
      EXPECT_STREQ( error.what(), "Unexpected Reg32::bitsDel call" );
   }
   EXPECT_EQ( reg.value(), 5u );
}

TEST( Reg32, EqualityIsThatOfTheWholeWord ) {
   EXPECT_EQ( Reg32( 7 ), Reg32( 7 ) );
   EXPECT_NE( Reg32( 7 ), Reg32( 0x80000007 ) );
}

TEST( Reg32, TextFormIsTheNumber ) {
   EXPECT_EQ( valueToStrep( Reg32( 0xFFFFFFFF ) ), "4294967295" );
   std::ostringstream out;
   out << Reg32( 17 );
   EXPECT_EQ( out.str(), "17" );
}

TEST( Reg32, TextIsReadBackOrRefusedNamingTheAttribute ) {
   String const text = "4294967295, rest";
   auto pos = text.begin();
   EXPECT_EQ( Reg32( pos, text.end() ).value(), 0xFFFFFFFFu );
   EXPECT_EQ( std::string( pos, text.end() ), ", rest" );
   String const wrong = "4294967296";
   pos = wrong.begin();
   try {
      Reg32( pos, wrong.end() );
      ADD_FAILURE() << "nothing was thrown";
   } catch ( Vor::DeserializeException const & error ) {
      EXPECT_THAT( error.what(), testing::HasSubstr( "'value'" ) );
   }
   EXPECT_EQ( pos, wrong.begin() );
}

TEST( Reg32, ReflectionWorksOnValueAndBits ) {
   Reg32 reg( 0x00050003 );
   Reflected const reflected( reg );
   EXPECT_EQ( reflected.get( "value" ), Value( U64{ 0x00050003 } ) );
   EXPECT_EQ( reflected.getAt( "bits", String( "BitRange(16, 21)" ) ), Value( U64{ 5 } ) );
   reflected.setAt( "bits", Vor::toValue( BitRange( 4, 7 ) ), U64{ 0xF } );
   EXPECT_EQ( reg.value(), 0x000500F3u );
   reflected.set( "value", String( "9" ) );
   EXPECT_EQ( reg.value(), 9u );
   EXPECT_THROW( reflected.deleteAt( "bits", String( "BitRange(0, 1)" ) ), Vor::NoImplementationException );
   EXPECT_THROW( reflected.keys( "bits" ), Vor::OperationNotSupportedException );
   EXPECT_THROW( reflected.hash(), Vor::UnhashableTypeException );
   EXPECT_FALSE( reflected.isDefault() );
   reg.valueIs( 0 );
   EXPECT_TRUE( reflected.isDefault() );
}

TEST( BitRange, TextFormIsReadBack ) {
   for ( BitRange const range : { BitRange( 0, 0 ), BitRange( 16, 21 ), BitRange( 65535, 0 ) } ) {
      String const text = valueToStrep( range );
      auto pos = text.begin();
      EXPECT_EQ( BitRange( pos, text.end() ), range );
      EXPECT_EQ( pos, text.end() );
   }
   EXPECT_EQ( valueToStrep( BitRange( 16, 21 ) ), "BitRange(16, 21)" );
   for ( char const * wrong :
         { "", "BitRange", "BitRange(", "BitRange(1", "BitRange(1,2)", "BitRange(1, 2", "BitRange(65536, 65537)" } ) {
      String const text = wrong;
      auto pos = text.begin();
      EXPECT_THROW( BitRange( pos, text.end() ), Vor::ParseException ) << wrong;
   }
}

}   // namespace
}   // namespace Hal
