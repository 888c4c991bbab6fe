#include "registers/RegisterAccess.h"

#include "tests/registers/LookedAt.h"

#include <gtest/gtest.h>

namespace RegisterAccessTests {
namespace {

using namespace Host;

TEST( RegisterAccess, ReadsAndWritesBothSortsOfRegisters ) {
   LookedAt at;
   RegisterBook const book( at.card );
   EXPECT_EQ( at.access.read( book.one( "ptp0:0x10" ) ), 0x3Cu );
   EXPECT_TRUE( at.access.write( book.one( "ptp0:0x10" ), 0x5A ) );
   EXPECT_EQ( at.access.readByte( at.ptp0(), 0x10 ), 0x5A );
   EXPECT_EQ( at.access.read( book.one( "osc0.tolvaneEnable" ) ), 3u );
   EXPECT_TRUE( at.access.write( book.one( "ptp1Reset" ), 0x80000000 ) );
   EXPECT_EQ( at.access.readWord( 8196 ), 0x80000000u );
}

TEST( RegisterAccess, OnesThatARegisterHoldsAreAnAnswer ) {
   LookedAt at;
   at.access.writeByte( at.ptp0(), 0x10, 0xFF );
   EXPECT_EQ( at.access.readByte( at.ptp0(), 0x10 ), 0xFF );
   at.access.writeWord( 8196, 0xFFFFFFFF );
   EXPECT_EQ( at.access.readWord( 8196 ), 0xFFFFFFFFu );
}

TEST( RegisterAccess, AnAnswerIsAValidEntryOfTheFifo ) {
   for ( char const * kind : { R"("spiDead")", R"("spiInvalid")", R"("spiExtra")", R"("spiStuckWrite")" } ) {
      LookedAt at( faultText( "ptp0", kind ) );
      EXPECT_EQ( at.access.readByte( at.ptp0(), 0x10 ), std::nullopt ) << kind;
   }
}

TEST( RegisterAccess, OnceAnAnswerIsMissingTheNextOneIsTakenForWhatItIs ) {
   LookedAt at( faultText( "ptp0", R"("spiDead", "count": 1)" ) );
   EXPECT_EQ( at.access.readByte( at.ptp0(), 0x10 ), std::nullopt );
   EXPECT_EQ( at.access.readByte( at.ptp0(), 0x10 ), 0x3C );
}

TEST( RegisterAccess, ACardThatIsGoneDoesNotAnswerAndTakesNoByte ) {
   LookedAt at( faultText( "", R"("hardwareGone")" ) );
   EXPECT_EQ( at.access.readWord( 8196 ), std::nullopt );
   EXPECT_EQ( at.access.readByte( at.ptp0(), 0x10 ), std::nullopt );
   EXPECT_FALSE( at.access.writeByte( at.ptp0(), 0x10, 1 ) );
}

TEST( RegisterAccess, CleaningUpEmptiesTheFifos ) {
   LookedAt at;
   U32 const ctrl = at.ptp0().configOffset + 0x20;
   // A read whose answer nobody takes.
   for ( U32 const word : { 0x3u, 0x0u, 0x30u, 0x80001000u } ) at.access.writeWord( at.ptp0().configOffset, word );
   Hardware::kivSpiInterfaceFactory( 0, at.world.card().hamImpl(), false )->doResetHwSm();   // as long as that takes
   EXPECT_EQ( at.access.readWord( ctrl ), 1u );
   at.access.cleanUp( at.ptp0() );
   EXPECT_EQ( at.access.readWord( ctrl ), 0u );
}

}   // namespace
}   // namespace RegisterAccessTests
