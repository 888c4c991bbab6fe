#include "state/SqliteLog.h"

#include "input/InputError.h"
#include "state/Sqlite.h"
#include "tests/state/Logs.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace State {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::size_t bellsIn( Input::Folder const & folder ) {
   std::filesystem::directory_iterator const bells( folder.path( "state.db.readers" ) );
   return static_cast<std::size_t>( std::distance( begin( bells ), end( bells ) ) );
}

std::string errorOf( std::string const & path ) {
   try {
      SqliteLog const log( path );
   } catch ( Input::InputError const & error ) {
      return error.what();
   }
   return "no error";
}

// A reader in a process of its own, which has its bell and waits for the end.
pid_t startedReader( std::string const & path ) {
   int ready[2];
   if ( ::pipe( ready ) != 0 ) throw std::runtime_error( "pipe" );
   pid_t const child = ::fork();
   if ( child == 0 ) {
      SqliteSource source( path );
      LogBatch all;
      source.snapshot( all );
      if ( ::write( ready[1], "", 1 ) == 1 ) ::pause();
      ::_exit( 1 );
   }
   char byte = 0;
   EXPECT_EQ( ::read( ready[0], &byte, 1 ), 1 );
   ::close( ready[0] );
   ::close( ready[1] );
   return child;
}

TEST( SqliteLogTest, AReaderThatIsKilledDoesNotHurt ) {
   Input::Folder const folder;
   std::string const path = folder.path( "state.db" );
   SqliteLog log( path );
   log.append( { { 1, 1 }, true, batchOf( { created( "/a" ) } ) } );
   SqliteSource source( path );
   pid_t const reader = startedReader( path );
   EXPECT_EQ( bellsIn( folder ), 2U );
   ::kill( reader, SIGKILL );
   ::waitpid( reader, nullptr, 0 );
   log.append( { { 1, 2 }, false, batchOf( { changed( "/a", "x", "1" ) } ) } );
   EXPECT_EQ( bellsIn( folder ), 1U ) << "its bell is taken down";
   EXPECT_TRUE( wakes( source ) );
   EXPECT_THAT( snapshotOf( source ), ElementsAre( "create|/a|T|||", "change|/a||x||1" ) );
}

TEST( SqliteLogTest, AReaderThatIsStoppedIsNotWaitedFor ) {
   Input::Folder const folder;
   std::string const path = folder.path( "state.db" );
   SqliteLog log( path );
   log.append( { { 1, 1 }, true, batchOf( { created( "/a" ) } ) } );
   pid_t const reader = startedReader( path );
   ::kill( reader, SIGSTOP );
   // More than a bell holds.
   for ( U64 number = 2; number < 2000; ++number )
      log.append( { { 1, number }, false, batchOf( { changed( "/a", "x", "1" ) } ) } );
   EXPECT_EQ( bellsIn( folder ), 1U );
   ::kill( reader, SIGKILL );
   ::waitpid( reader, nullptr, 0 );
}

TEST( SqliteLogTest, AReaderTakesItsBellWithIt ) {
   Input::Folder const folder;
   SqliteLog log( folder.path( "state.db" ) );
   { SqliteSource const source( folder.path( "state.db" ) ); }
   EXPECT_EQ( bellsIn( folder ), 0U );
}

