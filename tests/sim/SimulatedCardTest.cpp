#include "sim/SimulatedCard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace Sim {
namespace {

using testing::HasSubstr;

// Where the registers stand on the card of these tests.
constexpr U32 ptp0Spi = 256;
constexpr U32 ptp0Frequency = 512;
constexpr U32 ptp1Spi = 1024;
constexpr U32 ptp1Frequency = 1280;
constexpr U32 outputs = 8192;
constexpr U32 tolvane = 12288;

constexpr U32 osc0Bit = 1;   // active high
constexpr U32 ptp0Bit = 2;   // active low
constexpr U32 ptp1Bit = 4;   // active high

SimulatedCard::Parameters parameters() {
   return {
      .outputs =
         { { .name = "osc0Reset", .offset = outputs, .bit = 0 },
           { .name = "ptp0Reset", .offset = outputs, .bit = 1, .activeType = Fru::activeLow_ },
           { .name = "ptp1Reset", .offset = outputs, .bit = 2 },
           { .name = "spare", .offset = outputs + 4, .bit = 31 } },
      .max24305s =
         { { .name = "ptp0",
             .configOffset = ptp0Spi,
             .statusOffset = ptp0Frequency,
             .resetGpoName = "ptp0Reset",
             .outputFrequencyInHz = 10'000'000,
             .lockAfterNs = 1'000'000 },
           { .name = "ptp1",
             .configOffset = ptp1Spi,
             .statusOffset = ptp1Frequency,
             .spiResetSupported = false,
             .resetGpoName = "ptp1Reset",
             .outputFrequencyInHz = 25'000'000,
             .lockAfterNs = 2'000'000 } },
      .tolvanes = { { .name = "osc0", .offset = tolvane, .resetGpoName = "osc0Reset" } },
   };
}

class SimulatedCardTest : public testing::Test {
 protected:
   SimulatedCardTest() { card.write32( outputs, ptp0Bit ); }   // all chips out of reset

   void advance( U64 ns ) { clock->nowNsIs( clock->nowNs() + ns ); }
   void transaction( U32 spi, U32 first, U32 address, U32 last ) {
      card.write32( spi, first );
      card.write32( spi, address >> 8 );
      card.write32( spi, address & 0xFF );
      card.write32( spi, last );
      advance( 4 * 800 );
   }
   void write( U32 spi, U32 address, U32 value ) { transaction( spi, 2, address, 0x80000000 | value ); }
   U32 read( U32 spi, U32 address ) {
      transaction( spi, 3, address, 0x80001000 );
      return card.read32( spi + 0x10 );
   }
   bool locked( U32 spi ) { return read( spi, 7 ) == 0x80000011; }

