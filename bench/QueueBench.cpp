// The link queue beside an ordered map keyed by index (the plain way to keep its rules) and, as the limit, a deque
// (which keeps none of them: no index, no order, no element to hold on to). The number of operations in the queue is
// the argument.
#include "framework/LinkQueue.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <deque>
#include <map>
#include <numeric>
#include <random>
#include <vector>

namespace {

// As large as one operation of a programming sequence.
struct Value {
   U32 key = 0;
   U32 type = 0;
   U32 address = 0;
   U32 value = 0;
};

struct LinkQueue {
   Vor::LinkQueue<Value> queue;
   void enq( Value const & value ) { queue.enq( value ); }
   Value deq() {
      auto const head = queue.head();
      queue.valueDel( head->index() );
      return head->value();
   }
   U64 sum() const {
      U64 sum = 0;
      for ( auto const & element : queue ) sum += element.value().key;
      return sum;
   }
   Value at( U32 index ) const { return queue.value( index ); }
   void place( U32 index, Value const & value ) { queue.valueIs( index, value ); }
};

struct OrderedMap {
   std::map<U32, Value> map;
   U32 next = 0;
   void enq( Value const & value ) { map.emplace_hint( map.end(), next++, value ); }
   Value deq() {
      Value const value = map.begin()->second;
      map.erase( map.begin() );
      return value;
   }
   U64 sum() const {
      U64 sum = 0;
      for ( auto const & [index, value] : map ) sum += value.key;
      return sum;
   }
   Value at( U32 index ) const { return map.at( index ); }
   void place( U32 index, Value const & value ) { map[index] = value; }
};

struct Deque {
   std::deque<Value> deque;
   void enq( Value const & value ) { deque.push_back( value ); }
   Value deq() {
      Value const value = deque.front();
      deque.pop_front();
      return value;
   }
   U64 sum() const {
      U64 sum = 0;
      for ( Value const & value : deque ) sum += value.key;
      return sum;
   }
   Value at( U32 index ) const { return deque[index]; }
};

template<class Queue> Queue filled( benchmark::State const & state ) {
   Queue queue;
   for ( U32 i = 0; i < state.range( 0 ); ++i ) queue.enq( { i, 1, 2, 3 } );
   return queue;
}

template<class Queue> void fillAndDrain( benchmark::State & state ) {
   for ( auto _ : state ) {
      Queue queue = filled<Queue>( state );
      for ( U32 i = 0; i < state.range( 0 ); ++i ) benchmark::DoNotOptimize( queue.deq() );
   }
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}

template<class Queue> void walk( benchmark::State & state ) {
   Queue const queue = filled<Queue>( state );
   for ( auto _ : state ) benchmark::DoNotOptimize( queue.sum() );
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}

template<class Queue> void lookUp( benchmark::State & state ) {
   Queue const queue = filled<Queue>( state );
   U32 index = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( queue.at( index ) );
      index = ( index + 7919 ) % static_cast<U32>( state.range( 0 ) );   // a prime, so that every index comes
   }
   state.SetItemsProcessed( state.iterations() );
}

/// Every index once, in no order.
template<class Queue> void placeAtRandom( benchmark::State & state ) {
   std::vector<U32> indexes( static_cast<std::size_t>( state.range( 0 ) ) );
   std::iota( indexes.begin(), indexes.end(), 0 );
   std::shuffle( indexes.begin(), indexes.end(), std::mt19937( 24305 ) );
   for ( auto _ : state ) {
      Queue queue;
      for ( U32 const index : indexes ) queue.place( index, { index, 1, 2, 3 } );
      benchmark::DoNotOptimize( queue );
   }
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}

void sizes( benchmark::internal::Benchmark * benchmark ) { benchmark->Arg( 500 )->Arg( 100'000 ); }

BENCHMARK( fillAndDrain<LinkQueue> )->Name( "queue fill and drain/Ours" )->Apply( sizes );
BENCHMARK( fillAndDrain<OrderedMap> )->Name( "queue fill and drain/std::map" )->Apply( sizes );
BENCHMARK( fillAndDrain<Deque> )->Name( "queue fill and drain/Limit" )->Apply( sizes );
BENCHMARK( walk<LinkQueue> )->Name( "queue walk/Ours" )->Apply( sizes );
BENCHMARK( walk<OrderedMap> )->Name( "queue walk/std::map" )->Apply( sizes );
BENCHMARK( walk<Deque> )->Name( "queue walk/Limit" )->Apply( sizes );
BENCHMARK( lookUp<LinkQueue> )->Name( "queue look-up/Ours" )->Apply( sizes );
BENCHMARK( lookUp<OrderedMap> )->Name( "queue look-up/std::map" )->Apply( sizes );
BENCHMARK( lookUp<Deque> )->Name( "queue look-up/Limit" )->Apply( sizes );
BENCHMARK( placeAtRandom<LinkQueue> )->Name( "queue place at random/Ours" )->Apply( sizes )->Arg( 1'000'000 );
BENCHMARK( placeAtRandom<OrderedMap> )->Name( "queue place at random/std::map" )->Apply( sizes )->Arg( 1'000'000 );

}   // namespace
