// A change of an entity with observers, beside a vector of std::function; joining and leaving likewise. The number of
// observers is the argument.
#include "framework/Notifiee.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <vector>

namespace {

using Vor::Ptr;

class Subject final : public Vor::PtrInterface {
 public:
   struct NotifieeConst : Vor::NotifieeConstOf<Subject> {
      virtual void onValue() {}
   };

   Vor::NotifieeList * notifieeList() const override { return &list_; }
   U32 value() const { return value_; }
   void valueIs( U32 value ) {
      if ( value == value_ ) return;
      value_ = value;
      list_.doVisit( []( Vor::NotifieeBase & member ) { static_cast<NotifieeConst &>( member ).onValue(); } );
   }

 private:
   mutable Vor::NotifieeList list_;
   U32 value_ = 0;
};

struct Watch final : Subject::NotifieeConst {
   explicit Watch( U64 & sum ) : sum( sum ) {}
   void onValue() override { sum += static_cast<Subject const *>( vorNotifier() )->value(); }
   U64 & sum;
};

void entityChange( benchmark::State & state ) {
   U64 sum = 0;
   Ptr<Subject> const subject = new Subject;
   std::vector<Ptr<Watch>> watches;
   for ( int i = 0; i < state.range( 0 ); ++i ) {
      watches.push_back( new Watch( sum ) );
      watches.back()->notifierIs( subject );
   }
   U32 value = 0;
   for ( auto _ : state ) subject->valueIs( ++value );
   benchmark::DoNotOptimize( sum );
}
BENCHMARK( entityChange )->Arg( 0 )->Arg( 1 )->Arg( 10 )->Arg( 1'000 );

void functionsChange( benchmark::State & state ) {
   U64 sum = 0;
   U32 value = 0;
   std::vector<std::function<void()>> watches;
   for ( int i = 0; i < state.range( 0 ); ++i ) watches.push_back( [&sum, &value] { sum += value; } );
   for ( auto _ : state ) {
      ++value;
      benchmark::ClobberMemory();
      for ( auto const & watch : watches ) watch();
   }
   benchmark::DoNotOptimize( sum );
}
BENCHMARK( functionsChange )->Arg( 0 )->Arg( 1 )->Arg( 10 )->Arg( 1'000 );

/// One of many observers leaves and joins again.
void entityLeaveAndJoin( benchmark::State & state ) {
   U64 sum = 0;
   Ptr<Subject> const subject = new Subject;
   std::vector<Ptr<Watch>> watches;
   for ( int i = 0; i < state.range( 0 ); ++i ) {
      watches.push_back( new Watch( sum ) );
      watches.back()->notifierIs( subject );
   }
   std::size_t i = 0;
   for ( auto _ : state ) {
      watches[i]->notifierIs( nullptr );
      watches[i]->notifierIs( subject );
      if ( ++i == watches.size() ) i = 0;
   }
}
BENCHMARK( entityLeaveAndJoin )->Arg( 1 )->Arg( 1'000 )->Arg( 100'000 );

/// Copying and dropping a counted pointer, with plain and with atomic counts.
void ptrCopy( benchmark::State & state ) {
   Vor::threadSafePtrsIs( state.range( 0 ) != 0 );
   Ptr<Subject> const subject = new Subject;
   for ( auto _ : state ) {
      Ptr<Subject const> const copy = subject;
      benchmark::DoNotOptimize( copy.ptr() );
   }
   Vor::threadSafePtrsIs( false );
}
BENCHMARK( ptrCopy )->ArgName( "atomic" )->Arg( 0 )->Arg( 1 );

}   // namespace
