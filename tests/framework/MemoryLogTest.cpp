#include "framework/MemoryLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <thread>

namespace Vor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Got = LogSource::Got;
using Kind = LogEntry::Kind;

LogEntry value( std::string_view entity, std::string_view value ) {
   return { .kind = Kind::change, .entity = entity, .attribute = "a", .value = value };
}
LogEntry creation( std::string_view entity ) { return { .kind = Kind::create, .entity = entity, .type = "T" }; }

LogBatch turnOf( std::initializer_list<LogEntry> entries ) {
   LogBatch batch;
   for ( LogEntry const & entry : entries ) batch.entryAdd( entry );
   return batch;
}

class MemoryLogTest : public testing::Test {
 protected:
   void begin( U32 generation ) { log.append( { { generation, 1 }, true, turnOf( { creation( "/e" ) } ) } ); }
   void change( LogPosition position, std::string_view to ) {
      log.append( { position, false, turnOf( { value( "/e", to ) } ) } );
   }
   Got next() { return reader->next( at, batch, at ); }
   std::string valueRead() { return std::string( batch.begin()->value ); }
   bool rings( LogSource const & of ) {
      pollfd waited{ of.wakeFd(), POLLIN, 0 };
      return ::poll( &waited, 1, 0 ) == 1;
   }
   std::vector<LogEntry> snapshot() {
      at = reader->snapshot( batch );
      std::vector<LogEntry> entries;
      for ( LogEntry const & entry : batch ) entries.push_back( entry );
      return entries;
   }

   MemoryLog log{ 3 };
   std::unique_ptr<LogSource> reader = log.source();
   LogBatch batch;
   LogPosition at;
};

TEST_F( MemoryLogTest, ANewOneHasNothing ) {
   EXPECT_EQ( log.end(), LogPosition() );
   EXPECT_EQ( next(), Got::nothing );
   EXPECT_FALSE( rings( *reader ) );
   EXPECT_EQ( reader->snapshot( batch ), LogPosition() );
   EXPECT_TRUE( batch.empty() );
}

TEST_F( MemoryLogTest, TurnsAreReadInOrderAndOnce ) {
   begin( 1 );
   EXPECT_THAT( snapshot(), ElementsAre( creation( "/e" ) ) );
   change( { 1, 2 }, "two" );
   change( { 1, 3 }, "three" );
   EXPECT_EQ( next(), Got::turn );
   EXPECT_EQ( valueRead(), "two" );
   EXPECT_EQ( at, ( LogPosition{ 1, 2 } ) );
   EXPECT_EQ( next(), Got::turn );
   EXPECT_EQ( valueRead(), "three" );
   EXPECT_EQ( next(), Got::nothing );
   EXPECT_EQ( at, ( LogPosition{ 1, 3 } ) );
   EXPECT_EQ( valueRead(), "three" );
   EXPECT_EQ( log.safe(), log.end() );
}

TEST_F( MemoryLogTest, TheDoorbellRingsUntilThereIsNothingMore ) {
   begin( 1 );
   EXPECT_TRUE( rings( *reader ) );
   snapshot();
   EXPECT_EQ( next(), Got::nothing );
   EXPECT_FALSE( rings( *reader ) );
   change( { 1, 2 }, "two" );
   change( { 1, 3 }, "three" );
   next();
   EXPECT_TRUE( rings( *reader ) );
   next();
   EXPECT_EQ( next(), Got::nothing );
   EXPECT_FALSE( rings( *reader ) );
}

TEST_F( MemoryLogTest, EachReaderHasItsOwnDoorbell ) {
   begin( 1 );
   std::unique_ptr<LogSource> const other = log.source();
   LogPosition otherAt = other->snapshot( batch );
   snapshot();
   next();
   change( { 1, 2 }, "two" );
   next();
   EXPECT_EQ( next(), Got::nothing );
   EXPECT_FALSE( rings( *reader ) );
   EXPECT_TRUE( rings( *other ) );
   EXPECT_EQ( other->next( otherAt, batch, otherAt ), Got::turn );
}

TEST_F( MemoryLogTest, AReaderThatStoppedReadingHasAGapAndTheStateIsThere ) {
   begin( 1 );
   snapshot();
   LogPosition const before = at;
   for ( U64 number = 2; number <= 5; ++number ) change( { 1, number }, std::to_string( number ) );
   EXPECT_EQ( next(), Got::gap );
   EXPECT_EQ( at, before );
   EXPECT_TRUE( rings( *reader ) );
   EXPECT_THAT( snapshot(), ElementsAre( creation( "/e" ), value( "/e", "5" ) ) );
   EXPECT_EQ( at, ( LogPosition{ 1, 5 } ) );
   EXPECT_EQ( next(), Got::nothing );
   // The last that is kept.
   at = { 1, 2 };
   EXPECT_EQ( next(), Got::turn );
   EXPECT_EQ( at, ( LogPosition{ 1, 3 } ) );
}

