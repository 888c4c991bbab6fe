#include "service/ClockWatch.h"

#include "card/SimulatedWorld.h"
#include "recording/EventLog.h"
#include "recording/LastEvents.h"
#include "recording/Replay.h"
#include "tests/input/Files.h"
#include "tests/service/LiveCard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <regex>
#include <sstream>

namespace Host::ClockWatchTests {
namespace {

using testing::HasSubstr;

constexpr U64 second = 1'000'000'000;

// What reaches the card, and by whom.
struct Accesses final : Sim::CardListener {
   void onRead32( U64, U32, U32 ) override { ++( aside ? ofLooks : ofMachines ); }
   void onWrite32( U64, U32, U32 ) override { ++( aside ? ofLooks : ofMachines ); }
   void onGpo( U64, std::string_view, bool ) override { ++outputs; }
   void onAside( U64, std::string_view by, bool begins ) override {
      EXPECT_EQ( by, "watch" );
      aside = begins;
      looks += begins;
   }
   bool aside = false;
   int looks = 0;
   int ofLooks = 0;
   int ofMachines = 0;
   int outputs = 0;
};

// A card whose second chip has an identification too.
std::string const card = Input::with(
   Input::wholeCard, R"("spiResetSupported": false, "sequence": [])",
   R"("spiResetSupported": false, "sequence": )" + Input::shortSequence );

// Lines in one piece.
std::string unwrapped( std::string const & text ) { return std::regex_replace( text, std::regex( "\n {30,}" ), " " ); }

class ClockWatchTest : public testing::Test {
 protected:
   explicit ClockWatchTest( double period = 10 ) : watch( live.card(), state, journal, live.world.events(), period ) {
      live.world.events().listenerAdd( accesses );
      live.input.said( PtpTimeSync::enabling_ );
   }
   void bringUp() {
      live.makeMachines();
      pass( 10 );
      ASSERT_TRUE( live.card().allReady() );
   }
   // As an agent's loop does, which is woken in time.
   void pass( double seconds ) {
      for ( double const end = live.now() + seconds; live.now() < end; ) {
         live.run( std::min( { 0.25, end - live.now(), std::max( watch.longestWait(), 1e-6 ) } ) );
         watch.look();
      }
   }
   // What the journal has from now on.
   std::string told( double seconds ) {
      out.str( "" );
      pass( seconds );
      return unwrapped( out.str() );
   }
   void fault( std::string const & chip, Sim::Fault const & fault ) { live.hardware.faultBegin( chip, fault ); }
   std::string watched( std::string const & chip ) const { return state.progress( chip )->watched().stdString(); }

