// The machine on the modelled card, in virtual time: the whole road of a bring-up, and what the card's own behaviour
// makes of the changes around it.
#include "sim/SimulatedCard.h"
#include "tests/sm/Max24305Rig.h"

namespace SmTest::BringUp {
namespace {

using namespace Hardware::Max24305;
using Sim::FaultKind;

constexpr U64 ms = 1'000'000;
constexpr U64 second = 1'000 * ms;
constexpr U32 outputOffset = 0x2000;

class CardHam final : public Fru::HamImpl {
 public:
   explicit CardHam( Sim::SimulatedCard & card ) : HamImpl( "kiv" ), card_( card ) {}
   void read32( U32 address, U32 & value ) override { value = card_.read32( address ); }
   void write32( U32 address, U32 value ) override { card_.write32( address, value ); }

 private:
   Sim::SimulatedCard & card_;
};

class SimulatedCardBringUpTest : public Max24305World {
 protected:
   SimulatedCardBringUpTest() {
      // The chip's bus, as it sees it itself.
      card.spiObserverIs( [this]( std::string_view, std::array<U8, 4> const & bytes, U8 response ) {
         U32 const address = U32{ bytes[1] } << 8 | bytes[2];
         diary.add( bytes[0] == 3 ? chipRead( address, response ) : chipWrite( address, bytes[3] ) );
      } );
      cardHam->hardwarePresentIs( true );
      ham->hamImplIs( cardHam );
      output->hamIs( ham );
      output->offsetIs( outputOffset );
      output->bitIs( 4 );
      opsAre(
         { { read_, 0x30, 0x5E },
           { read_, 0x31, 0xF1 },
           { write_, 0x123, 0x5A },
           { read_, 0x123, 0x5A },
           { sleep_, 0, 2'000'000 },
           { write_, 0x124, 0xFF } } );
   }
   Vor::Ptr<Max24305WithStuffedClockInputSm> machineOnCard() {
      return Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
         redundancy, config, status, pllStatus, timeSync, output );
   }
   void fault( Sim::Fault const & fault ) { card.faultBegin( "ptp0", fault ); }
   Lines statesTold() {
      Lines states = diary.of( { "status", "clock" } );
      diary.take();
      return states;
   }

