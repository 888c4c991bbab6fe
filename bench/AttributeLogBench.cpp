// What it costs to record a change of a published entity, to apply it to a mirror, and to take a snapshot.
//
// `record` is a setter with a writer attached, and the turn that ends every 64 changes. Its limit is to copy the bytes
// of such an entry; the peers only encode, and neither keep an entity nor hear of its change. `apply` is a turn of 64
// changes, eight of each of eight chips, from bytes to setters; the peers only decode as many. `unpublished` is the setter where nobody records.
#include "framework/LogState.h"
#include "framework/LogWriter.h"
#include "framework/Mirror.h"
#include "framework/TypeRegistry.h"
#include "hardware/Max24305StatusDir.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

using Hardware::Max24305::State;
using Hardware::Max24305::Status;
using Hardware::Max24305::StatusDir;
using Vor::LogBatch;
using Vor::LogWriter;
using Vor::Ptr;

constexpr int changesOfATurn = 64;

class Statuses {
 public:
   explicit Statuses( int count ) {
      kind_->parentIs( hardware_.ptr() );
      dir_->parentIs( kind_.ptr() );
      for ( int i = 0; i < count; ++i )
         dir_->max24305Is( "ptp" + std::to_string( i ), Fru::GenerationId( 1 ), Hardware::Max24305::timeSync_ );
   }
   ~Statuses() {
      dir_->parentIs( nullptr );
      kind_->parentIs( nullptr );
   }
   Statuses( Statuses const & ) = delete;
   Statuses & operator=( Statuses const & ) = delete;

   void publish( LogWriter & writer ) const {
      writer.entityAdd( hardware_ );
      writer.entityAdd( kind_ );
      writer.entityAdd( dir_ );
   }
   Ptr<Status> chip( int number ) const { return dir_->max24305( "ptp" + std::to_string( number ) ); }

 private:
   Ptr<Vor::Entity> const hardware_ = Vor::entityFactory( "hardware" );
   Ptr<Vor::Entity> const kind_ = Vor::entityFactory( "max24305" );
   Ptr<StatusDir> const dir_ = Hardware::Max24305::statusDirFactory( "status" );
};

void change( Status & status ) {
   status.stateIs(
      status.state() == Hardware::Max24305::ready_ ? Hardware::Max24305::failed_ : Hardware::Max24305::ready_ );
}

void recordOurs( benchmark::State & state ) {
   Statuses const statuses( 1 );
   LogWriter writer;
   statuses.publish( writer );
   auto const status = statuses.chip( 0 );
   for ( auto _ : state ) {
      change( *status );
      if ( writer.turn().count() >= changesOfATurn ) writer.turnDone();
   }
}
BENCHMARK( recordOurs )->Name( "record/Ours" );

constexpr int chipsOfATurn = 8;

std::string bytesOfATurn() {
   Statuses const statuses( chipsOfATurn );
   LogWriter writer;
   statuses.publish( writer );
   writer.turnDone();
   for ( int chip = 0; chip < chipsOfATurn; ++chip )
      for ( int i = 0; i < changesOfATurn / chipsOfATurn; ++i ) change( *statuses.chip( chip ) );
   return std::string( writer.turn().bytes() );
}

void recordLimit( benchmark::State & state ) {
   std::string const entry = bytesOfATurn().substr( 0, bytesOfATurn().size() / changesOfATurn );
   std::string bytes;
   int count = 0;
   for ( auto _ : state ) {
      bytes.append( entry );
      if ( ++count < changesOfATurn ) continue;
      benchmark::DoNotOptimize( bytes.data() );
      bytes.clear();
      count = 0;
   }
}
BENCHMARK( recordLimit )->Name( "record/Limit" );

void unpublishedOurs( benchmark::State & state ) {
   Statuses const statuses( 1 );
   auto const status = statuses.chip( 0 );
   for ( auto _ : state ) change( *status );
}
BENCHMARK( unpublishedOurs )->Name( "unpublished/Ours" );

void unpublishedLimit( benchmark::State & state ) {
   State stored = Hardware::Max24305::ready_;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( stored );
      stored = stored == Hardware::Max24305::ready_ ? Hardware::Max24305::failed_ : Hardware::Max24305::ready_;
   }
}
BENCHMARK( unpublishedLimit )->Name( "unpublished/Limit" );

void applyOurs( benchmark::State & state ) {
   Statuses const statuses( chipsOfATurn );
   LogWriter writer;
   statuses.publish( writer );
   Vor::Mirror mirror( nullptr );
   mirror.turn( writer.turn() );
   std::string const bytes = bytesOfATurn();
   LogBatch batch;
   for ( auto _ : state ) {
      batch.bytesIs( bytes );
      mirror.turn( batch );
   }
}
BENCHMARK( applyOurs )->Name( "apply/Ours" );

constexpr int entities = 10'000;

void wholeOurs( benchmark::State & state ) {
   Statuses const statuses( entities );
   LogWriter writer;
   statuses.publish( writer );
   LogBatch batch;
   for ( auto _ : state ) writer.whole( batch );
   state.counters["bytes"] = static_cast<double>( batch.bytes().size() );
}
BENCHMARK( wholeOurs )->Name( "snapshot/Ours" )->Unit( benchmark::kMicrosecond );

LogBatch wholeOfMany() {
   Statuses const statuses( entities );
   LogWriter writer;
   statuses.publish( writer );
   LogBatch batch;
   writer.whole( batch );
   return batch;
}

void wholeLimit( benchmark::State & state ) {
   LogBatch const batch = wholeOfMany();
   std::string bytes( batch.bytes().size(), '\0' );
   for ( auto _ : state ) {
      batch.bytes().copy( bytes.data(), bytes.size() );
      benchmark::DoNotOptimize( bytes.data() );
   }
}
BENCHMARK( wholeLimit )->Name( "snapshot/Limit" )->Unit( benchmark::kMicrosecond );

void wholeOfState( benchmark::State & state ) {
   LogBatch const batch = wholeOfMany();
   Vor::LogState held;
   held.turnIs( { { 1, 1 }, true, batch } );
   LogBatch snapshot;
   for ( auto _ : state ) held.snapshot( snapshot );
}
BENCHMARK( wholeOfState )->Name( "snapshot/of a log in memory" )->Unit( benchmark::kMicrosecond );

void wholeMirrored( benchmark::State & state ) {
   LogBatch const batch = wholeOfMany();
   Vor::Mirror mirror( nullptr );
   for ( auto _ : state ) mirror.snapshotIs( batch );
}
BENCHMARK( wholeMirrored )->Name( "snapshot/equal in a mirror" )->Unit( benchmark::kMicrosecond );

}   // namespace
