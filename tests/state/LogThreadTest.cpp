#include "state/LogThread.h"

#include "tests/state/Logs.h"

#include <gmock/gmock.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>

namespace State {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using ThreadClock = std::chrono::steady_clock;

// A log that does as it is told; shared with the test, since the thread owns its sink.
struct Script {
   void append( Vor::LogTurn const & turn ) {
      std::unique_lock lock( mutex );
      isIn = true;
      changed.notify_all();
      changed.wait( lock, [this] { return !hangs; } );
      isIn = false;
      if ( fails ) throw Vor::LogUnavailableException( "the script says so" );
      if ( !Vor::mayFollow( end, turn ) ) throw Vor::StaleGenerationException( "the script stands elsewhere" );
      end = turn.position;
      turns.push_back( Vor::positionText( end ).stdString() + ( turn.whole ? " whole" : "" ) );
      changed.notify_all();
   }
   template<class Change> void tell( Change const & change ) {
      std::lock_guard const lock( mutex );
      change();
      changed.notify_all();
   }
   template<class Condition> bool soon( Condition const & condition ) {
      std::unique_lock lock( mutex );
      return changed.wait_for( lock, std::chrono::seconds( 10 ), condition );
   }

   std::mutex mutex;
   std::condition_variable changed;
   bool hangs = false;
   bool isIn = false;   // append
   bool fails = false;
   bool isSafe = true;
   LogPosition end;
   LogPosition safe;
   std::vector<std::string> turns;
};

struct ScriptedSink final : TurnSink {
   explicit ScriptedSink( std::shared_ptr<Script> told ) : script( std::move( told ) ) {}
   void append( Vor::LogTurn const & turn ) override { script->append( turn ); }
   LogPosition end() override {
      std::lock_guard const lock( script->mutex );
      if ( script->fails ) throw Vor::LogUnavailableException( "the script says so" );
      return script->end;
   }
   LogPosition safe() const override {
      std::lock_guard const lock( script->mutex );
      return script->isSafe ? script->end : script->safe;
   }
   std::shared_ptr<Script> const script;
};

class LogThreadTest : public testing::Test {
 protected:
   LogThread & thread( U32 generation = 1, std::size_t bytesMax = LogThread::usualBytesMax ) {
      return *(
         thread_ = std::make_unique<LogThread>( std::make_unique<ScriptedSink>( script ), generation, bytesMax ) );
   }
   // Until it holds, woken by the descriptor or by the time.
   template<class Condition> static bool soon( LogThread & log, Condition const & condition ) {
      auto const late = ThreadClock::now() + std::chrono::seconds( 10 );
      while ( !condition() ) {
         pollfd readable{ log.descriptor(), POLLIN, 0 };
         if ( ::poll( &readable, 1, 2 ) == 1 ) log.changesTaken();
         if ( ThreadClock::now() > late ) return false;
      }
      return true;
   }
   static bool wants( LogThread & log ) {
      return soon( log, [&] { return log.wantsWhole(); } );
   }

   std::shared_ptr<Script> const script = std::make_shared<Script>();
   LogBatch const batch = batchOf( { created( "/a" ) } );
   std::unique_ptr<LogThread> thread_;
};

TEST_F( LogThreadTest, ItBeginsWithAWholeAndGoesOnWithTurns ) {
   LogThread & log = thread( 3 );
   ASSERT_TRUE( wants( log ) );
   log.turn( batch );   // dropped: a whole comes first
   log.whole( batch );
   EXPECT_FALSE( log.wantsWhole() );
   log.turn( batch );
   log.whole( batch );
   EXPECT_EQ( log.handed(), ( LogPosition{ 3, 3 } ) );
   EXPECT_TRUE( soon( log, [&] { return log.safe() == LogPosition{ 3, 3 }; } ) );
   EXPECT_EQ( log.written(), ( LogPosition{ 3, 3 } ) );
   EXPECT_THAT( script->turns, ElementsAre( "3-1 whole", "3-2", "3-3 whole" ) );
   EXPECT_EQ( log.trouble(), "" );
}

TEST_F( LogThreadTest, ThatTheFirstTurnStandsInTheLogWakesItsOwner ) {
   LogThread & log = thread( 3 );
   ASSERT_TRUE( wants( log ) );
   log.changesTaken();
   log.whole( batch );
   pollfd readable{ log.descriptor(), POLLIN, 0 };
   ASSERT_EQ( ::poll( &readable, 1, 10'000 ), 1 );
   EXPECT_EQ( log.written(), ( LogPosition{ 3, 1 } ) );
}

TEST_F( LogThreadTest, ARestartedWriterGoesOnBehindItsTurns ) {
   script->end = { 3, 17 };
   LogThread & log = thread( 3 );
   ASSERT_TRUE( wants( log ) );
   EXPECT_EQ( log.written(), LogPosition() );
   EXPECT_EQ( log.safe(), LogPosition() ) << "what was there before is not what it wrote";
   log.whole( batch );
   EXPECT_EQ( log.handed(), ( LogPosition{ 3, 18 } ) );
   EXPECT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 3, 18 }; } ) );
}

