#include "service/StatePublisher.h"

#include "card/SimulatedWorld.h"
#include "framework/Mirror.h"
#include "state/OpenLog.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace Host::StatePublisherTests {
namespace {

using testing::HasSubstr;

// An agent's publisher, on a card in virtual time.
struct Published {
   explicit Published( Sim::Scenario const & scenario )
      : world( Input::cardOf( Input::wholeCard ), scenario ),
        place( folder.path( "state.db" ) ),
        state( world.card(), agent, place, 4, false ) {}

   // Until all that was handed over stands in the log.
   void written() {
      while ( !state.writable() || state.log()->wantsWhole() || state.log()->written() != state.log()->handed() ) {
         state.turnEnds();
         std::this_thread::yield();
      }
   }
   void read() {
      Vor::LogBatch batch;
      at = State::openSource( place )->snapshot( batch );
      mirror.snapshotIs( batch );
   }
   template<class Entity> Vor::Ptr<Entity> entity( std::string_view name ) const {
      return Vor::ptrCast<Entity>( mirror.entity( name ) );
   }

   Input::Folder folder;
   SimulatedWorld world;
   std::string place;
   Vor::Ptr<AgentStatus> agent = agentStatusFactory( "agent" );
   StatePublisher state;
   Vor::LogPosition at;
   Vor::Mirror mirror{ []( Vor::String const & ) {} };
};

TEST( StatePublisherTest, ABringUpStandsInTheLogWithItsProgress ) {
   Sim::Scenario scenario;
   scenario.events = {
      { 0, { { .key = "fault", .name = "ptp1", .fault = { .kind = Sim::FaultKind::neverLock_, .value = 0 } } } } };
   Published published( scenario );
   published.state.begin();
   published.world.run();
   published.state.turnEnds();
   published.written();
   published.read();
   EXPECT_EQ( published.at.generation, 4U );

   auto const ready = published.entity<ChipProgress>( "/agent/chip/ptp0" );
   ASSERT_TRUE( ready );
   EXPECT_EQ( ready->attempt(), 1U );
   EXPECT_EQ( ready->attempts(), 10U );
   EXPECT_EQ( ready->operation(), 3U );
   EXPECT_EQ( ready->operations(), 3U );
   EXPECT_EQ( ready->gate().value( "hardware" ), "present" );
   auto const failed = published.entity<ChipProgress>( "/agent/chip/ptp1" );
   ASSERT_TRUE( failed );
   EXPECT_EQ( failed->poll(), 101U );
   EXPECT_EQ( failed->polls(), 101U );
   EXPECT_GT( failed->stateSinceMs(), 0U );

   auto const status = published.entity<Hardware::Max24305::Status>( "/hardware/max24305/status/ptp0" );
   ASSERT_TRUE( status );
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
   auto const config = published.entity<Hardware::Max24305::Config>( "/hardware/max24305/config/ptp0" );
   ASSERT_TRUE( config );
   EXPECT_EQ( config->opsToDo().count(), 3U );
   EXPECT_TRUE( published.entity<Hardware::SetClearGpo>( "/gpo/ptp0Reset" ) );
   auto const agent = published.entity<AgentStatus>( "/agent" );
   ASSERT_TRUE( agent );
   EXPECT_EQ( agent->generation(), 4U );
}

// Each step ends a turn: who reads follows a bring-up that has the thread.
TEST( StatePublisherTest, ATurnEndsAtEachStep ) {
   Published published( Sim::Scenario{} );
   published.state.begin();
   published.written();
   Vor::LogPosition const before = published.state.log()->handed();
   published.world.run();   // without an end of a turn of the loop
   EXPECT_GT( published.state.log()->handed().number, before.number + 10 );
}

TEST( StatePublisherTest, AnUnmetRowOfAGateIsToldAsSuch ) {
   Sim::Scenario scenario;
   scenario.start.actions = { { .key = "timeSync", .value = 0 } };
   Published published( scenario );
   published.world.run();
   EXPECT_THAT( published.state.progress( "ptp1" )->gate().value( "time sync" ).stdString(), HasSubstr( "not met: " ) );
}

TEST( StatePublisherTest, WithoutAPlaceAllIsThereAndNothingIsWritten ) {
   SimulatedWorld world( Input::cardOf( Input::wholeCard ), {} );
   StatePublisher state( world.card(), agentStatusFactory( "agent" ), std::nullopt, 1, false );
   state.begin();
   world.run();
   EXPECT_FALSE( state.log() );
   EXPECT_TRUE( state.writable() );
   EXPECT_EQ( state.progress( "ptp0" )->attempt(), 1U );
}

}   // namespace
}   // namespace Host::StatePublisherTests
