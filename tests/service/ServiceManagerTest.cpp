#include "service/ServiceManager.h"

#include "tests/input/Files.h"
#include "tests/report/DatagramSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace Host::ServiceManagerTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

class ServiceManagerTest : public ::testing::Test {
 protected:
   void SetUp() override { ::setenv( "NOTIFY_SOCKET", path.c_str(), 1 ); }
   void TearDown() override {
      for ( char const * name : { "NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID" } ) ::unsetenv( name );
   }

   Input::Folder const folder;
   std::string const path = folder.path( "notify" );
   DatagramSocket told{ path };
};

TEST_F( ServiceManagerTest, IsToldWhatHappensInOrder ) {
   ServiceManager manager;
   EXPECT_TRUE( manager.present() );
   manager.statusIs( "ptp0 uninitialized" );
   manager.ready();
   manager.statusIs( "ptp0 ready" );
   manager.statusIs( "ptp0 ready" );
   manager.reloading();
   manager.ready();
   manager.stopping();
   manager.stopping();
   EXPECT_THAT(
      told.taken(), ElementsAre(
                       "STATUS=ptp0 uninitialized", "READY=1", "STATUS=ptp0 ready",
                       MatchesRegex( "RELOADING=1\nMONOTONIC_USEC=[0-9]+" ), "READY=1", "STOPPING=1" ) );
}

TEST_F( ServiceManagerTest, AnAbstractAddressBeginsWithAnAt ) {
   std::string const address = "@" + folder.path( "notify" );
   DatagramSocket abstract( address );
   ::setenv( "NOTIFY_SOCKET", address.c_str(), 1 );
   ServiceManager().ready();
   EXPECT_THAT( abstract.taken(), ElementsAre( "READY=1" ) );
   EXPECT_THAT( told.taken(), IsEmpty() );
}

TEST_F( ServiceManagerTest, ChildrenHaveNone ) {
   ::setenv( "WATCHDOG_USEC", "1000000", 1 );
   ::setenv( "WATCHDOG_PID", "1", 1 );
   ServiceManager const manager;
   for ( char const * name : { "NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID" } )
      EXPECT_EQ( std::getenv( name ), nullptr ) << name;
   EXPECT_FALSE( ServiceManager().present() );
}

TEST_F( ServiceManagerTest, WithoutOneNothingIsSentAndNobodyWaits ) {
   ::setenv( "WATCHDOG_USEC", "2", 1 );
   for ( char const * address : { "", "relative", "vsock:2:1234" } ) {
      ::setenv( "NOTIFY_SOCKET", address, 1 );
      ServiceManager manager;
      EXPECT_FALSE( manager.present() ) << address;
      manager.ready();
      manager.alive();
      manager.stopping();
      EXPECT_EQ( manager.longestWait(), std::numeric_limits<double>::infinity() );
   }
   EXPECT_THAT( told.taken(), IsEmpty() );
}

TEST_F( ServiceManagerTest, AWatchdogOfThisProcessIsFedWithinHalfItsTime ) {
   ::setenv( "WATCHDOG_USEC", "400000000", 1 );
   ::setenv( "WATCHDOG_PID", std::to_string( ::getpid() ).c_str(), 1 );
   ServiceManager manager;
   manager.ready();
   EXPECT_EQ( manager.longestWait(), 0 ) << "nothing was told yet";
   manager.alive();
   EXPECT_LE( manager.longestWait(), 200 );
   EXPECT_GT( manager.longestWait(), 100 );
   manager.alive();
   EXPECT_THAT( told.taken(), ElementsAre( "READY=1", "WATCHDOG=1" ) ) << "too early for another one";
}

TEST_F( ServiceManagerTest, AShortWatchdogIsFedAtEachSignOfLifeThatIsDue ) {
   ::setenv( "WATCHDOG_USEC", "4000", 1 );
   ServiceManager manager;
   manager.ready();
   told.taken();
   manager.alive();
   double const wait = manager.longestWait();
   EXPECT_LE( wait, 0.002 );
   ::usleep( static_cast<useconds_t>( wait * 1e6 ) + 1 );
   manager.alive();
   EXPECT_THAT( told.taken(), ElementsAre( "WATCHDOG=1", "WATCHDOG=1" ) );
}

TEST_F( ServiceManagerTest, AnothersWatchdogIsNotFed ) {
   ::setenv( "WATCHDOG_USEC", "400000", 1 );
   ::setenv( "WATCHDOG_PID", "1", 1 );
   ServiceManager manager;
   manager.ready();
   manager.alive();
   EXPECT_EQ( manager.longestWait(), std::numeric_limits<double>::infinity() );
   EXPECT_THAT( told.taken(), ElementsAre( "READY=1" ) );
}

TEST_F( ServiceManagerTest, UntilItIsReadyTheStartHasMoreTimeWithEachSignOfLife ) {
   ServiceManager manager;
   manager.alive();
   manager.ready();
   manager.alive();
   EXPECT_THAT( told.taken(), ElementsAre( "EXTEND_TIMEOUT_USEC=60000000", "READY=1" ) );
}

TEST_F( ServiceManagerTest, AManagerThatDoesNotReadHoldsNobodyUp ) {
   ServiceManager manager;
   for ( int at = 0; at < 20; ++at ) manager.statusIs( "ptp0 at " + std::to_string( at ) );
   EXPECT_LE( told.taken().size(), 20U );   // the kernel queues some ten
   manager.ready();
   EXPECT_THAT( told.taken(), ElementsAre( "READY=1" ) );
}

}   // namespace
}   // namespace Host::ServiceManagerTests
