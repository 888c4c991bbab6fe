#include "card/MmapHam.h"

#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace Host;
using namespace Input;

constexpr U32 spaceSize = 0x100;

std::string zeros( std::size_t size ) { return std::string( size, '\0' ); }

Vor::Ptr<MmapHam> polled( std::string const & path, U64 offset = 0, U32 size = spaceSize ) {
   Vor::Ptr<MmapHam> const ham = new MmapHam( "ham", path, offset, size );
   ham->poll();
   return ham;
}

U32 readOf( MmapHam & ham, U32 address ) {
   U32 value = 0;
   ham.read32( address, value );
   return value;
}

struct Presence final : Fru::HamImpl::NotifieeConst {
   explicit Presence( Vor::Ptr<Fru::HamImpl const> const & ham ) { vorAttach( ham ); }
   std::vector<bool> seen;
   void onHardwarePresent() override { seen.push_back( notifier()->hardwarePresent() ); }
};

TEST( MmapHam, ReadsAndWritesWordsOfTheFile ) {
   Folder const folder;
   std::string const path = folder.file( "space", "\x78\x56\x34\x12" + zeros( spaceSize - 4 ) );
   Vor::Ptr<MmapHam> const ham = polled( path );
   EXPECT_TRUE( ham->hardwarePresent() );
   EXPECT_EQ( ham->trouble(), "" );
   EXPECT_EQ( ham->size(), spaceSize );
   EXPECT_EQ( ham->filename(), Vor::String( path ) );
   EXPECT_EQ( readOf( *ham, 0 ), 0x12345678u );
   ham->write32( spaceSize - 4, 0x01020304 );
   EXPECT_EQ( folder.content( "space" ).substr( spaceSize - 4 ), std::string( "\x04\x03\x02\x01", 4 ) );
}

TEST( MmapHam, TheSpaceMayStartAnywhereInTheFile ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( 0x1010 ) + "\x01" + zeros( 0xFFF ) );
   Vor::Ptr<MmapHam> const ham = polled( path, 0x1010 );
   EXPECT_EQ( readOf( *ham, 0 ), 1u );
   ham->write32( 8, 0xFF );
   EXPECT_EQ( folder.content( "space" )[0x1018], '\xFF' );
}

TEST( MmapHam, PresenceFollowsTheFile ) {
   Folder const folder;
   Vor::Ptr<MmapHam> const ham = new MmapHam( "ham", folder.path( "space" ), 0, spaceSize );
   Vor::Ptr<Presence> const presence = new Presence( ham );
   ham->poll();
   EXPECT_FALSE( ham->hardwarePresent() );
   EXPECT_EQ( ham->trouble(), folder.path( "space" ) + ": No such file or directory" );
   EXPECT_EQ( readOf( *ham, 0 ), 0xFFFFFFFFu );
   ham->write32( 0, 5 );

   folder.file( "space", zeros( spaceSize ) );
   ham->poll();
   ham->poll();
   EXPECT_EQ( presence->seen, ( std::vector<bool>{ true } ) );
   EXPECT_EQ( readOf( *ham, 0 ), 0u );

   std::filesystem::remove( folder.path( "space" ) );
   ham->poll();
   EXPECT_EQ( presence->seen, ( std::vector<bool>{ true, false } ) );
   EXPECT_EQ( readOf( *ham, 0 ), 0xFFFFFFFFu );
   EXPECT_EQ( ham->space(), nullptr );

   folder.file( "space", "\x01" + zeros( spaceSize - 1 ) );
   ham->poll();
   EXPECT_EQ( presence->seen, ( std::vector<bool>{ true, false, true } ) );
   EXPECT_EQ( readOf( *ham, 0 ), 1u );
}

