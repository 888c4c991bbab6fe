#include "sim/SpiMaster.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Sim {
namespace {

// Register addresses and bits as the FPGA's table gives them.
constexpr U32 commandFifo = 0x00;
constexpr U32 responseFifo = 0x10;
constexpr U32 ctrl = 0x20;
constexpr U32 resetRegister = 0x30;
constexpr U32 csEnd = 0x80000000;
constexpr U32 recordResponse = 0x00001000;
constexpr U32 dataValid = 0x80000000;

// Answers each byte with its complement and writes down what the bus did: "03 00 |" is two bytes and a release.
struct Device final : SpiDevice {
   explicit Device( VirtualClock & clock ) : clock( clock ) {}
   U8 byteExchanged( U8 out ) override {
      constexpr char digits[] = "0123456789abcdef";
      seen += digits[out >> 4];
      seen += digits[out & 0xF];
      seen += ' ';
      atNs.push_back( clock.nowNs() );
      return static_cast<U8>( ~out );
   }
   void handleChipSelectReleased() override { seen += '|'; }

   VirtualClock & clock;
   std::string seen;
   std::vector<U64> atNs;
};

class SpiMasterTest : public testing::Test {
 protected:
   void advance( U64 ns ) { clock->nowNsIs( clock->nowNs() + ns ); }
   U32 writeCount() { return master.read( ctrl ) >> 16 & 0x3F; }
   U32 readCount() { return master.read( ctrl ) & 0x3F; }
   void transaction( U8 instruction, U8 data, U32 lastBits ) {
      master.write( commandFifo, instruction );
      master.write( commandFifo, 0x12 );
      master.write( commandFifo, 0x34 );
      master.write( commandFifo, csEnd | lastBits | data );
   }
   void readTransaction() { transaction( 3, 0, recordResponse ); }
   void writeTransaction( U8 value ) { transaction( 2, value, 0 ); }

   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   Device device{ *clock };
   FaultBoard faults{ *clock };
   SpiMaster master{ *clock, device, faults, {} };
};

TEST_F( SpiMasterTest, ABytesTimeFollowsTheClockAndIsRoundedUp ) {
   auto byteNs = [this]( U64 clockInHz ) {
      return SpiMaster( *clock, device, faults, { .clockInHz = clockInHz } ).byteNs();
   };
   EXPECT_EQ( master.byteNs(), 800u );
   EXPECT_EQ( byteNs( 1'000'000 ), 8'000u );
   EXPECT_EQ( byteNs( 3'000'000 ), 2'667u );
   EXPECT_EQ( byteNs( 1 ), 8'000'000'000u );
   EXPECT_EQ( byteNs( 20'000'000'000 ), 1u );
   EXPECT_THROW( byteNs( 0 ), std::invalid_argument );
}

TEST_F( SpiMasterTest, TheCountsFallByteByByte ) {
   writeTransaction( 0x5A );
   EXPECT_EQ( writeCount(), 4u );
   advance( 799 );
   EXPECT_EQ( writeCount(), 4u );
   advance( 1 );
   EXPECT_EQ( writeCount(), 3u );
   advance( 1'600 );
   EXPECT_EQ( writeCount(), 1u );
   EXPECT_EQ( device.seen, "02 12 34 " );
   advance( 800 );
   EXPECT_EQ( master.read( ctrl ), 0u );
   EXPECT_EQ( device.seen, "02 12 34 5a |" );
   EXPECT_EQ( device.atNs, ( std::vector<U64>{ 800, 1'600, 2'400, 3'200 } ) );
}

TEST_F( SpiMasterTest, OnlyTheRecordedByteLeavesAResponse ) {
   readTransaction();
   advance( 3'199 );
   EXPECT_EQ( master.read( ctrl ), 0x00010000u );
   advance( 1 );
   EXPECT_EQ( master.read( ctrl ), 0x00000001u );
   EXPECT_EQ( master.read( responseFifo ), dataValid | 0xFF );
   EXPECT_EQ( master.read( ctrl ), 0u );
   EXPECT_EQ( master.read( responseFifo ), 0u );
}

TEST_F( SpiMasterTest, AWordHandedInDuringAByteGoesOutAfterIt ) {
   master.write( commandFifo, 0x01 );
   advance( 500 );
   master.write( commandFifo, csEnd | 0x02 );
   advance( 5'000 );
   EXPECT_EQ( device.atNs, ( std::vector<U64>{ 800, 1'600 } ) );
   EXPECT_EQ( device.seen, "01 02 |" );
}

TEST_F( SpiMasterTest, ReservedBitsOfACommandMeanNothing ) {
   master.write( commandFifo, 0x7FFFEF00 | 0x21 );
   advance( 800 );
   EXPECT_EQ( device.seen, "21 " );
   EXPECT_EQ( readCount(), 0u );
}

TEST_F( SpiMasterTest, EachFifoHolds63AndLosesWhatComesThen ) {
   for ( U32 i = 0; i < 70; ++i ) master.write( commandFifo, recordResponse | i );
   EXPECT_EQ( master.read( ctrl ), 63u << 16 );
   advance( 63 * 800 );
   EXPECT_EQ( master.read( ctrl ), 63u );
   EXPECT_EQ( device.atNs.size(), 63u );
   master.write( commandFifo, recordResponse | 0x55 );
   advance( 800 );
   EXPECT_EQ( readCount(), 63u );
   for ( U32 i = 0; i < 63; ++i ) EXPECT_EQ( master.read( responseFifo ), dataValid | ( 0xFF - i ) );
   EXPECT_EQ( master.read( responseFifo ), 0u );
}

TEST_F( SpiMasterTest, ResetEmptiesAndSilencesTheMaster ) {
   readTransaction();
   advance( 3'200 );
   writeTransaction( 1 );
   advance( 1'000 );
   device.seen.clear();
   master.write( resetRegister, 1 );
   EXPECT_EQ( master.read( resetRegister ), 1u );
   EXPECT_EQ( master.read( ctrl ), 0u );
   EXPECT_EQ( device.seen, "|" );
   writeTransaction( 2 );
   advance( 10'000 );
   EXPECT_EQ( master.read( ctrl ), 0u );
   EXPECT_EQ( device.seen, "|" );
   master.write( resetRegister, 0 );
   writeTransaction( 3 );
   advance( 3'200 );
   EXPECT_EQ( device.seen, "|02 12 34 03 |" );
}

TEST_F( SpiMasterTest, OnlyBitZeroOfTheResetRegisterCounts ) {
   master.write( resetRegister, 0xFFFFFFFE );
   EXPECT_EQ( master.read( resetRegister ), 0u );
   writeTransaction( 1 );
   EXPECT_EQ( writeCount(), 4u );
}

TEST_F( SpiMasterTest, WithoutAResetRegisterNothingIsReset ) {
   SpiMaster plain( *clock, device, faults, { .resetSupported = false } );
   plain.write( commandFifo, 0x11 );
   plain.write( resetRegister, 1 );
   EXPECT_EQ( plain.read( resetRegister ), 0u );
   EXPECT_EQ( plain.read( ctrl ), 1u << 16 );
}

TEST_F( SpiMasterTest, CountsAndResponsesCannotBeWrittenAndCommandsNotRead ) {
   master.write( responseFifo, 0xFFFFFFFF );
   master.write( ctrl, 0xFFFFFFFF );
   EXPECT_EQ( master.read( ctrl ), 0u );
   writeTransaction( 1 );
   EXPECT_EQ( master.read( commandFifo ), 0u );
}

TEST_F( SpiMasterTest, EntriesMayStandInTheFifosFromBefore ) {
   SpiMaster used( *clock, device, faults, { .responses = 2, .commands = 3 } );
   EXPECT_EQ( used.read( ctrl ), 0x00030002u );
   EXPECT_EQ( used.read( responseFifo ), dataValid );
   EXPECT_EQ( used.read( responseFifo ), dataValid );
   EXPECT_EQ( used.read( responseFifo ), 0u );
   advance( 799 );
   EXPECT_EQ( used.read( ctrl ), 0x00030000u );
   advance( 1'601 );
   EXPECT_EQ( used.read( ctrl ), 0u );
   EXPECT_EQ( device.seen, "00 00 00 " );   // no end of the transaction
   used.write( commandFifo, csEnd );
   advance( 800 );
   EXPECT_EQ( device.seen, "00 00 00 00 |" );
   SpiMaster full( *clock, device, faults, { .responses = 100, .commands = 64 } );
   EXPECT_EQ( full.read( ctrl ), 0x003F003Fu );
}

TEST_F( SpiMasterTest, SpiDeadLosesResponsesForItsCount ) {
   faults.faultBegin( { .kind = FaultKind::spiDead_, .count = 2 } );
   for ( int i = 0; i < 3; ++i ) {
      writeTransaction( 1 );   // has no response to lose
      readTransaction();
      advance( 6'400 );
      EXPECT_EQ( readCount(), i < 2 ? 0u : 1u ) << i;
   }
}

TEST_F( SpiMasterTest, SpiDeadLosesResponsesForItsSpan ) {
   faults.faultBegin( { .kind = FaultKind::spiDead_, .forNs = 3'200 } );
   readTransaction();   // its span began first, so it has ended as the response comes
   advance( 3'200 );
   EXPECT_EQ( readCount(), 1u );
   faults.faultBegin( { .kind = FaultKind::spiDead_, .forNs = 3'201 } );
   readTransaction();
   advance( 3'200 );
   EXPECT_EQ( readCount(), 1u );
}

TEST_F( SpiMasterTest, AFaultWithoutEndLastsToTheEnd ) {
   faults.faultBegin( { .kind = FaultKind::spiDead_ } );
   for ( int i = 0; i < 20; ++i ) readTransaction();
   advance( 100'000'000'000 );
   readTransaction();
   advance( 3'200 );
   EXPECT_EQ( readCount(), 0u );
}

TEST_F( SpiMasterTest, SpiInvalidTakesTheValidBitAway ) {
   faults.faultBegin( { .kind = FaultKind::spiInvalid_, .count = 1 } );
   readTransaction();
   readTransaction();
   advance( 6'400 );
   EXPECT_EQ( master.read( responseFifo ), 0xFFu );
   EXPECT_EQ( master.read( responseFifo ), dataValid | 0xFF );
}

TEST_F( SpiMasterTest, SpiExtraDoublesTheResponse ) {
   faults.faultBegin( { .kind = FaultKind::spiExtra_, .count = 1 } );
   readTransaction();
   advance( 3'200 );
   EXPECT_EQ( readCount(), 2u );
   EXPECT_EQ( master.read( responseFifo ), dataValid | 0xFF );
   EXPECT_EQ( master.read( responseFifo ), dataValid | 0xFF );
   readTransaction();
   advance( 3'200 );
   EXPECT_EQ( readCount(), 1u );
}

TEST_F( SpiMasterTest, SpiStuckWriteHoldsTheWordsUntilItsSpanEnds ) {
   writeTransaction( 1 );
   advance( 1'000 );   // one byte is out, the second on the wire
   faults.faultBegin( { .kind = FaultKind::spiStuckWrite_, .forNs = 50'000 } );
   advance( 49'999 );
   EXPECT_EQ( writeCount(), 3u );
   EXPECT_EQ( device.seen, "02 " );
   advance( 1 );
   advance( 2'400 );   // the byte on the wire starts over
   EXPECT_EQ( writeCount(), 0u );
   EXPECT_EQ( device.seen, "02 12 34 01 |" );
}

TEST_F( SpiMasterTest, SpiStuckWriteCountsTransactionsAndSparesLoneClosingWords ) {
   faults.faultBegin( { .kind = FaultKind::spiStuckWrite_, .count = 2 } );
   for ( U8 i = 0; i < 2; ++i ) {
      master.write( commandFifo, csEnd );
      advance( 1'000'000 );
      writeTransaction( i );
      advance( 1'000'000 );
      EXPECT_EQ( writeCount(), 5u * ( i + 1u ) );
   }
   EXPECT_EQ( device.seen, "" );
   master.write( commandFifo, csEnd );   // the FIFO moves again, and all that stood in it goes out
   advance( 11 * 800 );
   EXPECT_EQ( writeCount(), 0u );
   EXPECT_EQ( device.seen, "00 |02 12 34 00 |00 |02 12 34 01 |00 |" );
}

TEST_F( SpiMasterTest, AResetDropsWhatStuck ) {
   faults.faultBegin( { .kind = FaultKind::spiStuckWrite_, .count = 1 } );
   writeTransaction( 1 );
   master.write( resetRegister, 1 );
   master.write( resetRegister, 0 );
   writeTransaction( 2 );
   advance( 3'200 );
   EXPECT_EQ( device.seen, "02 12 34 02 |" );
}

TEST_F( SpiMasterTest, OverlappingSpansEndWithTheLast ) {
   faults.faultBegin( { .kind = FaultKind::spiStuckWrite_, .forNs = 10'000 } );
   faults.faultBegin( { .kind = FaultKind::spiStuckWrite_, .forNs = 20'000 } );
   writeTransaction( 1 );
   advance( 15'000 );
   EXPECT_EQ( writeCount(), 4u );
   advance( 5'000 + 3'200 );
   EXPECT_EQ( writeCount(), 0u );
}

}   // namespace
}   // namespace Sim
