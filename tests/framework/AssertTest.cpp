#include "framework/Assert.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <type_traits>

namespace Vor {

// In AssertNdebugTest.cpp, which is compiled with NDEBUG.
void assertWithNdebug( bool condition );

namespace {

constexpr char vorSource[] = "AssertTest";

struct Machine {
   static constexpr char vorSource[] = "MachineModule";

   void start( int * config ) const { VOR_ASSERT( config ); }
   virtual void check( int a, int b ) { VOR_ASSERT( a != 1 || b == 2 ); }
   static bool templated() {
      VOR_ASSERT( std::is_same_v<int, long> );
      return true;
   }
   virtual ~Machine() = default;
};

void noteHook( AssertionFailure const & failure ) {
   std::fprintf(
      stderr, "hook: <%s> <%s> <%s> <%u>\n", failure.expression, failure.source, failure.function, failure.line );
}

TEST( AssertTest, ATrueExpressionIsEvaluatedOnceAndPasses ) {
   int evaluated = 0;
   VOR_ASSERT( ++evaluated == 1 );
   EXPECT_EQ( evaluated, 1 );
}

TEST( AssertTest, IsAnExpressionOfTypeVoid ) {
   static_assert( std::is_void_v<decltype( VOR_ASSERT( true ) )> );
   bool const passed = ( VOR_ASSERT( true ), true );
   EXPECT_TRUE( passed );
}

TEST( AssertDeathTest, WritesSourceSignatureAndExpression ) {
   EXPECT_DEATH(
      Machine().start( nullptr ),
      "^[^ ]+: MachineModule:[0-9]+: void Vor::.*Machine::start\\(int ?\\*\\) const: Assertion `config' failed\\.\n$" );
   EXPECT_DEATH(
      Machine().check( 1, 3 ),
      "MachineModule:[0-9]+: virtual void Vor::.*Machine::check\\(int, int\\): Assertion `a != 1 \\|\\| b == 2' "
      "failed\\." );
}

TEST( AssertDeathTest, AnExpressionMayHoldCommas ) {
   EXPECT_DEATH( Machine::templated(), "Assertion `std::is_same_v<int, long>' failed\\." );
}

TEST( AssertDeathTest, NamesTheProgramFirst ) { EXPECT_DEATH( VOR_ASSERT( false ), "^framework_test: AssertTest:" ); }

TEST( AssertDeathTest, NamesTheLine ) {
   EXPECT_DEATH( VOR_ASSERT( 0 ), "AssertTest:" + std::to_string( __LINE__ ) + ": .*: Assertion `0' failed\\." );
}

TEST( AssertDeathTest, EndsByAbort ) { EXPECT_EXIT( VOR_ASSERT( false ), testing::KilledBySignal( SIGABRT ), "" ); }

TEST( AssertDeathTest, DoesNotAskNdebug ) {
   assertWithNdebug( true );
   EXPECT_DEATH( assertWithNdebug( false ), "AssertNdebugTest:.*Assertion `condition' failed\\." );
}

TEST( AssertDeathTest, TheHookGetsTheSameAfterTheMessage ) {
   EXPECT_DEATH(
      {
         assertionHookIs( noteHook );
         Machine().start( nullptr );
      },
      "Assertion `config' failed\\.\nhook: <config> <MachineModule> <void Vor::.*Machine::start\\(int ?\\*\\) const> "
      "<[0-9]+>\n$" );
}

TEST( AssertDeathTest, AnAssertionInTheHookDoesNotCallItAgain ) {
   EXPECT_DEATH(
      {
         assertionHookIs( []( AssertionFailure const & failure ) {
            std::fprintf( stderr, "hook of %s\n", failure.expression );
            VOR_ASSERT( 2 < 1 );
         } );
         VOR_ASSERT( 1 < 0 );
      },
      "`1 < 0' failed\\.\nhook of 1 < 0\n[^\n]*`2 < 1' failed\\.\n$" );
}

TEST( AssertTest, InstallingAHookGivesBackTheOneBefore ) {
   EXPECT_EQ( assertionHookIs( noteHook ), nullptr );
   EXPECT_EQ( assertionHookIs( nullptr ), noteHook );
   EXPECT_EQ( assertionHookIs( nullptr ), nullptr );
}

}   // namespace
}   // namespace Vor
