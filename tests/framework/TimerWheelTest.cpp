#include "framework/TimerWheel.h"

#include "tests/framework/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Jor {
namespace {

using testing::ElementsAre;
using Vor::Ptr;

static_assert( !std::is_copy_constructible_v<TimerWheel> );
static_assert( !std::is_constructible_v<TimerWheel, Ptr<Vor::Clock const>, U32, U32, bool, U32> );

constexpr double never = std::numeric_limits<double>::infinity();

class Timer final : public TimerWheel::NotifieeConst {
 public:
   Timer( Ptr<TimerWheel const> const & wheel, std::string name, std::string & fired )
      : name( std::move( name ) ), fired_( fired ) {
      vorAttach( wheel );
   }
   void onTime() override {
      fired_ += name;
      if ( auto const doOnTime = inOnTime ) doOnTime();
   }

   std::string const name;
   std::function<void()> inOnTime;

 private:
   std::string & fired_;
};

class TimerWheelTest : public testing::Test {
 protected:
   Ptr<Timer> timer( std::string name ) { return new Timer( wheel, std::move( name ), fired ); }
   Ptr<Timer> timer( std::string name, double timeMin ) {
      auto made = timer( std::move( name ) );
      made->timeMinIs( timeMin );
      return made;
   }
   /// The names of the timers that one turn at that time runs.
   std::string firedAt( double time ) {
      clock->time = time;
      fired.clear();
      wheel->turn();
      return fired;
   }

