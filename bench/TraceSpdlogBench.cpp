// The same trace through spdlog, to its sink in memory.
#include <benchmark/benchmark.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>

#include <cstdint>
#include <memory>

namespace {

void trace( benchmark::State & state, bool on ) {
   auto const sink = std::make_shared<spdlog::sinks::ringbuffer_sink_st>( 1024 );
   spdlog::logger logger( "TraceBench", sink );
   logger.set_level( on ? spdlog::level::trace : spdlog::level::off );
   std::uint32_t value = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++value );
      logger.log(
         spdlog::source_loc{ "TraceBench", __LINE__, __func__ }, spdlog::level::trace, "Write 0x{:x} to 0x{:x}.",
         value & 0xFF, value & 0xFFFF );
   }
   if ( on && sink->last_raw( 1 ).empty() ) state.SkipWithError( "nothing was traced" );
}

BENCHMARK_CAPTURE( trace, on, true )->Name( "traceOn/spdlog" );
BENCHMARK_CAPTURE( trace, off, false )->Name( "traceOff/spdlog" );

}   // namespace
