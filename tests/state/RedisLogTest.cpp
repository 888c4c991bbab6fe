#include "state/RedisLog.h"

#include "state/OpenLog.h"
#include "state/RedisConnection.h"
#include "tests/state/Logs.h"

#include <gmock/gmock.h>

#include <signal.h>

#include <chrono>

namespace State {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using Vor::LogUnavailableException;
using Vor::StaleGenerationException;
using TheClock = std::chrono::steady_clock;

LogBatch const madeA = batchOf( { created( "/a" ) } );

LogBatch xOf( std::string const & value ) { return batchOf( { changed( "/a", "x", value ) } ); }

// Until it holds, at most that long.
template<class Condition> bool soon( Condition const & condition, int seconds = 10 ) {
   auto const late = TheClock::now() + std::chrono::seconds( seconds );
   while ( !condition() ) {
      if ( TheClock::now() > late ) return false;
      ::poll( nullptr, 0, 2 );
   }
   return true;
}

std::string answer( std::string const & where, std::initializer_list<std::string_view> words ) {
   RedisConnection connection( logPlace( where ) );
   RedisReply const reply = connection.ask( RedisConnection::Words( words.begin(), words.size() ) );
   return std::string( textOf( reply.get() ) );
}

class RedisLogTest : public testing::Test {
 protected:
   RedisLog logAt( RedisServer const & server ) { return RedisLog( logPlace( server.writer() ) ); }
   RedisSource sourceAt( RedisServer const & server ) { return RedisSource( logPlace( server.viewer() ) ); }
   std::vector<std::string> stateAt( RedisServer const & server ) {
      RedisSource source = sourceAt( server );
      return snapshotOf( source );
   }

   Input::Folder const folder;
   RedisServer first{ folder.path( "1" ) };
};

class TwoServersTest : public RedisLogTest {
 protected:
   TwoServersTest() {
      // As soon as the second has all there was.
      EXPECT_TRUE( soon( [&] {
         return answer( first.writer(), { "INFO", "replication" } ).find( "state=online" ) != std::string::npos;
      } ) );
   }

   RedisServer second{ folder.path( "2" ), first };
};

TEST_F( RedisLogTest, AViewerCannotChangeAnything ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, batchOf( { created( "/a" ), changed( "/a", "x", "1" ) } ) } );
   RedisLog viewer( logPlace( first.viewer() ) );
   EXPECT_THROW( viewer.append( { { 2, 1 }, true, madeA } ), LogUnavailableException );
   EXPECT_THROW( takeOver( first.viewer() ), LogUnavailableException );
   std::string const hash = "clockpath:entity:/a";
   for ( std::initializer_list<std::string_view> const words :
         { std::initializer_list<std::string_view>{ "HSET", hash, "x", "2" },
           { "DEL", hash },
           { "XADD", "clockpath:log", "*", "a", "b" },
           { "XTRIM", "clockpath:log", "MAXLEN", "0" },
           { "FLUSHALL" },
           { "CONFIG", "SET", "maxmemory", "1" },
           { "SHUTDOWN" },
           { "EVAL", "return redis.call( 'DEL', KEYS[1] )", "1", hash },
           { "EVAL_RO", "return redis.call( 'DEL', KEYS[1] )", "1", hash },
           { "EVAL_RO", "return redis.call( 'HGET', 'other', 'x' )", "0" },
           { "GET", "other" } } )
      EXPECT_THAT(
         answer( first.viewer(), words ),
         testing::AnyOf( HasSubstr( "NOPERM" ), HasSubstr( "executing the script can't" ) ) )
         << *words.begin();
   EXPECT_EQ( answer( first.viewer(), { "HGET", hash, "x" } ), "1" );
   EXPECT_THAT( stateAt( first ), ElementsAre( "create|/a|T|||", "change|/a||x||1" ) );
}

TEST_F( RedisLogTest, AWriterWritesItsLogAlone ) {
   EXPECT_THAT( answer( first.writer(), { "HSET", "other", "x", "2" } ), HasSubstr( "permission" ) );
   EXPECT_THAT( answer( first.writer(), { "CONFIG", "GET", "*" } ), HasSubstr( "NOPERM" ) );
   EXPECT_THAT( answer( first.writer(), { "ACL", "LIST" } ), HasSubstr( "NOPERM" ) );
}

