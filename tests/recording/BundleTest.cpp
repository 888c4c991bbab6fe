#include "recording/Bundle.h"

#include "input/InputError.h"
#include "recording/EventLog.h"
#include "recording/Reader.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Recording::BundleTests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class BundleTest : public testing::Test {
 protected:
   std::string log( U32 sleeps ) const {
      std::ostringstream out;
      EventLog log( out );
      Header header;
      header.program = "1.2.3";
      header.card = Input::cardOf( Input::wholeCard );
      log.onRecording( header );
      for ( U32 i = 1; i <= sleeps; ++i ) log.onSleep( i, i );
      log.flush();
      return out.str();
   }
   std::string error( std::string const & content ) const {
      try {
         Reader reader( folder.file( "broken.tar.gz", content ) );
         while ( reader.next() ) {
         }
      } catch ( Input::InputError const & error ) {
         return error.what();
      }
      return "none";
   }

   Input::Folder const folder;
   std::string const path = folder.path( "ptp.tar.gz" );
};

TEST_F( BundleTest, TheReaderOpensTheRecordingInIt ) {
   constexpr U32 sleeps = 10'000;   // more than is unpacked at once
   writeBundle( path, { { "versions.txt", "1\n" }, { recordingInBundle, log( sleeps ) }, { "empty", "" } } );
   EXPECT_LT( folder.content( "ptp.tar.gz" ).size(), log( sleeps ).size() / 2 );
   Reader reader( path );
   EXPECT_EQ( reader.header().program, "1.2.3" );
   for ( U32 i = 1; i <= sleeps; ++i ) ASSERT_EQ( std::get<Sleep>( reader.next().value().what ).forNs, i );
   EXPECT_FALSE( reader.next() );
   EXPECT_EQ( reader.cutOff(), "" );
}

TEST_F( BundleTest, ItIsAnArchiveThatOthersOpen ) {
   writeBundle( path, { { "a.txt", "one\n" }, { "b.txt", "two\n" } } );
   ASSERT_EQ( std::system( ( "cd '" + folder.path( "" ) + "' && tar xzf ptp.tar.gz" ).c_str() ), 0 );
   EXPECT_EQ( folder.content( "a.txt" ), "one\n" );
   EXPECT_EQ( folder.content( "b.txt" ), "two\n" );
}

TEST_F( BundleTest, AnArchiveThatIsNoBundleIsRefused ) {
   std::string const broken = folder.path( "broken.tar.gz" );
   writeBundle( path, { { "other", log( 1 ) } } );
   EXPECT_EQ(
      error( folder.content( "ptp.tar.gz" ) ),
      broken + ": expected a bundle, with a file recording.events; found none" );
   EXPECT_THAT( error( "\x1f\x8b and no more" ), StartsWith( broken + ": " ) );
   writeBundle( path, { { recordingInBundle, log( 100'000 ) } } );
   std::string const whole = folder.content( "ptp.tar.gz" );
   EXPECT_THAT( error( whole.substr( 0, whole.size() / 2 ) ), HasSubstr( broken + ": the bundle cannot be read" ) );
}

TEST_F( BundleTest, OneThatCannotBeWrittenIsAnError ) {
   EXPECT_THROW( writeBundle( folder.path( "absent/ptp.tar.gz" ), {} ), Input::InputError );
   EXPECT_THROW( writeBundle( "/dev/full", { { "a", log( 1'000 ) } } ), Input::InputError );
}

}   // namespace
}   // namespace Recording::BundleTests
