// What becomes of a card when a supervisor, its server or the other one fails.
#include "tests/switchover/Cluster.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>

namespace {

using namespace Switchover;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char serves[] = "serves as the active supervisor";

void expectOnlyWhatWas( Cluster const & cluster, std::map<U32, std::map<std::string, States>> const & seen ) {
   for ( auto const & [generation, entities] : seen ) {
      if ( generation == 0 ) continue;
      auto const had = cluster.statesOf( generation == 1 ? "a" : "b" );
      for ( auto const & [entity, states] : entities )
         EXPECT_TRUE( inOrder( states, had.at( entity ) ) )
            << entity << " of generation " << generation << ", read: " << ::testing::PrintToString( states )
            << ", was: " << ::testing::PrintToString( had.at( entity ) );
   }
}

struct Killed {
   bool wasReady = false;   // the chip, as far as the other supervisor could know
   std::size_t resetsAfter = 0;
   milliseconds takeOver{ 0 };   // from the order to the first decision
   std::string lost;             // what was acknowledged and is gone; empty: nothing
};

// The active supervisor and its server are killed at that instant; the other one takes over.
Killed killedAfter( milliseconds instant ) {
   Killed killed;
   Cluster cluster;
   Watcher watcher( cluster.server( "b" ).viewer() );
   cluster.agent( "b", "standby" );
   cluster.agent( "a", "active", { "--generation", "1" } );
   EXPECT_TRUE( cluster.agent( "b" ).outputHas( "stands by" ) );
   std::optional<Vor::LogPosition> safe;
   for ( Clock::time_point const end = Clock::now() + instant; Clock::now() < end; ) {
      if ( auto const told = cluster.position( "a" ) ) safe = told->safe;
      std::this_thread::sleep_for( milliseconds( 1 ) );
   }
   cluster.agent( "a" ).signal( SIGKILL );
   cluster.server( "a" ).end();
   cluster.agent( "a" ).result();
   std::size_t const resets = cluster.resets();

   Vor::LogBatch batch;
   Vor::LogPosition const left = State::openSource( cluster.server( "b" ).viewer() )->snapshot( batch );
   if ( safe && left < *safe )
      killed.lost = "safe was " + positionText( *safe ).stdString() + ", left is " + positionText( left ).stdString();
   auto const ordered = Clock::now();
   EXPECT_EQ( cluster.role( "b", "active", 2 ), "" );
   EXPECT_TRUE( cluster.agent( "b" ).outputHas( "takes over" ) );
   killed.takeOver = std::chrono::duration_cast<milliseconds>( Clock::now() - ordered );
   EXPECT_TRUE( cluster.agent( "b" ).outputHas( serves ) ) << cluster.agent( "b" ).output();
   killed.wasReady = cluster.agent( "b" ).output().find( "ptp0: adopted" ) != std::string::npos;
   killed.resetsAfter = cluster.resets() - resets;
   cluster.agent( "b" ).signal( SIGTERM );
   EXPECT_EQ( cluster.agent( "b" ).result(), 0 ) << cluster.agent( "b" ).output() << cluster.agent( "b" ).errors();
   expectOnlyWhatWas( cluster, watcher.stop() );
   return killed;
}

// Seeds side by side: they mostly sleep.
TEST( SwitchoverTest, WhereverTheActiveOneIsKilledTheOtherOneServes ) {
   char const * const wanted = std::getenv( "CLOCKPATH_SEEDS" );
   U32 const count = wanted ? static_cast<U32>( std::stoul( wanted ) ) : 10;
   constexpr U32 sideBySide = 10;
   U32 adopted = 0;
   milliseconds longest{ 0 };
   for ( U32 first = 1; first <= count; first += sideBySide ) {
      std::vector<std::thread> threads;
      std::vector<Killed> all( std::min( sideBySide, count - first + 1 ) );
      for ( std::size_t i = 0; i < all.size(); ++i )
         threads.emplace_back( [&all, i, seed = first + static_cast<U32>( i )] {
            std::mt19937 random( seed );
            all[i] = killedAfter( milliseconds( std::uniform_int_distribution<U32>( 0, 2500 )( random ) ) );
         } );
      for ( std::thread & thread : threads ) thread.join();
      for ( std::size_t i = 0; i < all.size(); ++i ) {
         EXPECT_EQ( all[i].lost, "" ) << "seed " << first + i;
         // What runs is left alone, and what does not is brought up once.
         EXPECT_EQ( all[i].resetsAfter, all[i].wasReady ? 0 : 1 ) << "seed " << first + i;
         adopted += all[i].wasReady ? 1 : 0;
         longest = std::max( longest, all[i].takeOver );
      }
   }
   std::cout << count << " kills, " << adopted << " chips adopted, longest from the order to the take-over "
             << longest.count() << " ms\n";
   if ( count >= 10 ) {
      EXPECT_GT( adopted, 0U );
      EXPECT_LT( adopted, count );
   }
}

TEST( SwitchoverTest, AStoppedSupervisorThatGoesOnAfterwardsDoesNothingMore ) {
   Cluster cluster;
   cluster.agent( "a", "active", { "--generation", "1" } );
   cluster.agent( "b", "standby" );
   // In the reset pulse of its first attempt.
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( "attempt" ) ) << cluster.agent( "a" ).output();
   cluster.agent( "a" ).signal( SIGSTOP );
   ASSERT_TRUE( cluster.agent( "b" ).outputHas( "stands by" ) );
   ASSERT_EQ( cluster.role( "b", "active", 2 ), "" );
   ASSERT_TRUE( cluster.agent( "b" ).outputHas( serves ) );
   std::size_t const accesses = cluster.hardwareEvents().size();
   cluster.agent( "a" ).signal( SIGCONT );
   EXPECT_EQ( cluster.agent( "a" ).result(), 1 );
   EXPECT_NE( cluster.agent( "a" ).errors().find( "generation 2 has taken the card" ), std::string::npos );
   EXPECT_LE( cluster.hardwareEvents().size(), accesses + 1 ) << "more than one access was late";
   cluster.agent( "b" ).signal( SIGTERM );
   EXPECT_EQ( cluster.agent( "b" ).result(), 0 );
}

