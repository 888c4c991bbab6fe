#include "card/CardLock.h"

#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace CardLockTests {
namespace {

using Host::CardLock;

std::string refusal( std::string const & card ) {
   try {
      CardLock const lock( card, "a test" );
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
      EXPECT_EQ( folder.content( "space.lock" ), self( "agent" ) );
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
   EXPECT_EQ( folder.content( "space.lock" ), self( "agent" ) );
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

TEST( CardLock, IsGoneWithAHolderThatWasKilled ) {
   Input::Folder const folder;
   std::string const card = folder.file( "space", "" );
   int ends[2];
   ASSERT_EQ( ::pipe( ends ), 0 );
   pid_t const holder = ::fork();
   if ( holder == 0 ) {
      CardLock const lock( card, "agent" );
      if ( ::write( ends[1], "x", 1 ) == 1 ) ::pause();
      ::_exit( 1 );
   }
   char told = 0;
   ASSERT_EQ( ::read( ends[0], &told, 1 ), 1 );
   EXPECT_TRUE( refusal( card ).starts_with( "the card is in use by agent, process " + std::to_string( holder ) ) )
      << refusal( card );
   ::kill( holder, SIGKILL );
   ::waitpid( holder, nullptr, 0 );
   EXPECT_EQ( refusal( card ), "" );
   ::close( ends[0] );
   ::close( ends[1] );
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
