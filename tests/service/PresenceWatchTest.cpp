#include "service/PresenceWatch.h"

#include "sim/VirtualClock.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/netlink.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <limits>

namespace {

using namespace Host;
using Input::Folder;
namespace fs = std::filesystem;

// The loop of an agent that does nothing but wait for its card.
class PresenceWatchTest : public ::testing::Test {
 protected:
   // Whether a change ends the wait for the file of that path, and nothing did before.
   ::testing::AssertionResult told( std::string const & path, std::function<void()> const & change ) {
      PollSet set;
      PresenceWatch watch( path, set );
      watch.arm();
      watch.arm();   // the end of the first watches is no reason to look
      if ( watch.longestWait() < 10 ) return ::testing::AssertionFailure() << "looks too often";
      if ( set.wait( 0 ) ) return ::testing::AssertionFailure() << "told before there was a change";
      change();
      if ( !set.wait( 0 ) ) return ::testing::AssertionFailure() << "not told of the change";
      if ( set.wait( 0 ) ) return ::testing::AssertionFailure() << "told twice";
      return ::testing::AssertionSuccess();
   }
   std::string at( std::string const & name ) const { return folder.path( name ); }

   Folder const folder;
};

TEST_F( PresenceWatchTest, TellsOfAFileThatComes ) {
   EXPECT_TRUE( told( at( "card" ), [&] { folder.file( "card", "" ); } ) );
   fs::remove( at( "card" ) );
   folder.file( "other", "" );
   EXPECT_TRUE( told( at( "card" ), [&] { fs::rename( at( "other" ), at( "card" ) ); } ) );
   fs::remove( at( "card" ) );
   EXPECT_TRUE( told( at( "card" ), [&] { fs::create_symlink( "other", at( "card" ) ); } ) );
}

TEST_F( PresenceWatchTest, TellsOfAFileThatGoesAlsoWhileItIsOpen ) {
   Descriptor const open( ::open( folder.file( "card", "content" ).c_str(), O_RDWR | O_CLOEXEC ) );
   EXPECT_TRUE( told( at( "card" ), [&] { fs::rename( at( "card" ), at( "other" ) ); } ) );
   fs::rename( at( "other" ), at( "card" ) );
   EXPECT_TRUE( told( at( "card" ), [&] { fs::remove( at( "card" ) ); } ) );
}

TEST_F( PresenceWatchTest, TellsOfAFileThatIsReplacedOrChangesItsLengthOrRights ) {
   std::string const card = folder.file( "card", "content" );
   EXPECT_TRUE( told( card, [&] { fs::resize_file( card, 3 ); } ) );
   EXPECT_TRUE( told( card, [&] { fs::resize_file( card, 30 ); } ) );
   EXPECT_TRUE( told( card, [&] { fs::permissions( card, fs::perms::owner_read ); } ) );
   folder.file( "other", "" );
   EXPECT_TRUE( told( card, [&] { fs::rename( at( "other" ), card ); } ) );
}

TEST_F( PresenceWatchTest, TellsOfFoldersThatComeAndGo ) {
   std::string const card = at( "a/b/card" );
   EXPECT_TRUE( told( card, [&] { fs::create_directory( at( "a" ) ); } ) );
   EXPECT_TRUE( told( card, [&] { fs::create_directory( at( "a/b" ) ); } ) );
   EXPECT_TRUE( told( card, [&] { folder.file( "a/b/card", "" ); } ) );
   EXPECT_TRUE( told( card, [&] { fs::rename( at( "a" ), at( "c" ) ); } ) );
   folder.file( "a", "no folder" );
   EXPECT_TRUE( told( card, [&] { fs::remove( at( "a" ) ); } ) );
   EXPECT_TRUE( told( card, [&] { fs::rename( at( "c" ), at( "a" ) ); } ) );
   EXPECT_TRUE( told( card, [&] { fs::remove_all( at( "a" ) ); } ) );
}

TEST_F( PresenceWatchTest, FollowsAPathThatGoesRoundAbout ) {
   fs::create_directories( at( "a/b" ) );
   fs::create_symlink( "a", at( "link" ) );
   for ( std::string const path : { "./a/./card", "a/b/../card", "link/card", "link/b/../card" } ) {
      EXPECT_TRUE( told( at( path ), [&] { folder.file( "a/card", "" ); } ) ) << path;
      EXPECT_TRUE( told( at( path ), [&] { fs::remove( at( "a/card" ) ); } ) ) << path;
   }
}

TEST_F( PresenceWatchTest, OtherFilesDoNoHarm ) {
   fs::create_directory( at( "a" ) );
   folder.file( "a/card", "" );
   PollSet set;
   PresenceWatch watch( at( "a/card" ), set );
   watch.arm();
   folder.file( "other", "" );
   EXPECT_FALSE( set.wait( 0 ) ) << "what happens further up is of no concern";
   for ( int round = 0; round < 100; ++round ) folder.file( "a/other" + std::to_string( round ), "" );
   EXPECT_TRUE( set.wait( 0 ) );
   EXPECT_FALSE( set.wait( 0 ) ) << "all that was told is one reason to look";
   watch.arm();
   fs::remove( at( "a/card" ) );
   EXPECT_TRUE( set.wait( 0 ) );
}

TEST_F( PresenceWatchTest, LooksOftenWhereNothingCanBeWatched ) {
   std::string const card = at( "card" );
   rlimit before{};
   ASSERT_EQ( ::getrlimit( RLIMIT_NOFILE, &before ), 0 );
   rlimit const noMore{ 0, before.rlim_max };
   ASSERT_EQ( ::setrlimit( RLIMIT_NOFILE, &noMore ), 0 );
   PollSet set;
   PresenceWatch watch( card, set );
   EXPECT_EQ( ::setrlimit( RLIMIT_NOFILE, &before ), 0 );
   watch.arm();
   EXPECT_LT( watch.longestWait(), 1 );
}

// Sends what the kernel would for a device that comes; only root may.
bool deviceEventSent() {
   Descriptor const socket( ::socket( AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT ) );
   sockaddr_nl address{};
   address.nl_family = AF_NETLINK;
   address.nl_groups = 1;
   char const event[] = "add@/devices/card";
   return ::sendto(
             socket.fd(), event, sizeof event, 0, reinterpret_cast<sockaddr const *>( &address ), sizeof address ) > 0;
}

TEST_F( PresenceWatchTest, TellsOfDeviceEvents ) {
   for ( std::string const device : { "/sys/bus/pci/devices/absent/resource0", "/dev/absent" } ) {
      Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
      Sim::VirtualTime const virtualTime( clock );
      PollSet set;
      PresenceWatch watch( device, set );
      watch.arm();
      if ( watch.longestWait() < 1 || !deviceEventSent() ) GTEST_SKIP() << "device events need root's rights";
      EXPECT_TRUE( set.wait( 0 ) );
      EXPECT_LT( watch.longestWait(), 1 ) << "the device's files follow its event a little later";
      clock->nowIs( 10 );
      EXPECT_GT( watch.longestWait(), 10 );
   }
}

TEST_F( PresenceWatchTest, APlainFileHasNothingToDoWithDevices ) {
   PollSet deviceSet;
   PresenceWatch const device( "/dev/absent", deviceSet );   // the kernel sends to nobody only with an error
   PollSet set;
   PresenceWatch watch( at( "card" ), set );
   watch.arm();
   if ( !deviceEventSent() ) GTEST_SKIP() << "device events need root's rights";
   EXPECT_FALSE( set.wait( 0 ) );
}

}   // namespace
