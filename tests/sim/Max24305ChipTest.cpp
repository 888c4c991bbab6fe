#include "sim/Max24305Chip.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sim {
namespace {

class Max24305ChipTest : public testing::Test {
 protected:
   static constexpr U64 lockAfterNs = 1'000;

   void advance( U64 ns ) { clock->nowNsIs( clock->nowNs() + ns ); }
   U8 transaction( U8 instruction, U16 address, U8 data ) {
      chip.byteExchanged( instruction );
      chip.byteExchanged( static_cast<U8>( address >> 8 ) );
      chip.byteExchanged( static_cast<U8>( address ) );
      U8 const response = chip.byteExchanged( data );
      chip.handleChipSelectReleased();
      return response;
   }
   U8 read( U16 address ) { return transaction( 3, address, 0 ); }
   void write( U16 address, U8 value ) { transaction( 2, address, value ); }
   void resetPulse() {
      chip.resetIs( true );
      chip.resetIs( false );
   }
   bool locked() { return read( 7 ) == 0x11; }
   void fault( Fault const & fault ) { faults.faultBegin( fault ); }

   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   FaultBoard faults{ *clock };
   Max24305Chip chip{
      *clock, faults, { .name = "ptp0", .lockAfterNs = lockAfterNs, .outputFrequencyInHz = 10'000'000 } };
};

TEST_F( Max24305ChipTest, RegistersKeepWhatIsWritten ) {
   write( 0x0123, 0xAB );
   write( 0xFFFF, 0x5A );
   EXPECT_EQ( read( 0x0123 ), 0xAB );
   EXPECT_EQ( read( 0xFFFF ), 0x5A );
   EXPECT_EQ( read( 0x2301 ), 0 );
}

TEST_F( Max24305ChipTest, TheIdentificationStandsThereFromPowerUpOnAndCannotBeWritten ) {
   for ( int i = 0; i < 2; ++i ) {
      EXPECT_EQ( read( 0x30 ), 0x5E );
      EXPECT_EQ( read( 0x31 ), 0xF1 );
      EXPECT_EQ( read( 0x32 ), 0x01 );
      write( 0x30, 0 );
      write( 0x31, 0 );
      write( 0x32, 0 );
   }
}

TEST_F( Max24305ChipTest, AnUnfinishedTransactionWritesNothing ) {
   chip.byteExchanged( 2 );
   chip.byteExchanged( 0 );
   chip.byteExchanged( 0x40 );
   chip.handleChipSelectReleased();
   write( 0x50, 0x77 );
   EXPECT_EQ( read( 0x40 ), 0 );
   EXPECT_EQ( read( 0x50 ), 0x77 );
}

TEST_F( Max24305ChipTest, ALoneClosingByteDoesNothing ) {
   chip.byteExchanged( 0 );
   chip.handleChipSelectReleased();
   write( 0x40, 1 );
   EXPECT_EQ( read( 0x40 ), 1 );
}

TEST_F( Max24305ChipTest, FurtherDataBytesGoToTheFollowingRegisters ) {
   for ( U8 const byte : { 2, 0xFF, 0xFE, 11, 12, 13 } ) chip.byteExchanged( byte );
   chip.handleChipSelectReleased();
   EXPECT_EQ( read( 0xFFFE ), 11 );
   EXPECT_EQ( read( 0xFFFF ), 12 );
   EXPECT_EQ( read( 0x0000 ), 13 );
   for ( U8 const byte : { 3, 0xFF, 0xFE } ) chip.byteExchanged( byte );
   EXPECT_EQ( chip.byteExchanged( 0 ), 11 );
   EXPECT_EQ( chip.byteExchanged( 0 ), 12 );
   EXPECT_EQ( chip.byteExchanged( 0 ), 13 );
}

TEST_F( Max24305ChipTest, OtherInstructionsHaveNoEffect ) {
   for ( U8 const instruction : { 0, 1, 4, 0x82, 0xFF } ) EXPECT_EQ( transaction( instruction, 0x40, 9 ), 0 );
   EXPECT_EQ( read( 0x40 ), 0 );
}

TEST_F( Max24305ChipTest, TheBusIsReportedByteForByte ) {
   std::vector<std::string> notes;
   chip.spiObserverIs( [&notes]( std::string_view name, std::array<U8, 4> const & bytes, U8 response ) {
      std::string line( name );
      for ( U8 const byte : bytes ) line += ' ' + std::to_string( byte );
      notes.push_back( line + " -> " + std::to_string( response ) );
   } );
   write( 0x1234, 0x5A );
   read( 0x1234 );
   chip.resetIs( true );
   read( 0x1234 );
   chip.byteExchanged( 0 );
   chip.handleChipSelectReleased();
   EXPECT_EQ(
      notes, ( std::vector<std::string>{ "ptp0 2 18 52 90 -> 0", "ptp0 3 18 52 0 -> 90", "ptp0 3 18 52 0 -> 255" } ) );
}

TEST_F( Max24305ChipTest, ResetPutsTheRegistersBackAndUnlocks ) {
   write( 0x40, 1 );
   advance( lockAfterNs );
   EXPECT_TRUE( locked() );
   chip.resetIs( true );
   EXPECT_EQ( read( 0x30 ), 0xFF );
   EXPECT_EQ( chip.outputFrequencyInHz(), 0u );
   write( 0x40, 2 );
   advance( 10 * lockAfterNs );
   EXPECT_EQ( chip.outputFrequencyInHz(), 0u );
   chip.resetIs( false );
   EXPECT_EQ( read( 0x40 ), 0 );
   EXPECT_EQ( read( 0x30 ), 0x5E );
   EXPECT_EQ( read( 7 ), 0 );
}

TEST_F( Max24305ChipTest, ATransactionCutByAResetIsLostToItsEnd ) {
   chip.byteExchanged( 2 );
   chip.byteExchanged( 0 );
   resetPulse();
   EXPECT_EQ( chip.byteExchanged( 0x40 ), 0xFF );
   EXPECT_EQ( chip.byteExchanged( 1 ), 0xFF );
   chip.handleChipSelectReleased();
   EXPECT_EQ( read( 0x40 ), 0 );
   write( 0x40, 3 );
   EXPECT_EQ( read( 0x40 ), 3 );
}

TEST_F( Max24305ChipTest, LocksAfterPowerUpResetAndTheLastWrite ) {
   advance( lockAfterNs - 1 );
   EXPECT_FALSE( locked() );
   advance( 1 );
   EXPECT_TRUE( locked() );
   EXPECT_EQ( chip.outputFrequencyInHz(), 10'000'000u );

   advance( 5 * lockAfterNs );
   EXPECT_TRUE( locked() );
   write( 0x40, 1 );
   EXPECT_FALSE( locked() );
   EXPECT_EQ( chip.outputFrequencyInHz(), 0u );
   advance( lockAfterNs - 1 );
   write( 0x41, 1 );
   advance( lockAfterNs - 1 );
   EXPECT_FALSE( locked() );
   advance( 1 );
   EXPECT_TRUE( locked() );

   resetPulse();
   advance( lockAfterNs - 1 );
   EXPECT_FALSE( locked() );
   advance( 1 );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, RegisterSevenCannotBeWritten ) {
   write( 7, 0x11 );
   EXPECT_EQ( read( 7 ), 0 );
}

TEST_F( Max24305ChipTest, WithOneApllThereIsAStatusButNoOutput ) {
   for ( U8 const status : { 0x01, 0x10, 0x33 } ) {
      Max24305Chip one(
         *clock, faults, { .name = "one", .lockAfterNs = 0, .apllStatus = status, .outputFrequencyInHz = 25 } );
      advance( 0 );
      for ( U8 const byte : { 3, 0, 7 } ) one.byteExchanged( byte );
      EXPECT_EQ( one.byteExchanged( 0 ), status );
      EXPECT_EQ( one.outputFrequencyInHz(), status == 0x33 ? 25u : 0u );
   }
}

TEST_F( Max24305ChipTest, WritesThatFollowASoftResetTooSoonAreLost ) {
   Max24305Chip settling( *clock, faults, { .name = "settling", .lockAfterNs = lockAfterNs, .settleNs = 100 } );
   auto const exchange = [&settling]( U8 instruction, U8 address, U8 data ) {
      for ( U8 const byte : { instruction, U8( 0 ), address } ) settling.byteExchanged( byte );
      U8 const response = settling.byteExchanged( data );
      settling.handleChipSelectReleased();
      return response;
   };
   exchange( 2, 0x10, 1 );
   exchange( 2, 0, 0x81 );   // no soft reset
   exchange( 2, 0x10, 2 );
   EXPECT_EQ( exchange( 3, 0x10, 0 ), 2 );
   exchange( 2, 0, 0x80 );
   EXPECT_EQ( exchange( 3, 0, 0 ), 0x80 );
   advance( 99 );
   exchange( 2, 0x10, 3 );
   exchange( 2, 0, 0x80 );   // lost like any other
   EXPECT_EQ( exchange( 3, 0x10, 0 ), 2 );
   advance( 1 );
   exchange( 2, 0x10, 4 );
   EXPECT_EQ( exchange( 3, 0x10, 0 ), 4 );
   exchange( 2, 0, 0x80 );
   settling.resetIs( true );
   settling.resetIs( false );
   exchange( 2, 0x10, 5 );
   EXPECT_EQ( exchange( 3, 0x10, 0 ), 5 );
   // One that does not take that long:
   write( 0, 0x80 );
   write( 0x10, 6 );
   EXPECT_EQ( read( 0x10 ), 6 );
}

TEST_F( Max24305ChipTest, VolatileBitsCountTheReads ) {
   Max24305Chip counting( *clock, faults, { .name = "counting", .volatileBits = { { 0x10, 0xA1 }, { 7, 0x80 } } } );
   auto const read = [&counting]( U8 address ) {
      for ( U8 const byte : { U8( 3 ), U8( 0 ), address } ) counting.byteExchanged( byte );
      U8 const response = counting.byteExchanged( 0 );
      counting.handleChipSelectReleased();
      return response;
   };
   for ( U8 const byte : { 2, 0, 0x10, 0xFF } ) counting.byteExchanged( byte );
   counting.handleChipSelectReleased();
   for ( U8 const expected : { 0x5F, 0x7E, 0x7F, 0xDE, 0xDF, 0xFE, 0xFF, 0x5E, 0x5F } ) {
      EXPECT_EQ( read( 0x10 ), expected );
      EXPECT_EQ( read( 0x11 ), 0 );
   }
   counting.resetIs( true );
   counting.resetIs( false );
   EXPECT_EQ( read( 0x10 ), 0x20 );
   EXPECT_EQ( read( 7 ), 0x80 );
   EXPECT_EQ( read( 7 ), 0x00 );
   fault( { .kind = FaultKind::bitStuck_, .address = 7, .mask = 0x80, .value = 0 } );
   EXPECT_EQ( read( 7 ), 0x00 );
}

TEST_F( Max24305ChipTest, BitFlipInvertsReadsOfOneRegisterForItsCount ) {
   write( 0x10, 0x3C );
   write( 0x11, 0x3C );
   fault( { .kind = FaultKind::bitFlip_, .address = 0x10, .mask = 0x81, .count = 2 } );
   EXPECT_EQ( read( 0x11 ), 0x3C );
   EXPECT_EQ( read( 0x10 ), 0xBD );
   EXPECT_EQ( read( 0x10 ), 0xBD );
   EXPECT_EQ( read( 0x10 ), 0x3C );
}

TEST_F( Max24305ChipTest, BitFlipsOverlapAndEndEachOnItsOwn ) {
   fault( { .kind = FaultKind::bitFlip_, .address = 0x10, .mask = 0x01, .forNs = 100 } );
   fault( { .kind = FaultKind::bitFlip_, .address = 0x10, .mask = 0x10, .count = 2 } );
   fault( { .kind = FaultKind::bitFlip_, .address = 0x11, .mask = 0xFF } );
   EXPECT_EQ( read( 0x10 ), 0x11 );
   EXPECT_EQ( read( 0x11 ), 0xFF );
   advance( 100 );
   EXPECT_EQ( read( 0x10 ), 0x10 );
   EXPECT_EQ( read( 0x10 ), 0x00 );
   EXPECT_EQ( read( 0x11 ), 0xFF );
}

TEST_F( Max24305ChipTest, BitFlipReachesTheLockStatusToo ) {
   advance( lockAfterNs );
   fault( { .kind = FaultKind::bitFlip_, .address = 7, .mask = 0x10, .count = 1 } );
   EXPECT_EQ( read( 7 ), 0x01 );
   EXPECT_EQ( read( 7 ), 0x11 );
}

TEST_F( Max24305ChipTest, BitStuckReadsAsItsValueWhateverIsWritten ) {
   fault( { .kind = FaultKind::bitStuck_, .address = 0x10, .mask = 0x0F, .value = 0xF5, .count = 3 } );
   EXPECT_EQ( read( 0x10 ), 0x05 );
   write( 0x10, 0x3C );
   write( 0x11, 0x3C );
   EXPECT_EQ( read( 0x10 ), 0x35 );
   EXPECT_EQ( read( 0x11 ), 0x3C );
   EXPECT_EQ( read( 0x10 ), 0x35 );
   EXPECT_EQ( read( 0x10 ), 0x3C );
}

TEST_F( Max24305ChipTest, MisoStuckHoldsEveryAnswerAndLetsWritesThrough ) {
   write( 0x10, 0x3C );
   fault( { .kind = FaultKind::misoStuck_, .value = 1, .forNs = 100 } );
   EXPECT_EQ( read( 0x10 ), 0xFF );
   write( 0x10, 0x3D );
   EXPECT_EQ( read( 0x20 ), 0xFF );
   advance( 100 );
   EXPECT_EQ( read( 0x10 ), 0x3D );
   fault( { .kind = FaultKind::misoStuck_, .value = 0, .count = 2 } );
   write( 0x11, 1 );   // no answer
   EXPECT_EQ( read( 0x10 ), 0x00 );
   chip.resetIs( true );
   EXPECT_EQ( read( 0x10 ), 0x00 );   // the line is stuck, whether the chip drives it or not
   EXPECT_EQ( read( 0x10 ), 0xFF );
}

TEST_F( Max24305ChipTest, SpiShiftDelaysAnAnswersBits ) {
   write( 0x10, 0xB6 );
   write( 0x11, 0x41 );
   fault( { .kind = FaultKind::spiShift_, .bits = 3, .count = 3 } );
   EXPECT_EQ( read( 0x10 ), 0x16 );   // 000 from the idle bus, then 10110
   for ( U8 const byte : { 3, 0, 0x10 } ) chip.byteExchanged( byte );
   EXPECT_EQ( chip.byteExchanged( 0 ), 0x16 );
   EXPECT_EQ( chip.byteExchanged( 0 ), 0xC8 );   // the 110 that was left over, then 01000
   chip.handleChipSelectReleased();
   EXPECT_EQ( read( 0x10 ), 0xB6 );
   fault( { .kind = FaultKind::spiShift_, .bits = 7 } );
   EXPECT_EQ( read( 0x10 ), 0x01 );
   chip.resetIs( true );
   EXPECT_EQ( read( 0x10 ), 0xFF );   // nobody drives the bus
}

TEST_F( Max24305ChipTest, SpiLateGivesEachAnswerWithTheNextRead ) {
   write( 0x10, 0x3C );
   write( 0x11, 0x3D );
   fault( { .kind = FaultKind::spiLate_, .count = 3 } );
   EXPECT_EQ( read( 0x10 ), 0x00 );
   write( 0x12, 0x3E );
   EXPECT_EQ( read( 0x11 ), 0x3C );
   resetPulse();
   EXPECT_EQ( read( 0x30 ), 0x3D );
   EXPECT_EQ( read( 0x30 ), 0x5E );
   fault( { .kind = FaultKind::spiLate_ } );
   EXPECT_EQ( read( 0x31 ), 0x00 );   // what the one before left is gone
   EXPECT_EQ( read( 0x31 ), 0xF1 );
}

TEST_F( Max24305ChipTest, FaultsOfAnAnswerWorkOnOneAnother ) {
   write( 0x10, 0x3C );
   fault( { .kind = FaultKind::spiLate_ } );
   fault( { .kind = FaultKind::spiShift_, .bits = 1 } );
   fault( { .kind = FaultKind::bitFlip_, .address = 0x10, .mask = 0x80, .count = 1 } );
   EXPECT_EQ( read( 0x10 ), 0x00 );
   EXPECT_EQ( read( 0x10 ), 0x5E );   // 0xBC, a bit later
   EXPECT_EQ( read( 0x10 ), 0x1E );
   fault( { .kind = FaultKind::misoStuck_, .value = 1, .count = 1 } );
   EXPECT_EQ( read( 0x30 ), 0xFF );
   EXPECT_EQ( read( 0x31 ), 0x2F );
}

TEST_F( Max24305ChipTest, TheBusIsReportedAsItsLineCarriedIt ) {
   std::string seen;
   chip.spiObserverIs( [&seen]( std::string_view, std::array<U8, 4> const &, U8 response ) {
      seen += std::to_string( response ) + ' ';
   } );
   fault( { .kind = FaultKind::misoStuck_, .value = 1 } );
   write( 0x10, 1 );
   read( 0x10 );
   EXPECT_EQ( seen, "0 255 " );
}

TEST_F( Max24305ChipTest, WriteLostLeavesRegisterAndLockAsTheyWere ) {
   write( 0x10, 0x3C );
   advance( lockAfterNs );
   fault( { .kind = FaultKind::writeLost_, .count = 2 } );
   read( 0x10 );
   write( 0x10, 0x3D );
   EXPECT_EQ( read( 0x10 ), 0x3C );
   EXPECT_TRUE( locked() );
   write( 0x10, 0x3E );
   EXPECT_EQ( read( 0x10 ), 0x3C );
   write( 0x10, 0x3F );
   EXPECT_EQ( read( 0x10 ), 0x3F );
   EXPECT_FALSE( locked() );
}

TEST_F( Max24305ChipTest, ChipResetIsAPowerUpOnceAtItsTime ) {
   write( 0x10, 0x3C );
   advance( lockAfterNs );
   EXPECT_TRUE( locked() );
   fault( { .kind = FaultKind::chipReset_ } );
   EXPECT_EQ( read( 0x10 ), 0 );
   EXPECT_EQ( read( 0x30 ), 0x5E );
   EXPECT_FALSE( locked() );
   EXPECT_EQ( chip.outputFrequencyInHz(), 0u );
   write( 0x10, 0x3D );
   EXPECT_EQ( read( 0x10 ), 0x3D );
   advance( lockAfterNs );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, ChipResetCutsTheTransactionUnderWay ) {
   for ( U8 const byte : { 2, 0, 0x10 } ) chip.byteExchanged( byte );
   fault( { .kind = FaultKind::chipReset_ } );
   chip.byteExchanged( 0x3C );
   chip.handleChipSelectReleased();
   EXPECT_EQ( read( 0x10 ), 0 );
}

TEST_F( Max24305ChipTest, ChipResetDoesNotReleaseTheResetLine ) {
   chip.resetIs( true );
   fault( { .kind = FaultKind::chipReset_ } );
   EXPECT_EQ( read( 0x30 ), 0xFF );
   chip.resetIs( false );
   EXPECT_EQ( read( 0x30 ), 0x5E );
}

TEST_F( Max24305ChipTest, NeverLockForASpanStartsLockingAnewAtItsEnd ) {
   fault( { .kind = FaultKind::neverLock_, .forNs = 5 * lockAfterNs } );
   advance( 6 * lockAfterNs - 1 );
   EXPECT_FALSE( locked() );
   advance( 1 );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, NeverLockLeavesALockedChipAlone ) {
   advance( lockAfterNs );
   fault( { .kind = FaultKind::neverLock_, .forNs = 10 } );
   EXPECT_TRUE( locked() );
   advance( 100 );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, NeverLockByCountWaitsForTheNextAttempt ) {
   fault( { .kind = FaultKind::neverLock_, .count = 1 } );
   advance( 100 * lockAfterNs );
   EXPECT_FALSE( locked() );
   resetPulse();
   advance( lockAfterNs );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, NeverLockWithoutEnd ) {
   fault( { .kind = FaultKind::neverLock_ } );
   advance( lockAfterNs );
   resetPulse();
   advance( 1'000 * lockAfterNs );
   EXPECT_FALSE( locked() );
}

TEST_F( Max24305ChipTest, LoseLockForASpan ) {
   advance( lockAfterNs );
   EXPECT_TRUE( locked() );
   fault( { .kind = FaultKind::loseLock_, .forNs = 5 * lockAfterNs } );
   EXPECT_FALSE( locked() );
   EXPECT_EQ( chip.outputFrequencyInHz(), 0u );
   write( 0x40, 1 );   // a lock that comes about meanwhile is lost too
   advance( 6 * lockAfterNs - 1 );
   EXPECT_FALSE( locked() );
   advance( 1 );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, LoseLockByCountLocksAgainByItself ) {
   advance( lockAfterNs );
   fault( { .kind = FaultKind::loseLock_, .count = 2 } );
   EXPECT_FALSE( locked() );
   advance( 2 * lockAfterNs - 1 );
   EXPECT_FALSE( locked() );
   advance( 1 );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, LoseLockOfOneApllLeavesTheOtherInLock ) {
   advance( lockAfterNs );
   fault( { .kind = FaultKind::loseLock_, .mask = 0x10, .forNs = 5 * lockAfterNs } );
   EXPECT_EQ( read( 7 ), 0x01 );
   EXPECT_EQ( chip.outputFrequencyInHz(), 0u );
   write( 0x40, 1 );
   EXPECT_EQ( read( 7 ), 0x00 );
   advance( lockAfterNs );
   EXPECT_EQ( read( 7 ), 0x01 );
   advance( 5 * lockAfterNs - 1 );
   EXPECT_EQ( read( 7 ), 0x01 );
   advance( 1 );
   EXPECT_EQ( read( 7 ), 0x11 );
   EXPECT_EQ( chip.outputFrequencyInHz(), 10'000'000u );
}

TEST_F( Max24305ChipTest, EachLoseLockTakesItsOwnApll ) {
   advance( lockAfterNs );
   fault( { .kind = FaultKind::loseLock_, .mask = 0x01, .forNs = 5 * lockAfterNs } );
   fault( { .kind = FaultKind::loseLock_, .mask = 0x10, .count = 2 } );
   EXPECT_EQ( read( 7 ), 0x00 );
   advance( 2 * lockAfterNs - 1 );
   EXPECT_EQ( read( 7 ), 0x00 );   // the second has lost its lock once more
   advance( 1 );
   EXPECT_EQ( read( 7 ), 0x10 );
   advance( 4 * lockAfterNs );
   EXPECT_EQ( read( 7 ), 0x11 );
}

TEST_F( Max24305ChipTest, FlapLockIsInLockForTheFirstPartOfEachPeriod ) {
   advance( lockAfterNs + 7 );
   fault( { .kind = FaultKind::flapLock_, .mask = 0x01, .periodNs = 100, .lockedNs = 30, .forNs = 1'050 } );
   for ( int period = 0; period < 10; ++period ) {
      EXPECT_EQ( read( 7 ), 0x11 ) << period;
      advance( 29 );
      EXPECT_EQ( chip.outputFrequencyInHz(), 10'000'000u ) << period;
      advance( 1 );
      EXPECT_EQ( read( 7 ), 0x10 ) << period;
      EXPECT_EQ( chip.outputFrequencyInHz(), 0u ) << period;
      advance( 69 );
      EXPECT_EQ( read( 7 ), 0x10 ) << period;
      advance( 1 );
   }
   advance( 49 );
   EXPECT_EQ( read( 7 ), 0x10 );
   advance( 1 );
   EXPECT_EQ( read( 7 ), 0x11 );
}

TEST_F( Max24305ChipTest, FlapLockCountsPeriodsAndLocksNobody ) {
   fault( { .kind = FaultKind::flapLock_, .periodNs = 100, .lockedNs = 30, .count = 11 } );
   EXPECT_EQ( read( 7 ), 0x00 );
   advance( lockAfterNs );
   EXPECT_EQ( read( 7 ), 0x11 );
   advance( 30 );
   for ( int look = 0; look < 20; ++look ) EXPECT_EQ( read( 7 ), 0x00 ) << look;
   advance( 70 );
   EXPECT_EQ( read( 7 ), 0x11 );
   advance( 30 );
   EXPECT_EQ( read( 7 ), 0x11 );
}

TEST_F( Max24305ChipTest, ASpanThatEndsDuringResetStartsNothing ) {
   advance( lockAfterNs );
   fault( { .kind = FaultKind::loseLock_, .forNs = 10 } );
   chip.resetIs( true );
   advance( 10 * lockAfterNs );
   EXPECT_EQ( chip.outputFrequencyInHz(), 0u );
   chip.resetIs( false );
   advance( lockAfterNs );
   EXPECT_TRUE( locked() );
}

TEST_F( Max24305ChipTest, SlowLockDelaysEachLockOfItsCountOnce ) {
   fault( { .kind = FaultKind::slowLock_, .extraNs = 300, .count = 2 } );
   for ( int i = 0; i < 3; ++i ) {
      resetPulse();
      advance( lockAfterNs + ( i < 2 ? 299 : -1 ) );
      EXPECT_FALSE( locked() ) << i;
      advance( 1 );
      EXPECT_TRUE( locked() ) << i;
   }
}

TEST_F( Max24305ChipTest, SlowLockForASpanDelaysLocksDueInIt ) {
   fault( { .kind = FaultKind::slowLock_, .extraNs = 700, .forNs = lockAfterNs + 1 } );
   advance( lockAfterNs + 699 );
   EXPECT_FALSE( locked() );
   advance( 1 );
   EXPECT_TRUE( locked() );
   resetPulse();
   advance( lockAfterNs );
   EXPECT_TRUE( locked() );
}

}   // namespace
}   // namespace Sim