   Ptr<ManualClock> const clock = new ManualClock( 10.0 );
   Ptr<TimerWheel> wheel = TimerWheel::TimerWheelIs( clock, 100, 3000, true, 1024 );
   std::string fired;
};

TEST_F( TimerWheelTest, TellsWhatItWasMadeWith ) {
   EXPECT_EQ( wheel->clock(), clock );
   EXPECT_EQ( wheel->tickMsecs(), 100u );
   EXPECT_EQ( wheel->initialMaxTicks(), 3000u );
   EXPECT_TRUE( wheel->preserveOrder() );
   EXPECT_EQ( wheel->defaultBucketSize(), 1024u );
}

TEST_F( TimerWheelTest, ANewTimerIsDisarmed ) {
   auto const a = timer( "a" );
   EXPECT_EQ( a->timeMin(), never );
   EXPECT_EQ( wheel->nextTime(), never );
   EXPECT_EQ( firedAt( 1e9 ), "" );
}

TEST_F( TimerWheelTest, ArmingForNowRunsAtTheNextTurnNotInTheSetter ) {
   auto const a = timer( "a" );
   a->timeMinIs( clock->now() );
   EXPECT_EQ( fired, "" );
   EXPECT_EQ( a->timeMin(), 10.0 );
   EXPECT_EQ( wheel->nextTime(), 10.0 );
   EXPECT_EQ( firedAt( 10.0 ), "a" );
   EXPECT_EQ( a->timeMin(), never );
   EXPECT_EQ( firedAt( 11.0 ), "" );
}

TEST_F( TimerWheelTest, ATimeIsExactWhateverTheTick ) {
   for ( double const time : { 10.1, 10.15, 10.19999, 12.0, 3000.05 } ) {
      SCOPED_TRACE( time );
      auto const a = timer( "a", time );
      EXPECT_EQ( wheel->nextTime(), time );
      EXPECT_EQ( firedAt( std::nextafter( time, 0.0 ) ), "" );
      EXPECT_EQ( wheel->nextTime(), time );
      EXPECT_EQ( firedAt( time ), "a" );
   }
}

TEST_F( TimerWheelTest, PastTimesRunAtTheNextTurnEarlierOnesFirst ) {
   auto const a = timer( "a", 9.0 );
   auto const b = timer( "b", 1.0 );
   auto const c = timer( "c", -5.0 );
   auto const d = timer( "d", -never );
   auto const e = timer( "e", 10.0 );
   EXPECT_EQ( wheel->nextTime(), -never );
   EXPECT_EQ( firedAt( 10.0 ), "dcbae" );
}

TEST_F( TimerWheelTest, EqualTimesKeepTheOrderOfArming ) {
   std::vector<Ptr<Timer>> timers;
   for ( char name = 'a'; name <= 'z'; ++name ) timers.push_back( timer( std::string( 1, name ), 20.0 ) );
   EXPECT_EQ( firedAt( 20.0 ), "abcdefghijklmnopqrstuvwxyz" );
}

TEST_F( TimerWheelTest, EqualTimesKeepTheOrderOfArmingAlsoWhenAskedOtherwise ) {
   wheel = TimerWheel::TimerWheelIs( clock, 100, 3000, false, 0 );
   auto const a = timer( "a", 20.0 );
   auto const b = timer( "b", 20.0 );
   EXPECT_EQ( firedAt( 20.0 ), "ab" );
}

TEST_F( TimerWheelTest, ArmingAgainGoesBehindThoseOfTheSameTime ) {
   auto const a = timer( "a", 20.0 );
   auto const b = timer( "b", 20.0 );
   a->timeMinIs( 20.0 );
   EXPECT_EQ( firedAt( 20.0 ), "ba" );
}

TEST_F( TimerWheelTest, ArmingAgainMovesTheOneTimer ) {
   auto const a = timer( "a", 20.0 );
   a->timeMinIs( 30.0 );
   EXPECT_EQ( firedAt( 20.0 ), "" );
   a->timeMinIs( 25.0 );
   EXPECT_EQ( firedAt( 25.0 ), "a" );
   EXPECT_EQ( firedAt( 30.0 ), "" );
}

TEST_F( TimerWheelTest, WithinATurnEarlierTimesRunFirst ) {
   auto const a = timer( "a", 310.0 );   // a later round of the first one's bucket
   auto const b = timer( "b", 10.05 );
   auto const c = timer( "c", 10.01 );
   auto const d = timer( "d", 50.0 );
   EXPECT_EQ( firedAt( 400.0 ), "cbda" );
}

TEST_F( TimerWheelTest, InfinityDisarms ) {
   auto const a = timer( "a", 20.0 );
   a->timeMinIs( never );
   EXPECT_EQ( a->timeMin(), never );
   EXPECT_EQ( wheel->nextTime(), never );
   EXPECT_EQ( firedAt( 1e6 ), "" );
   a->timeMinIs( never );
}

TEST_F( TimerWheelTest, AFiniteTimeHoweverLateIsKept ) {
   auto const a = timer( "a", 1e300 );
   EXPECT_EQ( wheel->nextTime(), 1e300 );
   EXPECT_EQ( firedAt( 1e299 ), "" );
   EXPECT_EQ( firedAt( 1e300 ), "a" );
}

TEST_F( TimerWheelTest, DestroyingATimerCancelsIt ) {
   auto a = timer( "a", 20.0 );
   auto const b = timer( "b", 21.0 );
   a = nullptr;
   EXPECT_EQ( wheel->nextTime(), 21.0 );
   EXPECT_EQ( firedAt( 30.0 ), "b" );
}

TEST_F( TimerWheelTest, ATimerArmedInATurnWaitsForTheNext ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b" );
   a->inOnTime = [&] {
      a->timeMinIs( 0.0 );
      b->timeMinIs( clock->now() );
   };
   EXPECT_EQ( firedAt( 10.0 ), "a" );
   EXPECT_EQ( wheel->nextTime(), 0.0 );
   a->inOnTime = nullptr;
   EXPECT_EQ( firedAt( 10.0 ), "ab" );
}

TEST_F( TimerWheelTest, AWaitingTimerArmedAnewInATurnWaitsForTheNext ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 10.0 );
   a->inOnTime = [&] { b->timeMinIs( 5.0 ); };
   EXPECT_EQ( firedAt( 10.0 ), "a" );
   EXPECT_EQ( firedAt( 10.0 ), "b" );
}

TEST_F( TimerWheelTest, TimePassingInACallbackMakesNothingElseDueInThatTurn ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 12.0 );
   a->inOnTime = [&] { clock->time = 15.0; };
   EXPECT_EQ( firedAt( 10.0 ), "a" );
   EXPECT_EQ( firedAt( 15.0 ), "b" );
}