TEST_F( LogThreadTest, ANewGenerationBeginsAtOne ) {
   script->end = { 3, 17 };
   LogThread & log = thread( 4 );
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   EXPECT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 4, 1 }; } ) );
}

TEST_F( LogThreadTest, AnOlderGenerationIsDoneAtOnce ) {
   script->end = { 5, 1 };
   LogThread & log = thread( 4 );
   EXPECT_TRUE( soon( log, [&] { return log.stale(); } ) );
   EXPECT_THAT( log.trouble(), HasSubstr( "another writer has taken over" ) );
   log.whole( batch );
   log.turn( batch );
   EXPECT_EQ( log.handed(), ( LogPosition{ 4, 0 } ) );
   EXPECT_FALSE( log.wantsWhole() );
}

TEST_F( LogThreadTest, WhoIsTakenOverFromWritesNothingMore ) {
   LogThread & log = thread( 4 );
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   ASSERT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 4, 1 }; } ) );
   script->tell( [&] { script->end = { 5, 1 }; } );
   log.turn( batch );
   EXPECT_TRUE( soon( log, [&] { return log.stale(); } ) );
   EXPECT_THAT( script->turns, ElementsAre( "4-1 whole" ) );
}

TEST_F( LogThreadTest, ALogThatHangsDelaysNobodyAndTakesNoMemory ) {
   std::size_t const bytesMax = 100 * batch.bytes().size();
   LogThread & log = thread( 1, bytesMax );
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   ASSERT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 1, 1 }; } ) );
   script->tell( [&] { script->hangs = true; } );
   log.turn( batch );
   ASSERT_TRUE( script->soon( [&] { return script->isIn; } ) );
   // The thread is in append, which returns when the test says so: whoever waited for it would wait for ever.
   auto const handing = std::async( std::launch::async, [&] {
      for ( int i = 0; i < 100'000; ++i ) log.turn( batch );
      return log.handed();
   } );
   ASSERT_EQ( handing.wait_for( std::chrono::seconds( 30 ) ), std::future_status::ready );
   EXPECT_EQ( log.handed().number, 2U + 100 ) << "one in the log's hands, and what the queue takes; all others dropped";
   EXPECT_FALSE( log.wantsWhole() ) << "not before it can be written";

   script->tell( [&] { script->hangs = false; } );
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   log.turn( batch );
   EXPECT_TRUE( soon( log, [&] { return log.written() == log.handed(); } ) );
   EXPECT_THAT( script->turns, ElementsAre( "1-1 whole", "1-2", "1-103 whole", "1-104" ) );
}

TEST_F( LogThreadTest, AWholeIsTakenThoughItIsLargerThanTheQueue ) {
   LogThread & log = thread( 1, 1 );
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   EXPECT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 1, 1 }; } ) );
   log.turn( batch );
   EXPECT_TRUE( wants( log ) ) << "a turn is not";
}

TEST_F( LogThreadTest, ATurnIsTriedAgainUntilItIsWritten ) {
   LogThread & log = thread();
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   ASSERT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 1, 1 }; } ) );
   script->tell( [&] { script->fails = true; } );
   log.turn( batch );
   log.turn( batch );
   EXPECT_TRUE( soon( log, [&] { return log.trouble() == "the script says so"; } ) );
   EXPECT_FALSE( log.stale() );
   script->tell( [&] { script->fails = false; } );
   EXPECT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 1, 3 }; } ) );
   EXPECT_TRUE( soon( log, [&] { return log.trouble().empty(); } ) );
   EXPECT_FALSE( log.wantsWhole() );
   EXPECT_THAT( script->turns, ElementsAre( "1-1 whole", "1-2", "1-3" ) );
}

TEST_F( LogThreadTest, ALogThatLostTurnsHasAWholeBehindThem ) {
   LogThread & log = thread();
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   log.turn( batch );
   ASSERT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 1, 2 }; } ) );
   script->tell( [&] {
      script->fails = true;
      script->end = {};
   } );
   log.turn( batch );
   ASSERT_TRUE( soon( log, [&] { return !log.trouble().empty(); } ) );
   script->tell( [&] { script->fails = false; } );
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   EXPECT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 1, 4 }; } ) );
   EXPECT_THAT( script->turns, ElementsAre( "1-1 whole", "1-2", "1-4 whole" ) );
}

