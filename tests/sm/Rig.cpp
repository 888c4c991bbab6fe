#include "tests/sm/Rig.h"

#include "framework/ActivityManager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace SmTest {

namespace {

constexpr char const * facilities[] = { "Hardware::Max24305Sm", "Hardware::TolvaneSm" };

Diary const * diaryOfFailure = nullptr;

void writeDiary( Vor::AssertionFailure const & ) {
   for ( std::string const & line : diaryOfFailure->lines() ) std::fprintf( stderr, "%s\n", line.c_str() );
}

class NotingTraceSink final : public Vor::TraceSink {
 public:
   explicit NotingTraceSink( Diary & diary ) : diary_( diary ) {}
   void trace( Vor::TraceRecord const & record ) override {
      EXPECT_EQ( record.facility, std::string( "Hardware::" ) + record.source );
      diary_.add( SmTest::trace( record.level, record.function, record.text.stdString() ) );
   }

 private:
   Diary & diary_;
};

class NotingLogSink final : public Vor::LogSink {
 public:
   explicit NotingLogSink( Diary & diary ) : diary_( diary ) {}
   void log( Vor::LogRecord const & record ) override {
      EXPECT_TRUE( record.arguments.empty() );
      EXPECT_EQ( record.recommendedAction, Vor::CallSupportIfPersists );
      diary_.add(
         SmTest::log( record.id.stdString(), record.severity, record.cause.stdString(), record.event.stdString() ) );
   }

 private:
   Diary & diary_;
};

}   // namespace

std::string hex( U32 value ) { return Vor::format( "0x%x", value ).stdString(); }
std::string read32( U32 address, U32 value ) { return "read32 " + hex( address ) + " gives " + hex( value ); }
std::string write32( U32 address, U32 value ) { return "write32 " + hex( address ) + " " + hex( value ); }
std::string sleep( U64 ns ) { return "sleep " + std::to_string( ns ); }
std::string gpo( bool active, std::string const & name ) { return "gpo " + name + ( active ? " on" : " off" ); }
std::string told( std::string const & entity, std::string const & state ) { return entity + " " + state; }
std::string trace( U32 level, std::string const & function, std::string const & text ) {
   return "trace " + std::to_string( level ) + " " + function + ": " + text;
}
std::string log( std::string const & id, U32 severity, std::string const & cause, std::string const & event ) {
   return "log " + id + " " + std::to_string( severity ) + " " + cause + " " + event;
}

Lines operator+( Lines left, Lines const & right ) {
   left.insert( left.end(), right.begin(), right.end() );
   return left;
}

Lines times( std::size_t count, Lines const & lines ) {
   Lines all;
   for ( std::size_t i = 0; i < count; ++i ) all.insert( all.end(), lines.begin(), lines.end() );
   return all;
}

Lines Diary::of( std::vector<std::string> const & beginnings ) const {
   Lines found;
   for ( std::string const & line : lines_ )
      if ( std::any_of(
              beginnings.begin(), beginnings.end(), [&]( auto const & b ) { return line.starts_with( b ); } ) )
         found.push_back( line );
   return found;
}

std::size_t Diary::count( std::string const & line ) const {
   return static_cast<std::size_t>( std::count( lines_.begin(), lines_.end(), line ) );
}

Rig::Rig()
   : traceSink_( new NotingTraceSink( diary ) ),
     logSink_( new NotingLogSink( diary ) ),
     outerTraceSink_( Vor::traceSinkIs( traceSink_ ) ),
     outerLogSink_( Vor::logSinkIs( logSink_ ) ),
     outerAssertionHook_( Vor::assertionHookIs( writeDiary ) ) {
   diaryOfFailure = &diary;
   simulationVmidDel();
   clock->sleepObserverIs( [this]( U64 forNs ) { handleSleep( forNs ); } );
   tracesAre( true );
}

Rig::~Rig() {
   tracesAre( false );
   clock->sleepObserverIs( nullptr );
   simulationVmidDel();
   Vor::assertionHookIs( outerAssertionHook_ );
   Vor::logSinkIs( outerLogSink_ );
   Vor::traceSinkIs( outerTraceSink_ );
}

bool Rig::turn() {
   double const next = Vor::activityManager().nextTime();
   if ( std::isinf( next ) ) return false;
   clock->nowIs( next );
   Vor::activityManager().turn();
   return true;
}

U32 Rig::turns( U32 limit ) {
   U32 taken = 0;
   while ( taken < limit && turn() ) ++taken;
   return taken;
}

void Rig::simulationVmidIs( char const * value ) { setenv( "SIMULATION_VMID", value, 1 ); }
void Rig::simulationVmidDel() { unsetenv( "SIMULATION_VMID" ); }

void Rig::tracesAre( bool on ) {
   for ( char const * facility : facilities )
      for ( U32 const level : { 0u, 1u } ) Vor::traceLevelIs( facility, level, on );
}

void Rig::handleSleep( U64 forNs ) {
   if ( forNs == 0 || forNs > diary.shortSleepNs() ) diary.add( sleep( forNs ) );
   auto const hook =
      std::find_if( inSleep_.begin(), inSleep_.end(), [forNs]( auto const & h ) { return h.first == forNs; } );
   if ( hook == inSleep_.end() ) return;
   auto const action = std::move( hook->second );
   inSleep_.erase( hook );
   action();
}

void ScriptedHam::answersAre( U32 address, std::vector<U32> const & values ) {
   answers_[address].insert( answers_[address].end(), values.begin(), values.end() );
}

bool ScriptedHam::exhausted() const {
   return std::all_of( answers_.begin(), answers_.end(), []( auto const & a ) { return a.second.empty(); } );
}

void ScriptedHam::read32( U32 address, U32 & value ) {
   if ( auto & waiting = answers_[address]; !waiting.empty() ) {
      value = waiting.front();
      waiting.pop_front();
   } else if ( standing_.contains( address ) ) {
      value = standing_[address];
   } else {
      ADD_FAILURE() << "a read of " << hex( address ) << " that the script does not have";
   }
   diary_.add( SmTest::read32( address, value ) );
}

void ScriptedHam::write32( U32 address, U32 value ) { diary_.add( SmTest::write32( address, value ) ); }

}   // namespace SmTest