TEST_F( TimerWheelTest, ACallbackMayDisarmOneThatIsDue ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 10.0 );
   auto const c = timer( "c", 10.0 );
   a->inOnTime = [&] { b->timeMinIs( never ); };
   EXPECT_EQ( firedAt( 10.0 ), "ac" );
   EXPECT_EQ( firedAt( 99.0 ), "" );
}

TEST_F( TimerWheelTest, ACallbackMayDestroyAnyTimerItsOwnIncluded ) {
   auto a = timer( "a", 10.0 );
   auto b = timer( "b", 10.0 );
   auto c = timer( "c", 10.0 );
   auto const d = timer( "d", 10.0 );
   b->inOnTime = [&] { a = b = c = nullptr; };
   EXPECT_EQ( firedAt( 10.0 ), "abd" );
}

TEST_F( TimerWheelTest, ACallbackMayDropTheLastReferenceToTheWheel ) {
   struct Machine : Vor::PtrInterface {
      Ptr<TimerWheel> wheel;
      Ptr<Timer> poll;
      Ptr<Timer> other;
   };
   Ptr<Machine> machine = new Machine;
   machine->wheel = wheel;
   machine->poll = timer( "p", 10.0 );
   machine->other = timer( "o", 10.0 );
   machine->poll->inOnTime = [&] { machine = nullptr; };
   wheel = nullptr;
   Vor::activityManager().config().clockIs( clock );
   Vor::activityManager().turn();
   EXPECT_EQ( fired, "p" );
   EXPECT_EQ( Vor::activityManager().nextTime(), never );
   Vor::activityManager().turn();
   EXPECT_EQ( fired, "p" );
   Vor::activityManager().config().clockIs( nullptr );
}

TEST_F( TimerWheelTest, ATimerHoldsItsWheel ) {
   auto const a = timer( "a", 20.0 );
   TimerWheel * const plain = wheel.ptr();
   wheel = nullptr;
   clock->time = 20.0;
   plain->turn();
   EXPECT_EQ( fired, "a" );
}

TEST_F( TimerWheelTest, AZombieIsPassedOverAndItsArmingUsedUp ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 10.0 );
   a->vorZombieIs( true );
   EXPECT_EQ( firedAt( 10.0 ), "b" );
   EXPECT_EQ( a->timeMin(), never );
   a->vorZombieIs( false );
   EXPECT_EQ( firedAt( 11.0 ), "" );
}

TEST_F( TimerWheelTest, ATimerThatIsSwitchedOffIsPassedOverAndItsArmingUsedUp ) {
   auto const a = timer( "a", 10.0 );
   a->hasNotificationActiveIs( false );
   EXPECT_EQ( firedAt( 10.0 ), "" );
   a->hasNotificationActiveIs( true );
   EXPECT_EQ( firedAt( 11.0 ), "" );
   a->timeMinIs( 12.0 );
   EXPECT_EQ( firedAt( 12.0 ), "a" );
}

TEST_F( TimerWheelTest, ATimerThatIsNotRegisteredIsPassedOver ) {
   auto const a = timer( "a", 10.0 );
   a->isRegisteredNotifieeIs( false );
   EXPECT_EQ( firedAt( 10.0 ), "" );
   a->isRegisteredNotifieeIs( true );
   a->timeMinIs( 10.0 );
   EXPECT_EQ( firedAt( 10.0 ), "a" );
}

TEST_F( TimerWheelTest, ACallbackMaySwitchOffOneThatIsDue ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 10.0 );
   a->inOnTime = [&] { b->hasNotificationActiveIs( false ); };
   EXPECT_EQ( firedAt( 10.0 ), "a" );
}

TEST_F( TimerWheelTest, LeavingTheWheelStopsATimerAndJoiningOneGoesOn ) {
   auto const a = timer( "a", 20.0 );
   a->notifierIs( nullptr );
   EXPECT_FALSE( a->notifier() );
   EXPECT_EQ( wheel->nextTime(), never );
   EXPECT_EQ( firedAt( 20.0 ), "" );
   EXPECT_EQ( a->timeMin(), 20.0 );
   a->timeMinIs( 25.0 );

   auto const other = TimerWheel::TimerWheelIs( clock, 10, 8, true, 1 );
   a->notifierIs( other );
   EXPECT_EQ( other->nextTime(), 25.0 );
   EXPECT_EQ( firedAt( 25.0 ), "" );
   other->turn();
   EXPECT_EQ( fired, "a" );
}

