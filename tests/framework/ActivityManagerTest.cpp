#include "framework/ActivityManager.h"

#include "framework/TimerWheel.h"
#include "tests/framework/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>

namespace Vor {
namespace {

using testing::ElementsAre;

static_assert( !std::is_copy_constructible_v<ActivityManager> );
// Its life must not depend on the order in which files are initialised.
static_assert( std::is_nothrow_default_constructible_v<ActivityManager> );

constexpr double never = std::numeric_limits<double>::infinity();

class FakeActivity final : public Activity {
 public:
   FakeActivity( Ptr<Clock const> const & clock, std::string name, std::string & turns )
      : name( std::move( name ) ), clock_( clock ), turns_( turns ) {}

   void turn() override {
      turns_ += name;
      if ( auto const doInTurn = inTurn ) doInTurn();
   }
   double nextTime() const override { return next; }
   Ptr<Clock const> clock() const override { return clock_; }

   std::string const name;
   double next = never;
   std::function<void()> inTurn;

 private:
   Ptr<Clock const> const clock_;
   std::string & turns_;
};

class ActivityManagerTest : public testing::Test {
 protected:
   ActivityManagerTest() { manager.config().clockIs( clock ); }
   ~ActivityManagerTest() override { manager.config().clockIs( nullptr ); }

   Ptr<FakeActivity> activity( std::string name ) { return new FakeActivity( clock, std::move( name ), turns ); }
   std::string turnsOfATurn() {
      turns.clear();
      manager.turn();
      return turns;
   }

   ActivityManager & manager = activityManager();
   Ptr<ManualClock> const clock = new ManualClock( 1000.0 );
   std::string turns;
};

TEST_F( ActivityManagerTest, ItsClockIsTheOneHandedIn ) { EXPECT_EQ( manager.config().clock(), clock ); }

TEST_F( ActivityManagerTest, ItsOwnClockIsAMonotonicOne ) {
   manager.config().clockIs( nullptr );
   Ptr<Clock const> const own = manager.config().clock();
   EXPECT_TRUE( ptrCast<MonotonicClock const>( own ) );
   EXPECT_EQ( manager.config().clock(), own );
}

TEST_F( ActivityManagerTest, NothingIsDueWithoutActivities ) {
   EXPECT_EQ( manager.nextTime(), never );
   manager.turn();
}

TEST_F( ActivityManagerTest, ActivitiesHaveOneTurnEachInTheOrderOfTheirCreation ) {
   auto const a = activity( "a" );
   auto const b = activity( "b" );
   auto const c = activity( "c" );
   EXPECT_EQ( turnsOfATurn(), "abc" );
}

TEST_F( ActivityManagerTest, AnActivityMadeInATurnWaitsForTheNext ) {
   auto const a = activity( "a" );
   Ptr<FakeActivity> made;
   a->inTurn = [&] {
      if ( !made ) made = activity( "b" );
   };
   EXPECT_EQ( turnsOfATurn(), "a" );
   EXPECT_EQ( turnsOfATurn(), "ab" );
}

TEST_F( ActivityManagerTest, AnActivityMayDestroyOthersInItsTurn ) {
   auto a = activity( "a" );
   auto b = activity( "b" );
   auto c = activity( "c" );
   b->inTurn = [&] { a = c = nullptr; };
   EXPECT_EQ( turnsOfATurn(), "ab" );
   EXPECT_EQ( turnsOfATurn(), "b" );
}

TEST_F( ActivityManagerTest, AnActivityMayDestroyItselfInItsTurn ) {
   auto a = activity( "a" );
   auto const b = activity( "b" );
   a->inTurn = [&] { a = nullptr; };
   EXPECT_EQ( turnsOfATurn(), "ab" );
   EXPECT_EQ( turnsOfATurn(), "b" );
}

TEST_F( ActivityManagerTest, ATurnWithinATurnIsAWholeOne ) {
   auto const a = activity( "a" );
   auto const b = activity( "b" );
   a->inTurn = [&] {
      a->inTurn = nullptr;
      manager.turn();
   };
   EXPECT_EQ( turnsOfATurn(), "aabb" );
}

TEST_F( ActivityManagerTest, NextTimeIsTheEarliestOfAll ) {
   auto const a = activity( "a" );
   auto b = activity( "b" );
   auto const c = activity( "c" );
   EXPECT_EQ( manager.nextTime(), never );
   a->next = 1000.5;
   b->next = 1000.25;
   c->next = 1001.0;
   EXPECT_EQ( manager.nextTime(), 1000.25 );
   b = nullptr;
   EXPECT_EQ( manager.nextTime(), 1000.5 );
   c->next = 3.0;
   EXPECT_EQ( manager.nextTime(), 3.0 );
}

TEST_F( ActivityManagerTest, NextTimeCountsOnTheConfiguredClockAlsoForActivitiesOnAnother ) {
   Ptr<ManualClock> const other = new ManualClock( 8.0 );
   Ptr<FakeActivity> const foreign = new FakeActivity( other, "f", turns );
   foreign->next = 10.0;
   EXPECT_EQ( manager.nextTime(), 1002.0 );
   foreign->next = never;
   EXPECT_EQ( manager.nextTime(), never );
}

TEST_F( ActivityManagerTest, RunTurnsAndIdlesUntilDone ) {
   auto const a = activity( "a" );
   std::vector<double> idled;
   a->next = 1002.0;
   a->inTurn = [&] { a->next = clock->time < 1002.0 ? 1002.0 : never; };
   manager.run(
      [&] { return idled.size() == 3; },
      [&]( double seconds ) {
         idled.push_back( seconds );
         if ( idled.size() == 1 )
            clock->time += seconds;
         else
            a->inTurn = [&] { a->next = 5.0; };
      } );
   // The third has something due already.
   EXPECT_THAT( idled, ElementsAre( 2.0, never, 0.0 ) );
   EXPECT_EQ( turns, "aaa" );
}

TEST_F( ActivityManagerTest, RunDoesNothingWhenDoneAlready ) {
   auto const a = activity( "a" );
   manager.run( [] { return true; }, []( double ) { FAIL() << "there was nothing to wait for"; } );
   EXPECT_EQ( turns, "" );
}

TEST_F( ActivityManagerTest, RunStopsAfterTheTurnInWhichItWasAskedTo ) {
   auto const a = activity( "a" );
   bool done = false;
   a->inTurn = [&] { done = true; };
   manager.run( [&] { return done; }, []( double ) {} );
   EXPECT_EQ( turns, "a" );
}

// A wheel and a timer in static storage go after main().
TEST( ActivityManagerDeathTest, ExitIsCleanWithActivitiesLeft ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   auto const leaveSomeArmed = [] {
      static Ptr<ManualClock> const clock = new ManualClock;
      activityManager().config().clockIs( clock );
      static Ptr<Jor::TimerWheel> const wheel = Jor::TimerWheel::TimerWheelIs( clock, 100, 16, true, 4 );
      static Ptr<Jor::TimerWheel::NotifieeConst> const timer = new Jor::TimerWheel::NotifieeConst;
      timer->notifierIs( wheel );
      timer->timeMinIs( 1.0 );
      std::exit( 0 );
   };
   EXPECT_EXIT( leaveSomeArmed(), testing::ExitedWithCode( 0 ), "^$" );
}

}   // namespace
}   // namespace Vor