TEST_F( LogThreadTest, ALogThatIsNotThereAtTheStartIsWaitedFor ) {
   script->fails = true;
   LogThread & log = thread();
   EXPECT_TRUE( soon( log, [&] { return log.trouble() == "the script says so"; } ) );
   EXPECT_FALSE( log.wantsWhole() );
   log.whole( batch );
   EXPECT_EQ( log.handed(), ( LogPosition{ 1, 0 } ) );
   script->tell( [&] { script->fails = false; } );
   EXPECT_TRUE( wants( log ) );
}

TEST_F( LogThreadTest, SafeFollowsWhenTheLogSaysSo ) {
   script->isSafe = false;
   LogThread & log = thread();
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   log.turn( batch );
   ASSERT_TRUE( soon( log, [&] { return log.written() == LogPosition{ 1, 2 }; } ) );
   EXPECT_EQ( log.safe(), LogPosition() );
   script->tell( [&] { script->safe = { 1, 1 }; } );
   EXPECT_TRUE( soon( log, [&] { return log.safe() == LogPosition{ 1, 1 }; } ) );
   script->tell( [&] { script->isSafe = true; } );
   EXPECT_TRUE( soon( log, [&] { return log.safe() == LogPosition{ 1, 2 }; } ) );
}

TEST_F( LogThreadTest, WhatWasHandedOverIsWrittenBeforeItEnds ) {
   LogThread & log = thread();
   ASSERT_TRUE( wants( log ) );
   log.whole( batch );
   for ( int i = 0; i < 50; ++i ) log.turn( batch );
   thread_.reset();
   EXPECT_EQ( script->end, ( LogPosition{ 1, 51 } ) );
}

TEST_F( LogThreadTest, ALogThatHangsDoesNotKeepItFromEnding ) {
   LogThread & log = thread();
   ASSERT_TRUE( wants( log ) );
   script->tell( [&] { script->hangs = true; } );
   log.whole( batch );
   ASSERT_TRUE( script->soon( [&] { return script->isIn; } ) );
   auto const begin = ThreadClock::now();
   thread_.reset();
   EXPECT_GE( ThreadClock::now() - begin, std::chrono::milliseconds( 900 ) );
   EXPECT_LT( ThreadClock::now() - begin, std::chrono::seconds( 10 ) );
   // It ends by itself, and lets go of its sink.
   script->tell( [&] { script->hangs = false; } );
   EXPECT_TRUE( script->soon( [&] { return script->turns.size() == 1; } ) );
   auto const late = ThreadClock::now() + std::chrono::seconds( 10 );
   while ( script.use_count() > 1 && ThreadClock::now() < late ) ::poll( nullptr, 0, 1 );
   EXPECT_EQ( script.use_count(), 1 );
}

// The whole way: a thread that writes, its log, and a reader.
TEST( LogThreadOnRedisTest, AServerThatIsLostAndComesBackEmptyIsGivenAWhole ) {
   Input::Folder const folder;
   RedisServer server( folder.path( "1" ) );
   LogThread log( std::make_unique<RedisLog>( logPlace( server.writer() ) ), 1 );
   auto const soon = [&]( auto const & condition ) {
      auto const late = ThreadClock::now() + std::chrono::seconds( 10 );
      while ( !condition() && ThreadClock::now() < late ) ::poll( nullptr, 0, 2 );
      return condition();
   };
   ASSERT_TRUE( soon( [&] { return log.wantsWhole(); } ) );
   log.whole( batchOf( { created( "/a" ), changed( "/a", "x", "1" ) } ) );
   log.turn( batchOf( { changed( "/a", "x", "2" ) } ) );
   ASSERT_TRUE( soon( [&] { return log.safe() == LogPosition{ 1, 2 }; } ) );
   RedisSource source( logPlace( server.viewer() ) );
   LogBatch batch;
   LogPosition at = source.snapshot( batch );
   ASSERT_EQ( at, ( LogPosition{ 1, 2 } ) );

   server.end();
   std::filesystem::remove_all( folder.path( "1/appendonlydir" ) );
   log.turn( batchOf( { changed( "/a", "x", "3" ) } ) );
   EXPECT_TRUE( soon( [&] { return !log.trouble().empty(); } ) );
   server.start();
   ASSERT_TRUE( soon( [&] { return log.wantsWhole(); } ) );
   log.whole( batchOf( { created( "/a" ), changed( "/a", "x", "3" ) } ) );
   EXPECT_TRUE( soon( [&] { return log.written() == log.handed(); } ) );
   EXPECT_EQ( awaited( source, at, batch, at ), Got::gap );
   EXPECT_GT( source.snapshot( batch ), ( LogPosition{ 1, 2 } ) );
   EXPECT_THAT( linesOf( batch ), ElementsAre( "create|/a|T|||", "change|/a||x||3" ) );
}

}   // namespace
}   // namespace State
