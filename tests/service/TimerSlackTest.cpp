#include "service/TimerSlack.h"

#include "card/SimulatedWorld.h"
#include "tests/input/Cards.h"
#include "util/Utils.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace Host;

int slackNs() { return ::prctl( PR_GET_TIMERSLACK ); }

TEST( TimerSlack, HoldsAsLongAsItLives ) {
   int const before = slackNs();
   {
      TimerSlack const slack( before + 7 );
      EXPECT_EQ( slackNs(), before + 7 );
      TimerSlack const inner( 1 );
      EXPECT_EQ( slackNs(), 1 );
   }
   EXPECT_EQ( slackNs(), before );
}

TEST( TimerSlack, NoneLeavesWhatIs ) {
   int const before = slackNs();
   TimerSlack const slack( 0 );
   EXPECT_EQ( slackNs(), before );
}

TEST( TimerSlack, IsOfTheOneThread ) {
   int const before = slackNs();
   int there = 0;
   int others = 0;
   std::thread( [&] {
      TimerSlack const slack( 1 );
      there = slackNs();
   } ).join();
   others = slackNs();
   EXPECT_EQ( there, 1 );
   EXPECT_EQ( others, before );
}

TEST( TimerSlack, TheLibraryAloneLeavesIt ) {
   int const before = slackNs();
   Hardware::nsleep( 1000 );
   SimulatedWorld world( Input::cardOf( Input::wholeCard ), {} );
   world.run();
   EXPECT_TRUE( world.card().allReady() );
   EXPECT_EQ( slackNs(), before );
}

}   // namespace