TEST_F( MemoryLogTest, LongTurnsAreKeptForAsManyBytesAsABatchMayHave ) {
   MemoryLog many( 1'000 );
   std::string const text( 1 << 20U, 'x' );
   LogBatch const large = turnOf( { value( "/e", text ) } );
   many.append( { { 1, 1 }, true, turnOf( { creation( "/e" ) } ) } );
   for ( U64 number = 2; number <= 80; ++number ) many.append( { { 1, number }, false, large } );
   reader = many.source();
   std::size_t kept = 0;
   for ( U64 number = 2; number <= 80; ++number ) {
      at = { 1, number - 1 };
      kept += next() == Got::turn;
   }
   EXPECT_EQ( kept, LogBatch::bytesMax / large.bytes().size() );
}

TEST_F( MemoryLogTest, AWholeTurnIsAGapAndTakesThePlaceOfTheState ) {
   begin( 1 );
   change( { 1, 2 }, "two" );
   snapshot();
   log.append( { { 1, 3 }, true, turnOf( { creation( "/f" ), value( "/f", "new" ) } ) } );
   EXPECT_EQ( next(), Got::gap );
   EXPECT_THAT( snapshot(), ElementsAre( creation( "/f" ), value( "/f", "new" ) ) );
   EXPECT_EQ( next(), Got::nothing );
}

TEST_F( MemoryLogTest, AHigherGenerationTakesOverAndTheOldOneIsRefused ) {
   begin( 1 );
   snapshot();
   begin( 7 );
   EXPECT_EQ( next(), Got::gap );
   EXPECT_THROW( change( { 1, 2 }, "old" ), StaleGenerationException );
   EXPECT_THROW( begin( 1 ), StaleGenerationException );
   EXPECT_THROW( begin( 7 ), StaleGenerationException );
   EXPECT_EQ( log.end(), ( LogPosition{ 7, 1 } ) );
   EXPECT_THAT( snapshot(), ElementsAre( creation( "/e" ) ) );
}

TEST_F( MemoryLogTest, OnlyAWholeTurnLeavesNumbersOut ) {
   begin( 1 );
   EXPECT_THROW( change( { 1, 3 }, "hole" ), StaleGenerationException );
   EXPECT_THROW( log.append( { { 2, 1 }, false, turnOf( {} ) } ), StaleGenerationException );
   EXPECT_EQ( log.end(), ( LogPosition{ 1, 1 } ) );
   log.append( { { 1, 3 }, true, turnOf( { creation( "/e" ) } ) } );
   change( { 1, 4 }, "four" );
   EXPECT_EQ( log.end(), ( LogPosition{ 1, 4 } ) );
}

TEST_F( MemoryLogTest, ASnapshotHasWhatTheTurnsAddUpTo ) {
   LogEntry const keyed{ .kind = Kind::change, .entity = "/e", .attribute = "notes", .key = "1", .value = "one" };
   LogEntry const other{ .kind = Kind::change, .entity = "/e", .attribute = "notes", .key = "2", .value = "two" };
   LogEntry const erasure{ .kind = Kind::erase, .entity = "/e", .attribute = "notes", .key = "1" };
   LogEntry const removal{ .kind = Kind::remove, .entity = "/f" };
   begin( 1 );
   log.append(
      { { 1, 2 }, false, turnOf( { keyed, other, value( "/e", "x" ), creation( "/f" ), value( "/f", "y" ) } ) } );
   EXPECT_THAT(
      snapshot(),
      ElementsAre( creation( "/e" ), creation( "/f" ), keyed, other, value( "/e", "x" ), value( "/f", "y" ) ) );
   log.append( { { 1, 3 }, false, turnOf( { erasure, removal, value( "/e", "z" ), erasure, removal } ) } );
   EXPECT_THAT( snapshot(), ElementsAre( creation( "/e" ), other, value( "/e", "z" ) ) );
   // Made again, it has nothing of what it had.
   log.append( { { 1, 4 }, false, turnOf( { creation( "/e" ) } ) } );
   EXPECT_THAT( snapshot(), ElementsAre( creation( "/e" ) ) );
}

TEST_F( MemoryLogTest, AReaderOutlivesTheLog ) {
   auto gone = std::make_unique<MemoryLog>();
   gone->append( { { 1, 1 }, true, turnOf( { creation( "/e" ) } ) } );
   reader = gone->source();
   gone.reset();
   EXPECT_THAT( snapshot(), ElementsAre( creation( "/e" ) ) );
   EXPECT_EQ( next(), Got::nothing );
}

TEST_F( MemoryLogTest, AReaderOnAThreadOfItsOwnMissesNothingUntold ) {
   constexpr U64 turns = 2'000;
   begin( 1 );
   snapshot();
   std::thread writing( [this] {
      for ( U64 number = 2; number <= turns; ++number ) change( { 1, number }, std::to_string( number ) );
   } );
   std::string last;
   while ( last != std::to_string( turns ) ) {
      pollfd waited{ reader->wakeFd(), POLLIN, 0 };
      ::poll( &waited, 1, -1 );
      LogPosition const before = at;
      switch ( next() ) {
      case Got::turn:
         EXPECT_EQ( at, ( LogPosition{ 1, before.number + 1 } ) );
         last = valueRead();
         EXPECT_EQ( last, std::to_string( at.number ) );
         break;
      case Got::gap:
         last = std::string( snapshot().back().value );
         EXPECT_EQ( last, at.number == 1 ? "" : std::to_string( at.number ) );
         break;
      case Got::nothing:
         break;
      }
   }
   writing.join();
   EXPECT_EQ( log.end(), at );
}

}   // namespace
}   // namespace Vor
