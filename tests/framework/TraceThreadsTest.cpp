// Trace levels, read by threads while another switches them; for the thread sanitizer as much as for the values.
#include "framework/Trace.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Vor {
namespace {

constexpr char vorSource[] = "TraceThreadsTest";

TEST( TraceThreadsTest, AnyThreadMayReadLevelsWhileTheyAreSwitched ) {
   TraceHandle handle( "TraceThreadsTest" );
   handle.levelIs( 0, true );
   std::atomic<int> running = 0;
   std::atomic<bool> done = false;
   std::vector<std::thread> readers;
   for ( int i = 0; i < 3; ++i )
      readers.emplace_back( [&] {
         ++running;
         while ( !done ) {
            EXPECT_TRUE( handle.isEnabled( 0 ) );   // a switch of one level leaves the others alone
            EXPECT_FALSE( TraceHelper::createIfEnabled( handle, 2 ) );
            VOR_TRACE( handle, 2, "of no " << ( ADD_FAILURE(), "matter" ) );
            static_cast<void>( handle.isEnabled( 1 ) );
         }
      } );
   while ( running < 3 ) std::this_thread::yield();
   for ( int i = 0; i < 2000; ++i ) {
      handle.levelIs( 1, i % 2 == 0 );
      traceLevelIs( "TraceThreadsTest", 3, i % 2 == 0 );
   }
   done = true;
   for ( std::thread & reader : readers ) reader.join();
}

TEST( TraceThreadsTest, ALevelThatIsSwitchedOnReachesEveryThread ) {
   TraceHandle handle( "TraceThreadsTest" );
   std::vector<std::thread> readers;
   for ( int i = 0; i < 3; ++i )
      readers.emplace_back( [&handle] {
         while ( !handle.isEnabled( 1 ) ) std::this_thread::yield();
      } );
   handle.levelIs( 1, true );
   for ( std::thread & reader : readers ) reader.join();
}

}   // namespace
}   // namespace Vor
