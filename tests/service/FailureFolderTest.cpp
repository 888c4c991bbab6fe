#include "service/FailureFolder.h"

#include "input/InputError.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <chrono>

namespace Host::FailureFolderTests {
namespace {

namespace fs = std::filesystem;

std::size_t filesIn( std::string const & folder ) {
   return static_cast<std::size_t>( std::distance( fs::directory_iterator( folder ), fs::directory_iterator() ) );
}

TEST( FailureFolderTest, TheFirstFailureOfAChipStaysUntilItIsForgotten ) {
   Input::Folder const outer;
   FailureFolder const folder( outer.path( "failures/here" ) );
   std::string const first = folder.keep( "ptp0", "one" );
   EXPECT_EQ( first, outer.path( "failures/here/ptp0-first.events" ) );
   std::string const second = folder.keep( "ptp0", "two" );
   EXPECT_NE( second, first );
   EXPECT_EQ( folder.keep( "ptp1", "other" ), outer.path( "failures/here/ptp1-first.events" ) );
   EXPECT_EQ( outer.content( "failures/here/ptp0-first.events" ), "one" );
   folder.forget();
   EXPECT_FALSE( fs::exists( first ) );
   EXPECT_TRUE( fs::exists( second ) );
   EXPECT_EQ( folder.keep( "ptp0", "three" ), first );
   EXPECT_EQ( outer.content( "failures/here/ptp0-first.events" ), "three" );
}

TEST( FailureFolderTest, OfTheOthersTheLastStay ) {
   Input::Folder const outer;
   FailureFolder const folder( outer.path( "." ) );
   folder.keep( "ptp0", "first" );
   auto const now = fs::file_time_type::clock::now();
   for ( int i = 0; i < 20; ++i ) {
      std::string const path = outer.file( "ptp0-2026112" + std::to_string( 100 + i ) + ".events", "older" );
      fs::last_write_time( path, now - std::chrono::minutes( 100 - i ) );
   }
   outer.file( "note.txt", "not ours" );
   std::string const last = folder.keep( "ptp0", "last" );
   EXPECT_EQ( filesIn( outer.path( "." ) ), 1 + FailureFolder::othersMax + 1 );
   EXPECT_TRUE( fs::exists( last ) );
   EXPECT_TRUE( fs::exists( outer.path( "ptp0-2026112119.events" ) ) );
   EXPECT_FALSE( fs::exists( outer.path( "ptp0-2026112100.events" ) ) );
}

TEST( FailureFolderTest, WhereNothingCanBeWrittenItIsSaid ) {
   Input::Folder const outer;
   outer.file( "file", "" );
   EXPECT_THROW( FailureFolder( outer.path( "file/below" ) ).keep( "ptp0", "x" ), fs::filesystem_error );
   FailureFolder( outer.path( "missing" ) ).forget();   // nothing to forget
}

}   // namespace
}   // namespace Host::FailureFolderTests
