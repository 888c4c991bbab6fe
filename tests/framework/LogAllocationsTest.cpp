// That recording a change allocates nothing once the batch has its room. This executable counts its allocations.
#include "framework/LogWriter.h"
#include "hardware/HwMax24305.h"
#include "platform/Ham.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations{ 0 };

}   // namespace

void * operator new( std::size_t size ) {
   void * const place = std::malloc( size );
   if ( !place ) throw std::bad_alloc();
   ++allocations;
   return place;
}
void operator delete( void * place ) noexcept { std::free( place ); }
void operator delete( void * place, std::size_t ) noexcept { std::free( place ); }

namespace Hardware::Max24305 {
namespace {

class Handle final : public Fru::HamImpl {
 public:
   using HamImpl::HamImpl;
   void read32( U32, U32 & ) override {}
   void write32( U32, U32 ) override {}
};

TEST( LogAllocations, AScalarChangeOfAPublishedEntityAllocatesNothing ) {
   auto const status = statusFactory( "ptp0", Fru::GenerationId( 1 ), timeSync_ );
   auto const config = configFactory(
      "ptp1", Fru::GenerationId( 1 ), 0, 0, nullptr, "ptp1Reset", timeSync_, stuffedClock_, 0, Fru::SlotId( 0 ),
      false );
   Vor::Ptr<Handle> const handle = Vor::allocate<Handle>( "handle" );
   Vor::LogWriter writer;
   writer.entityAdd( status );
   writer.entityAdd( config );
   writer.entityAdd( handle );
   auto const turn = [&]( U32 number ) {
      status->stateIs( number % 2 == 0 ? ready_ : locking_ );
      config->opsToDoValidIs( number % 2 == 0 );
      config->opsToDoMetadataIs( { number, number + 1 } );
      handle->offsetIs( number + 1 );
      EXPECT_EQ( writer.turn().count(), 4 );
      writer.turnDone();
   };
   writer.turnDone();
   turn( 0 );
   std::size_t const before = allocations;
   for ( U32 number = 1; number < 1'000; ++number ) turn( number );
   EXPECT_EQ( allocations, before );
   config->opsToDoEnq( Op() );
   EXPECT_GT( allocations, before );   // the count reaches the library's own allocations
}

TEST( LogAllocations, AnEntityThatIsNotPublishedPaysNothing ) {
   auto const status = statusFactory( "ptp0", Fru::GenerationId( 1 ), timeSync_ );
   Vor::LogWriter writer;
   std::size_t const before = allocations;
   status->stateIs( ready_ );
   EXPECT_EQ( allocations, before );
   EXPECT_TRUE( status->observerList().empty() );
   EXPECT_TRUE( writer.turn().empty() );
}

}   // namespace
}   // namespace Hardware::Max24305