   Sim::SimulatedCard card{
      rig.clock,
      { .outputs = { { .name = "reset", .offset = outputOffset, .bit = 4 } },
        .max24305s = {
           { .name = "ptp0",
             .configOffset = configOffset,
             .statusOffset = statusOffset,
             .resetGpoName = "reset",
             .outputFrequencyInHz = frequencyInHz } } } };
   Vor::Ptr<CardHam> const cardHam = new CardHam( card );
   Vor::Ptr<Hardware::SetClearGpo> const output = Hardware::setClearGpoFactory( "reset" );
};

Lines const readyAgain{ told( "status", "locking" ), told( "status", "ready" ), told( "clock", "ready" ) };

TEST_F( SimulatedCardBringUpTest, TheRoadOfABringUp ) {
   config->opsToDoValidIs( false );
   auto const machine = machineOnCard();
   EXPECT_EQ( takeTraces().back(), gateSays( " Invalid programming sequence." ) );
   config->opsToDoValidIs( true );
   auto const traced = []( char const * text ) { return trace( 1, "doProgramMax24305", text ); };
   EXPECT_EQ(
      diary.take(),
      ( gateOpen( "acquiring", "uninitialized", "notReady" ) +
        Lines{
           programmingTrace, sleep( 300 * ms ), sleep( 500 * ms ), sleep( 500 * ms ), sleep( 5 * ms ), sleep( 5 * ms ),
           chipRead( 0x30, 0x5E ), traced( "Verify Read 0x5e at 0x30." ), chipRead( 0x31, 0xF1 ),
           traced( "Verify Read 0xf1 at 0x31." ), traced( "Write 0x5a to 0x123." ), chipWrite( 0x123, 0x5A ),
           chipRead( 0x123, 0x5A ), traced( "Verify Read 0x5a at 0x123." ), sleep( 2 * ms ),
           traced( "Write 0xff to 0x124." ), chipWrite( 0x124, 0xFF ), told( "status", "locking" ) } ) );
   U64 const programmed = rig.clock->nowNs();
   EXPECT_EQ( rig.turns(), 4u );   // at once, and after one, two and three seconds; locked after two and a half
   EXPECT_EQ( ( rig.clock->nowNs() - programmed ) / ms, 3'000u );
   EXPECT_EQ(
      diary.of( { "chip", "status", "clock" } ),
      ( times( 3, { chipRead( 7, 0 ) } ) +
        Lines{ chipRead( 7, 0x11 ), told( "status", "ready" ), told( "clock", "ready" ) } ) );
   EXPECT_EQ(
      diary.lines()[diary.lines().size() - 3],
      trace( 1, "doWaitForLock", "Success. Output clock frequency ( in Hz ) = 10000000" ) );
   EXPECT_EQ( card.read32( outputOffset ), 0u );
}

TEST_F( SimulatedCardBringUpTest, EveryAttemptFindsTheChipFreshFromItsReset ) {
   config->opsToDoDelAll();
   opsAre( { { read_, 0x200, 0 }, { write_, 0x200, 7 }, { read_, 0x201, 0 } } );
   fault( { .kind = FaultKind::bitFlip_, .address = 0x201, .mask = 0x10, .count = 1 } );
   auto const machine = machineOnCard();
   EXPECT_EQ( diary.count( chipRead( 0x200, 0 ) ), 2u );   // not the 7 that the first attempt left there
   rig.turns();
   EXPECT_EQ( statesTold(), Lines{ told( "status", "failed" ) } + Lines{ told( "clock", "failed" ) } + readyAgain );
}

TEST_F( SimulatedCardBringUpTest, TheCleanUpFreesAMasterThatWasLeftInTheMiddle ) {
   for ( U32 const word : { 3u, 0u, 0x30u, 0x80001000u, 3u, 0u, 0x31u, 0x80001000u, 2u, 0u } )
      card.write32( configOffset, word );   // two responses that nobody fetched, and an open transaction
   rig.clock->nowNsIs( second );
   auto const machine = machineOnCard();
   rig.turns();
   EXPECT_EQ( statesTold(), readyAgain );
}

TEST_F( SimulatedCardBringUpTest, ALockLostWhileReadyGoesUnnoticedUntilTheNextChange ) {
   auto const machine = machineOnCard();
   rig.turns();
   diary.take();
   fault( { .kind = FaultKind::loseLock_, .forNs = 5 * second } );
   rig.clock->nowNsIs( rig.clock->nowNs() + second );
   EXPECT_FALSE( rig.turn() );
   EXPECT_EQ( diary.take(), Lines{} );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   timeSync->stateIs( PtpTimeSync::enabling_ );
   rig.turns();
   EXPECT_EQ(
      statesTold(), Lines{ told( "status", "uninitialized" ) } + Lines{ told( "clock", "notReady" ) } + readyAgain );
}

TEST_F( SimulatedCardBringUpTest, ACardThatGoesAndComesBack ) {
   auto const machine = machineOnCard();
   rig.turns();
   diary.take();
   card.faultBegin( "", { .kind = FaultKind::hardwareGone_, .forNs = second } );
   cardHam->hardwarePresentIs( false );
   EXPECT_EQ( statesTold(), ( Lines{ told( "status", "uninitialized" ), told( "clock", "notReady" ) } ) );
   rig.clock->nowNsIs( rig.clock->nowNs() + second );
   cardHam->hardwarePresentIs( true );
   rig.turns();
   EXPECT_EQ( statesTold(), readyAgain );
}

TEST_F( SimulatedCardBringUpTest, ACardThatIsGoneDuringTheLockWaitCountsAsLocked ) {
   auto const machine = machineOnCard();
   rig.turn();
   card.faultBegin( "", { .kind = FaultKind::hardwareGone_ } );   // and nobody has said so yet
   EXPECT_EQ( rig.turns(), 1u );
   EXPECT_EQ( status->state(), ready_ );
   EXPECT_EQ( diary.count( trace( 1, "doRead", "SPI ERROR: Read count = ?" ) ), 1u );
   EXPECT_EQ(
      diary.count( trace( 1, "doWaitForLock", "Success. Output clock frequency ( in Hz ) = 4294967295" ) ), 1u );
}

TEST_F( SimulatedCardBringUpTest, AMasterThatIsStuckFailsTenTimesAndIsTriedAgainLater ) {
   fault( { .kind = FaultKind::spiStuckWrite_, .forNs = 30 * second } );
   auto const machine = machineOnCard();
   EXPECT_EQ( diary.of( { "log" } ).size(), 1u );
   EXPECT_EQ( statesTold(), ( Lines{ told( "status", "failed" ), told( "clock", "failed" ) } ) );
   rig.clock->nowNsIs( 31 * second );
   timeSync->stateIs( PtpTimeSync::locked_ );
   rig.turns();
   EXPECT_EQ(
      statesTold(), Lines{ told( "status", "uninitialized" ) } + Lines{ told( "clock", "notReady" ) } + readyAgain );
}

TEST_F( SimulatedCardBringUpTest, AChipThatNeverLocksFailsAfterAHundredSeconds ) {
   fault( { .kind = FaultKind::neverLock_ } );
   auto const machine = machineOnCard();
   U64 const programmed = rig.clock->nowNs();
   EXPECT_EQ( rig.turns(), 101u );
   EXPECT_EQ( ( rig.clock->nowNs() - programmed ) / second, 100u );
   EXPECT_EQ( diary.count( chipRead( 7, 0 ) ), 101u );
   EXPECT_EQ(
      statesTold(), ( Lines{ told( "status", "locking" ), told( "status", "failed" ), told( "clock", "failed" ) } ) );
}

TEST_F( SimulatedCardBringUpTest, ALockThatGoesDuringTheWaitComesBackWithinIt ) {
   fault( { .kind = FaultKind::neverLock_, .forNs = 60 * second } );
   auto const machine = machineOnCard();
   rig.turns();
   EXPECT_EQ( statesTold(), readyAgain );
   EXPECT_EQ( machine->lockPollCount(), 63u );   // 60 s less 1.31 s of preparation, then 2.5 s to lock
}

TEST_F( SimulatedCardBringUpTest, TheLibrarysOwnSimulationRunsOnTheModelledCardToo ) {
   Rig::simulationVmidIs( "" );
   config->opsToDoDelAll();
   opsAre( { { write_, 0x55, 0xAA }, { read_, 0x55, 0xAA }, { write_, 7, 0x11 } } );
   auto const machine = machineOnCard();
   rig.turns();
   EXPECT_EQ( statesTold(), readyAgain );
}

TEST_F( SimulatedCardBringUpTest, ALongSequenceArrivesWholeAndInOrder ) {
   config->opsToDoDelAll();
   Lines expected;
   for ( U32 i = 0; i < 1'000; ++i ) {
      U32 const value = i * 37 & 0xFF;
      opsAre( { { write_, 0x400 + i, value }, { read_, 0x400 + i, value } } );
      expected.push_back( chipWrite( 0x400 + i, value ) );
      expected.push_back( chipRead( 0x400 + i, value ) );
   }
   Rig::tracesAre( false );
   auto const machine = machineOnCard();
   EXPECT_EQ( diary.of( { "chip" } ), expected );
   rig.turns();
   EXPECT_EQ( statesTold(), readyAgain );
}

}   // namespace
}   // namespace SmTest::BringUp