TEST_F( TimerWheelTest, RePointingMovesAnArmedTimer ) {
   auto const a = timer( "a", 20.0 );
   auto const other = TimerWheel::TimerWheelIs( clock, 10, 8, true, 1 );
   a->notifierIs( other );
   EXPECT_EQ( wheel->nextTime(), never );
   EXPECT_EQ( other->nextTime(), 20.0 );
}

TEST_F( TimerWheelTest, TheSameWheelAgainChangesNothing ) {
   auto const a = timer( "a", 20.0 );
   auto const b = timer( "b", 20.0 );
   a->notifierIs( wheel );
   EXPECT_EQ( firedAt( 20.0 ), "ab" );
}

TEST_F( TimerWheelTest, WhatIsNoWheelCountsAsNone ) {
   auto const a = timer( "a", 20.0 );
   a->notifierIs( clock );
   EXPECT_FALSE( a->notifier() );
   EXPECT_EQ( wheel->nextTime(), never );
}

TEST_F( TimerWheelTest, ATurnWithinATurnAlsoRunsWhatIsLeftOfTheOuterOne ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 10.0 );
   auto const c = timer( "c", 12.0 );
   a->inOnTime = [&] {
      clock->time = 12.0;
      EXPECT_EQ( wheel->nextTime(), 10.0 );
      wheel->turn();
      EXPECT_EQ( fired, "abc" );
   };
   EXPECT_EQ( firedAt( 10.0 ), "abc" );
}

TEST_F( TimerWheelTest, WhatACallbackThatThrowsLeavesRunsAtTheNextTurn ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 10.0 );
   a->inOnTime = [] { throw std::runtime_error( "lost" ); };
   EXPECT_THROW( firedAt( 10.0 ), std::runtime_error );
   EXPECT_EQ( a->timeMin(), never );
   EXPECT_EQ( wheel->nextTime(), 10.0 );
   EXPECT_EQ( firedAt( 10.0 ), "b" );
}

TEST_F( TimerWheelTest, WithinATurnTheNextTimeIsThatOfWhatIsLeftAndWhatWasArmed ) {
   auto const a = timer( "a", 10.0 );
   auto const b = timer( "b", 10.05 );
   auto const c = timer( "c" );
   a->inOnTime = [&] {
      EXPECT_EQ( wheel->nextTime(), 10.05 );
      c->timeMinIs( 10.02 );
      EXPECT_EQ( wheel->nextTime(), 10.02 );
   };
   EXPECT_EQ( firedAt( 10.09 ), "ab" );
   EXPECT_EQ( firedAt( 10.09 ), "c" );
}

TEST_F( TimerWheelTest, AClockThatWentBackDelaysButLosesNothing ) {
   auto const a = timer( "a", 20.0 );
   EXPECT_EQ( firedAt( 15.0 ), "" );
   clock->time = 5.0;
   auto const now = timer( "n", 5.0 );
   EXPECT_EQ( firedAt( 5.0 ), "n" );
   auto const b = timer( "b", 6.0 );
   EXPECT_EQ( wheel->nextTime(), 6.0 );
   EXPECT_EQ( firedAt( 5.5 ), "" );
   EXPECT_EQ( firedAt( 6.0 ), "b" );
   EXPECT_EQ( firedAt( 20.0 ), "a" );
}

TEST_F( TimerWheelTest, AClockBelowZeroIsServed ) {
   clock->time = -100.0;
   wheel = TimerWheel::TimerWheelIs( clock, 100, 16, true, 1 );
   auto const a = timer( "a", -50.0 );
   auto const b = timer( "b", -60.0 );
   EXPECT_EQ( wheel->nextTime(), -60.0 );
   EXPECT_EQ( firedAt( -70.0 ), "" );
   EXPECT_EQ( firedAt( -60.0 ), "b" );
   EXPECT_EQ( firedAt( 0.0 ), "a" );
}

