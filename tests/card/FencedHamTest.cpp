#include "card/FencedHam.h"

#include "tests/card/CountedHam.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace FencedHamTests {
namespace {

using namespace Host;

TEST( FencedHam, IsTheRealHandleWhileTheCardIsItsHolders ) {
   Input::Folder const folder;
   CardLock const lock( folder.path( "space" ), "agent", 1 );
   Vor::Ptr<CountedHam> const real = new CountedHam;
   Vor::Ptr<FencedHam> const ham = new FencedHam( real, lock, []( U32 ) { FAIL(); } );
   U32 value = 0;
   ham->write32( 0x10, 1 );
   ham->read32( 0x20, value );
   EXPECT_EQ( value, 0x10020u );
   EXPECT_TRUE( ham->hardwarePresent() );
   real->hardwarePresentIs( false );
   EXPECT_FALSE( ham->hardwarePresent() );
}

TEST( FencedHam, LetsNothingThroughOnceAnotherGenerationHasTheCard ) {
   Input::Folder const folder;
   CardLock const lock( folder.path( "space" ), "agent", 1 );
   Vor::Ptr<CountedHam> const real = new CountedHam;
   std::vector<U32> told;
   Vor::Ptr<FencedHam> const ham = new FencedHam( real, lock, [&]( U32 by ) { told.push_back( by ); } );
   CardLock const taken( folder.path( "space" ), "another", 9 );
   U32 value = 0;
   ham->write32( 0x10, 1 );
   ham->read32( 0x20, value );
   EXPECT_EQ( value, 0xFFFFFFFF );
   EXPECT_EQ( real->accesses, 0u );
   EXPECT_EQ( told, ( std::vector<U32>{ 9, 9 } ) );
}

// Counts the accesses of another process.
class SharedHam final : public Fru::HamImpl {
 public:
   explicit SharedHam( std::atomic<U32> & accesses ) : HamImpl( "shared" ), accesses_( accesses ) {}
   void read32( U32, U32 & ) override { ++accesses_; }
   void write32( U32, U32 ) override { ++accesses_; }

 private:
   std::atomic<U32> & accesses_;
};

// Stopped wherever it was, also between the look at the lock and the access.
TEST( FencedHam, OfAProcessThatWasStoppedMakesAtMostOneLateAccess ) {
   constexpr int endedByFence = 7;
   void * const memory =
      ::mmap( nullptr, sizeof( std::atomic<U32> ), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0 );
   ASSERT_NE( memory, MAP_FAILED );
   for ( int round = 0; round < 20; ++round ) {
      Input::Folder const folder;
      std::string const card = folder.path( "space" );
      auto & accesses = *new ( memory ) std::atomic<U32>( 0 );
      pid_t const other = ::fork();
      if ( other == 0 ) {
         CardLock const lock( card, "agent", 1 );
         Vor::Ptr<FencedHam> const ham =
            new FencedHam( new SharedHam( accesses ), lock, []( U32 ) { ::_exit( endedByFence ); } );
         for ( ;; ) ham->write32( 0, 0 );
      }
      while ( accesses < 1'000 ) std::this_thread::yield();
      ::kill( other, SIGSTOP );
      ::waitpid( other, nullptr, WUNTRACED );
      CardLock const taken( card, "another", 2 );
      U32 const before = accesses;
      ::kill( other, SIGCONT );
      int status = 0;
      ::waitpid( other, &status, 0 );
      EXPECT_EQ( WEXITSTATUS( status ), endedByFence );
      EXPECT_LE( accesses - before, 1u );
   }
   ::munmap( memory, sizeof( std::atomic<U32> ) );
}

}   // namespace
}   // namespace FencedHamTests