TEST_F( RedisLogTest, NobodyComesInWithoutAPassword ) {
   std::string where = first.writer();
   where.replace( where.find( "writer:" ) + 7, 4, "none" );
   EXPECT_THROW( RedisLog( logPlace( where ) ).end(), LogUnavailableException );
   where.replace( where.find( "writer:" ), 6, "default" );
   EXPECT_THROW( RedisLog( logPlace( where ) ).end(), LogUnavailableException );
   where.erase( where.find( "default:" ), where.find( '@' ) - where.find( "default:" ) + 1 );
   EXPECT_THROW( RedisLog( logPlace( where ) ).end(), LogUnavailableException );
}

TEST_F( RedisLogTest, AnotherPrefixIsAnotherLog ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   RedisLog other( logPlace( first.writer() + "?clockpath:slot2" ) );
   EXPECT_EQ( other.end(), LogPosition() );
   other.append( { { 7, 1 }, true, batchOf( { created( "/b" ) } ) } );
   EXPECT_THAT( stateAt( first ), ElementsAre( "create|/a|T|||" ) );
}

TEST_F( RedisLogTest, ATurnThatIsTriedAgainStandsOnce ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   log.append( { { 1, 2 }, false, xOf( "1" ) } );
   // The answer may have been lost, not the turn.
   log.append( { { 1, 2 }, false, xOf( "1" ) } );
   log.append( { { 1, 3 }, false, xOf( "2" ) } );
   EXPECT_EQ( log.end(), ( LogPosition{ 1, 3 } ) );
   RedisLog another = logAt( first );
   EXPECT_THROW( another.append( { { 1, 3 }, false, xOf( "2" ) } ), StaleGenerationException );
}

TEST_F( RedisLogTest, TheStreamItselfRefusesWhatIsOlder ) {
   RedisLog log = logAt( first );
   log.append( { { 5, 1 }, true, madeA } );
   // Even if all but the stream were lost.
   RedisConnection( logPlace( first.writer() ) ).command( { "DEL", "clockpath:writer" } );
   RedisLog old = logAt( first );
   EXPECT_THROW( old.append( { { 4, 1 }, true, madeA } ), StaleGenerationException );
}

TEST_F( RedisLogTest, AServerThatWasKilledComesBackWithEveryTurn ) {
   RedisLog log = logAt( first );
   RedisSource source = sourceAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   LogBatch batch;
   LogPosition at = source.snapshot( batch );
   EXPECT_EQ( source.next( at, batch, at ), Got::nothing );
   log.append( { { 1, 2 }, false, xOf( "1" ) } );
   first.end();
   EXPECT_THROW( log.append( { { 1, 3 }, false, xOf( "2" ) } ), LogUnavailableException );
   EXPECT_THROW( log.end(), LogUnavailableException );
   EXPECT_THROW( source.snapshot( batch ), LogUnavailableException );
   EXPECT_THROW( source.next( at, batch, at ), LogUnavailableException );
   first.start();
   EXPECT_EQ( log.end(), ( LogPosition{ 1, 2 } ) );
   log.append( { { 1, 3 }, false, xOf( "2" ) } );
   EXPECT_TRUE( wakes( source ) ) << "a reader is told when it may try again";
   EXPECT_EQ( awaited( source, { 1, 1 }, batch, at ), Got::turn );
   EXPECT_EQ( awaited( source, at, batch, at ), Got::turn );
   EXPECT_EQ( at, ( LogPosition{ 1, 3 } ) );
}

