#include "service/UsualPlaces.h"

#include "input/InputError.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace Host::UsualPlacesTests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

Input::CardDescription cardAt( std::string const & path ) {
   Input::CardDescription card;
   card.access = Input::MmapAccess{ path, 0, 0x1000 };
   return card;
}

TEST( UsualPlacesTest, StandInAFolderBesideTheCard ) {
   Input::Folder const folder;
   std::string const real = std::filesystem::canonical( folder.path( "." ) );
   EXPECT_EQ( usualStatePath( cardAt( folder.path( "space" ) ) ), real + "/space.agent/state.db" );
   EXPECT_EQ( usualSocketPath( cardAt( folder.path( "space" ) ) ), real + "/space.agent/socket" );
   std::filesystem::create_symlink( "space", folder.path( "link" ) );
   folder.file( "space", "" );
   EXPECT_EQ( usualSocketPath( cardAt( folder.path( "link" ) ) ), real + "/space.agent/socket" )
      << "one card, one place";
}

TEST( UsualPlacesTest, OfADeviceStandElsewhere ) {
   EXPECT_THAT( usualSocketPath( cardAt( "/dev/uio7" ) ), HasSubstr( "/clockpath-dev-uio7.agent/socket" ) );
   EXPECT_THAT( usualSocketPath( cardAt( "/dev/uio7" ) ), testing::Not( StartsWith( "/dev" ) ) );
}

TEST( UsualPlacesTest, OfASimulatedCardStandAmongTemporaryFilesAfterItsDescription ) {
   Input::Folder const folder;
   Input::CardDescription card;
   card.file = folder.file( "card.json", "{}" );
   EXPECT_THAT( usualStatePath( card ), StartsWith( "/tmp/clockpath-" ) );
   EXPECT_THAT( usualStatePath( card ), testing::EndsWith( "-card.json.agent/state.db" ) );
}

TEST( UsualPlacesTest, TheFolderIsTheOwnersAlone ) {
   Input::Folder const folder;
   std::string const path = folder.path( "agent" );
   ownFolderMake( path );
   EXPECT_NO_THROW( ownFolderMake( path ) );
   struct stat found {};
   ASSERT_EQ( ::stat( path.c_str(), &found ), 0 );
   EXPECT_EQ( found.st_mode & 07777U, 0700u );
   ::chmod( path.c_str(), 0750 );
   try {
      ownFolderMake( path );
      FAIL();
   } catch ( Input::InputError const & error ) {
      EXPECT_THAT( error.what(), StartsWith( path + ": expected a folder of user " ) );
      EXPECT_THAT( error.what(), HasSubstr( "with mode 0700, found a folder of user " ) );
      EXPECT_THAT( error.what(), HasSubstr( "with mode 0750" ) );
   }
   EXPECT_THROW( ownFolderMake( folder.file( "file", "" ) ), Input::InputError );
   EXPECT_THROW( ownFolderMake( folder.path( "none/agent" ) ), Input::InputError );
   std::filesystem::create_directory_symlink( path, folder.path( "link" ) );
   EXPECT_THROW( ownFolderMake( folder.path( "link" ) ), Input::InputError ) << "who made the link chose the folder";
}

}   // namespace
}   // namespace Host::UsualPlacesTests
