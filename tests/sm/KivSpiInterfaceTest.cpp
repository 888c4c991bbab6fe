#include "sm/KivSpiInterface.h"

#include "framework/Reflection.h"
#include "framework/TypeRegistry.h"
#include "tests/sm/Rig.h"

#include <gtest/gtest.h>

namespace SmTest::Interface {
namespace {

using Hardware::KivSpiInterface;

constexpr U32 base = 0x100;
constexpr U32 command = base;
constexpr U32 response = base + 0x10;
constexpr U32 ctrl = base + 0x20;
constexpr U32 reset = base + 0x30;

constexpr U32 valid = 0x80000000;
constexpr U32 counts( U32 readFifo, U32 writeFifo ) { return writeFifo << 16 | readFifo; }

Lines const poll{ sleep( 1'000 ) };
Lines readWords( U32 high, U32 low ) {
   return { write32( command, 3 ), write32( command, high ), write32( command, low ), write32( command, 0x80001000 ) };
}
Lines writeWords( U32 high, U32 low, U32 value ) {
   return {
      write32( command, 2 ), write32( command, high ), write32( command, low ), write32( command, valid | value ) };
}

class KivSpiInterfaceTest : public testing::Test {
 protected:
   Lines take() { return rig.diary.take(); }

   Rig rig;
   Vor::Ptr<ScriptedHam> const ham = new ScriptedHam( rig.diary );
   Vor::Ptr<KivSpiInterface> const spi = Hardware::kivSpiInterfaceFactory( base, ham, true );
};

TEST_F( KivSpiInterfaceTest, KeepsItsParametersAndTouchesNothing ) {
   EXPECT_EQ( spi->base(), base );
   EXPECT_EQ( spi->hamImpl(), ham );
   EXPECT_TRUE( spi->resetSupported() );
   EXPECT_TRUE( spi->simulatedData().keys().empty() );
   EXPECT_EQ( take(), Lines{} );
}

TEST_F( KivSpiInterfaceTest, ARead ) {
   ham->answersAre( ctrl, { 1 } );
   ham->answersAre( response, { valid | 0xAB } );
   EXPECT_EQ( spi->doRead( 0x1234 ), 0xAB );
   EXPECT_EQ(
      take(), ( readWords( 0x12, 0x34 ) + poll + Lines{ read32( ctrl, 1 ), read32( response, valid | 0xAB ) } ) );
}

TEST_F( KivSpiInterfaceTest, AReadPollsUntilTheResponseIsThere ) {
   ham->answersAre( ctrl, { 0, counts( 0, 3 ), 1 } );
   ham->answersAre( response, { valid } );
   EXPECT_EQ( spi->doRead( 0xFFFF ), 0 );
   EXPECT_EQ(
      take(), ( readWords( 0xFF, 0xFF ) + poll + Lines{ read32( ctrl, 0 ) } + poll + Lines{ read32( ctrl, 0x30000 ) } +
                poll + Lines{ read32( ctrl, 1 ), read32( response, valid ) } ) );
}

TEST_F( KivSpiInterfaceTest, TheTenthPollOfAReadIsTheLastAndFailsSilently ) {
   ham->answerIs( ctrl, 0 );
   EXPECT_EQ( spi->doRead( 7 ), 0xFF );
   EXPECT_EQ( take(), ( readWords( 0, 7 ) + times( 10, poll + Lines{ read32( ctrl, 0 ) } ) ) );

   ham->answersAre( ctrl, { 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 } );
   ham->answersAre( response, { valid | 0x11 } );
   EXPECT_EQ( spi->doRead( 7 ), 0x11 );
}

TEST_F( KivSpiInterfaceTest, AnInvalidResponseUsesUpTheAttemptAfterItWasRead ) {
   ham->answerIs( ctrl, 1 );
   ham->answerIs( response, 0x7FFFFF42 );
   EXPECT_EQ( spi->doRead( 7 ), 0xFF );
   EXPECT_EQ(
      take(),
      ( readWords( 0, 7 ) + times( 10, { sleep( 1'000 ), read32( ctrl, 1 ), read32( response, 0x7FFFFF42 ) } ) ) );
}

TEST_F( KivSpiInterfaceTest, AnInvalidResponseMayBeFollowedByAValidOne ) {
   ham->answersAre( ctrl, { 1, 0, 1 } );
   ham->answersAre( response, { 0x42, valid | 0x43 } );
   EXPECT_EQ( spi->doRead( 7 ), 0x43 );
   EXPECT_TRUE( ham->exhausted() );
}

TEST_F( KivSpiInterfaceTest, MoreThanOneResponseFailsAtOnceAndLeavesThemThere ) {
   ham->answersAre( ctrl, { 2 } );
   EXPECT_EQ( spi->doRead( 7 ), 0xFF );
   EXPECT_EQ(
      take(), ( readWords( 0, 7 ) +
                Lines{ sleep( 1'000 ), read32( ctrl, 2 ), trace( 1, "doRead", "SPI ERROR: Read count = \x02" ) } ) );
}

TEST_F( KivSpiInterfaceTest, TheCountOfResponsesIsOneCharacter ) {
   ham->answersAre( ctrl, { 10, 0, 63 } );
   EXPECT_EQ( spi->doRead( 7 ), 0xFF );
   EXPECT_EQ( rig.diary.take().back(), trace( 1, "doRead", "SPI ERROR: Read count = \n" ) );
   EXPECT_EQ( spi->doRead( 7 ), 0xFF );
   EXPECT_EQ( rig.diary.take().back(), trace( 1, "doRead", "SPI ERROR: Read count = ?" ) );
}

TEST_F( KivSpiInterfaceTest, OnlyTheFieldsOfTheCountsAreLookedAt ) {
   ham->answersAre( ctrl, { 0xFFC0FFC1 } );
   ham->answersAre( response, { 0xFFFFFF5A } );
   EXPECT_EQ( spi->doRead( 7 ), 0x5A );
   ham->answersAre( ctrl, { 0xFFC0FFFF, 0xFFC0FFFF } );
   EXPECT_TRUE( spi->doWrite( 7, 0 ) );
}

TEST_F( KivSpiInterfaceTest, AWriteReadsTheCountsOnceMoreAtItsEnd ) {
   ham->answersAre( ctrl, { 0, counts( 5, 5 ) } );
   EXPECT_TRUE( spi->doWrite( 0x1234, 0x5A ) );
   EXPECT_EQ(
      take(), ( writeWords( 0x12, 0x34, 0x5A ) + poll + Lines{ read32( ctrl, 0 ), read32( ctrl, counts( 5, 5 ) ) } ) );
}

TEST_F( KivSpiInterfaceTest, AWriteMayDrainAtTheTenthPoll ) {
   ham->answersAre( ctrl, std::vector<U32>( 9, counts( 0, 4 ) ) );
   ham->answersAre( ctrl, { 0, 0 } );
   EXPECT_TRUE( spi->doWrite( 0, 0xFF ) );
   EXPECT_EQ(
      take(), ( writeWords( 0, 0, 0xFF ) + times( 9, poll + Lines{ read32( ctrl, 0x40000 ) } ) + poll +
                times( 2, { read32( ctrl, 0 ) } ) ) );
}

TEST_F( KivSpiInterfaceTest, TenFailedPollsOfAWriteAreTraced ) {
   ham->answersAre( ctrl, std::vector<U32>( 9, counts( 0, 4 ) ) );
   ham->answersAre( ctrl, { counts( 0, 10 ) } );
   EXPECT_FALSE( spi->doWrite( 1, 2 ) );
   EXPECT_EQ(
      take(),
      ( writeWords( 0, 1, 2 ) + times( 9, poll + Lines{ read32( ctrl, 0x40000 ) } ) + poll +
        Lines{ read32( ctrl, 0xA0000 ), trace( 1, "doWrite", "SPI ERROR: Write failed. Write FIFO count = \n" ) } ) );
}

TEST_F( KivSpiInterfaceTest, WithoutTracesTheResultsAreTheSame ) {
   Rig::tracesAre( false );
   ham->answerIs( ctrl, counts( 2, 4 ) );
   EXPECT_EQ( spi->doRead( 7 ), 0xFF );
   EXPECT_EQ( take(), ( readWords( 0, 7 ) + poll + Lines{ read32( ctrl, counts( 2, 4 ) ) } ) );
   EXPECT_FALSE( spi->doWrite( 7, 1 ) );
   EXPECT_EQ( take(), ( writeWords( 0, 7, 1 ) + times( 10, poll + Lines{ read32( ctrl, counts( 2, 4 ) ) } ) ) );
}

// --- the clean-up ---

TEST_F( KivSpiInterfaceTest, CleaningUpWhatIsCleanOnlyClosesAndWaits ) {
   ham->answersAre( ctrl, { 0 } );
   spi->doResetHwSm();
   EXPECT_EQ( take(), ( Lines{ read32( ctrl, 0 ), write32( command, valid ), sleep( 500'000'000 ) } ) );
}

TEST_F( KivSpiInterfaceTest, EachStepDrainsAndThenLooksWithoutSleeping ) {
   ham->answersAre( ctrl, { counts( 2, 1 ), counts( 1, 1 ), counts( 0, 1 ), 0 } );
   ham->answersAre( response, { 0x11, valid | 0x22, 0 } );
   spi->doResetHwSm();
   EXPECT_EQ(
      take(), ( Lines{
                 read32( ctrl, counts( 2, 1 ) ), read32( response, 0x11 ), read32( ctrl, counts( 1, 1 ) ),
                 read32( response, 0x80000022 ), read32( ctrl, counts( 0, 1 ) ), read32( response, 0 ),
                 read32( ctrl, 0 ), write32( command, valid ), sleep( 500'000'000 ) } ) );
}

struct Drain {
   U32 read;
   U32 write;
   std::size_t steps;
};

class DrainLimitTest : public KivSpiInterfaceTest, public testing::WithParamInterface<Drain> {};

TEST_P( DrainLimitTest, IsThreeTimesTheSumInEightBits ) {
   auto const [read, write, steps] = GetParam();
   ham->answerIs( ctrl, counts( read, write ) );   // never drained
   ham->answerIs( response, 0 );
   spi->doResetHwSm();
   EXPECT_EQ( rig.diary.count( read32( response, 0 ) ), steps );
   EXPECT_EQ( rig.diary.count( read32( ctrl, counts( read, write ) ) ), steps + 1 );
   EXPECT_EQ( rig.diary.of( { "sleep", "write32" } ), ( Lines{ write32( command, valid ), sleep( 500'000'000 ) } ) );
}

INSTANTIATE_TEST_SUITE_P(
   Sums, DrainLimitTest,
   testing::Values(
      Drain{ 1, 0, 3 }, Drain{ 0, 1, 3 }, Drain{ 63, 22, 255 }, Drain{ 43, 43, 2 }, Drain{ 24, 63, 5 },
      Drain{ 63, 63, 122 } ) );

TEST_F( KivSpiInterfaceTest, TheCleanUpTouchesTheMasterInSimulatedModeToo ) {
   Rig::simulationVmidIs( "1" );
   ham->answersAre( ctrl, { 1, 0 } );
   ham->answersAre( response, { valid } );
   spi->doResetHwSm();
   EXPECT_EQ(
      take(), ( Lines{
                 read32( ctrl, 1 ), read32( response, valid ), read32( ctrl, 0 ), write32( command, valid ),
                 sleep( 500'000'000 ) } ) );
}

// --- the master's reset ---

TEST_F( KivSpiInterfaceTest, AResetWaitsAfterBothOfItsWrites ) {
   Lines const pulse{ write32( reset, 1 ), sleep( 5'000'000 ), write32( reset, 0 ), sleep( 5'000'000 ) };
   spi->doReset();
   EXPECT_EQ( take(), pulse );
   Rig::simulationVmidIs( "" );
   spi->doReset();
   EXPECT_EQ( take(), pulse );
}

TEST_F( KivSpiInterfaceTest, AMasterWithoutResetIsLeftAlone ) {
   Hardware::kivSpiInterfaceFactory( base, ham, false )->doReset();
   EXPECT_EQ( take(), Lines{} );
}

// --- simulated mode ---

TEST_F( KivSpiInterfaceTest, ASimulatedReadSendsItsWordsAndDoesNotPoll ) {
   Rig::simulationVmidIs( "1" );
   EXPECT_EQ( spi->doRead( 0x0123 ), 0 );
   EXPECT_EQ( take(), ( readWords( 0x01, 0x23 ) ) );
}

TEST_F( KivSpiInterfaceTest, ASimulatedWriteStoresAndThenPollsTheMaster ) {
   Rig::simulationVmidIs( "1" );
   ham->answersAre( ctrl, { counts( 0, 1 ), 0, 0 } );
   EXPECT_TRUE( spi->doWrite( 0x0123, 0xAB ) );
   EXPECT_EQ(
      take(), ( writeWords( 0x01, 0x23, 0xAB ) + poll + Lines{ read32( ctrl, counts( 0, 1 ) ) } + poll +
                times( 2, { read32( ctrl, 0 ) } ) ) );
   EXPECT_EQ( spi->doRead( 0x0123 ), 0xAB );
   EXPECT_EQ( take(), ( readWords( 0x01, 0x23 ) ) );
}

TEST_F( KivSpiInterfaceTest, ASimulatedWriteThatDoesNotDrainFailsAfterItWasStored ) {
   Rig::simulationVmidIs( "1" );
   bool stored = false;
   rig.inSleep( 1'000, [&] { stored = spi->simulatedData( 0x0123 ) == 0xAB; } );
   ham->answerIs( ctrl, counts( 0, 1 ) );
   EXPECT_FALSE( spi->doWrite( 0x0123, 0xAB ) );
   EXPECT_TRUE( stored );
   EXPECT_EQ( spi->doRead( 0x0123 ), 0xAB );
   EXPECT_EQ(
      rig.diary.of( { "trace" } ), Lines{ trace( 1, "doWrite", "SPI ERROR: Write failed. Write FIFO count = \x01" ) } );
}

TEST_F( KivSpiInterfaceTest, PresenceOfTheVariableIsLookedUpOnEachCallAndAnEmptyValueCounts ) {
   spi->simulatedDataIs( 5, 0x77 );
   ham->answerIs( ctrl, 1 );
   ham->answerIs( response, valid | 0x11 );
   EXPECT_EQ( spi->doRead( 5 ), 0x11 );
   Rig::simulationVmidIs( "" );
   EXPECT_EQ( spi->doRead( 5 ), 0x77 );
   Rig::simulationVmidDel();
   EXPECT_EQ( spi->doRead( 5 ), 0x11 );
   ham->answerIs( ctrl, 0 );
   EXPECT_TRUE( spi->doWrite( 5, 0x66 ) );
   EXPECT_EQ( spi->simulatedData( 5 ), 0x77u );
}

TEST_F( KivSpiInterfaceTest, ASimulatedReadGivesTheLowByteOfWhatIsStored ) {
   Rig::simulationVmidIs( "1" );
   spi->simulatedDataIs( 5, 0x1FE );
   EXPECT_EQ( spi->doRead( 5 ), 0xFE );
}

TEST_F( KivSpiInterfaceTest, SimulatedDataSurvivesEveryReset ) {
   Rig::simulationVmidIs( "1" );
   ham->answerIs( ctrl, 0 );
   EXPECT_TRUE( spi->doWrite( 5, 0x66 ) );
   spi->doResetHwSm();
   spi->doReset();
   EXPECT_EQ( spi->doRead( 5 ), 0x66 );
}

TEST_F( KivSpiInterfaceTest, SimulatedDataIsACollection ) {
   EXPECT_EQ( spi->simulatedData( 1 ), 0u );
   EXPECT_FALSE( spi->simulatedDataHas( 1 ) );
   spi->simulatedDataIs( 1, 10 );
   spi->simulatedDataIs( 2, 20 );
   spi->simulatedDataIs( 1, 11 );
   EXPECT_TRUE( spi->simulatedDataHas( 1 ) );
   EXPECT_EQ( spi->simulatedData( 1 ), 11u );
   EXPECT_EQ( spi->simulatedData().keys().size(), 2u );
   EXPECT_EQ( spi->simulatedDataDel( 1 ), 11u );
   EXPECT_EQ( spi->simulatedDataDel( 1 ), 0u );
   EXPECT_FALSE( spi->simulatedDataHas( 1 ) );
   spi->simulatedDataIs( 3, 30 );
   spi->simulatedDataDelAll();
   EXPECT_TRUE( spi->simulatedData().keys().empty() );
}

// --- reflection ---

TEST_F( KivSpiInterfaceTest, AttributesInTheirOrder ) {
   std::vector<std::string_view> names;
   for ( auto const & attribute : spi->fwkType().attributes() ) names.push_back( attribute.name );
   EXPECT_EQ(
      names, ( std::vector<std::string_view>{
                "base", "hamImpl", "resetSupported", "readCmd", "writeCmd", "simulatedData", "doRead", "doWrite",
                "doResetHwSm", "doReset" } ) );
   Vor::Reflected const reflected{ Vor::Ptr<Vor::PtrInterface>( spi ) };
   EXPECT_EQ( reflected.get( "base" ), Vor::Value( U64{ base } ) );
   EXPECT_EQ( reflected.get( "resetSupported" ), Vor::Value( true ) );
   EXPECT_EQ( reflected.get( "readCmd" ), Vor::Value( U64{ 3 } ) );
   EXPECT_EQ( reflected.get( "writeCmd" ), Vor::Value( U64{ 2 } ) );
   EXPECT_THROW( reflected.set( "base", U64{ 0 } ), Vor::OperationNotSupportedException );
   EXPECT_THROW( reflected.set( "readCmd", U64{ 4 } ), Vor::OperationNotSupportedException );
}

TEST_F( KivSpiInterfaceTest, SimulatedDataByReflection ) {
   Vor::Reflected const reflected{ Vor::Ptr<Vor::PtrInterface>( spi ) };
   reflected.setAt( "simulatedData", U64{ 7 }, U64{ 0x11 } );
   EXPECT_EQ( spi->simulatedData( 7 ), 0x11u );
   EXPECT_EQ( reflected.getAt( "simulatedData", U64{ 7 } ), Vor::Value( U64{ 0x11 } ) );
   EXPECT_EQ( reflected.keys( "simulatedData" ), std::vector<Vor::Value>{ U64{ 7 } } );
   reflected.deleteAt( "simulatedData", U64{ 7 } );
   EXPECT_FALSE( spi->simulatedDataHas( 7 ) );
}

TEST_F( KivSpiInterfaceTest, OperationsByNameWithNamedArguments ) {
   Vor::Reflected const reflected{ Vor::Ptr<Vor::PtrInterface>( spi ) };
   ham->answersAre( ctrl, { 1, 0, 0, 0 } );
   ham->answersAre( response, { valid | 0xAB } );
   EXPECT_EQ( reflected.call( "doRead", { { "address", U64{ 0x1234 } } } ), Vor::Value( U64{ 0xAB } ) );
   EXPECT_EQ( rig.diary.take().front(), write32( command, 3 ) );
   EXPECT_EQ(
      reflected.call( "doWrite", { { "value", U64{ 0x5A } }, { "address", U64{ 0x1234 } } } ), Vor::Value( true ) );
   EXPECT_EQ( rig.diary.take()[3], write32( command, 0x8000005A ) );
   reflected.call( "doResetHwSm" );
   EXPECT_EQ( rig.diary.take().back(), sleep( 500'000'000 ) );
   reflected.call( "doReset" );
   EXPECT_EQ( rig.diary.take().front(), write32( reset, 1 ) );
   EXPECT_THROW( reflected.call( "doRead" ), Vor::NameNotFoundException );
   EXPECT_THROW( reflected.call( "doRead", { { "value", U64{ 0 } } } ), Vor::NameNotFoundException );
   EXPECT_THROW( reflected.call( "doRead", { { "address", U64{ 0x10000 } } } ), Vor::RangeException );
   EXPECT_THROW(
      reflected.call( "doWrite", { { "address", U64{ 0 } }, { "value", U64{ 0x100 } } } ), Vor::RangeException );
   EXPECT_EQ( take(), Lines{} );
}

TEST_F( KivSpiInterfaceTest, MadeByItsFactoryThroughReflection ) {
   Vor::Type const * const type = Vor::typeRegistry().type( "Hardware::KivSpiInterface" );
   ASSERT_TRUE( type );
   U64 const before = type->allocated();
   {
      Vor::NamedValue const arguments[] = {
         { "hamImpl", Vor::Value( Vor::Ptr<Vor::PtrInterface>( ham ) ) },
         { "resetSupported", false },
         { "base", U64{ 0x900 } } };
      auto const made = Vor::ptrCast<KivSpiInterface>( type->make( arguments ) );
      ASSERT_TRUE( made );
      EXPECT_EQ( &made->fwkType(), type );
      EXPECT_EQ( made->base(), 0x900u );
      EXPECT_EQ( made->hamImpl(), ham );
      EXPECT_FALSE( made->resetSupported() );
      EXPECT_EQ( type->allocated(), before + 1 );
   }
   EXPECT_EQ( type->allocated(), before );
}

TEST_F( KivSpiInterfaceTest, HoldsItsHandleForItsWholeLife ) {
   S32 const references = ham->references();
   Vor::Ptr<KivSpiInterface> other = Hardware::kivSpiInterfaceFactory( base, ham, true );
   EXPECT_EQ( ham->references(), references + 1 );
   other = nullptr;
   EXPECT_EQ( ham->references(), references );
}

}   // namespace
}   // namespace SmTest::Interface