TEST( MmapHam, AFileThatWasReplacedIsAnotherCard ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize ) );
   Vor::Ptr<MmapHam> const ham = polled( path );
   Vor::Ptr<Presence> const presence = new Presence( ham );
   folder.file( "other", "\x07" + zeros( spaceSize - 1 ) );
   std::filesystem::rename( folder.path( "other" ), path );
   ham->poll();
   EXPECT_EQ( presence->seen, ( std::vector<bool>{ false, true } ) );
   EXPECT_EQ( readOf( *ham, 0 ), 7u );
}

TEST( MmapHam, AFileThatIsTooShortIsNotMapped ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize - 1 ) );
   Vor::Ptr<MmapHam> const ham = polled( path );
   EXPECT_FALSE( ham->hardwarePresent() );
   EXPECT_EQ( ham->trouble(), path + ": expected at least 256 bytes, as \"offset\" and \"size\" say, found 255" );
}

TEST( MmapHam, AFileThatBecomesTooShortIsGoneUntilItGrowsAgain ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize + 1 ) );
   Vor::Ptr<MmapHam> const ham = polled( path );
   for ( auto const & [size, present] :
         std::vector<std::pair<U32, bool>>{ { spaceSize, true }, { spaceSize - 1, false }, { spaceSize, true } } ) {
      std::filesystem::resize_file( path, size );
      ham->poll();
      EXPECT_EQ( ham->hardwarePresent(), present ) << size;
      EXPECT_EQ( readOf( *ham, 0 ), present ? 0u : 0xFFFFFFFFu ) << size;
   }
}

TEST( MmapHam, AFileThatShrinksBetweenLooksIsACardThatHasGone ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize ) );
   Vor::Ptr<MmapHam> const ham = polled( path );
   Vor::Ptr<MmapHam> const other = polled( path );
   Vor::Ptr<Presence> const presence = new Presence( ham );
   std::filesystem::resize_file( path, 0 );
   EXPECT_EQ( readOf( *ham, 4 ), 0xFFFFFFFFu );
   ham->write32( 8, 7 );
   EXPECT_EQ( readOf( *ham, 8 ), 0xFFFFFFFFu );
   other->write32( 8, 7 );
   EXPECT_EQ( readOf( *other, 8 ), 0xFFFFFFFFu );
   ham->poll();
   EXPECT_EQ( presence->seen, ( std::vector<bool>{ false } ) );
   EXPECT_EQ( ham->trouble(), path + ": expected at least 256 bytes, as \"offset\" and \"size\" say, found 0" );

   std::filesystem::resize_file( path, spaceSize );
   ham->poll();
   other->poll();
   EXPECT_EQ( presence->seen, ( std::vector<bool>{ false, true } ) );
   ham->write32( 8, 9 );
   EXPECT_EQ( readOf( *other, 8 ), 9u );
}

TEST( MmapHam, AFileThatShrinksAndGrowsBetweenLooksIsACardThatCameBack ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize ) );
   Vor::Ptr<MmapHam> const ham = polled( path );
   Vor::Ptr<Presence> const presence = new Presence( ham );
   std::filesystem::resize_file( path, 0 );
   EXPECT_EQ( readOf( *ham, 0 ), 0xFFFFFFFFu );
   std::filesystem::resize_file( path, spaceSize );
   EXPECT_EQ( readOf( *ham, 0 ), 0xFFFFFFFFu ) << "before its watchers were told";
   ham->poll();
   EXPECT_EQ( presence->seen, ( std::vector<bool>{ false, true } ) );
   EXPECT_EQ( readOf( *ham, 0 ), 0u );
}

TEST( MmapHam, SignalHandlersMayTouchWhatHasShrunk ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize ) );
   Vor::Ptr<MmapHam> const ham = polled( path );
   std::filesystem::resize_file( path, 0 );
   EXPECT_EQ( MmapHam::load( ham->space() ), 0xFFFFFFFFu );
   MmapHam::store( ham->space() + 1, 5 );
}

