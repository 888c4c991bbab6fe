// The timer wheel beside an ordered map of times, which is the plain way to keep timers. The numbers of armed timers
// are the argument.
#include "framework/TimerWheel.h"

#include <benchmark/benchmark.h>

#include <map>
#include <random>
#include <vector>

namespace {

using Vor::Ptr;

struct BenchClock final : Vor::Clock {
   double now() const override { return time; }
   double time = 0.0;
};

struct Timer final : Jor::TimerWheel::NotifieeConst {
   explicit Timer( Ptr<Jor::TimerWheel const> const & wheel ) { vorAttach( wheel ); }
};

/// Times within ten minutes: half of them beyond the span that the wheel is made with.
std::vector<double> randomTimes( std::size_t count ) {
   std::mt19937_64 random( 24305 );
   std::uniform_real_distribution<double> time( 0.0, 600.0 );
   std::vector<double> times( count );
   for ( double & t : times ) t = time( random );
   return times;
}

Ptr<Jor::TimerWheel> newWheel( Ptr<BenchClock> const & clock ) {
   return Jor::TimerWheel::TimerWheelIs( clock, 100, 3000, true, 1024 );
}

/// One of many armed timers is armed for another time.
void wheelArm( benchmark::State & state ) {
   auto const count = static_cast<std::size_t>( state.range( 0 ) );
   Ptr<BenchClock> const clock = new BenchClock;
   auto const wheel = newWheel( clock );
   auto const times = randomTimes( count );
   std::vector<Ptr<Timer>> timers;
   for ( double const time : times ) {
      timers.push_back( new Timer( wheel ) );
      timers.back()->timeMinIs( time );
   }
   std::size_t i = 0;
   for ( auto _ : state ) {
      timers[i]->timeMinIs( times[count - 1 - i] );
      if ( ++i == count ) i = 0;
   }
}
BENCHMARK( wheelArm )->Name( "timer armed anew/Ours" )->Arg( 10 )->Arg( 1'000 )->Arg( 100'000 );

void mapArm( benchmark::State & state ) {
   auto const count = static_cast<std::size_t>( state.range( 0 ) );
   auto const times = randomTimes( count );
   std::multimap<double, std::size_t> map;
   std::vector<std::multimap<double, std::size_t>::iterator> timers;
   for ( std::size_t i = 0; i < count; ++i ) timers.push_back( map.emplace( times[i], i ) );
   std::size_t i = 0;
   for ( auto _ : state ) {
      map.erase( timers[i] );
      timers[i] = map.emplace( times[count - 1 - i], i );
      if ( ++i == count ) i = 0;
   }
}
BENCHMARK( mapArm )->Name( "timer armed anew/std::multimap" )->Arg( 10 )->Arg( 1'000 )->Arg( 100'000 );

/// The loop of an agent: on to the next time, run what is due, which arms itself a minute later.
void wheelRun( benchmark::State & state ) {
   struct Again final : Jor::TimerWheel::NotifieeConst {
      explicit Again( Ptr<Jor::TimerWheel const> const & wheel ) { vorAttach( wheel ); }
      void onTime() override { timeMinIs( notifier()->clock()->now() + 60.0 ); }
   };
   Ptr<BenchClock> const clock = new BenchClock;
   auto const wheel = newWheel( clock );
   std::vector<Ptr<Again>> timers;
   for ( double const time : randomTimes( static_cast<std::size_t>( state.range( 0 ) ) ) ) {
      timers.push_back( new Again( wheel ) );
      timers.back()->timeMinIs( time / 10.0 );
   }
   for ( auto _ : state ) {
      clock->time = wheel->nextTime();
      wheel->turn();
   }
}
BENCHMARK( wheelRun )->Name( "timers run/Ours" )->Arg( 1 )->Arg( 10 )->Arg( 1'000 )->Arg( 100'000 );

void mapRun( benchmark::State & state ) {
   std::multimap<double, std::size_t> map;
   std::size_t index = 0;
   for ( double const time : randomTimes( static_cast<std::size_t>( state.range( 0 ) ) ) )
      map.emplace( time / 10.0, index++ );
   for ( auto _ : state ) {
      double const now = map.begin()->first;
      while ( map.begin()->first <= now ) {
         std::size_t const timer = map.begin()->second;
         map.erase( map.begin() );
         map.emplace( now + 60.0, timer );
      }
   }
}
BENCHMARK( mapRun )->Name( "timers run/std::multimap" )->Arg( 1 )->Arg( 10 )->Arg( 1'000 )->Arg( 100'000 );

/// A turn with nothing due, as a host's loop makes them.
void wheelIdleTurn( benchmark::State & state ) {
   Ptr<BenchClock> const clock = new BenchClock;
   auto const wheel = newWheel( clock );
   std::vector<Ptr<Timer>> timers;
   for ( std::size_t i = 0; i < static_cast<std::size_t>( state.range( 0 ) ); ++i ) {
      timers.push_back( new Timer( wheel ) );
      timers.back()->timeMinIs( 1e9 );
   }
   for ( auto _ : state ) {
      clock->time += 0.001;
      wheel->turn();
   }
}
BENCHMARK( wheelIdleTurn )->Name( "turn with nothing due/Ours" )->Arg( 0 )->Arg( 1'000 );

/// When to come back, with every timer far ahead.
void wheelNextTime( benchmark::State & state ) {
   Ptr<BenchClock> const clock = new BenchClock;
   auto const wheel = newWheel( clock );
   std::vector<Ptr<Timer>> timers;
   for ( double const time : randomTimes( static_cast<std::size_t>( state.range( 0 ) ) ) ) {
      timers.push_back( new Timer( wheel ) );
      timers.back()->timeMinIs( 1e6 + time );
   }
   for ( auto _ : state ) benchmark::DoNotOptimize( wheel->nextTime() );
}
BENCHMARK( wheelNextTime )->Name( "next time/Ours" )->Arg( 0 )->Arg( 1 )->Arg( 1'000 )->Arg( 100'000 );

/// A watchdog is fed, always the one that is due next: it is armed for later, and the earliest is another.
void wheelFeed( benchmark::State & state ) {
   auto const count = static_cast<std::size_t>( state.range( 0 ) );
   Ptr<BenchClock> const clock = new BenchClock;
   auto const wheel = newWheel( clock );
   std::vector<Ptr<Timer>> timers;
   for ( std::size_t i = 0; i < count; ++i ) {
      timers.push_back( new Timer( wheel ) );
      timers.back()->timeMinIs( 1e6 + static_cast<double>( i ) * 1e-3 );
   }
   std::size_t i = 0;
   for ( auto _ : state ) {
      timers[i]->timeMinIs( timers[i]->timeMin() + static_cast<double>( count ) * 1e-3 );
      benchmark::DoNotOptimize( wheel->nextTime() );
      if ( ++i == count ) i = 0;
   }
}
BENCHMARK( wheelFeed )->Name( "timers fed in order/Ours" )->Arg( 10 )->Arg( 1'000 )->Arg( 100'000 );

void mapFeed( benchmark::State & state ) {
   auto const count = static_cast<std::size_t>( state.range( 0 ) );
   std::multimap<double, std::size_t> map;
   for ( std::size_t i = 0; i < count; ++i ) map.emplace( 1e6 + static_cast<double>( i ) * 1e-3, i );
   for ( auto _ : state ) {
      auto const [time, i] = *map.begin();
      map.erase( map.begin() );
      map.emplace( time + static_cast<double>( count ) * 1e-3, i );
      benchmark::DoNotOptimize( map.begin()->first );
   }
}
BENCHMARK( mapFeed )->Name( "timers fed in order/std::multimap" )->Arg( 10 )->Arg( 1'000 )->Arg( 100'000 );

}   // namespace
