// What a trace costs: off, where a relaxed load and a branch is the limit, and on, to a sink that keeps the last 1,024
// with their time in memory.
#include "framework/Clock.h"
#include "framework/Trace.h"

#include <benchmark/benchmark.h>

#include <array>

namespace {

constexpr char vorSource[] = "TraceBench";

class MemorySink final : public Vor::TraceSink {
 public:
   void trace( Vor::TraceRecord const & record ) override {
      Entry & entry = entries_[next_++ % entries_.size()];
      entry.time = clock_.now();
      entry.facility = record.facility;
      entry.level = record.level;
      entry.source = record.source;
      entry.function = record.function;
      entry.line = record.line;
      entry.text = record.text;
   }
   U64 count() const { return next_; }

 private:
   struct Entry {
      double time = 0.0;
      char const * facility = nullptr;
      char const * source = nullptr;
      char const * function = nullptr;
      U32 level = 0;
      U32 line = 0;
      Vor::String text;
   };
   Vor::MonotonicClock clock_;
   std::array<Entry, 1024> entries_;
   U64 next_ = 0;
};

void trace( benchmark::State & state, bool on ) {
   Vor::TraceHandle handle( "TraceBench" );
   handle.levelIs( 0, true );   // of no matter for level 1
   handle.levelIs( 1, on );
   Vor::Ptr<MemorySink> const sink = new MemorySink;
   auto const before = Vor::traceSinkIs( sink );
   U32 value = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      VOR_TRACE( handle, 1, "Write " << Vor::format( "0x%x to 0x%x.", value & 0xFF, value & 0xFFFF ) );
   }
   Vor::traceSinkIs( before );
   if ( on != ( sink->count() != 0 ) ) state.SkipWithError( "the sink did not get what was traced" );
}
BENCHMARK_CAPTURE( trace, on, true )->Name( "traceOn/Ours" );
BENCHMARK_CAPTURE( trace, off, false )->Name( "traceOff/Ours" );

void traceOffLimit( benchmark::State & state ) {
   std::atomic<U32> enabled = 1;
   benchmark::DoNotOptimize( &enabled );
   U32 value = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      if ( enabled.load( std::memory_order_relaxed ) & 2 ) benchmark::DoNotOptimize( value = 0 );
   }
}
BENCHMARK( traceOffLimit )->Name( "traceOff/Limit" );

/// The text of such a trace alone, put together by the C library into a buffer that is there.
void textLimit( benchmark::State & state ) {
   U32 value = 0;
   std::array<char, 64> text;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      std::snprintf( text.data(), text.size(), "Write 0x%x to 0x%x.", value & 0xFF, value & 0xFFFF );
      benchmark::DoNotOptimize( text.data() );
   }
}
BENCHMARK( textLimit )->Name( "traceOn/snprintf alone" );

}   // namespace
