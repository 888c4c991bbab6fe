// What a step costs to tell, without a sink and with one, beside a trace that is off.
#include "framework/Trace.h"
#include "hardware/HwMax24305.h"
#include "sm/Steps.h"

#include <benchmark/benchmark.h>

namespace {

constexpr char vorSource[] = "StepBench";

// As much of a machine as telling needs.
struct Machine {
   Vor::Ptr<Hardware::Max24305::Config const> config() const { return config_; }

   Vor::Ptr<Hardware::Max24305::Config const> const config_ = Hardware::Max24305::configFactory(
      "ptp0", Fru::GenerationId( 1 ), 256, 512, Fru::hamFactory( "ham" ), "ptp0Reset", Hardware::Max24305::timeSync_,
      Hardware::Max24305::stuffedClock_, 10'000'000, Fru::SlotId( 3 ), true );
};

struct Counting final : Hardware::StepSink {
   void step( Vor::Entity const &, Hardware::Step const & step ) override {
      if ( auto const * done = std::get_if<Hardware::Steps::OperationDone>( &step ) ) places += done->place;
   }
   U64 places = 0;
};

void nothing( benchmark::State & state ) {
   U32 value = 0;
   for ( auto _ : state ) benchmark::DoNotOptimize( ++value );
}
BENCHMARK( nothing )->Name( "step/Limit/sink:0" );

void tracedOff( benchmark::State & state ) {
   Vor::TraceHandle const handle( "StepBench" );
   U32 value = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      VOR_TRACE( handle, 1, "Write " << Vor::format( "0x%x to 0x%x.", value & 0xFF, value ) );
   }
}
BENCHMARK( tracedOff )->Name( "step/a trace that is off/sink:0" );

void stepTold( benchmark::State & state ) {
   Machine const machine;
   Vor::Ptr<Counting> const sink = new Counting;
   if ( state.range( 0 ) != 0 ) Hardware::stepSinkIs( sink );
   U32 value = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      Hardware::Steps::OperationDone done;
      done.place = value;
      done.operation.value = value;
      Hardware::tellStep( machine, done );
   }
   Hardware::stepSinkIs( nullptr );
   benchmark::DoNotOptimize( sink->places );
}
BENCHMARK( stepTold )->Name( "step/Ours" )->ArgName( "sink" )->Arg( 0 )->Arg( 1 );

}   // namespace