TEST_F( TimerWheelTest, AHundredPollsASecondApartComeAtTheirTimes ) {
   auto const poll = timer( "p", clock->now() );
   std::vector<double> times;
   poll->inOnTime = [&] {
      times.push_back( clock->now() );
      if ( times.size() <= 100 ) poll->timeMinIs( clock->now() + 1.0 );
   };
   while ( wheel->nextTime() != never ) {
      clock->time = wheel->nextTime();
      wheel->turn();
   }
   ASSERT_EQ( times.size(), 101u );
   for ( std::size_t i = 0; i < times.size(); ++i ) EXPECT_EQ( times[i], 10.0 + static_cast<double>( i ) );
}

struct Wheel {
   U32 tickMsecs;
   U32 initialMaxTicks;
};
std::ostream & operator<<( std::ostream & out, Wheel const & wheel ) {
   return out << wheel.tickMsecs << " ms x " << wheel.initialMaxTicks;
}

/// Every place around the wrap of the ring, from several starting points.
class TimerWheelWrapTest : public testing::TestWithParam<Wheel> {};

TEST_P( TimerWheelWrapTest, TicksAroundTheWrapComeAtTheirTimesInTheirOrder ) {
   U32 const span = GetParam().initialMaxTicks;
   double const tick = GetParam().tickMsecs / 1000.0;
   for ( U32 const start : { 0u, 1u, span - 1, span, span + 1, 255u, 256u, 257u } ) {
      SCOPED_TRACE( start );
      Ptr<ManualClock> const clock = new ManualClock( start * tick );
      auto const wheel = TimerWheel::TimerWheelIs( clock, GetParam().tickMsecs, span, true, 1 );
      std::vector<double> times;
      for ( U32 const ahead :
            { 0u, 1u, 2u, 254u, 255u, 256u, 257u, 511u, 512u, 513u, span - 1, span, span + 1, 2 * span - 1, 2 * span,
              2 * span + 1, 10 * span } )
         for ( double const part : { 0.0, 0.5, 0.999 } ) times.push_back( ( start + ahead + part ) * tick );

      std::string unused;
      std::vector<Ptr<Timer>> timers;
      std::vector<double> came;
      for ( double const time : times ) {
         timers.push_back( new Timer( wheel, "", unused ) );
         timers.back()->inOnTime = [&came, time] { came.push_back( time ); };
         timers.back()->timeMinIs( time );
      }
      std::sort( times.begin(), times.end() );
      // One turn at each of the times, then all of them in one turn.
      for ( bool const atOnce : { false, true } ) {
         came.clear();
         if ( atOnce ) {
            clock->time = start * tick;
            for ( std::size_t i = 0; i < timers.size(); ++i ) timers[i]->timeMinIs( times[i] );
            clock->time = times.back();
            wheel->turn();
         }
         for ( double const time : times ) {
            if ( atOnce ) break;
            ASSERT_GE( wheel->nextTime(), clock->time );
            clock->time = time;
            wheel->turn();
            ASSERT_EQ( came.back(), time );
         }
         if ( atOnce )
            ASSERT_EQ( came.size(), times.size() );
         else
            ASSERT_EQ( came, times );
         ASSERT_EQ( wheel->nextTime(), never );
      }
   }
}

INSTANTIATE_TEST_SUITE_P(
   Wheels, TimerWheelWrapTest,
   testing::Values(
      Wheel{ 100, 3000 }, Wheel{ 100, 256 }, Wheel{ 1, 255 }, Wheel{ 10, 257 }, Wheel{ 7, 1 }, Wheel{ 1000, 2 } ) );

/// Random operations, checked at each callback against an unordered list that is searched through.
class TimerWheelModelTest : public testing::TestWithParam<Wheel> {
 protected:
   static constexpr int timerCount = 24;

   struct Armed {
      double time;
      U64 arming;
      int id;
      bool operator<( Armed const & other ) const {
         return time != other.time ? time < other.time : arming < other.arming;
      }
   };

   class Timer final : public TimerWheel::NotifieeConst {
    public:
      Timer( TimerWheelModelTest & test, int id ) : test_( test ), id_( id ) { vorAttach( test.wheel ); }
      void onTime() override { test_.onTime( id_ ); }

