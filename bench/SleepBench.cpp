// What one of the driver's polls of its SPI master costs: a sleep of 1 µs, with the timer slack that a thread has from
// the system, and with that of the agent's thread.
#include "service/TimerSlack.h"
#include "util/Utils.h"

#include <benchmark/benchmark.h>

namespace {

constexpr std::uint32_t pollPeriodNs = 1000;

void poll( benchmark::State & state, U32 slackNs ) {
   Host::TimerSlack const slack( slackNs );
   for ( auto _ : state ) Hardware::nsleep( pollPeriodNs );
}

void pollOfAnyThread( benchmark::State & state ) { poll( state, 0 ); }
BENCHMARK( pollOfAnyThread )->Name( "poll of an SPI master/any thread" )->UseRealTime();

void pollOfTheAgent( benchmark::State & state ) { poll( state, 1 ); }
BENCHMARK( pollOfTheAgent )->Name( "poll of an SPI master/Ours" )->UseRealTime();

}   // namespace
