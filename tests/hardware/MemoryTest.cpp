// What configurations and entities cost in memory. This executable counts every byte that is asked of the heap.
#include "framework/TimerWheel.h"
#include "hardware/HwMax24305.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

// As the allocator rounds them up, without its own eight bytes of each.
std::atomic<std::size_t> bytesInUse{ 0 };
constexpr std::size_t overhead = 8;

}   // namespace

void * operator new( std::size_t size ) {
   void * const place = std::malloc( size );
   if ( !place ) throw std::bad_alloc();
   bytesInUse += malloc_usable_size( place ) + overhead;
   return place;
}
void operator delete( void * place ) noexcept {
   if ( place ) bytesInUse -= malloc_usable_size( place ) + overhead;
   std::free( place );
}
void operator delete( void * place, std::size_t ) noexcept { operator delete( place ); }

namespace Hardware::Max24305 {
namespace {

constexpr std::size_t tenMegabytes = 10'000'000;

Vor::Ptr<Config> config() {
   return configFactory(
      "ptp0", Fru::GenerationId( 1 ), 0, 0, nullptr, "ptp0Reset", timeSync_, stuffedClock_, 0, Fru::SlotId( 0 ),
      false );
}

TEST( Memory, AConfigurationWithAHundredThousandOperationsStaysUnderTenMegabytes ) {
   std::size_t const before = bytesInUse;
   Vor::Ptr<Config> full = config();
   for ( U32 key = 0; key < 100'000; ++key ) full->opsToDoEnq( Op( key, write_, key, key ) );
   EXPECT_EQ( full->opsToDo().count(), 100'000u );
   std::size_t const used = bytesInUse - before;
   EXPECT_GT( used, 100'000 * sizeof( Op ) );   // the count reaches the library's own allocations
   EXPECT_LT( used, tenMegabytes );
   full = nullptr;
   EXPECT_EQ( bytesInUse, before );
   RecordProperty( "bytes", std::to_string( used ) );
}

TEST( Memory, AnEmptyConfigurationStaysUnderFiveHundredBytes ) {
   config();   // the texts of its names, which are kept
   std::size_t const before = bytesInUse;
   Vor::Ptr<Config> const empty = config();
   std::size_t const used = bytesInUse - before;
   EXPECT_GE( used, sizeof( Config ) );
   EXPECT_LT( used, 500u );
   RecordProperty( "bytes", std::to_string( used ) );
}

TEST( Memory, TheWheelOfAMachineStaysUnderTwoThousandBytesArmedOrNot ) {
   Vor::Ptr<Vor::Clock> const clock = new Vor::MonotonicClock;
   std::size_t const before = bytesInUse;
   auto const wheel = Jor::TimerWheel::TimerWheelIs( clock, 100, 3000, true, 1024 );
   std::size_t const used = bytesInUse - before;
   EXPECT_GE( used, sizeof( Jor::TimerWheel ) );
   EXPECT_LT( used, 2'000u );
   RecordProperty( "bytes", std::to_string( used ) );

   Vor::Ptr<Jor::TimerWheel::NotifieeConst> const timer = new Jor::TimerWheel::NotifieeConst;
   timer->notifierIs( wheel );
   std::size_t const disarmed = bytesInUse;
   for ( double const ahead : { 0.0, 1.0, 1e3, 1e6 } ) {
      timer->timeMinIs( clock->now() + ahead );
      wheel->nextTime();
      EXPECT_EQ( bytesInUse, disarmed );
   }
}

TEST( Memory, AMillionEntitiesLeaveNoGrowth ) {
   { Vor::Ptr<Status> const first = statusFactory( "ptp0", Fru::GenerationId( 1 ), timeSync_ ); }
   std::size_t const before = bytesInUse;
   U64 const everBefore = Status::staticType().allocatedEver();
   for ( int i = 0; i < 1'000'000; ++i ) {
      Vor::Ptr<Status> const status = statusFactory( "ptp0", Fru::GenerationId( 1 ), timeSync_ );
      status->stateIs( locking_ );
   }
   EXPECT_EQ( bytesInUse, before );
   EXPECT_EQ( Status::staticType().allocatedEver(), everBefore + 1'000'000 );
   EXPECT_EQ( Status::staticType().allocated(), 0u );
}

TEST( Memory, MembersThatComeAndGoLeaveNoGrowth ) {
   Vor::Ptr<StatusDir> const dir = statusDirFactory( "status" );
   auto const round = [&] {
      for ( char const * name : { "ptp0", "ptp1", "ptp2", "ptp3" } )
         dir->max24305Is( name, Fru::GenerationId( 1 ), timeSync_ );
      dir->max24305DelAll();
   };
   round();
   std::size_t const before = bytesInUse;
   for ( int i = 0; i < 10'000; ++i ) round();
   EXPECT_EQ( bytesInUse, before );
}

}   // namespace
}   // namespace Hardware::Max24305