TEST( MmapHam, AFolderIsNoCard ) {
   Folder const folder;
   Vor::Ptr<MmapHam> const ham = polled( folder.path( "" ) );
   EXPECT_FALSE( ham->hardwarePresent() );
   EXPECT_EQ( ham->trouble(), folder.path( "" ) + ": cannot be opened for reading and writing: Is a directory" );
}

using MmapHamDeathTest = ::testing::Test;

[[noreturn]] void endWith7( int ) { ::_exit( 7 ); }

TEST( MmapHamDeathTest, ASigbusOfAnotherIsHandedOn ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize ) );
   auto const raiseBehindAHam = [&]( void ( *before )( int ) ) {
      ::signal( SIGBUS, before );
      Vor::Ptr<MmapHam> const ham = polled( path );
      std::filesystem::resize_file( path, 0 );
      U32 volatile * const space = ham->space();
      static_cast<void>( space[0] );   // by nobody's access
   };
   EXPECT_EXIT( raiseBehindAHam( &endWith7 ), ::testing::ExitedWithCode( 7 ), "" );
   std::filesystem::resize_file( path, spaceSize );
   EXPECT_EXIT( raiseBehindAHam( SIG_DFL ), ::testing::KilledBySignal( SIGBUS ), "" );
}

TEST( MmapHamDeathTest, AnAddressOutsideTheSpaceStopsTheProcess ) {
   Folder const folder;
   Vor::Ptr<MmapHam> const ham = polled( folder.file( "space", zeros( spaceSize ) ) );
   U32 value = 0;
   EXPECT_DEATH( ham->read32( spaceSize, value ), "address < size\\(\\)" );
   EXPECT_DEATH( ham->write32( 2, 0 ), "address % sizeof\\( U32 \\) == 0" );
}

// The FPGA's part, in a process of its own: it answers each request with its complement, and keeps a word of its own
// changing between two patterns, of which no mixture may ever be read.
constexpr U32 requestAt = 0x10;
constexpr U32 answerAt = 0x14;
constexpr U32 patternAt = 0x18;
constexpr U32 requests = 2000;

[[noreturn]] void playFpga( std::string const & path ) {
   Vor::Ptr<MmapHam> const ham = polled( path );
   bool up = false;
   for ( U32 answered = 0; answered < requests; ) {
      ham->write32( patternAt, up ? 0xA5A5A5A5 : 0x5A5A5A5A );
      up = !up;
      U32 const request = readOf( *ham, requestAt );
      if ( request == answered ) {
         ::sched_yield();
         continue;
      }
      answered = request;
      ham->write32( answerAt, ~request );
   }
   ::_exit( 0 );
}

TEST( MmapHam, WorksWithAnotherProcessThatPlaysTheFpga ) {
   Folder const folder;
   std::string const path = folder.file( "space", zeros( spaceSize ) );
   pid_t const fpga = ::fork();
   ASSERT_GE( fpga, 0 );
   if ( fpga == 0 ) playFpga( path );
   Vor::Ptr<MmapHam> const ham = polled( path );
   bool gone = false;
   for ( U32 request = 1; request <= requests && !gone; ++request ) {
      ham->write32( requestAt, request );
      while ( readOf( *ham, answerAt ) != ~request && !gone ) {
         U32 const pattern = readOf( *ham, patternAt );
         EXPECT_TRUE( pattern == 0 || pattern == 0xA5A5A5A5 || pattern == 0x5A5A5A5A ) << std::hex << pattern;
         ::sched_yield();
         gone = ::waitpid( fpga, nullptr, WNOHANG ) != 0 && readOf( *ham, answerAt ) != ~request;
      }
   }
   EXPECT_FALSE( gone );
   EXPECT_EQ( readOf( *ham, answerAt ), ~requests );
   if ( !gone ) {
      ::kill( fpga, SIGKILL );
      ::waitpid( fpga, nullptr, 0 );
   }
}

}   // namespace