TEST_F( RedisLogTest, AServerThatHangsIsToldOfInTime ) {
   RedisLog log = logAt( first );
   RedisSource source = sourceAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   LogBatch batch;
   LogPosition at = source.snapshot( batch );
   EXPECT_EQ( source.next( at, batch, at ), Got::nothing );
   ::kill( first.process(), SIGSTOP );
   auto const begin = TheClock::now();
   EXPECT_THROW( log.append( { { 1, 2 }, false, xOf( "1" ) } ), LogUnavailableException );
   EXPECT_LT( TheClock::now() - begin, std::chrono::seconds( 2 ) );
   EXPECT_THROW( while ( awaited( source, at, batch, at ) == Got::nothing ){}, LogUnavailableException );
   ::kill( first.process(), SIGCONT );
   log.append( { { 1, 2 }, false, xOf( "1" ) } );
   EXPECT_EQ( log.end(), ( LogPosition{ 1, 2 } ) );
   EXPECT_EQ( awaited( source, { 1, 1 }, batch, at ), Got::turn );
}

TEST_F( RedisLogTest, WithoutASecondServerTheFirstOnesWordIsSafe ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   EXPECT_EQ( log.safe(), ( LogPosition{ 1, 1 } ) );
}

TEST_F( RedisLogTest, PeopleCanReadItsKeys ) {
   RedisLog log = logAt( first );
   log.append( { { 3, 1 }, true, batchOf( { created( "/a", "Some::Type" ), changed( "/a", "x", "1" ) } ) } );
   EXPECT_EQ( answer( first.viewer(), { "HGET", "clockpath:entity:/a", "@type" } ), "Some::Type" );
   EXPECT_EQ( answer( first.viewer(), { "HGET", "clockpath:entity:/a", "x" } ), "1" );
   EXPECT_EQ( answer( first.viewer(), { "HGET", "clockpath:writer", "generation" } ), "3" );
}

TEST_F( TwoServersTest, ATurnIsSafeOnceTheSecondServerHasIt ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   EXPECT_TRUE( soon( [&] { return log.safe() == LogPosition{ 1, 1 }; } ) );
   EXPECT_THAT( stateAt( second ), ElementsAre( "create|/a|T|||" ) );
}

TEST_F( TwoServersTest, NothingIsSafeThatTheSecondServerDoesNotHave ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   ASSERT_TRUE( soon( [&] { return log.safe() == LogPosition{ 1, 1 }; } ) );
   ::kill( second.process(), SIGSTOP );
   log.append( { { 1, 2 }, false, xOf( "1" ) } );
   // Longer than a wait takes.
   EXPECT_FALSE( soon( [&] { return log.safe() != LogPosition{ 1, 1 }; }, 3 ) );
   auto const begin = TheClock::now();
   log.append( { { 1, 3 }, false, xOf( "2" ) } );
   static_cast<void>( log.safe() );
   EXPECT_LT( TheClock::now() - begin, std::chrono::milliseconds( 500 ) ) << "nobody waits for it meanwhile";
   ::kill( second.process(), SIGCONT );
   EXPECT_TRUE( soon( [&] { return log.safe() == LogPosition{ 1, 3 }; } ) );
   second.end();
   log.append( { { 1, 4 }, false, xOf( "3" ) } );
   EXPECT_FALSE( soon( [&] { return log.safe() != LogPosition{ 1, 3 }; }, 3 ) ) << "also when it is gone";
}

TEST_F( TwoServersTest, ACopyIsReadAndNotWritten ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   ASSERT_TRUE( soon( [&] { return log.safe() == LogPosition{ 1, 1 }; } ) );
   RedisSource source = sourceAt( second );
   LogBatch batch;
   LogPosition at = source.snapshot( batch );
   EXPECT_EQ( at, ( LogPosition{ 1, 1 } ) );
   log.append( { { 1, 2 }, false, xOf( "1" ) } );
   EXPECT_EQ( awaited( source, at, batch, at ), Got::turn );
   RedisLog copy = logAt( second );
   EXPECT_EQ( copy.end(), ( LogPosition{ 1, 2 } ) );
   EXPECT_THROW( copy.append( { { 2, 1 }, true, madeA } ), LogUnavailableException );
}

