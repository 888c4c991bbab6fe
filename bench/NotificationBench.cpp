// What a change costs as users meet it: the setter of a status with so many observers, or with so many machines that
// react to it (the argument). The limit is a setter that walks a vector of observers, one virtual call each, and keeps
// none of the rules of framework/Notifiee.h.
#include "framework/Allocate.h"
#include "framework/Reactor.h"
#include "hardware/Max24305Status.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <vector>

namespace {

using Hardware::Max24305::State;
using Hardware::Max24305::Status;
using Vor::Ptr;

Ptr<Status> newStatus() {
   return Hardware::Max24305::statusFactory( "ptp0", Fru::GenerationId( 1 ), Hardware::Max24305::timeSync_ );
}

/// What every observer does: as little as there is, so that the way to it is what counts.
struct Watch final : Status::NotifieeConst {
   explicit Watch( U64 & sum, Ptr<Status const> const & status ) : sum( sum ) { notifierIs( status ); }
   void onState() override { ++sum; }
   U64 & sum;
};

class PlainStatus {
 public:
   struct Observer {
      virtual ~Observer() = default;
      virtual void onState() = 0;
   };
   void stateIs( State state ) {
      if ( state == state_ ) return;
      state_ = state;
      for ( auto const & observer : observers ) observer->onState();
   }
   std::vector<std::unique_ptr<Observer>> observers;

 private:
   State state_ = Hardware::Max24305::uninitialized_;
};

class FunctionStatus {
 public:
   void stateIs( State state ) {
      if ( state == state_ ) return;
      state_ = state;
      for ( auto const & observer : observers ) observer();
   }
   std::vector<std::function<void()>> observers;

 private:
   State state_ = Hardware::Max24305::uninitialized_;
};

/// Writes the two states in turn.
template<class Subject> void changes( benchmark::State & state, Subject & subject ) {
   State next = Hardware::Max24305::ready_;
   State other = Hardware::Max24305::locking_;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( next );
      subject.stateIs( next );
      std::swap( next, other );
   }
}

void counts( benchmark::internal::Benchmark * benchmark ) { benchmark->Arg( 0 )->Arg( 1 )->Arg( 8 )->Arg( 64 ); }

void notifyOurs( benchmark::State & state ) {
   U64 sum = 0;
   auto const status = newStatus();
   std::vector<Ptr<Watch>> watches;
   for ( int i = 0; i < state.range( 0 ); ++i ) watches.push_back( new Watch( sum, status ) );
   changes( state, *status );
   benchmark::DoNotOptimize( sum );
}
BENCHMARK( notifyOurs )->Name( "notify/Ours" )->Apply( counts );

void notifyLimit( benchmark::State & state ) {
   struct Plain final : PlainStatus::Observer {
      explicit Plain( U64 & s ) : sum( s ) {}
      void onState() override { ++sum; }
      U64 & sum;
   };
   U64 sum = 0;
   PlainStatus status;
   for ( int i = 0; i < state.range( 0 ); ++i ) status.observers.push_back( std::make_unique<Plain>( sum ) );
   changes( state, status );
   benchmark::DoNotOptimize( sum );
}
BENCHMARK( notifyLimit )->Name( "notify/Limit" )->Apply( counts );

void notifyFunctions( benchmark::State & state ) {
   U64 sum = 0;
   FunctionStatus status;
   for ( int i = 0; i < state.range( 0 ); ++i ) status.observers.emplace_back( [&sum] { ++sum; } );
   changes( state, status );
   benchmark::DoNotOptimize( sum );
}
BENCHMARK( notifyFunctions )->Name( "notify/std::function" )->Apply( counts );

class Machine final : public Vor::StateMachine {
 public:
   explicit Machine( Ptr<Status const> const & status ) { status_.notifierIs( status ); }
   void handleState() { ++steps_; }

 private:
   class VorStatus final : public Vor::Reactor<Status::NotifieeConst, Machine> {
      using Reactor::Reactor;
      void onState() override { react( &Machine::handleState ); }
   };
   U64 steps_ = 0;
   Vor::ReactorAttribute<VorStatus, Status const, Machine> status_{ *this };
};

void reactOurs( benchmark::State & state ) {
   auto const status = newStatus();
   std::vector<Ptr<Machine>> machines;
   for ( int i = 0; i < state.range( 0 ); ++i ) {
      machines.push_back( Vor::allocate<Machine>( status ) );
      machines.back()->hasNotificationActiveIs( true );
   }
   changes( state, *status );
}
BENCHMARK( reactOurs )->Name( "react/Ours" )->Apply( counts );

/// The step of a machine behind an observer that does not hold it.
struct PlainMachine final : PlainStatus::Observer {
   void onState() override { ++steps; }
   U64 steps = 0;
};

void reactLimit( benchmark::State & state ) {
   PlainStatus status;
   for ( int i = 0; i < state.range( 0 ); ++i ) status.observers.push_back( std::make_unique<PlainMachine>() );
   changes( state, status );
}
BENCHMARK( reactLimit )->Name( "react/Limit" )->Apply( counts );

/// The step within the observer itself: what a reactor has on top of it is the holding of its machine.
void reactObserver( benchmark::State & state ) {
   struct Own final : Status::NotifieeConst {
      explicit Own( Ptr<Status const> const & status ) { notifierIs( status ); }
      void onState() override { ++steps; }
      U64 steps = 0;
   };
   auto const status = newStatus();
   std::vector<Ptr<Own>> watches;
   for ( int i = 0; i < state.range( 0 ); ++i ) watches.push_back( new Own( status ) );
   changes( state, *status );
}
BENCHMARK( reactObserver )->Name( "react/observer" )->Apply( counts );

/// One of so many observers leaves and joins again.
void leaveAndJoin( benchmark::State & state ) {
   U64 sum = 0;
   auto const status = newStatus();
   std::vector<Ptr<Watch>> watches;
   for ( int i = 0; i < state.range( 0 ); ++i ) watches.push_back( new Watch( sum, status ) );
   std::size_t i = 0;
   for ( auto _ : state ) {
      watches[i]->notifierIs( nullptr );
      watches[i]->notifierIs( status );
      if ( ++i == watches.size() ) i = 0;
   }
}
BENCHMARK( leaveAndJoin )->Name( "leaveAndJoin/Ours" )->Arg( 1 )->Arg( 1'000 )->Arg( 100'000 );

/// Copying and dropping a counted pointer.
template<bool atomic> void copyPtr( benchmark::State & state ) {
   Vor::threadSafePtrsIs( atomic );
   auto const status = newStatus();
   for ( auto _ : state ) {
      Ptr<Status const> const copy = status;
      benchmark::DoNotOptimize( copy.ptr() );
   }
   Vor::threadSafePtrsIs( false );
}
BENCHMARK( copyPtr<false> )->Name( "copyPtr/Ours" );
BENCHMARK( copyPtr<true> )->Name( "copyPtr/Ours, atomic" );

void copySharedPtr( benchmark::State & state ) {
   auto const number = std::make_shared<U64>( 0 );
   for ( auto _ : state ) {
      std::shared_ptr<U64 const> const copy = number;
      benchmark::DoNotOptimize( copy.get() );
   }
}
BENCHMARK( copySharedPtr )->Name( "copyPtr/std::shared_ptr" );

void copyLimit( benchmark::State & state ) {
   S32 count = 1;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( ++count );
      benchmark::DoNotOptimize( --count );
   }
}
BENCHMARK( copyLimit )->Name( "copyPtr/Limit" );

}   // namespace