    private:
      TimerWheelModelTest & test_;
      int id_;
   };

   U64 upTo( U64 most ) { return std::uniform_int_distribution<U64>( 0, most )( random ); }

   double randomTime() {
      double const tick = GetParam().tickMsecs / 1000.0;
      double const span = tick * GetParam().initialMaxTicks;
      auto const anyOf = [this]( double most ) { return std::uniform_real_distribution<double>( 0, most )( random ); };
      switch ( upTo( 7 ) ) {
      case 0:
         return clock->time;
      case 1:
         return clock->time - anyOf( span );
      case 2:
         return clock->time + anyOf( tick );
      case 3:
         return clock->time + anyOf( span );
      case 4:
         return clock->time + anyOf( 20 * span );
      case 5:
         return std::floor( clock->time / tick + static_cast<double>( upTo( 600 ) ) ) * tick;
      case 6:
         return armed.empty() ? clock->time : armed[upTo( armed.size() - 1 )].time;
      default:
         return never;
      }
   }

   void forget( int id ) {
      auto const ofId = [id]( Armed const & a ) { return a.id == id; };
      std::erase_if( armed, ofId );
      std::erase_if( due, ofId );
   }

   void operation() {
      int const id = static_cast<int>( upTo( timerCount - 1 ) );
      switch ( upTo( 9 ) ) {
      case 0:   // destroyed, and another made in its place
         forget( id );
         timers[id] = new Timer( *this, id );
         break;
      case 1:
         timers[id]->hasNotificationActiveIs( upTo( 3 ) != 0 );
         break;
      case 2:
         forget( id );
         timers[id]->timeMinIs( never );
         break;
      case 3:
         clock->time += static_cast<double>( upTo( 5 ) ) * GetParam().tickMsecs / 1000.0;
         break;
      default:
         double const time = randomTime();
         forget( id );
         if ( time != never ) armed.push_back( { time, ++armings, id } );
         timers[id]->timeMinIs( time );
      }
   }

   void passOverTheDead() {
      while ( !due.empty() && !timers[due.front().id]->vorLive() ) due.erase( due.begin() );
   }

   void onTime( int id ) {
      passOverTheDead();
      ASSERT_FALSE( due.empty() ) << "timer " << id << " came unexpectedly";
      ASSERT_EQ( due.front().id, id );
      due.erase( due.begin() );
      ASSERT_EQ( timers[id]->timeMin(), never );
      ASSERT_EQ( wheel->nextTime(), modelNextTime() );
      for ( U64 i = upTo( 3 ); i > 0; --i ) operation();
      if ( depth < 3 && upTo( 19 ) == 0 ) turn();
   }

   void turn() {
      ++depth;
      std::vector<Armed> found;
      for ( Armed const & a : armed )
         if ( a.time <= clock->time ) found.push_back( a );
      std::sort( found.begin(), found.end() );
      std::erase_if( armed, [this]( Armed const & a ) { return a.time <= clock->time; } );
      due.insert( due.end(), found.begin(), found.end() );
      wheel->turn();
      passOverTheDead();
      EXPECT_TRUE( due.empty() ) << "timer " << due.front().id << " did not come";
      --depth;
   }

   double modelNextTime() const {
      double next = never;
      for ( Armed const & a : armed ) next = std::min( next, a.time );
      for ( Armed const & a : due ) next = std::min( next, a.time );
      return next;
   }

   std::mt19937_64 random;
   Ptr<ManualClock> const clock = new ManualClock( 5.0 );
   Ptr<TimerWheel> wheel;
   std::vector<Ptr<Timer>> timers;
   std::vector<Armed> armed;
   std::vector<Armed> due;
   U64 armings = 0;
   int depth = 0;
};