TEST_F( TwoServersTest, WhoTakesOverGoesOnWithWhatWasSafe ) {
   RedisLog log = logAt( first );
   log.append( { { 1, 1 }, true, madeA } );
   LogPosition last{ 1, 1 };
   for ( ; last.number < 50; ++last.number )
      log.append( { { 1, last.number + 1 }, false, xOf( std::to_string( last.number + 1 ) ) } );
   ASSERT_TRUE( soon( [&] { return log.safe() == last; } ) );
   RedisSource reader = sourceAt( second );
   first.end();

   takeOver( second.writer() );
   takeOver( second.writer() );   // once more does not hurt
   RedisLog taken = logAt( second );
   EXPECT_EQ( taken.end(), last );
   EXPECT_THAT( stateAt( second ), ElementsAre( "create|/a|T|||", "change|/a||x||50" ) );
   taken.append( { { 2, 1 }, true, batchOf( { created( "/a" ), changed( "/a", "x", "new" ) } ) } );
   LogBatch batch;
   EXPECT_EQ( awaited( reader, last, batch, last ), Got::gap );
   EXPECT_EQ( reader.snapshot( batch ), ( LogPosition{ 2, 1 } ) );

   // The first server comes back as the copy, with its old writer.
   first.startAsCopyOf( second );
   EXPECT_TRUE( soon( [&] { return logAt( first ).end() == LogPosition{ 2, 1 }; } ) );
   EXPECT_THROW( log.append( { { 1, 51 }, false, xOf( "old" ) } ), LogUnavailableException );
   takeOver( first.writer() );
   EXPECT_THROW( log.append( { { 1, 51 }, false, xOf( "old" ) } ), StaleGenerationException );
   EXPECT_THAT( stateAt( first ), ElementsAre( "create|/a|T|||", "change|/a||x||new" ) );
}

TEST( RedisServerTest, ItsFolderIsItsUsersAlone ) {
   Input::Folder const folder;
   RedisServer const server( folder.path( "1" ) );
   namespace fs = std::filesystem;
   EXPECT_EQ( fs::status( folder.path( "1" ) ).permissions(), fs::perms::owner_all );
   EXPECT_EQ(
      fs::status( folder.path( "1/redis.conf" ) ).permissions(), fs::perms::owner_read | fs::perms::owner_write );
}

TEST( RedisServerTest, TheDocumentGivesItsUsersTheSameRights ) {
   Input::Folder const folder;
   RedisServer const server( folder.path( "1" ) );
   std::ostringstream document;
   document << std::ifstream( CLOCKPATH_DOCS "state.md" ).rdbuf();
   std::istringstream configuration( folder.content( "1/redis.conf" ) );
   int users = 0;
   for ( std::string line; std::getline( configuration, line ); ) {
      std::size_t const password = line.find( " on >" );
      if ( !line.starts_with( "user " ) || password == std::string::npos ) continue;
      ++users;
      std::string const rights = line.substr( line.find( ' ', password + 5 ) );
      EXPECT_THAT( document.str(), HasSubstr( line.substr( 0, password ) + " on >" ) );
      EXPECT_THAT( document.str(), HasSubstr( "PASSWORD" + rights + "\n" ) );
   }
   EXPECT_EQ( users, 3 );
}

TEST( RedisServerTest, ItEndsWithItsOwner ) {
   Input::Folder const folder;
   pid_t process = -1;
   {
      RedisServer const server( folder.path( "1" ) );
      process = server.process();
      EXPECT_EQ( ::kill( process, 0 ), 0 );
   }
   EXPECT_NE( ::kill( process, 0 ), 0 );
}

TEST( RedisServerTest, ItSaysWhyItDoesNotStart ) {
   Input::Folder const folder;
   std::filesystem::create_directories( folder.path( "1/appendonlydir" ) );
   folder.file( "1/appendonlydir/appendonly.aof.manifest", "nothing that it can read\n" );
   try {
      RedisServer const server( folder.path( "1" ) );
      ADD_FAILURE() << "it started";
   } catch ( LogUnavailableException const & error ) {
      EXPECT_THAT( error.what(), HasSubstr( folder.path( "1" ) + " ends as it starts: " ) );
      EXPECT_THAT( error.what(), HasSubstr( "manifest" ) );
   }
}

}   // namespace
}   // namespace State
