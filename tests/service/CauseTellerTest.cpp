#include "service/CauseTeller.h"

#include "card/SimulatedWorld.h"
#include "recording/Reader.h"
#include "recording/Replay.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace Host::CauseTellerTests {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr U64 second = 1'000'000'000;

// An agent's journal and teller, on a card in virtual time.
struct Told {
   explicit Told( Sim::Scenario const & scenario, std::string const & folder = {} )
      : world( Input::cardOf( Input::wholeCard ), scenario ),
        journal( out, Style( false ), false, world.events(), world.card(), std::nullopt ),
        teller(
           world.events(), world.card(), journal,
           folder.empty() ? std::nullopt : std::optional( FailureFolder( folder ) ), "" ) {
      world.run();
   }
   // What a look adds to the journal.
   std::string look() {
      out.str( "" );
      teller.look();
      return out.str();
   }

   std::ostringstream out;
   SimulatedWorld world;
   Journal journal;
   CauseTeller teller;
};

Sim::Scenario faulty() {
   Sim::Scenario scenario;
   scenario.events = {
      { 0, { { .key = "fault", .name = "ptp0", .fault = { .kind = Sim::FaultKind::misoStuck_, .value = 0 } } } } };
   return scenario;
}

TEST( CauseTellerTest, AFailedBringUpIsExplainedOnceAndItsRecordingIsKept ) {
   Input::Folder const folder;
   Told told( faulty(), folder.path( "failures" ) );
   std::string const path = folder.path( "failures" ) + "/ptp0-first.events";
   std::string const text = told.look();
   EXPECT_THAT( text, HasSubstr( "Cause: ptp0: operation 1 (card.json: /chips/0/sequence/0) reads 0x00" ) );
   EXPECT_THAT( text, HasSubstr( "\n  file   " + path + "  (clockpath replay " + path + ")\n" ) );
   Recording::Reader reader( path );
   EXPECT_EQ( reader.header().card.max24305s.size(), 2u );
   std::size_t attempts = 0;
   while ( auto const event = reader.next() )
      if ( auto const * step = std::get_if<Recording::Step>( &event->what ) )
         attempts += step->chip == "ptp0" && std::holds_alternative<Hardware::Steps::AttemptFailed>( step->step );
   EXPECT_EQ( attempts, 10u );
   EXPECT_EQ( told.look(), "" ) << "nothing new";
}

TEST( CauseTellerTest, TheRecordingThatIsKeptReplays ) {
   Input::Folder const folder;
   {
      Told told( faulty(), folder.path( "." ) );
      told.look();
   }
   std::ostringstream events;
   Recording::Replayed const replayed = Recording::replay( folder.path( "ptp0-first.events" ), events );
   EXPECT_FALSE( replayed.difference ) << replayed.difference->recorded << '\n' << replayed.difference->now;
   EXPECT_GT( replayed.lines, 400u );
}

TEST( CauseTellerTest, ACauseOfAChipThatIsLeftAloneStandsOnForTheNextTeller ) {
   Told told( faulty() );
   told.look();
   EXPECT_TRUE( told.teller.causesOfOthers( { .anew = { "ptp0" }, .gone = {} } ).empty() );
   std::vector<Diagnosis::Cause> const standing = told.teller.causesOfOthers( { .anew = { "ptp1" }, .gone = { "x" } } );
   ASSERT_EQ( standing.size(), 1U );
   told.out.str( "" );
   CauseTeller next( told.world.events(), told.world.card(), told.journal, std::nullopt, "" );
   next.causesAre( standing );
   next.look();
   EXPECT_EQ( told.out.str(), "" ) << "it was told";
   EXPECT_TRUE( next.stands() );
   EXPECT_THAT( next.byChip().at( "ptp0" ), HasSubstr( "operation 1" ) );
   told.world.card().hamImpl()->hardwarePresentIs( false );
   next.look();
   EXPECT_THAT( next.byChip().at( "ptp0" ), Not( HasSubstr( "operation 1" ) ) ) << "something has happened since";
}

TEST( CauseTellerTest, NothingIsSaidOfWhatIsWell ) {
   Input::Folder const folder;
   Told told( {}, folder.path( "failures" ) );
   EXPECT_EQ( told.look(), "" );
   EXPECT_FALSE( told.teller.stands() );
   EXPECT_FALSE( std::filesystem::exists( folder.path( "failures" ) ) );
   EXPECT_TRUE( std::isinf( told.teller.longestWait() ) );
}

TEST( CauseTellerTest, AWaitIsToldWhenItIsLong ) {
   Sim::Scenario scenario;
   scenario.start.actions = { { .key = "timeSync", .value = 0 } };
   scenario.untilNs = 20 * second;
   {
      Told told( scenario );
      EXPECT_EQ( told.look(), "" );
      EXPECT_NEAR( told.teller.longestWait(), 30 - 20 + 0.8, 1.0 ) << "counted from the gate's first look";
   }
   scenario.untilNs = 40 * second;
   Told told( scenario );
   EXPECT_THAT( told.look(), HasSubstr( "Cause: ptp0, ptp1: waits for time synchronisation, which is disabled" ) );
   EXPECT_TRUE( std::isinf( told.teller.longestWait() ) );
   EXPECT_EQ( told.look(), "" );
}

TEST( CauseTellerTest, AReadyChipThatIsNotWellIsExplainedToo ) {
   Sim::Scenario scenario;
   scenario.built = simulatedParameters( Input::cardOf( Input::wholeCard ) );
   scenario.built->max24305s.front().outputFrequencyInHz = 25'000'000;
   scenario.untilNs = 10 * second;
   Told told( scenario );
   EXPECT_THAT( told.look(), HasSubstr( "Cause: ptp0: ready with 25000000 Hz, where 10000000 Hz are asked for" ) );
   EXPECT_TRUE( told.teller.stands() );
}

TEST( CauseTellerTest, ARecordingThatCannotBeKeptIsSaidToBe ) {
   Input::Folder const folder;
   Told told( faulty(), folder.file( "file", "" ) + "/below" );
   std::string const text = told.look();
   EXPECT_THAT( text, HasSubstr( "Cause: ptp0" ) );
   EXPECT_THAT( text, HasSubstr( "the recording of the failure is not kept" ) );
}

}   // namespace
}   // namespace Host::CauseTellerTests