   Vor::Ptr<VirtualClock> const clock = new VirtualClock;
   SimulatedCard card{ clock, parameters() };
};

TEST_F( SimulatedCardTest, CommandWordsReachEachChipsOwnRegisters ) {
   write( ptp0Spi, 0x1234, 0x5A );
   write( ptp1Spi, 0x1234, 0xA5 );
   EXPECT_EQ( read( ptp0Spi, 0x1234 ), 0x8000005A );
   EXPECT_EQ( read( ptp1Spi, 0x1234 ), 0x800000A5 );
   EXPECT_EQ( read( ptp0Spi, 0x30 ), 0x8000005E );
}

TEST_F( SimulatedCardTest, WhereNothingStandsReadsGiveZeroAndWritesAreLost ) {
   for ( U32 const address : { 0u, 4u, 260u, 257u, 8200u, 0xFFFFFFFCu } ) {
      card.write32( address, 0xFFFFFFFF );
      EXPECT_EQ( card.read32( address ), 0u ) << address;
   }
}

TEST_F( SimulatedCardTest, AnAccessWhereNothingStandsIsToldOfOncePerAddressAndDirection ) {
   std::string story;
   std::size_t count = 0;
   card.read32( 4 );   // nobody listens yet
   card.unclaimedObserverIs( [&]( U32 address, AccessDirection direction ) {
      story += unclaimedText( address, direction ) + "\n";
      ++count;
   } );
   card.faultBegin( "", { .kind = FaultKind::hardwareGone_, .count = 1 } );
   card.read32( 4 );   // nothing of the card answers
   for ( int i = 0; i < 2; ++i ) {
      card.read32( 4 );
      card.write32( 260, 1 );
      card.read32( 260 );
      card.read32( ptp0Spi );   // a register that cannot be read is one all the same
      card.write32( ptp0Frequency, 1 );
      card.read32( tolvane );
   }
   EXPECT_EQ(
      story, "read of 0x4, where the card has no register: it gives 0\n"
             "write to 0x104, where the card has no register: it is lost\n"
             "read of 0x104, where the card has no register: it gives 0\n" );
   for ( U32 address = 0x10000; address < 0x20000; address += 4 ) card.read32( address );
   EXPECT_EQ( count, SimulatedCard::unclaimedToldMax );
   card.unclaimedObserverIs( nullptr );
   EXPECT_EQ( card.read32( 8 ), 0u );
}

TEST_F( SimulatedCardTest, TheFrequencyRegistersFollowTheLocks ) {
   advance( 999'999 );
   EXPECT_EQ( card.read32( ptp0Frequency ), 0u );
   advance( 1 );
   EXPECT_EQ( card.read32( ptp0Frequency ), 10'000'000u );
   EXPECT_EQ( card.read32( ptp1Frequency ), 0u );
   card.write32( ptp0Frequency, 5 );
   advance( 1'000'000 );
   EXPECT_EQ( card.read32( ptp0Frequency ), 10'000'000u );
   EXPECT_EQ( card.read32( ptp1Frequency ), 25'000'000u );
}

TEST_F( SimulatedCardTest, OutputsShareARegisterAndEachResetsItsChip ) {
   write( ptp0Spi, 0x40, 1 );
   write( ptp1Spi, 0x40, 1 );
   EXPECT_EQ( card.read32( outputs ), ptp0Bit );
   card.write32( outputs, ptp0Bit | ptp1Bit );
   EXPECT_EQ( read( ptp1Spi, 0x40 ), 0x800000FF );
   card.write32( outputs, ptp0Bit );
   EXPECT_EQ( read( ptp1Spi, 0x40 ), 0x80000000 );
   EXPECT_EQ( read( ptp0Spi, 0x40 ), 0x80000001 );
   card.write32( outputs, 0 );
   EXPECT_EQ( read( ptp0Spi, 0x40 ), 0x800000FF );
   card.write32( outputs, ptp0Bit );
   EXPECT_EQ( read( ptp0Spi, 0x40 ), 0x80000000 );
   card.write32( outputs + 4, 0x80000000 );
   EXPECT_EQ( card.read32( outputs + 4 ), 0x80000000 );
}

TEST_F( SimulatedCardTest, AnActiveLowOutputHoldsItsChipFromPowerUpOn ) {
   SimulatedCard fresh( clock, parameters() );
   advance( 10'000'000 );
   EXPECT_EQ( fresh.read32( ptp0Frequency ), 0u );
   EXPECT_EQ( fresh.read32( ptp1Frequency ), 25'000'000u );
   fresh.write32( outputs, ptp0Bit );
   advance( 1'000'000 );
   EXPECT_EQ( fresh.read32( ptp0Frequency ), 10'000'000u );
}

TEST_F( SimulatedCardTest, TheSpiResetIsThereWhereItIsSupported ) {
   card.write32( ptp0Spi, 0x11 );
   card.write32( ptp0Spi + 0x30, 1 );
   EXPECT_EQ( card.read32( ptp0Spi + 0x30 ), 1u );
   EXPECT_EQ( card.read32( ptp0Spi + 0x20 ), 0u );
   card.write32( ptp1Spi, 0x11 );
   card.write32( ptp1Spi + 0x30, 1 );
   EXPECT_EQ( card.read32( ptp1Spi + 0x20 ), 0x00010000u );
}

TEST_F( SimulatedCardTest, TheTolvaneIsEnabledAndReset ) {
   EXPECT_EQ( card.read32( tolvane ), 0u );
   card.write32( tolvane, 0xFFFFFFFD );
   EXPECT_EQ( card.read32( tolvane ), 0u );
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 3u );
   card.write32( outputs, ptp0Bit | osc0Bit );
   EXPECT_EQ( card.read32( tolvane ), 0u );
   card.write32( tolvane, 2 );
   card.write32( outputs, ptp0Bit );
   EXPECT_EQ( card.read32( tolvane ), 0u );
}

TEST_F( SimulatedCardTest, NoPowerForASpan ) {
   card.write32( tolvane, 2 );
   card.faultBegin( "osc0", { .kind = FaultKind::noPower_, .forNs = 100 } );
   EXPECT_EQ( card.read32( tolvane ), 0u );
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 0u );
   advance( 100 );
   EXPECT_EQ( card.read32( tolvane ), 0u );
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 3u );
}