TEST( SwitchoverTest, AServerThatIsGoneDelaysNoCard ) {
   Cluster cluster;
   cluster.agent( "a", "active", { "--generation", "1" } );
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( "attempt" ) ) << cluster.agent( "a" ).output();
   cluster.server( "a" ).end();
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( "ready" ) ) << cluster.agent( "a" ).output();
   cluster.agent( "a" ).signal( SIGTERM );
   EXPECT_EQ( cluster.agent( "a" ).result(), 0 ) << cluster.agent( "a" ).output();
   EXPECT_EQ( cluster.resets(), 1U );
}

TEST( SwitchoverTest, WithoutTheOtherServerNothingCountsAsSafeAndTheCardGoesOn ) {
   Cluster cluster;
   cluster.agent( "a", "active", { "--generation", "1" } );
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( serves ) ) << cluster.agent( "a" ).output();
   // The other server has been seen once a turn is safe that it has.
   Vor::LogBatch batch;
   for ( Vor::LogPosition there; there.number == 0; )
      there = State::openSource( cluster.server( "b" ).viewer() )->snapshot( batch );
   cluster.timeSync( "a", "acquiring" );
   auto at = cluster.position( "a" );
   while ( at && at->safe < at->handed ) at = cluster.position( "a" );
   ASSERT_TRUE( at );
   cluster.server( "b" ).end();
   cluster.timeSync( "a", "locked" );
   for ( at = cluster.position( "a" ); at && at->written < at->handed; ) at = cluster.position( "a" );
   ASSERT_TRUE( at );
   EXPECT_LT( at->safe, at->written );
   EXPECT_EQ( cluster.resets(), 1U );
   cluster.agent( "a" ).signal( SIGTERM );
   EXPECT_EQ( cluster.agent( "a" ).result(), 0 );
}

TEST( SwitchoverTest, AStandbyThatIsSlowOrStartedAgainTakesOverAllTheSame ) {
   Cluster cluster;
   cluster.agent( "a", "active", { "--generation", "1" } );
   cluster.agent( "b", "standby" );
   ASSERT_TRUE( cluster.agent( "b" ).outputHas( "stands by" ) );
   cluster.agent( "b" ).signal( SIGSTOP );
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( serves ) ) << cluster.agent( "a" ).output();
   cluster.agent( "b" ).signal( SIGKILL );
   cluster.agent( "b", "standby" );
   ASSERT_TRUE( cluster.agent( "b" ).outputHas( "stands by" ) );
   std::size_t const resets = cluster.resets();
   cluster.agent( "a" ).signal( SIGKILL );
   ASSERT_EQ( cluster.role( "b", "active", 2 ), "" );
   EXPECT_TRUE( cluster.agent( "b" ).outputHas( serves ) ) << cluster.agent( "b" ).output();
   EXPECT_EQ( cluster.resets(), resets ) << "a clock that ran was interrupted";
   // The lost generation does not come back.
   EXPECT_EQ( cluster.agent( "a", "active", { "--generation", "1" } ).result(), 1 );
   cluster.agent( "b" ).signal( SIGTERM );
   EXPECT_EQ( cluster.agent( "b" ).result(), 0 );
}

TEST( SwitchoverTest, OfTwoThatAreStartedAsActiveOneHasTheCard ) {
   Cluster cluster;
   cluster.agent( "a", "active", { "--generation", "1" } );
   cluster.agent( "b", "active", { "--generation", "1" } );
   // The one that does not get it ends at once.
   for ( char const * const name : { "a", "b" } ) {
      Host::Process & other = cluster.agent( name[0] == 'a' ? "b" : "a" );
      if ( !cluster.agent( name ).outputHas( serves ) ) {
         EXPECT_EQ( cluster.agent( name ).result(), 1 );
         EXPECT_TRUE( other.outputHas( serves ) );
         other.signal( SIGTERM );
         EXPECT_EQ( other.result(), 0 );
      }
   }
   EXPECT_EQ( cluster.resets(), 1U );
}

TEST( SwitchoverTest, AnActiveOneThatIsToldToStandByLetsGoOfTheCard ) {
   Cluster cluster;
   cluster.agent( "a", "active", { "--generation", "1" } );
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( serves ) ) << cluster.agent( "a" ).output();
   EXPECT_EQ( cluster.role( "a", "standby", 1 ), "" );
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( "stands by, and mirrors" ) ) << cluster.agent( "a" ).output();
   EXPECT_EQ( cluster.role( "a", "active", 2 ), "" );
   ASSERT_TRUE( cluster.agent( "a" ).outputHas( serves, 2 ) ) << cluster.agent( "a" ).output();
   EXPECT_EQ( cluster.resets(), 1U );
   cluster.agent( "a" ).signal( SIGTERM );
   EXPECT_EQ( cluster.agent( "a" ).result(), 0 );
}

}   // namespace
