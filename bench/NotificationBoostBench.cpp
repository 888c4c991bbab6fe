// A change told through Boost.Signals2.
#include <benchmark/benchmark.h>
#include <boost/signals2.hpp>

#include <cstdint>

namespace {

void notifyBoost( benchmark::State & state ) {
   std::uint64_t sum = 0;
   boost::signals2::signal<void()> changed;
   for ( int i = 0; i < state.range( 0 ); ++i ) changed.connect( [&sum] { ++sum; } );
   for ( auto _ : state ) changed();
   benchmark::DoNotOptimize( sum );
}
BENCHMARK( notifyBoost )->Name( "notify/Boost.Signals2" )->Arg( 0 )->Arg( 1 )->Arg( 8 )->Arg( 64 );

}   // namespace