TEST_P( TimerWheelModelTest, RandomOperationsDoWhatASearchedListDoes ) {
   U64 const firstSeed = std::random_device()();
   for ( U64 seed = firstSeed; seed < firstSeed + 20; ++seed ) {
      SCOPED_TRACE( testing::Message() << "seed " << seed );
      random.seed( seed );
      wheel = TimerWheel::TimerWheelIs( clock, GetParam().tickMsecs, GetParam().initialMaxTicks, true, 4 );
      timers.clear();
      armed.clear();
      due.clear();
      for ( int id = 0; id < timerCount; ++id ) timers.push_back( new Timer( *this, id ) );
      for ( int i = 0; i < 1000; ++i ) {
         operation();
         if ( upTo( 2 ) == 0 ) turn();
         if ( upTo( 9 ) == 0 && wheel->nextTime() != never ) clock->time = std::max( clock->time, wheel->nextTime() );
         ASSERT_EQ( wheel->nextTime(), modelNextTime() );
         if ( HasFailure() ) return;
      }
   }
}

INSTANTIATE_TEST_SUITE_P(
   Wheels, TimerWheelModelTest,
   testing::Values( Wheel{ 100, 3000 }, Wheel{ 100, 256 }, Wheel{ 10, 8 }, Wheel{ 1, 1 } ) );

/// So many that their order shows: armed, disarmed, destroyed and run, beside a map of times.
TEST_F( TimerWheelTest, AThousandTimersComeAsFromAMapOfTimes ) {
   struct Listed final : TimerWheel::NotifieeConst {
      Listed( Ptr<TimerWheel> const & wheel, int id, std::vector<int> & came ) : id( id ), came( came ) {
         vorAttach( wheel );
      }
      void onTime() override { came.push_back( id ); }
      int id;
      std::vector<int> & came;
   };
   auto const seed = std::random_device()();
   SCOPED_TRACE( testing::Message() << "seed " << seed );
   std::mt19937 random( seed );
   std::vector<int> came;
   std::vector<Ptr<Listed>> timers;
   using Times = std::multimap<double, int>;   // equal times stand in the order in which they came
   Times times;
   std::vector<Times::iterator> places( 1000, times.end() );
   for ( int id = 0; id < 1000; ++id ) timers.push_back( new Listed( wheel, id, came ) );
   auto const forget = [&]( std::size_t id ) {
      if ( places[id] != times.end() ) times.erase( std::exchange( places[id], times.end() ) );
   };
   for ( int step = 0; step < 20'000; ++step ) {
      std::size_t const id = random() % 1000;
      forget( id );
      if ( random() % 8 ) {
         double const time = clock->time + random() % 4000 / 10.0;
         timers[id]->timeMinIs( time );
         places[id] = times.emplace( time, id );
      } else if ( random() % 2 ) {
         timers[id]->timeMinIs( never );
      } else {
         timers[id] = new Listed( wheel, static_cast<int>( id ), came );
      }
      // Mostly the earliest is looked for after some changes, not after each.
      ASSERT_TRUE( random() % 4 || wheel->nextTime() == ( times.empty() ? never : times.begin()->first ) );
      if ( random() % 32 ) continue;
      clock->time += random() % 50 / 10.0;
      std::vector<int> expected;
      while ( !times.empty() && times.begin()->first <= clock->time ) {
         expected.push_back( times.begin()->second );
         forget( static_cast<std::size_t>( expected.back() ) );
      }
      came.clear();
      wheel->turn();
      ASSERT_EQ( came, expected );
   }
}

using TimerWheelDeathTest = TimerWheelTest;

TEST_F( TimerWheelDeathTest, ATimeThatIsNoNumberStopsTheProcess ) {
   auto const a = timer( "a" );
   EXPECT_DEATH( a->timeMinIs( std::nan( "" ) ), "TimerWheel:.*Assertion `!std::isnan\\( timeMin \\)' failed\\." );
}

TEST_F( TimerWheelDeathTest, AWheelNeedsAClockATickAndABucket ) {
   EXPECT_DEATH( TimerWheel::TimerWheelIs( nullptr, 100, 3000, true, 1 ), "Assertion `clock' failed\\." );
   EXPECT_DEATH( TimerWheel::TimerWheelIs( clock, 0, 3000, true, 1 ), "Assertion `tickMsecs > 0' failed\\." );
   EXPECT_DEATH( TimerWheel::TimerWheelIs( clock, 100, 0, true, 1 ), "Assertion `initialMaxTicks > 0' failed\\." );
}

}   // namespace
}   // namespace Jor
