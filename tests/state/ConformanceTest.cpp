// What every log does, whatever it is made of.
#include "tests/state/Logs.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace State {
namespace {

using testing::ElementsAre;
using Vor::LogTurn;
using Vor::StaleGenerationException;

class EveryLogTest : public testing::TestWithParam<char const *> {
 protected:
   void wholeOf( U32 generation, U64 number, std::vector<LogEntry> const & entries ) {
      sink->append( { { generation, number }, true, batchOf( entries ) } );
   }
   void turnOf( U32 generation, U64 number, std::vector<LogEntry> const & entries ) {
      sink->append( { { generation, number }, false, batchOf( entries ) } );
   }

   std::unique_ptr<AnyLog> const log = anyLog( GetParam() );
   std::unique_ptr<TurnSink> sink = log->sink();
   LogBatch batch;
   LogPosition at;
};

INSTANTIATE_TEST_SUITE_P( Logs, EveryLogTest, testing::Values( "Memory", "Sqlite", "Redis" ), []( auto const & log ) {
   return log.param;
} );

TEST_P( EveryLogTest, ANewOneStandsBeforeEverything ) {
   EXPECT_EQ( sink->end(), LogPosition() );
   auto const source = log->source();
   EXPECT_EQ( source->snapshot( batch ), LogPosition() );
   EXPECT_TRUE( batch.empty() );
   EXPECT_EQ( source->next( {}, batch, at ), Got::nothing );
}

TEST_P( EveryLogTest, TurnsComeOneAfterTheOther ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   auto const source = log->source();
   ASSERT_EQ( source->snapshot( batch ), ( LogPosition{ 1, 1 } ) );
   turnOf( 1, 2, { changed( "/a", "x", "1" ), changed( "/a", "y", "2" ) } );
   turnOf( 1, 3, { changed( "/a", "x", "3" ) } );
   EXPECT_EQ( awaited( *source, { 1, 1 }, batch, at ), Got::turn );
   EXPECT_EQ( at, ( LogPosition{ 1, 2 } ) );
   EXPECT_THAT( linesOf( batch ), ElementsAre( "change|/a||x||1", "change|/a||y||2" ) );
   EXPECT_EQ( awaited( *source, at, batch, at ), Got::turn );
   EXPECT_EQ( at, ( LogPosition{ 1, 3 } ) );
   EXPECT_THAT( linesOf( batch ), ElementsAre( "change|/a||x||3" ) );
   EXPECT_EQ( source->next( at, batch, at ), Got::nothing );
   EXPECT_EQ( at, ( LogPosition{ 1, 3 } ) );
   EXPECT_THAT( linesOf( batch ), ElementsAre( "change|/a||x||3" ) ) << "it is as it was where there is no turn";
   EXPECT_EQ( sink->end(), ( LogPosition{ 1, 3 } ) );
   EXPECT_EQ( sink->safe(), ( LogPosition{ 1, 3 } ) );
}

TEST_P( EveryLogTest, ASnapshotIsWhatTheTurnsAddUpTo ) {
   wholeOf( 1, 1, { created( "/a", "A", "parameters" ), changed( "/a", "x", "1" ), created( "/b" ) } );
   turnOf( 1, 2, { keyed( "/b", "map", "k", "v" ), keyed( "/b", "map", "l", "w" ), changed( "/b", "map2", "u" ) } );
   turnOf( 1, 3, { erased( "/b", "map", "k" ), changed( "/a", "x", "2" ), created( "/c" ), changed( "/c", "z", "" ) } );
   turnOf( 1, 4, { removed( "/c" ), created( "/d" ), created( "/c", "C2" ) } );
   auto const source = log->source();
   EXPECT_EQ( source->snapshot( batch ), ( LogPosition{ 1, 4 } ) );
   EXPECT_THAT(
      linesOf( batch ), ElementsAre(
                           "create|/a|A|||parameters", "create|/b|T|||", "create|/d|T|||", "create|/c|C2|||",
                           "change|/a||x||2", "change|/b||map2||u", "change|/b||map|l|w" ) );
}

TEST_P( EveryLogTest, AnEntityMadeAgainHasNothingOfTheOneBefore ) {
   wholeOf( 1, 1, { created( "/a" ), changed( "/a", "x", "1" ), created( "/b" ) } );
   turnOf( 1, 2, { created( "/a", "U" ) } );
   EXPECT_THAT( snapshotOf( *log->source() ), ElementsAre( "create|/b|T|||", "create|/a|U|||" ) );
}

TEST_P( EveryLogTest, WhatIsSaidOfNobodyIsPassedOver ) {
   wholeOf( 1, 1, { changed( "/a", "x", "1" ), erased( "/a", "m", "k" ), removed( "/a" ) } );
   turnOf( 1, 2, { created( "/a" ), erased( "/a", "m", "k" ) } );
   EXPECT_THAT( snapshotOf( *log->source() ), ElementsAre( "create|/a|T|||" ) );
}

TEST_P( EveryLogTest, ValuesAreAnyBytes ) {
   std::string all;
   for ( int c = 0; c < 256; ++c ) all += static_cast<char>( c );
   wholeOf( 1, 1, { created( "/a", "T", all ), changed( "/a", "x", all ), keyed( "/a", "m", all, all ) } );
   wholeOf( 1, 2, { created( "/a", "T", all ), changed( "/a", "x", all ), keyed( "/a", "m", all, all ) } );
   auto const source = log->source();
   EXPECT_THAT(
      snapshotOf( *source ), testing::UnorderedElementsAre(
                                "create|/a|T|||" + all, "change|/a||x||" + all, "change|/a||m|" + all + "|" + all ) );
   turnOf( 1, 3, { changed( "/a", "x", all + all ) } );
   ASSERT_EQ( awaited( *source, { 1, 2 }, batch, at ), Got::turn );
   EXPECT_THAT( linesOf( batch ), ElementsAre( "change|/a||x||" + all + all ) );
}

TEST_P( EveryLogTest, AWholeTurnTakesThePlaceOfWhatWasThere ) {
   wholeOf( 1, 1, { created( "/a" ), changed( "/a", "x", "1" ), created( "/b" ) } );
   auto const source = log->source();
   wholeOf( 1, 2, { created( "/b" ), changed( "/b", "y", "2" ) } );
   EXPECT_EQ( awaited( *source, { 1, 1 }, batch, at ), Got::gap );
   EXPECT_EQ( source->next( { 1, 1 }, batch, at ), Got::gap ) << "as long as no snapshot is taken";
   EXPECT_EQ( source->snapshot( batch ), ( LogPosition{ 1, 2 } ) );
   EXPECT_THAT( linesOf( batch ), ElementsAre( "create|/b|T|||", "change|/b||y||2" ) );
   turnOf( 1, 3, { changed( "/b", "y", "3" ) } );
   EXPECT_EQ( awaited( *source, { 1, 2 }, batch, at ), Got::turn );
}

TEST_P( EveryLogTest, WhoReadANewLogHasAGapWhenItBegins ) {
   auto const source = log->source();
   EXPECT_EQ( source->snapshot( batch ), LogPosition() );
   wholeOf( 4, 1, { created( "/a" ) } );
   EXPECT_EQ( awaited( *source, {}, batch, at ), Got::gap );
}

TEST_P( EveryLogTest, ANewGenerationEndsTheOneBefore ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   turnOf( 1, 2, { changed( "/a", "x", "1" ) } );
   auto const source = log->source();
   auto const second = log->sink();
   EXPECT_EQ( second->end(), ( LogPosition{ 1, 2 } ) );
   LogBatch const whole = batchOf( { created( "/a" ), changed( "/a", "x", "5" ) } );
   second->append( { { 2, 1 }, true, whole } );
   EXPECT_THROW( turnOf( 1, 3, { changed( "/a", "x", "2" ) } ), StaleGenerationException );
   EXPECT_THROW( wholeOf( 1, 3, { created( "/z" ) } ), StaleGenerationException );
   EXPECT_THROW( turnOf( 2, 1, { changed( "/a", "x", "2" ) } ), StaleGenerationException );
   EXPECT_EQ( awaited( *source, { 1, 2 }, batch, at ), Got::gap );
   EXPECT_EQ( source->snapshot( batch ), ( LogPosition{ 2, 1 } ) );
   EXPECT_EQ( linesOf( batch ), linesOf( whole ) ) << "nothing of a refused turn is there";
}

TEST_P( EveryLogTest, AnotherOfTheSameGenerationEndsTheOneBefore ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   auto const restarted = log->sink();
   LogPosition const end = restarted->end();
   restarted->append( { { 1, end.number + 1 }, true, batchOf( { created( "/a" ) } ) } );
   EXPECT_THROW( turnOf( 1, 2, { changed( "/a", "x", "1" ) } ), StaleGenerationException );
   restarted->append( { { 1, end.number + 2 }, false, batchOf( { changed( "/a", "x", "9" ) } ) } );
   EXPECT_THAT( snapshotOf( *log->source() ), ElementsAre( "create|/a|T|||", "change|/a||x||9" ) );
}

TEST_P( EveryLogTest, WhatDoesNotFollowIsRefused ) {
   EXPECT_THROW( turnOf( 1, 1, { created( "/a" ) } ), StaleGenerationException ) << "the first is a whole one";
   wholeOf( 1, 1, { created( "/a" ) } );
   EXPECT_THROW( turnOf( 1, 3, { changed( "/a", "x", "1" ) } ), StaleGenerationException );
   EXPECT_THROW( turnOf( 2, 1, { changed( "/a", "x", "1" ) } ), StaleGenerationException );
   EXPECT_THROW( turnOf( 0, 2, { changed( "/a", "x", "1" ) } ), StaleGenerationException );
   EXPECT_EQ( sink->end(), ( LogPosition{ 1, 1 } ) );
   EXPECT_THAT( snapshotOf( *log->source() ), ElementsAre( "create|/a|T|||" ) );
   turnOf( 1, 2, { changed( "/a", "x", "1" ) } );
}

TEST_P( EveryLogTest, AWholeTurnMayLeaveNumbersOut ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   wholeOf( 1, 10, { created( "/b" ) } );
   turnOf( 1, 11, { changed( "/b", "x", "1" ) } );
   auto const source = log->source();
   EXPECT_EQ( awaited( *source, { 1, 1 }, batch, at ), Got::gap );
   EXPECT_EQ( awaited( *source, { 1, 10 }, batch, at ), Got::turn );
   EXPECT_EQ( source->snapshot( batch ), ( LogPosition{ 1, 11 } ) );
}

TEST_P( EveryLogTest, TurnsAreKeptForABoundedTime ) {
   auto const bounded = anyLog( GetParam() );
   auto const short10 = bounded->sink( 10 );
   short10->append( { { 1, 1 }, true, batchOf( { created( "/a" ) } ) } );
   std::string const value( 1000, 'v' );
   for ( U64 number = 2; number <= 300; ++number )
      short10->append( { { 1, number }, false, batchOf( { changed( "/a", "x", value ) } ) } );
   auto const source = bounded->source();
   EXPECT_EQ( awaited( *source, { 1, 1 }, batch, at ), Got::gap );
   EXPECT_EQ( awaited( *source, { 1, 290 }, batch, at ), Got::turn );
   U64 kept = 0;
   while ( kept < 300 && awaited( *source, { 1, 299 - kept }, batch, at ) == Got::turn ) ++kept;
   EXPECT_GE( kept, 10U );
   EXPECT_LE( kept, 110U );
}

TEST_P( EveryLogTest, TwoReadersEachHaveEveryTurn ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   auto const first = log->source();
   auto const second = log->source();
   for ( U64 number = 2; number <= 20; ++number ) turnOf( 1, number, { changed( "/a", "x", "1" ) } );
   for ( LogSource * const source : { first.get(), second.get() } ) {
      at = { 1, 1 };
      while ( at.number < 20 ) ASSERT_EQ( awaited( *source, at, batch, at ), Got::turn );
   }
}

TEST_P( EveryLogTest, AReaderThatComesBackGoesOnWhereItWas ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   {
      auto const source = log->source();
      ASSERT_EQ( source->snapshot( batch ), ( LogPosition{ 1, 1 } ) );
   }
   turnOf( 1, 2, { changed( "/a", "x", "1" ) } );
   turnOf( 1, 3, { changed( "/a", "x", "2" ) } );
   auto const source = log->source();
   EXPECT_EQ( awaited( *source, { 1, 1 }, batch, at ), Got::turn );
   EXPECT_EQ( awaited( *source, { 1, 2 }, batch, at ), Got::turn );
   EXPECT_EQ( awaited( *source, { 1, 1 }, batch, at ), Got::turn ) << "and may ask for what it had already";
   EXPECT_EQ( at, ( LogPosition{ 1, 2 } ) );
}

TEST_P( EveryLogTest, AWriterThatComesBackGoesOnWhereItWas ) {
   wholeOf( 3, 1, { created( "/a" ) } );
   turnOf( 3, 2, { changed( "/a", "x", "1" ) } );
   sink.reset();
   sink = log->sink();
   EXPECT_EQ( sink->end(), ( LogPosition{ 3, 2 } ) );
   EXPECT_THAT( snapshotOf( *log->source() ), ElementsAre( "create|/a|T|||", "change|/a||x||1" ) );
}

TEST_P( EveryLogTest, ATurnWakesWhoWaits ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   auto const source = log->source();
   at = source->snapshot( batch );
   for ( U64 number = 2; number <= 20; ++number ) {
      while ( source->next( at, batch, at ) == Got::turn ) {
      }
      std::thread writer( [&] { turnOf( 1, number, { changed( "/a", "x", "1" ) } ); } );
      EXPECT_EQ( awaited( *source, at, batch, at ), Got::turn );
      writer.join();
      EXPECT_EQ( at.number, number );
   }
}

TEST_P( EveryLogTest, WhoTakesOneTurnAWakeHasThemAll ) {
   wholeOf( 1, 1, { created( "/a" ) } );
   auto const source = log->source();
   at = source->snapshot( batch );
   EXPECT_EQ( source->next( at, batch, at ), Got::nothing );
   for ( U64 number = 2; number <= 5; ++number ) turnOf( 1, number, { changed( "/a", "x", "1" ) } );
   while ( at.number < 5 ) {
      ASSERT_TRUE( wakes( *source ) );
      source->next( at, batch, at );
   }
}

TEST_P( EveryLogTest, ASnapshotIsOneCutWhileTurnsComeIn ) {
   // Each turn gives both entities the same value: one cut never shows two.
   wholeOf( 1, 1, { created( "/a" ), created( "/b" ), changed( "/a", "x", "1" ), changed( "/b", "x", "1" ) } );
   std::atomic<bool> done = false;
   std::thread writer( [&] {
      for ( U64 number = 2; !done; ++number ) {
         std::string const value = std::to_string( number );
         LogBatch const turn = batchOf( { changed( "/a", "x", value ), changed( "/b", "x", value ) } );
         sink->append( { { 1, number }, false, turn } );
      }
   } );
   auto const source = log->source();
   for ( int i = 0; i < 200; ++i ) {
      LogPosition const cut = source->snapshot( batch );
      std::string const value = std::to_string( cut.number );
      EXPECT_THAT(
         linesOf( batch ),
         ElementsAre( "create|/a|T|||", "create|/b|T|||", "change|/a||x||" + value, "change|/b||x||" + value ) );
      if ( HasFailure() ) break;
   }
   done = true;
   writer.join();
}

TEST_P( EveryLogTest, ManyChangesOfManyEntities ) {
   std::vector<std::string> texts;
   for ( int i = 0; i < 5000; ++i ) texts.push_back( std::to_string( i ) );
   std::vector<LogEntry> entries{ created( "/a" ), created( "/b" ) };
   for ( std::string const & text : texts ) entries.push_back( keyed( "/a", "map", text, text ) );
   for ( std::string const & text : texts ) {
      entries.push_back( keyed( "/a", "map", text, "second" ) );
      entries.push_back( keyed( "/b", "map", text, text ) );
   }
   wholeOf( 1, 1, entries );
   LogBatch expected = batchOf( { created( "/a" ), created( "/b" ) } );
   for ( std::string const & text : texts ) {
      expected.entryAdd( keyed( "/a", "map", text, "second" ) );
      expected.entryAdd( keyed( "/b", "map", text, text ) );
   }
   EXPECT_EQ( snapshotOf( *log->source() ), linesOf( expected ) );
}

}   // namespace
}   // namespace State