   LiveCard live{ card };
   std::ostringstream out;
   Journal journal{ out, Style( false ), false, live.world.events(), live.card(), std::nullopt };
   StatePublisher state{ live.card(), live.status, std::nullopt, 1, false };
   Accesses accesses;
   ClockWatch watch;
};

TEST_F( ClockWatchTest, NothingIsToldOfChipsThatAreWell ) {
   bringUp();
   int const ofMachines = accesses.ofMachines;
   EXPECT_EQ( told( 60 ), "" );
   EXPECT_GE( accesses.looks, 5 );
   EXPECT_LE( accesses.looks, 7 );
   EXPECT_EQ( accesses.ofMachines, ofMachines );
   ASSERT_EQ( watch.seen().size(), 3u );
   EXPECT_TRUE( watch.seen().at( "ptp0" ).well() );
   EXPECT_EQ( watch.seen().at( "ptp0" ).frequencyInHz, 10'000'000u );
   EXPECT_EQ( watch.seen().at( "ptp0" ).identificationCount, 1u );
   EXPECT_EQ( watch.seen().at( "ptp0" ).verifiedCount, 1u );
   EXPECT_EQ( state.progress( "ptp0" )->watchedSinceMs(), 0u );
}

TEST_F( ClockWatchTest, ALostLockIsToldOnceAndAgainWhenItIsOver ) {
   bringUp();
   int const outputs = accesses.outputs;
   fault( "ptp0", { .kind = Sim::FaultKind::loseLock_, .mask = 0x10, .forNs = 35 * second } );
   std::string const text = told( 30 );
   EXPECT_THAT( text, HasSubstr( "ptp0: ready, but not well: lock: 0x01: APLL1 locked, APLL2 not locked\n" ) );
   EXPECT_EQ( text.find( "ptp0:", text.find( "ptp0:" ) + 1 ), std::string::npos ) << text;
   EXPECT_EQ( watched( "ptp0" ), "lock: 0x01: APLL1 locked, APLL2 not locked" );
   EXPECT_GT( state.progress( "ptp0" )->watchedSinceMs(), 1'600'000'000'000u );
   EXPECT_EQ( watched( "ptp1" ), "" );
   EXPECT_FALSE( watch.seen().at( "ptp0" ).well() );
   EXPECT_THAT( told( 30 ), HasSubstr( "ptp0: well again\n" ) );
   EXPECT_EQ( watched( "ptp0" ), "" );
   EXPECT_EQ( state.progress( "ptp0" )->watchedSinceMs(), 0u );
   EXPECT_EQ( accesses.outputs, outputs ) << "nothing is reset";
   EXPECT_EQ( live.attempts["ptp0"], 1 );
}

TEST_F( ClockWatchTest, WhatIsDescribedOtherwiseIsSeenAnew ) {
   bringUp();
   fault( "ptp0", { .kind = Sim::FaultKind::loseLock_ } );
   EXPECT_THAT( told( 20 ), HasSubstr( "ptp0: ready, but not well" ) );
   EXPECT_EQ( told( 20 ), "" );
   watch.cardChanged( { .anew = { "ptp0" }, .gone = {} } );
   EXPECT_FALSE( watch.seen().contains( "ptp0" ) );
   EXPECT_THAT( told( 20 ), HasSubstr( "ptp0: ready, but not well" ) );
   watch.cardChanged( { .anew = {}, .gone = { "ptp0" } } );
   EXPECT_FALSE( watch.seen().contains( "ptp0" ) );
}

TEST_F( ClockWatchTest, AnotherIdentificationIsTold ) {
   bringUp();
   fault( "ptp0", { .kind = Sim::FaultKind::bitStuck_, .address = 0x30, .mask = 0xFF, .value = 0x11 } );
   EXPECT_THAT(
      told( 11 ), HasSubstr( "ptp0: ready, but not well: identification: 0 of 1 as expected: 0x0030  expected 0x5e" ) );
}

TEST_F( ClockWatchTest, AChipThatResetItselfIsTold ) {
   bringUp();
   fault( "ptp1", { .kind = Sim::FaultKind::chipReset_ } );
   EXPECT_THAT(
      told( 11 ),
      HasSubstr( "ptp1: ready, but not well: registers: 0 of 1 as expected: 0x0010  expected 0x3c, found 0x00" ) );
   EXPECT_NE( watched( "ptp1" ), "" ) << "although it has locked again";
   EXPECT_EQ( watch.seen().at( "ptp1" ).apllStatus, 0x11 );
}

TEST_F( ClockWatchTest, ATolvaneThatWentIsTold ) {
   bringUp();
   fault( "osc0", { .kind = Sim::FaultKind::noPower_ } );
   EXPECT_THAT( told( 10 ), HasSubstr( "osc0: ready, but not well: enable: 0x" ) );
}

TEST_F( ClockWatchTest, ACardThatIsNotThereIsToldAndItsReturnToo ) {
   bringUp();
   fault( "", { .kind = Sim::FaultKind::hardwareGone_, .forNs = 15 * second } );
   std::string const text = told( 11 );
   for ( char const * chip : { "osc0", "ptp0", "ptp1" } )
      EXPECT_THAT( text, HasSubstr( std::string( chip ) + ": ready, but not well: bus: no answer" ) );
   EXPECT_TRUE( watch.seen().at( "ptp0" ).cardGone() );
   EXPECT_THAT( told( 20 ), HasSubstr( "ptp0: well again\n" ) );
}

TEST_F( ClockWatchTest, WhatWasWrongIsOverWhenTheChipIsNoLongerReady ) {
   bringUp();
   fault( "ptp0", { .kind = Sim::FaultKind::loseLock_ } );
   pass( 10 );
   EXPECT_NE( watched( "ptp0" ), "" );
   live.card().hamImpl()->hardwarePresentIs( false );
   EXPECT_THAT( told( 0.5 ), HasSubstr( "ptp0: no longer ready, and not watched\n" ) );
   EXPECT_EQ( watched( "ptp0" ), "" );
   EXPECT_TRUE( watch.seen().empty() );
   EXPECT_TRUE( std::isinf( watch.longestWait() ) ) << "nothing is ready";
}

TEST_F( ClockWatchTest, ThereIsNoLookWhileAChipIsBroughtUpAndNoneWithinAPeriodAfterIt ) {
   fault( "ptp1", { .kind = Sim::FaultKind::slowLock_, .extraNs = 40 * second } );
   live.makeMachines();
   pass( 35 );
   ASSERT_EQ( live.chip( "ptp0" )->state(), Hardware::Max24305::ready_ );
   ASSERT_EQ( live.chip( "ptp1" )->state(), Hardware::Max24305::locking_ );
   EXPECT_EQ( accesses.looks, 0 );
   while ( live.chip( "ptp1" )->state() == Hardware::Max24305::locking_ ) pass( 1 );
   pass( 8 );
   EXPECT_EQ( accesses.looks, 0 );
   pass( 3 );
   EXPECT_EQ( accesses.looks, 1 );
}

// A late answer stands in the response FIFO, where it would spoil all that come after it.
TEST_F( ClockWatchTest, AnAnswerThatCameTooLateIsTakenAway ) {
   bringUp();
   RegisterAccess registers( live.card().description(), live.card().hamImpl() );
   fault( "ptp0", { .kind = Sim::FaultKind::spiExtra_, .count = 1 } );
   registers.readByte( *live.card().description().max24305( "ptp0" ), 7 );
   EXPECT_NE(
      Hardware::SpiCtrl( registers.readWord( 256 + Hardware::SpiCtrl::address() ).value() ).readFifoCount(), 0 );
   EXPECT_EQ( told( 11 ), "" );
   EXPECT_EQ(
      Hardware::SpiCtrl( registers.readWord( 256 + Hardware::SpiCtrl::address() ).value() ).readFifoCount(), 0 );
}

// The chip is built for another frequency than the card description says.
TEST( ClockWatch, AWrongFrequencyIsTold ) {
   Sim::Scenario scenario;
   scenario.built = simulatedParameters( Input::cardOf( card ) );
   scenario.built->max24305s.front().outputFrequencyInHz = 25'000'000;
   scenario.untilNs = 30 * second;
   SimulatedWorld world( Input::cardOf( card ), scenario );
   std::ostringstream out;
   Journal const journal( out, Style( false ), false, world.events(), world.card(), std::nullopt );
   StatePublisher const state( world.card(), agentStatusFactory( "agent" ), std::nullopt, 1, false );
   ClockWatch watch( world.card(), state, journal, world.events(), 10 );
   world.run();
   out.str( "" );
   watch.look();
   EXPECT_THAT(
      unwrapped( out.str() ),
      HasSubstr( "ptp0: ready, but not well: frequency: 25000000 Hz, expected 10000000 Hz within 1001 Hz\n" ) );
   EXPECT_EQ( state.progress( "ptp1" )->watched(), "" ) << "of which none is asked for";
}

struct ClockWatchOff : ClockWatchTest {
   ClockWatchOff() : ClockWatchTest( 0 ) {}
};

TEST_F( ClockWatchOff, NothingIsLookedAt ) {
   bringUp();
   fault( "ptp0", { .kind = Sim::FaultKind::loseLock_ } );
   EXPECT_EQ( told( 60 ), "" );
   EXPECT_EQ( accesses.looks, 0 );
   EXPECT_TRUE( std::isinf( watch.longestWait() ) );
}

// The looks stand in a recording as accesses of no machine, and it replays.
TEST( ClockWatch, ARecordingWithItsAccessesReplays ) {
   Input::Folder const folder;
   std::string kept;
   {
      LiveCard live( card );
      std::ofstream file( folder.path( "events" ) );
      Recording::EventLog log( file );
      Recording::Recorder const recorder( log, live.world.events(), live.card(), "2026-11-21T17:30:00.123Z" );
      Recording::LastEvents last;
      Recording::Recorder const other( last, live.world.events(), live.card() );
      std::ostringstream out;
      Journal const journal( out, Style( false ), false, live.world.events(), live.card(), std::nullopt );
      StatePublisher const state( live.card(), live.status, std::nullopt, 1, false );
      ClockWatch watch( live.card(), state, journal, live.world.events(), 10 );
      live.input.said( PtpTimeSync::enabling_ );
      live.makeMachines();
      for ( int turns = 0; turns < 30; ++turns ) {
         live.run( 1 );
         watch.look();
      }
      live.card().resetGpoOf( "ptp1" )->hamIs( nullptr );
      live.card().resetGpoOf( "ptp1" )->hamIs( live.card().ham() );
      live.run( 5 );
      log.flush();
      kept = last.text();
   }
   std::string const recorded = folder.content( "events" );
   EXPECT_THAT( recorded, HasSubstr( R"("ev":"aside","by":"watch","begins":true)" ) );
   std::ostringstream events;
   Recording::Replayed const replayed = Recording::replay( folder.path( "events" ), events );
   EXPECT_FALSE( replayed.difference ) << replayed.difference->line << replayed.difference->recorded << '\n'
                                       << replayed.difference->now;
   EXPECT_EQ( kept.find( "aside" ), std::string::npos ) << "what is kept in memory has none of it";
   EXPECT_LT( kept.size(), recorded.size() );
}

}   // namespace
}   // namespace Host::ClockWatchTests
