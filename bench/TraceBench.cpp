// What a trace costs, off and on, beside formatting the same text in every case.
#include "framework/Trace.h"

#include <benchmark/benchmark.h>

namespace {

constexpr char vorSource[] = "TraceBench";

struct Nowhere final : Vor::TraceSink {
   void trace( Vor::TraceRecord const & record ) override { benchmark::DoNotOptimize( record.text.charPtr() ); }
};

void nothing( benchmark::State & state ) {
   U32 value = 0;
   for ( auto _ : state ) benchmark::DoNotOptimize( ++value );
}
BENCHMARK( nothing );

void traced( benchmark::State & state ) {
   Vor::TraceHandle handle( "TraceBench" );
   handle.levelIs( 0, true );   // of no matter for level 1
   handle.levelIs( 1, state.range( 0 ) != 0 );
   auto const before = Vor::traceSinkIs( new Nowhere );
   U32 value = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      VOR_TRACE( handle, 1, "Write " << Vor::format( "0x%x to 0x%x.", value & 0xFF, value ) );
   }
   Vor::traceSinkIs( before );
}
BENCHMARK( traced )->ArgName( "on" )->Arg( 0 )->Arg( 1 );

void formattedAlways( benchmark::State & state ) {
   U32 value = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      benchmark::DoNotOptimize( "Write " + Vor::format( "0x%x to 0x%x.", value & 0xFF, value ) );
   }
}
BENCHMARK( formattedAlways );

}   // namespace
