#include "card/CardLock.h"

#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <memory>
#include <thread>

namespace CardLockTests {
namespace {

using Host::CardLock;

std::string refusal( std::string const & card, U32 generation = 0 ) {
   try {
      CardLock const lock( card, "a test", generation );
   } catch ( Host::CardUnavailable const & error ) {
      return error.what();
   }
   return "";
}

std::string self( std::string const & user ) { return user + ", process " + std::to_string( ::getpid() ); }

TEST( CardLock, HasOneHolderAtATimeAndNamesIt ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   {
      CardLock const lock( card, "agent" );
      EXPECT_EQ( lock.path(), card + ".lock" );
      EXPECT_EQ( folder.content( "space.lock" ), "00000000 " + self( "agent" ) );
      EXPECT_EQ(
         refusal( card ),
         "the card is in use by " + self( "agent" ) + " (" + card + ".lock); stop it, or try again when it has ended" );
      EXPECT_NE( refusal( card ), "" );   // being refused takes nothing from the holder
   }
   EXPECT_EQ( refusal( card ), "" );
   EXPECT_FALSE( std::filesystem::exists( card + ".lock" ) );
}

TEST( CardLock, NamesTheHolderAloneWhoeverCameBefore ) {
   Input::Folder const folder;
   folder.file( "space.lock", "somebody with a long name who was killed, process 1" );
   CardLock const lock( folder.path( "space" ), "agent" );
   EXPECT_EQ( folder.content( "space.lock" ), "00000000 " + self( "agent" ) );
}

TEST( CardLock, OfACardThatIsNotThereYetIsTheSameWhenItCame ) {
   Input::Folder const folder;
   CardLock const lock( folder.path( "space" ), "agent" );
   folder.file( "space", "" );
   EXPECT_NE( refusal( folder.path( "space" ) ), "" );
}

TEST( CardLock, OfALinkIsThatOfTheCard ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   std::filesystem::create_symlink( card, folder.path( "link" ) );
   CardLock const lock( folder.path( "link" ), "agent" );
   EXPECT_NE( refusal( card ), "" );
   EXPECT_EQ( refusal( folder.path( "another" ) ), "" );
}

// Another process that holds the lock, until it is killed.
class Holder {
 public:
   explicit Holder( std::string const & card, U32 generation = 0 ) {
      int ends[2];
      EXPECT_EQ( ::pipe( ends ), 0 );
      pid_ = ::fork();
      if ( pid_ == 0 ) {
         CardLock const lock( card, "agent", generation );
         if ( ::write( ends[1], "x", 1 ) == 1 ) ::pause();
         ::_exit( 1 );
      }
      char told = 0;
      EXPECT_EQ( ::read( ends[0], &told, 1 ), 1 );
      ::close( ends[0] );
      ::close( ends[1] );
   }
   ~Holder() { killed(); }
   Holder( Holder const & ) = delete;
   Holder & operator=( Holder const & ) = delete;

   void killed() {
      if ( pid_ <= 0 ) return;
      ::kill( pid_, SIGKILL );
      ::waitpid( pid_, nullptr, 0 );
      pid_ = -1;
   }
   void stopped() const {
      ::kill( pid_, SIGSTOP );
      ::waitpid( pid_, nullptr, WUNTRACED );
   }
   std::string name() const { return "agent, process " + std::to_string( pid_ ); }

