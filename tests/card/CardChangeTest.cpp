#include "card/CardChange.h"

#include "card/StepListener.h"
#include "card/VirtualWorld.h"
#include "framework/ActivityManager.h"
#include "input/InputError.h"
#include "sim/SimulatedHam.h"
#include "tests/input/Cards.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <utility>

namespace Host::CardChangeTests {
namespace {

using Input::cardOf;
using Input::wholeCard;
using Input::with;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Of a card whose hardware is another process's: it can be described otherwise.
std::string const reachable =
   with( wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "simulated", "socket": "/run/card" })" );

CardChange changeTo( std::string const & content, std::string const & before = reachable ) {
   return changeOf( cardOf( before ), cardOf( content ) );
}

std::string refusal( std::string const & content, std::string const & before = reachable ) {
   try {
      changeTo( content, before );
      return "";
   } catch ( Input::InputError const & error ) {
      return error.what();
   }
}

TEST( CardChangeTest, OfTheSameDescriptionIsNothing ) { EXPECT_TRUE( changeTo( reachable ).nothing() ); }

TEST( CardChangeTest, WhatTheMachineIsNotMadeFromChangesNothing ) {
   std::string const slower =
      with( reachable, R"("sequence": [] })", R"("sequence": [], "simulated": { "lockAfterNs": 7 } })" );
   EXPECT_TRUE( changeTo( slower ).nothing() );
}

TEST( CardChangeTest, AChipThatIsDescribedOtherwiseIsMadeAnewAlone ) {
   for ( auto const & [piece, other] :
         { std::pair( R"("mClkIn25_oc1Out10")", R"("ic1In10_oc1Out10")" ),
           std::pair( R"("role": "unknown")", R"("role": "timeSync")" ),
           std::pair( R"("statusOffset": 1280)", R"("statusOffset": 1536)" ),
           std::pair( R"("offset": 8196, "bit": 31)", R"("offset": 8196, "bit": 30)" ) } ) {
      CardChange const change = changeTo( with( reachable, piece, other ) );
      EXPECT_THAT( change.anew, ElementsAre( "ptp1" ) ) << other;
      EXPECT_THAT( change.gone, IsEmpty() ) << other;
   }
}

TEST( CardChangeTest, ATolvaneTakesAlongWhatItFeeds ) {
   EXPECT_THAT( changeTo( with( reachable, "12288", "16384" ) ).anew, ElementsAre( "osc0", "ptp0" ) );
   EXPECT_THAT( changeTo( with( reachable, "10000000", "20000000" ) ).anew, ElementsAre( "ptp0" ) )
      << "what is fed leaves it alone";
}

TEST( CardChangeTest, WhoSharesAResetOutputOrAClockStatusIsTakenAlong ) {
   std::string const shared = with( reachable, R"("resetGpoName": "ptp1Reset")", R"("resetGpoName": "ptp0Reset")" );
   EXPECT_THAT( changeTo( with( shared, "10000000", "20000000" ), shared ).anew, ElementsAre( "ptp0", "ptp1" ) );
   std::string const clock = with(
      with( reachable, R"("role": "unknown")", R"("role": "unknown", "clockStatus": "pll")" ), R"("input": "tolvane")",
      R"("input": "tolvane", "clockStatus": "pll")" );
   EXPECT_THAT( changeTo( with( clock, "10000000", "20000000" ), clock ).anew, ElementsAre( "ptp0", "ptp1" ) );
}

std::string withoutPtp1() {
   std::size_t const at = reachable.find( R"(,
              { "kind": "max24305", "name": "ptp1")" );
   return reachable.substr( 0, at ) + " ] }";
}

TEST( CardChangeTest, ChipsComeAndGo ) {
   CardChange const gone = changeTo( withoutPtp1() );
   EXPECT_THAT( gone.anew, IsEmpty() );
   EXPECT_THAT( gone.gone, ElementsAre( "ptp1" ) );
   CardChange const came = changeTo( reachable, withoutPtp1() );
   EXPECT_THAT( came.anew, ElementsAre( "ptp1" ) );
   EXPECT_THAT( came.gone, IsEmpty() );
}

TEST( CardChangeTest, AnotherSlotIsAnotherConfigurationOfEachChip ) {
   EXPECT_THAT(
      changeTo( with( reachable, R"("slotId": 3)", R"("slotId": 4)" ) ).anew, ElementsAre( "osc0", "ptp0", "ptp1" ) );
}

TEST( CardChangeTest, AnotherAccessIsRefused ) {
   EXPECT_THAT(
      refusal( wholeCard ), HasSubstr( "card.json: /access: a running agent stays with the card that it has" ) );
   EXPECT_THAT( refusal( with( reachable, "/run/card", "/run/other" ) ), HasSubstr( "/access" ) );
   auto const mapped = []( char const * rest ) {
      return with(
         wholeCard, R"({ "kind": "simulated" })", std::string( R"({ "kind": "mmap", "path": "/space", )" ) + rest );
   };
   std::string const before = mapped( R"("size": 16384 })" );
   EXPECT_EQ( refusal( before, before ), "" );
   EXPECT_THAT( refusal( mapped( R"("size": 32768 })" ), before ), HasSubstr( "/access" ) );
   EXPECT_THAT( refusal( mapped( R"("size": 16384, "offset": 4096 })" ), before ), HasSubstr( "/access" ) );
   EXPECT_THAT( refusal( reachable, before ), HasSubstr( "/access" ) );
}

TEST( CardChangeTest, HardwareThatTheAgentSimulatesItselfStaysAsItWasMade ) {
   EXPECT_THAT(
      refusal( with( wholeCard, "12288", "16384" ), wholeCard ), HasSubstr( "its hardware stays as it was made" ) );
   EXPECT_EQ( refusal( with( wholeCard, R"("role": "unknown")", R"("role": "timeSync")" ), wholeCard ), "" );
}

// The machines and their hardware, in virtual time.
class ReloadTest : public ::testing::Test, private StepListener, private Sim::CardListener {
 protected:
   ReloadTest() {
      world.events().listenerAdd( *this );
      made();
      attempts.clear();
      accesses = 0;
   }

   void made() {
      while ( world.machines().makeNext() ) {
      }
      double const end = clock->now() + 60;
      for ( double next = 0; next < end; next = Vor::activityManager().nextTime() ) {
         if ( next > clock->now() ) clock->nowIs( next );
         Vor::activityManager().turn();
      }
   }
   CardChange describe( std::string const & content ) {
      Input::CardDescription description = cardOf( content );
      CardChange change = changeOf( world.card().description(), description );
      world.machines().del( change.anew );
      world.machines().del( change.gone );
      const_cast<Card &>( world.card() ).descriptionIs( std::move( description ), change );
      return change;
   }
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override {
      if ( std::holds_alternative<Hardware::Steps::AttemptBegun>( step ) ) ++attempts[config.name().charPtr()];
   }
   void onWrite32( U64, U32, U32 ) override { ++accesses; }
   void onRead32( U64, U32, U32 ) override { ++accesses; }

   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::SimulatedCard hardware{ clock, simulatedParameters( cardOf( wholeCard ) ) };
   VirtualWorld world{
      clock,
      cardOf( wholeCard ),
      {},
      [this]( Sim::CardEvents & events ) {
         return Vor::Ptr<Fru::HamImpl>( new Sim::SimulatedHam( "hamImpl", hardware, events ) );
      },
      &hardware };
   std::map<std::string, int> attempts;
   int accesses = 0;
};

std::string const otherRole = with( wholeCard, R"("role": "unknown")", R"("role": "timeSync")" );

TEST_F( ReloadTest, OnlyTheChangedChipIsBroughtUp ) {
   ASSERT_TRUE( world.card().allReady() );
   auto const ptp0 = world.machines().machine( "ptp0" );
   auto const status = world.card().max24305StatusDir()->max24305( "ptp0" );
   describe( otherRole );
   EXPECT_EQ( accesses, 0 ) << "until there is a machine";
   EXPECT_FALSE( world.card().ready( "ptp1" ) );
   EXPECT_TRUE( world.card().ready( "ptp0" ) );
   EXPECT_EQ( world.machines().machine( "ptp1" ), nullptr );
   made();
   EXPECT_THAT( attempts, ElementsAre( testing::Pair( "ptp1", 1 ) ) );
   EXPECT_TRUE( world.card().allReady() );
   EXPECT_EQ( world.machines().machine( "ptp0" ), ptp0 );
   EXPECT_EQ( world.card().max24305StatusDir()->max24305( "ptp0" ), status );
   EXPECT_EQ( world.card().max24305ConfigDir()->max24305( "ptp0" )->opsToDo().count(), 3U ) << "not handed over twice";
   EXPECT_EQ( world.card().max24305ConfigDir()->max24305( "ptp1" )->role(), Hardware::Max24305::timeSync_ );
}

TEST_F( ReloadTest, ATolvaneBringsUpWhatItFeedsAgain ) {
   describe( with( wholeCard, R"("resetGpoName": "osc0Reset")", R"("resetGpoName": "osc0Reset", "role": "unknown")" ) );
   made();
   EXPECT_THAT( attempts, ElementsAre( testing::Pair( "osc0", 1 ), testing::Pair( "ptp0", 1 ) ) );
   EXPECT_TRUE( world.card().allReady() );
}

TEST_F( ReloadTest, MachinesOfUnchangedChipsGoOnLookingAfterThem ) {
   auto const goAndCome = [this] {
      attempts.clear();
      world.card().hamImpl()->hardwarePresentIs( false );
      EXPECT_FALSE( world.card().ready( "ptp0" ) );
      world.card().hamImpl()->hardwarePresentIs( true );
      made();
      EXPECT_TRUE( world.card().allReady() );
      return attempts;
   };
   auto const before = goAndCome();
   EXPECT_GE( before.at( "ptp0" ), 1 );
   describe( otherRole );
   made();
   EXPECT_EQ( goAndCome(), before );
}

// As the card is simulated, its hardware stays where it is; only the card's own lists change here.
TEST_F( ReloadTest, WhatIsGoneStaysAsItStandsAndWhatComesBackIsBroughtUp ) {
   Input::CardDescription less = cardOf( wholeCard );
   auto all = std::exchange( less.max24305s, {} );
   less.max24305s.push_back( all[0] );
   Card & card = const_cast<Card &>( world.card() );
   CardChange const gone{ .anew = {}, .gone = { "ptp1" } };
   world.machines().del( gone.gone );
   card.descriptionIs( less, gone );
   made();
   EXPECT_EQ( accesses, 0 );
   EXPECT_TRUE( card.allReady() );
   EXPECT_EQ( card.max24305ConfigDir()->max24305( "ptp1" ), nullptr );
   EXPECT_EQ( card.max24305StatusDir()->max24305( "ptp1" ), nullptr );
   EXPECT_FALSE( card.clockStatuses().contains( "ptp1" ) );
   EXPECT_TRUE( card.max24305ConfigDir()->supported() );
   card.hamImpl()->hardwarePresentIs( false );
   card.hamImpl()->hardwarePresentIs( true );
   EXPECT_EQ( attempts["ptp1"], 0 ) << "nobody looks after it";
   card.descriptionIs( cardOf( wholeCard ), { .anew = { "ptp1" }, .gone = {} } );
   made();
   EXPECT_EQ( attempts["ptp1"], 1 );
   EXPECT_TRUE( card.allReady() );
}

}   // namespace
}   // namespace Host::CardChangeTests
