// The same changes, encoded and decoded by Protocol Buffers in their lite form.
#include "AttributeLog.pb.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr int changesOfATurn = 64;

void put( bench::Turn & turn, unsigned value ) {
   bench::Change & change = *turn.add_change();
   change.set_kind( 2 );
   change.set_entity( "/hardware/max24305/status/ptp0" );
   change.set_attribute( "state" );
   change.set_value( value );
}

void recordProtobuf( benchmark::State & state ) {
   bench::Turn turn;
   std::string bytes;
   unsigned value = 2;
   for ( auto _ : state ) {
      put( turn, value );
      value ^= 1U;
      if ( turn.change_size() < changesOfATurn ) continue;
      turn.SerializeToString( &bytes );
      benchmark::DoNotOptimize( bytes.data() );
      turn.Clear();   // keeps its room
   }
}
BENCHMARK( recordProtobuf )->Name( "record/protobuf-lite" );

void applyProtobuf( benchmark::State & state ) {
   bench::Turn turn;
   for ( int i = 0; i < changesOfATurn; ++i ) put( turn, 2 );
   std::string const bytes = turn.SerializeAsString();
   for ( auto _ : state ) {
      turn.ParseFromString( bytes );
      benchmark::DoNotOptimize( turn );
   }
}
BENCHMARK( applyProtobuf )->Name( "apply/protobuf-lite" );

}   // namespace
