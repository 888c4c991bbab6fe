#include "framework/AttributeLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace Vor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = LogEntry::Kind;

LogEntry const created{ .kind = Kind::create, .entity = "/a", .type = "T", .attribute = "held", .value = "xyz" };
LogEntry const changed{ .kind = Kind::change, .entity = "/a", .attribute = "state", .key = "k", .value = "v" };
LogEntry const erased{ .kind = Kind::erase, .entity = "/a", .attribute = "notes", .key = "k" };
LogEntry const removed{ .kind = Kind::remove, .entity = "/a" };

LogBatch batchOf( std::initializer_list<LogEntry> entries ) {
   LogBatch batch;
   for ( LogEntry const & entry : entries ) batch.entryAdd( entry );
   return batch;
}
LogBatch ofEveryKind() { return batchOf( { created, changed, erased, removed } ); }

std::vector<LogEntry> entriesOf( LogBatch const & batch ) {
   std::vector<LogEntry> entries;
   for ( LogEntry const & entry : batch ) entries.push_back( entry );
   return entries;
}

/// What is wrong with the bytes; empty where nothing is. The batch is as it was where something is.
std::string refusal( std::string_view bytes ) {
   LogBatch batch = batchOf( { removed } );
   try {
      batch.bytesIs( bytes );
   } catch ( LogFormatException const & error ) {
      EXPECT_THAT( entriesOf( batch ), ElementsAre( removed ) );
      return error.what();
   }
   EXPECT_EQ( batch.bytes(), bytes );
   EXPECT_EQ( entriesOf( batch ).size(), batch.count() );
   return "";
}

TEST( LogBatch, EntriesOfEveryKindAreReadAsTheyWereWritten ) {
   LogBatch read;
   read.bytesIs( ofEveryKind().bytes() );
   EXPECT_THAT( entriesOf( read ), ElementsAre( created, changed, erased, removed ) );
   EXPECT_EQ( read.count(), 4 );
}

TEST( LogBatch, ANewBatchIsEmptyAndSoIsOneThatWasCleared ) {
   LogBatch batch;
   EXPECT_TRUE( batch.empty() );
   EXPECT_THAT( entriesOf( batch ), IsEmpty() );
   std::string const none( batch.bytes() );
   EXPECT_EQ( refusal( none ), "" );
   batch.entryAdd( changed );
   EXPECT_FALSE( batch.empty() );
   batch.clear();
   EXPECT_EQ( batch.bytes(), none );
}

TEST( LogBatch, AValueThatIsPutInPartsIsTheEntrysOwn ) {
   LogBatch batch;
   batch.entryBegin( changed ) += "alue";
   batch.entryEnd();
   batch.entryAdd( removed );
   LogEntry whole = changed;
   whole.value = "value";
   EXPECT_THAT( entriesOf( batch ), ElementsAre( whole, removed ) );
   EXPECT_EQ( refusal( batch.bytes() ), "" );
}

TEST( LogBatch, TheEntriesOfAnotherAreAddedBehind ) {
   LogBatch batch = batchOf( { created } );
   batch.batchAdd( batchOf( { changed, removed } ) );
   EXPECT_THAT( entriesOf( batch ), ElementsAre( created, changed, removed ) );
   EXPECT_EQ( refusal( batch.bytes() ), "" );
}

TEST( LogBatch, WhatStandsWhereStays ) {
   LogBatch const batch = batchOf( { changed } );
   using namespace std::string_literals;
   std::string const entry = "\x02"   // kind
                             "\x02\0\0\0/a"
                             "\x05\0\0\0state"
                             "\x01\0\0\0k"
                             "\x01\0\0\0v"s;
   std::string const head = "\x01\0\0\0"     // format
                            "\x01\0\0\0"     // entries
                            "\x1E\0\0\0"s;   // their bytes
   EXPECT_EQ( batch.bytes(), head + "\x1A\0\0\0"s + entry );
}

TEST( LogBatch, OneThatIsCutOffIsRefusedWhereverThatIs ) {
   LogBatch const batch = ofEveryKind();
   for ( std::size_t size = 0; size < batch.bytes().size(); ++size )
      EXPECT_NE( refusal( batch.bytes().substr( 0, size ) ), "" ) << size;
}

TEST( LogBatch, OneThatIsTooLongIsRefused ) {
   std::string const bytes( ofEveryKind().bytes() );
   EXPECT_THAT( refusal( bytes + '\0' ), HasSubstr( "byte 8 of the batch: expected" ) );
   std::string huge( LogBatch::bytesMax + 1, '\0' );
   huge[0] = 1;
   EXPECT_THAT( refusal( huge ), HasSubstr( "expected at most 67108864 bytes, found 67108865" ) );
}

TEST( LogBatch, AnotherFormatIsRefused ) {
   std::string bytes( ofEveryKind().bytes() );
   bytes[0] = 2;
   EXPECT_EQ( refusal( bytes ), "byte 0 of the batch: expected format 1, found 2: another release wrote this log" );
}

TEST( LogBatch, AKindThatIsNoneIsRefusedWithItsPlace ) {
   for ( char const kind : { '\0', '\x05', '\xFF' } ) {
      std::string bytes( batchOf( { changed } ).bytes() );
      bytes[16] = kind;
      EXPECT_THAT( refusal( bytes ), HasSubstr( "byte 16 of the batch: expected a kind of entry, 1 to 4, found" ) );
   }
}

TEST( LogBatch, AnEntryOfNobodyIsRefused ) {
   LogEntry nobody = changed;
   nobody.entity = "";
   EXPECT_THAT( refusal( batchOf( { nobody } ).bytes() ), HasSubstr( "expected the name of an entity" ) );
}

TEST( LogBatch, AWrongLengthAnywhereIsRefused ) {
   LogBatch const batch = batchOf( { changed } );
   for ( std::size_t const at : { 4, 8, 12, 17, 23, 32, 37 } )
      for ( int const by : { -1, 1, 100 } ) {
         std::string bytes( batch.bytes() );
         bytes[at] = static_cast<char>( bytes[at] + by );
         EXPECT_NE( refusal( bytes ), "" ) << at << " by " << by;
         bytes = batch.bytes();
         bytes[at + 3] = '\xFF';
         EXPECT_NE( refusal( bytes ), "" ) << at;
      }
}

TEST( LogBatch, WhateverIsDoneToItsBytesIsRefusedOrReadWhole ) {
   unsigned const seed = std::random_device()();
   SCOPED_TRACE( testing::Message() << "seed " << seed );
   std::mt19937 random( seed );
   std::string const bytes( ofEveryKind().bytes() );
   for ( int i = 0; i < 20'000; ++i ) {
      std::string other = bytes;
      for ( U32 n = random() % 4 + 1; n > 0; --n ) other[random() % other.size()] = static_cast<char>( random() );
      refusal( other );   // looks at the outcome of both
   }
}

TEST( LogPosition, GenerationsCountBeforeNumbers ) {
   EXPECT_LT( ( LogPosition{ 1, 9 } ), ( LogPosition{ 2, 1 } ) );
   EXPECT_LT( ( LogPosition{ 2, 1 } ), ( LogPosition{ 2, 2 } ) );
   EXPECT_EQ( positionText( { 3, 17 } ), "3-17" );
}

}   // namespace
}   // namespace Vor
