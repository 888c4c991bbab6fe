#include "hal/Max24305Hal.h"

#include "framework/Reflection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Hardware {
namespace {

static_assert( ApllStatus::address() == 7 );

TEST( ApllStatus, BothAreLockedOnlyWithBits0And4 ) {
   EXPECT_TRUE( ApllStatus( 0x11 ).bothLocked() );
   EXPECT_TRUE( ApllStatus( 0xFF ).bothLocked() );
   for ( U32 const value : { 0x00u, 0x01u, 0x10u, 0xEEu, 0xFEu, 0xEFu } )
      EXPECT_FALSE( ApllStatus( value ).bothLocked() ) << value;
}

TEST( ApllStatus, Words ) {
   EXPECT_TRUE( ApllStatus( 0x01 ).apll1Locked() );
   EXPECT_FALSE( ApllStatus( 0x01 ).apll2Locked() );
   EXPECT_TRUE( ApllStatus( 0x10 ).apll2Locked() );
   EXPECT_FALSE( ApllStatus( 0x10 ).apll1Locked() );
   ApllStatus made;
   made.apll2LockedIs( 1 );
   EXPECT_EQ( made.value(), 0x10u );
   made.apll1LockedIs( 3 );
   EXPECT_EQ( made.value(), 0x11u );
}

TEST( ApllStatus, Reflection ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : ApllStatus::staticType().attributes() ) names.push_back( attribute.name );
   EXPECT_THAT( names, testing::ElementsAre( "value", "bits", "address", "apll2Locked", "apll1Locked" ) );
   ApllStatus status( 0x10 );
   EXPECT_EQ( Vor::Reflected( status ).get( "apll2Locked" ), Vor::Value( true ) );
   EXPECT_EQ( Vor::Reflected( status ).get( "address" ), Vor::Value( U64{ 7 } ) );
}

}   // namespace
}   // namespace Hardware