 private:
   pid_t pid_ = -1;
};

TEST( CardLock, IsGoneWithAHolderThatWasKilled ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   Holder holder( card );
   EXPECT_TRUE( refusal( card ).starts_with( "the card is in use by " + holder.name() ) ) << refusal( card );
   holder.killed();
   EXPECT_EQ( refusal( card ), "" );
}

TEST( CardLock, IsTakenByAHigherGenerationAlone ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   CardLock const old( card, "agent", 5 );
   EXPECT_EQ( folder.content( "space.lock" ), "00000005 " + self( "agent" ) );
   EXPECT_EQ( old.generationNow(), 5u );
   for ( U32 const generation : { 0, 4, 5 } )
      EXPECT_TRUE( refusal( card, generation ).starts_with( "the card is in use by " + self( "agent" ) ) )
         << refusal( card, generation );
   EXPECT_TRUE( old.held() );
   {
      CardLock const taken( card, "another agent with a longer name", 0x1A );
      EXPECT_TRUE( taken.held() );
      EXPECT_FALSE( old.held() );
      EXPECT_EQ( old.generationNow(), 0x1Au );
      EXPECT_EQ( folder.content( "space.lock" ), "0000001a " + self( "another agent with a longer name" ) );
      EXPECT_NE( refusal( card, 0x1A ), "" );
   }
   // Once it is over, the one before has not got the card back.
   EXPECT_FALSE( old.held() );
   EXPECT_EQ( refusal( card ), "" );
}

TEST( CardLock, IsTakenFromAProcessThatWasStopped ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   Holder const first( card, 1 );
   Holder second( card, 2 );
   first.stopped();
   second.stopped();
   EXPECT_TRUE( refusal( card ).starts_with( "the card is in use by " + second.name() ) ) << refusal( card );
   EXPECT_TRUE( refusal( card, 2 ).starts_with( "the card is in use by " + second.name() ) ) << refusal( card, 2 );
   EXPECT_EQ( refusal( card, 3 ), "" );
   EXPECT_EQ( refusal( card ), "" ) << "those who have lost the card are not in the way";
}

TEST( CardLock, IsTakenFromAHolderWithoutAGeneration ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   CardLock const peek( card, "peek" );
   CardLock const agent( card, "agent", 1 );
   EXPECT_FALSE( peek.held() );
   EXPECT_TRUE( agent.held() );
}

TEST( CardLock, AGenerationOutlivesItsHolder ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   { CardLock const lock( card, "agent", 7 ); }
   EXPECT_EQ(
      refusal( card, 6 ), "generation 7 has had the card (" + card + ".lock); expected that or a higher one, found 6" );
   { CardLock const peek( card, "peek" ); }
   EXPECT_EQ( folder.content( "space.lock" ), "00000007 " + self( "peek" ) );
   EXPECT_NE( refusal( card, 6 ), "" );
   EXPECT_EQ( refusal( card, 7 ), "" );
   EXPECT_EQ( refusal( card, 0xFFFFFFFF ), "" );
   EXPECT_EQ( folder.content( "space.lock" ).substr( 0, 9 ), "ffffffff " );
}

TEST( CardLock, OfSeveralThatTakeItAtOnceTheHighestGenerationHasIt ) {
   constexpr U32 takers = 4;
   constexpr U32 rounds = 400;
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   std::atomic<U32> holders = 0;
   std::atomic<U32> highest = 0;
   std::barrier together( takers );
   std::vector<std::thread> threads;
   for ( U32 taker = 1; taker <= takers; ++taker )
      threads.emplace_back( [&, taker] {
         for ( U32 round = 0; round < rounds; ++round ) {
            std::unique_ptr<CardLock> lock;
            together.arrive_and_wait();
            try {
               lock = std::make_unique<CardLock>( card, "agent", round * takers + taker );
            } catch ( Host::CardUnavailable const & ) {   // another was faster
            }
            together.arrive_and_wait();
            bool const held = lock && lock->held();
            holders += held ? 1 : 0;
            highest += held && taker == takers ? 1 : 0;
            together.arrive_and_wait();
         }
      } );
   for ( std::thread & thread : threads ) thread.join();
   EXPECT_EQ( holders, rounds );
   EXPECT_EQ( highest, rounds );
}

TEST( CardLock, HasOneHolderAtATimeWhileOthersComeAndGo ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   std::atomic<int> holders = 0;
   std::atomic<int> had = 0;
   std::vector<std::thread> threads;
   for ( int user = 0; user < 4; ++user )
      threads.emplace_back( [&] {
         for ( int round = 0; round < 500; ++round ) try {
               CardLock const lock( card, "peek" );
               EXPECT_EQ( ++holders, 1 );
               std::this_thread::yield();
               EXPECT_TRUE( lock.held() );
               --holders;
               ++had;
            } catch ( Host::CardUnavailable const & ) {   // in use
            }
      } );
   for ( std::thread & thread : threads ) thread.join();
   EXPECT_GT( had, 0 );
}

TEST( CardLock, StandsElsewhereWhereItCannotStandBesideTheCard ) {
   Input::Folder const folder;
   for ( std::string const & card : { folder.path( "no/space" ), "/sys" + folder.path( "space" ) } ) {
      CardLock const lock( card, "agent" );
      EXPECT_TRUE( lock.path().starts_with( "/run/lock/clockpath-" ) || lock.path().starts_with( "/tmp/clockpath-" ) )
         << lock.path();
      EXPECT_NE( refusal( card ), "" );
   }
}

}   // namespace
}   // namespace CardLockTests