TEST_F( SimulatedCardTest, NoPowerCountsTheWritesThatWouldEnable ) {
   card.faultBegin( "osc0", { .kind = FaultKind::noPower_, .count = 2 } );
   card.write32( tolvane, 0 );
   for ( int i = 0; i < 2; ++i ) {
      card.write32( tolvane, 2 );
      EXPECT_EQ( card.read32( tolvane ), 0u );
   }
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 3u );
}

TEST_F( SimulatedCardTest, BitsOfTheTolvanesRegisterAreFlippedAndStuckForReads ) {
   card.faultBegin( "osc0", { .kind = FaultKind::bitFlip_, .mask = 0x80000001, .count = 2 } );
   EXPECT_EQ( card.read32( tolvane ), 0x80000001u );
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 0x80000002u );
   EXPECT_EQ( card.read32( tolvane ), 3u );
   card.faultBegin( "osc0", { .kind = FaultKind::bitStuck_, .mask = 0x101, .value = 0x100, .forNs = 100 } );
   EXPECT_EQ( card.read32( tolvane ), 0x102u );
   card.write32( tolvane, 0 );
   EXPECT_EQ( card.read32( tolvane ), 0x100u );
   advance( 100 );
   EXPECT_EQ( card.read32( tolvane ), 0u );
}

TEST_F( SimulatedCardTest, ResetStuckKeepsTheChipInResetForItsCount ) {
   card.faultBegin( "ptp1", { .kind = FaultKind::resetStuck_, .count = 1 } );
   EXPECT_EQ( read( ptp1Spi, 0x30 ), 0x8000005E );   // it shows from the next pulse on
   auto pulse = [this] {
      card.write32( outputs, ptp0Bit | ptp1Bit );
      card.write32( outputs, ptp0Bit );
   };
   pulse();
   EXPECT_EQ( read( ptp1Spi, 0x30 ), 0x800000FF );
   pulse();
   EXPECT_EQ( read( ptp1Spi, 0x30 ), 0x8000005E );
   EXPECT_EQ( read( ptp0Spi, 0x30 ), 0x8000005E );
}

