#include "card/HardwareServer.h"

#include "card/CardLock.h"
#include "card/SocketHam.h"
#include "input/InputError.h"
#include "tests/card/CountedHam.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

namespace HardwareServerTests {
namespace {

using namespace Host;

// A process that hardware lives in: each read gives the address and how many accesses there were before, in bits 16
// to 31.
class Hardware {
 public:
   explicit Hardware( std::string const & path ) {
      pid_ = ::fork();
      if ( pid_ != 0 ) return;
      {
         HardwareServer server( path, new CountedHam );
         server.run( -1 );
      }
      ::_exit( 1 );
   }
   ~Hardware() { killed(); }
   Hardware( Hardware const & ) = delete;
   Hardware & operator=( Hardware const & ) = delete;

   void killed() {
      if ( pid_ <= 0 ) return;
      ::kill( pid_, SIGKILL );
      ::waitpid( pid_, nullptr, 0 );
      pid_ = -1;
   }

 private:
   pid_t pid_ = -1;
};

void requirePresent( SocketHam & ham ) {
   for ( int waitedMs = 0; !ham.hardwarePresent(); ++waitedMs ) {
      ASSERT_LT( waitedMs, 10'000 ) << ham.trouble();
      ::poll( nullptr, 0, 1 );
      ham.poll();
   }
}

U32 readOf( SocketHam & ham, U32 address ) {
   U32 value = 0;
   ham.read32( address, value );
   return value;
}

TEST( HardwareServer, ServesItsUsersInOrderAndOutlivesThem ) {
   Input::Folder const folder;
   Hardware const hardware( folder.path( "card.sock" ) );
   Vor::Ptr<SocketHam> const one = new SocketHam( "hamImpl", folder.path( "card.sock" ) );
   requirePresent( *one );
   EXPECT_EQ( one->trouble(), "" );
   EXPECT_EQ( readOf( *one, 0x100 ), 0x100u );
   one->write32( 0x10, 5 );
   {
      Vor::Ptr<SocketHam> const other = new SocketHam( "hamImpl", folder.path( "card.sock" ) );
      requirePresent( *other );
      EXPECT_EQ( readOf( *other, 0x100 ), 0x20100u );
   }
   EXPECT_EQ( readOf( *one, 0xFFFC ), 0x3FFFCu );
   one->poll();
   EXPECT_TRUE( one->hardwarePresent() );
}

TEST( HardwareServer, IsNotTroubledByWhatIsNoAccess ) {
   Input::Folder const folder;
   std::string const path = folder.path( "card.sock" );
   Hardware const hardware( path );
   Vor::Ptr<SocketHam> const ham = new SocketHam( "hamImpl", path );
   requirePresent( *ham );
   HardwareRequest const odd{ HardwareRequest::Kind::write32, 0x11, 0 };
   HardwareRequest const unknown{ static_cast<HardwareRequest::Kind>( 3 ), 0x10, 0 };
   HardwareRequest const good{ HardwareRequest::Kind::write32, 0x10, 0 };
   auto const bytes = []( HardwareRequest const & request ) {
      return std::string( reinterpret_cast<char const *>( &request ), sizeof request );
   };
   for ( std::string const & message : { bytes( odd ), bytes( unknown ), bytes( good ) + "x", std::string( "x" ) } ) {
      HardwareSocket const user;
      ASSERT_EQ( withPath( ::connect, user.fd(), path ), 0 );
      ASSERT_GT( ::send( user.fd(), message.data(), message.size(), 0 ), 0 );
      char byte = 0;
      EXPECT_EQ( ::recv( user.fd(), &byte, 1, 0 ), 0 ) << message.size();
   }
   EXPECT_EQ( readOf( *ham, 0x10 ), 0x10u ) << "nothing of it reached the hardware";
}

TEST( HardwareServer, TakesThePlaceOfOneThatIsGoneAndOfNoOther ) {
   Input::Folder const folder;
   std::string const path = folder.path( "card.sock" );
   Hardware first( path );
   Vor::Ptr<SocketHam> const ham = new SocketHam( "hamImpl", path );
   requirePresent( *ham );
   EXPECT_THROW( HardwareServer( path, new CountedHam ), CardUnavailable );
   first.killed();
   EXPECT_TRUE( std::filesystem::exists( path ) );
   { HardwareServer const second( path, new CountedHam ); }
   EXPECT_FALSE( std::filesystem::exists( path ) );
   EXPECT_THROW( HardwareServer( folder.path( "no/card.sock" ), new CountedHam ), Input::InputError );
   EXPECT_THROW( HardwareServer( folder.path( std::string( 108, 'x' ) ), new CountedHam ), Input::InputError );
}

TEST( SocketHam, IsGoneWithItsProcessAndBackWithAnother ) {
   Input::Folder const folder;
   std::string const path = folder.path( "card.sock" );
   Vor::Ptr<SocketHam> const ham = new SocketHam( "hamImpl", path );
   ham->poll();
   EXPECT_FALSE( ham->hardwarePresent() );
   EXPECT_EQ( ham->trouble(), path + ": No such file or directory; clockpath hardware starts the hardware" );
   EXPECT_EQ( readOf( *ham, 0x100 ), 0xFFFFFFFF );
   ham->write32( 0x100, 1 );
   {
      Hardware const hardware( path );
      requirePresent( *ham );
      pollfd wake{ ham->wakeFd(), POLLIN, 0 };
      EXPECT_EQ( ::poll( &wake, 1, 0 ), 0 );
   }
   pollfd wake{ ham->wakeFd(), POLLIN, 0 };
   EXPECT_EQ( ::poll( &wake, 1, 10'000 ), 1 );
   EXPECT_EQ( readOf( *ham, 0x100 ), 0xFFFFFFFF );
   EXPECT_TRUE( ham->hardwarePresent() ) << "nobody is told inside an access";
   EXPECT_EQ( ::poll( &wake, 1, 0 ), 1 ) << "whoever waits is still to look";
   ham->poll();
   EXPECT_FALSE( ham->hardwarePresent() );
   EXPECT_EQ( ::poll( &wake, 1, 0 ), 0 );
   Hardware const another( path );
   requirePresent( *ham );
   EXPECT_EQ( readOf( *ham, 0x100 ), 0x100u );
}

// Whoever watches a handle is told that the card has gone before it comes back.
TEST( SocketHam, OfAProcessInPlaceOfAnotherTellsThatTheFirstHasGone ) {
   struct Watch final : Fru::HamImpl::NotifieeConst {
      explicit Watch( Vor::Ptr<Fru::HamImpl const> const & ham ) { vorAttach( ham ); }
      void onHardwarePresent() override { seen += notifier()->hardwarePresent() ? "present " : "gone "; }
      std::string seen;
   };
   Input::Folder const folder;
   std::string const path = folder.path( "card.sock" );
   Vor::Ptr<SocketHam> const ham = new SocketHam( "hamImpl", path );
   Hardware first( path );
   requirePresent( *ham );
   Vor::Ptr<Watch> const watch = new Watch( ham );
   first.killed();
   Hardware const second( path );
   HardwareSocket const probe;
   while ( withPath( ::connect, probe.fd(), path ) != 0 ) ::poll( nullptr, 0, 1 );
   ham->poll();
   EXPECT_EQ( watch->seen, "gone present " );
}

using SocketHamDeathTest = ::testing::Test;

TEST_F( SocketHamDeathTest, AnAddressInsideAWordStopsTheProcess ) {
   Vor::Ptr<SocketHam> const ham = new SocketHam( "hamImpl", "nowhere" );
   EXPECT_DEATH( ham->write32( 2, 0 ), "SocketHam:.*request.address % sizeof" );
}

}   // namespace
}   // namespace HardwareServerTests