TEST( SqliteLogTest, AWriterThatIsKilledLeavesWholeTurns ) {
   Input::Folder const folder;
   std::string const path = folder.path( "state.db" );
   pid_t const writer = ::fork();
   if ( writer == 0 ) {
      SqliteLog log( path );
      LogBatch const whole = batchOf( { created( "/a" ), created( "/b" ) } );
      log.append( { { 1, 1 }, true, whole } );
      for ( U64 number = 2;; ++number ) {
         std::string const value = std::to_string( number );
         log.append(
            { { 1, number }, false, batchOf( { changed( "/a", "x", value ), changed( "/b", "x", value ) } ) } );
      }
   }
   // It is somewhere in its turns when it is killed.
   auto const numberNow = [&]() -> U64 {
      try {
         LogBatch all;
         return SqliteSource( path ).snapshot( all ).number;
      } catch ( Vor::LogUnavailableException const & ) {
         return 0;
      }
   };
   while ( numberNow() < 20 ) ::usleep( 1000 );
   ::kill( writer, SIGKILL );
   ::waitpid( writer, nullptr, 0 );
   SqliteLog log( path );
   LogPosition const end = log.end();
   EXPECT_GE( end.number, 20U );
   std::string const value = std::to_string( end.number );
   SqliteSource source( path );
   EXPECT_THAT(
      snapshotOf( source ),
      ElementsAre( "create|/a|T|||", "create|/b|T|||", "change|/a||x||" + value, "change|/b||x||" + value ) );
   log.append( { { 1, end.number + 1 }, false, batchOf( { changed( "/a", "x", "1" ) } ) } );
}

TEST( SqliteLogTest, AFileOfAnotherVersionIsRefused ) {
   Input::Folder const folder;
   std::string const path = folder.path( "state.db" );
   { SqliteLog const log( path ); }
   SqliteFile( path, SqliteFile::Use::write ).run( "PRAGMA user_version = 7" );
   EXPECT_EQ(
      errorOf( path ), path + ": expected a state log of this release, there is one of version 7 in place of 1; name "
                              "another file, or remove this one" );
   EXPECT_THROW( SqliteSource const source( path ), Input::InputError );
}

TEST( SqliteLogTest, AFileThatIsNoLogIsRefusedAndStaysAsItIs ) {
   Input::Folder const folder;
   std::string const text = folder.file( "text.db", std::string( 5000, 'x' ) );
   EXPECT_THAT( errorOf( text ), HasSubstr( "there is no database" ) );
   EXPECT_EQ( folder.content( "text.db" ), std::string( 5000, 'x' ) );
   std::string const other = folder.path( "other.db" );
   SqliteFile( other, SqliteFile::Use::write ).run( "CREATE TABLE t( x )" );
   EXPECT_THAT( errorOf( other ), HasSubstr( "there is another database" ) );
}

TEST( SqliteLogTest, WhereNobodyHasWrittenThereIsNothingToRead ) {
   Input::Folder const folder;
   EXPECT_THROW( SqliteSource const source( folder.path( "state.db" ) ), Vor::LogUnavailableException );
   EXPECT_FALSE( std::filesystem::exists( folder.path( "state.db" ) ) );
   EXPECT_THROW( SqliteLog const log( folder.path( "none/state.db" ) ), Vor::LogUnavailableException );
}

TEST( SqliteLogTest, AWriterThatWaitsTooLongForAnotherSaysSo ) {
   Input::Folder const folder;
   std::string const path = folder.path( "state.db" );
   SqliteLog log( path );
   log.append( { { 1, 1 }, true, batchOf( { created( "/a" ) } ) } );
   {
      SqliteFile other( path, SqliteFile::Use::write );
      SqliteTransaction const held( other, "BEGIN IMMEDIATE" );
      EXPECT_THROW(
         log.append( { { 1, 2 }, false, batchOf( { changed( "/a", "x", "1" ) } ) } ), Vor::LogUnavailableException );
   }
   log.append( { { 1, 2 }, false, batchOf( { changed( "/a", "x", "1" ) } ) } );
}

TEST( SqliteLogTest, TheAttributesCanBeReadAsText ) {
   Input::Folder const folder;
   std::string const path = folder.path( "state.db" );
   SqliteLog log( path );
   log.append( { { 1, 1 }, true, batchOf( { created( "/a" ), changed( "/a", "x", "\x05" ) } ) } );
   SqliteFile const file( path, SqliteFile::Use::read );
   SqliteStatement row( file, "SELECT name || ' ' || attribute || ' ' || value FROM attributes" );
   ASSERT_TRUE( row.step() );
   EXPECT_EQ( row.bytesAt( 0 ), "/a x 05" );
}

}   // namespace
}   // namespace State