TEST_F( SimulatedCardTest, ResetStuckForASpanLetsTheChipFollowItsLineAfterwards ) {
   card.faultBegin( "osc0", { .kind = FaultKind::resetStuck_, .forNs = 1'000 } );
   card.faultBegin( "ptp1", { .kind = FaultKind::resetStuck_, .forNs = 1'000'000 } );
   card.write32( outputs, ptp0Bit | ptp1Bit | osc0Bit );
   card.write32( outputs, ptp0Bit );
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 0u );
   EXPECT_EQ( read( ptp1Spi, 0x30 ), 0x800000FF );
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 3u );
   advance( 996'800 );
   EXPECT_EQ( read( ptp1Spi, 0x30 ), 0x8000005E );
}

TEST_F( SimulatedCardTest, FaultsReachTheNamedChipOnly ) {
   card.faultBegin( "ptp0", { .kind = FaultKind::bitFlip_, .address = 0x30, .mask = 1 } );
   EXPECT_EQ( read( ptp0Spi, 0x30 ), 0x8000005F );
   EXPECT_EQ( read( ptp1Spi, 0x30 ), 0x8000005E );
   card.faultBegin( "ptp1", { .kind = FaultKind::spiDead_ } );
   EXPECT_EQ( read( ptp1Spi, 0x30 ), 0u );
   advance( 10'000'000 );
   EXPECT_TRUE( locked( ptp0Spi ) );
   card.faultBegin( "ptp0", { .kind = FaultKind::loseLock_ } );
   EXPECT_FALSE( locked( ptp0Spi ) );
}

TEST_F( SimulatedCardTest, HardwareGoneHoldsForTheWholeCard ) {
   card.write32( tolvane, 2 );
   card.faultBegin( "", { .kind = FaultKind::hardwareGone_, .forNs = 100 } );
   for ( U32 const address : { 0u, ptp0Spi + 0x20, ptp1Frequency, outputs, tolvane } )
      EXPECT_EQ( card.read32( address ), 0xFFFFFFFF );
   card.write32( tolvane, 0 );
   card.write32( ptp0Spi, 0x11 );
   advance( 100 );
   EXPECT_EQ( card.read32( tolvane ), 3u );
   EXPECT_EQ( card.read32( ptp0Spi + 0x20 ), 0u );
}

TEST_F( SimulatedCardTest, HardwareGoneCountsReadsAndWrites ) {
   card.faultBegin( "", { .kind = FaultKind::hardwareGone_, .count = 3 } );
   card.write32( tolvane, 2 );
   EXPECT_EQ( card.read32( tolvane ), 0xFFFFFFFF );
   EXPECT_EQ( card.read32( 0 ), 0xFFFFFFFF );
   EXPECT_EQ( card.read32( tolvane ), 0u );
}

TEST_F( SimulatedCardTest, AFaultThatFitsNothingIsRefused ) {
   auto refusal = [this]( char const * chip, FaultKind kind ) -> std::string {
      try {
         card.faultBegin( chip, { .kind = kind } );
      } catch ( std::invalid_argument const & error ) {
         return error.what();
      }
      return "accepted";
   };
   EXPECT_EQ( refusal( "ptp9", FaultKind::spiDead_ ), "the card has no chip \"ptp9\"" );
   EXPECT_EQ( refusal( "ptp0", FaultKind::noPower_ ), "the fault \"noPower\" is none of the chip \"ptp0\"" );
   EXPECT_EQ( refusal( "osc0", FaultKind::neverLock_ ), "the fault \"neverLock\" is none of the chip \"osc0\"" );
   EXPECT_EQ( refusal( "", FaultKind::spiDead_ ), "the fault \"spiDead\" is none of the card" );
   EXPECT_EQ( refusal( "ptp0", FaultKind::hardwareGone_ ), "the fault \"hardwareGone\" is none of the chip \"ptp0\"" );
   EXPECT_EQ( refusal( "osc0", FaultKind::resetStuck_ ), "accepted" );
}

class CardErrorTest : public testing::Test {
 protected:
   std::string error() {
      try {
         SimulatedCard const card( new VirtualClock, wrong );
      } catch ( std::invalid_argument const & error ) {
         return error.what();
      }
      return "accepted";
   }
   SimulatedCard::Parameters wrong = parameters();
};

TEST_F( CardErrorTest, TheCardOfTheseTestsIsRight ) { EXPECT_EQ( error(), "accepted" ); }

TEST_F( CardErrorTest, TwoOwnersOfARegisterAreNamed ) {
   wrong.max24305s[1].statusOffset = ptp0Spi + 0x20;
   EXPECT_EQ( error(), "the register at 288 belongs to the chip \"ptp0\" and to the chip \"ptp1\"" );
}

TEST_F( CardErrorTest, AChipOnAnOutputsRegister ) {
   wrong.tolvanes[0].offset = outputs;
   EXPECT_EQ( error(), "the register at 8192 belongs to the output \"osc0Reset\" and to the chip \"osc0\"" );
}

TEST_F( CardErrorTest, TwoOutputsOfOneBit ) {
   wrong.outputs[2].bit = 1;
   EXPECT_EQ(
      error(), "bit 1 of the register at 8192 belongs to the output \"ptp0Reset\" and to the output \"ptp1Reset\"" );
}

TEST_F( CardErrorTest, ABitAbove31 ) {
   wrong.outputs[3].bit = 32;
   EXPECT_EQ( error(), "the output \"spare\" has bit 32; expected 0 to 31" );
}

TEST_F( CardErrorTest, TwoOfOneName ) {
   wrong.outputs[3].name = "osc0Reset";
   EXPECT_EQ( error(), "two outputs are named \"osc0Reset\"" );
   wrong = parameters();
   wrong.max24305s[1].name = "osc0";
   EXPECT_EQ( error(), "two chips are named \"osc0\"" );
}

TEST_F( CardErrorTest, AResetOutputThatIsNotThere ) {
   wrong.max24305s[0].resetGpoName = "ptp9Reset";
   EXPECT_EQ( error(), "the reset output \"ptp9Reset\" of the chip \"ptp0\" is none of the card's outputs" );
}

TEST_F( CardErrorTest, AClockThatStandsStill ) {
   wrong.spiClockInHz = 0;
   EXPECT_THAT( error(), HasSubstr( "0 Hz" ) );
}

}   // namespace
}   // namespace Sim
