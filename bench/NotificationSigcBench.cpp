// A change told through sigc++.
#include <benchmark/benchmark.h>
#include <sigc++/sigc++.h>

#include <cstdint>

namespace {

void notifySigc( benchmark::State & state ) {
   std::uint64_t sum = 0;
   sigc::signal<void> changed;
   for ( int i = 0; i < state.range( 0 ); ++i ) changed.connect( [&sum] { ++sum; } );
   for ( auto _ : state ) changed.emit();
   benchmark::DoNotOptimize( sum );
}
BENCHMARK( notifySigc )->Name( "notify/sigc++" )->Arg( 0 )->Arg( 1 )->Arg( 8 )->Arg( 64 );

}   // namespace
