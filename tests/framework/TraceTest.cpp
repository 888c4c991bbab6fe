#include "framework/Trace.h"

#include "framework/ActivityManager.h"
#include "framework/Enumeration.h"
#include "framework/Exception.h"
#include "tests/framework/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace Colours {

enum Colour : U32 { none_, red_ };

Vor::EnumType const & enumType( Colour ) {
   static constexpr std::array<Vor::Enumerator, 2> table{ { { none_, "none" }, { red_, "red" } } };
   static constinit Vor::EnumType const type( "Colours::Colour", table );
   return type;
}

using Vor::operator<<;

}   // namespace Colours

namespace Vor::TraceTests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert( !std::is_copy_constructible_v<TraceHandle> );
static_assert( std::atomic<U32>::is_always_lock_free );

constexpr char vorSource[] = "TraceTest";

/// What a sink was given, copied.
struct Trace {
   std::string facility;
   U32 level;
   std::string source;
   std::string function;
   U32 line;
   std::string text;
};

class TraceNotes final : public TraceSink {
 public:
   void trace( TraceRecord const & record ) override {
      traces.push_back(
         { record.facility, record.level, record.source, record.function, record.line, record.text.stdString() } );
   }
   std::vector<std::string> texts() const {
      std::vector<std::string> texts;
      for ( Trace const & trace : traces ) texts.push_back( trace.text );
      return texts;
   }

   std::vector<Trace> traces;
};

class TraceTest : public testing::Test {
 protected:
   TraceTest() { traceSinkIs( notes ); }
   ~TraceTest() override { traceSinkIs( nullptr ); }

   Ptr<TraceNotes> const notes = new TraceNotes;
   TraceHandle handle{ "Test::Trace" };
};

/// A machine with a source name of its own and traces in functions of every kind.
struct Machine {
   static constexpr char vorSource[] = "MachineModule";

   explicit Machine( TraceHandle const & h ) : handle( h ) { VOR_TRACE( handle, 1, "made" ); }
   void doRead( U16 ) const { VOR_TRACE( handle, 1, "read" ); }
   static void ofClass( TraceHandle const & handle ) { VOR_TRACE( handle, 1, "static" ); }
   template<class T> void templated( T ) const { VOR_TRACE( handle, 1, "template" ); }
   virtual bool operator()() const {
      VOR_TRACE( handle, 1, "operator" );
      return true;
   }
   virtual ~Machine() = default;

   TraceHandle const & handle;
};

TEST_F( TraceTest, EveryLevelIsOffAtFirst ) {
   for ( U32 level = 0; level < 40; ++level ) EXPECT_FALSE( handle.isEnabled( level ) ) << level;
   VOR_TRACE( handle, 0, "unheard" );
   EXPECT_THAT( notes->traces, IsEmpty() );
}

TEST_F( TraceTest, LevelsAreSwitchedOneByOne ) {
   handle.levelIs( 0, true );
   EXPECT_TRUE( handle.isEnabled( 0 ) );
   EXPECT_FALSE( handle.isEnabled( 1 ) );
   handle.levelIs( 31, true );
   handle.levelIs( 0, false );
   EXPECT_FALSE( handle.isEnabled( 0 ) );
   EXPECT_TRUE( handle.isEnabled( 31 ) );
   EXPECT_FALSE( handle.isEnabled( 30 ) );
   handle.levelIs( 31, true );
   EXPECT_TRUE( handle.isEnabled( 31 ) );
}

TEST_F( TraceTest, ALevelThatThereIsNotIsRefused ) {
   EXPECT_THROW( handle.levelIs( 32, true ), RangeException );
   EXPECT_THROW( traceLevelIs( "Test::Trace", 32, false ), RangeException );
   try {
      handle.levelIs( 4'000'000'000, true );
      FAIL();
   } catch ( RangeException const & error ) {
      EXPECT_STREQ( error.what(), "trace level: expected 0 to 31, found 4000000000" );
   }
   EXPECT_FALSE( handle.isEnabled( 32 ) );
   EXPECT_FALSE( handle.isEnabled( 64 ) );
}

TEST_F( TraceTest, ATraceSaysWhereItComesFrom ) {
   handle.levelIs( 3, true );
   U32 const line = __LINE__ + 1;
   VOR_TRACE( handle, 3, "a text" );
   ASSERT_EQ( notes->traces.size(), 1u );
   Trace const & trace = notes->traces[0];
   EXPECT_EQ( trace.facility, "Test::Trace" );
   EXPECT_EQ( trace.level, 3u );
   EXPECT_EQ( trace.source, "TraceTest" );
   EXPECT_EQ( trace.function, "TestBody" );
   EXPECT_EQ( trace.line, line );
   EXPECT_EQ( trace.text, "a text" );
}

TEST_F( TraceTest, TheFunctionIsNamedWithoutQualificationAndTheSourceIsTheClasss ) {
   handle.levelIs( 1, true );
   Machine const machine( handle );
   machine.doRead( 7 );
   Machine::ofClass( handle );
   machine.templated( 1.5 );
   machine();
   std::vector<std::string> functions;
   for ( Trace const & trace : notes->traces ) {
      functions.push_back( trace.function );
      EXPECT_EQ( trace.source, "MachineModule" );
   }
   EXPECT_THAT( functions, ElementsAre( "Machine", "doRead", "ofClass", "templated", "operator()" ) );
}

TEST_F( TraceTest, ATraceThatIsOffEvaluatesNoArgument ) {
   int evaluated = 0;
   auto const text = [&] {
      ++evaluated;
      return "text";
   };
   handle.levelIs( 0, true );
   VOR_TRACE( handle, 1, text() << text() );
   EXPECT_EQ( evaluated, 0 );
   handle.levelIs( 1, true );
   VOR_TRACE( handle, 1, text() << text() );
   EXPECT_EQ( evaluated, 2 );
}

TEST_F( TraceTest, TheMacroIsOneStatement ) {
   handle.levelIs( 1, true );
   if ( notes->traces.empty() )
      VOR_TRACE( handle, 1, "then" );
   else
      VOR_TRACE( handle, 1, "else" );
   EXPECT_THAT( notes->texts(), ElementsAre( "then" ) );
}

TEST_F( TraceTest, TheHelperTracesOnlyWhenEnabled ) {
   auto const off = TraceHelper::createIfEnabled( handle, 2 );
   EXPECT_FALSE( off );
   off.trace( "Module", 5, "unheard" );
   EXPECT_THAT( notes->traces, IsEmpty() );
   handle.levelIs( 2, true );
   auto const on = TraceHelper::createIfEnabled( handle, 2 );
   ASSERT_TRUE( on );
   on.trace( "Module", 5, "heard" );
   ASSERT_EQ( notes->traces.size(), 1u );
   EXPECT_EQ( notes->traces[0].source, "Module" );
   EXPECT_EQ( notes->traces[0].function, "TestBody" );
   EXPECT_EQ( notes->traces[0].line, 5u );
}

TEST_F( TraceTest, TheTextIsWhatAStreamWouldMakeOfIt ) {
   handle.levelIs( 1, true );
   U8 const count = 10;
   VOR_TRACE( handle, 1, "SPI ERROR: Read count = " << count );
   VOR_TRACE( handle, 1, "status : " << Colours::red_ << " pllStatus : " << Colours::none_ );
   VOR_TRACE( handle, 1, "Write " << Vor::format( "0x%x to 0x%x.", 60u, 0x10u ) );
   VOR_TRACE( handle, 1, Name( "ptp0" ) << String( "/" ) << std::string( "a" ) << std::string_view( "b" ) << 'c' );
   EXPECT_THAT(
      notes->texts(),
      ElementsAre( "SPI ERROR: Read count = \n", "status : red pllStatus : none", "Write 0x3c to 0x10.", "ptp0/abc" ) );
}

template<class T> class TraceTextTest : public testing::Test {};
using Streamed = testing::Types<
   bool, char, signed char, U8, U16, short, U32, int, U64, long long, unsigned long long, double, char const *,
   std::string, std::string_view, String, Name, Colours::Colour>;
TYPED_TEST_SUITE( TraceTextTest, Streamed );

TYPED_TEST( TraceTextTest, PrintsAsAnOutputStreamDoes ) {
   std::vector<TypeParam> values;
   if constexpr ( std::is_arithmetic_v<TypeParam> )
      values = {
         TypeParam{}, TypeParam{ 1 }, static_cast<TypeParam>( 65 ), std::numeric_limits<TypeParam>::max(),
         std::numeric_limits<TypeParam>::lowest() };
   else if constexpr ( std::is_enum_v<TypeParam> )
      values = { Colours::none_, Colours::red_, Colours::Colour( 7 ) };
   else
      values = { TypeParam( "" ), TypeParam( "a text" ) };
   for ( TypeParam const & value : values ) {
      std::ostringstream stream;
      stream << '<' << value << '>';
      EXPECT_EQ( ( TraceText() << '<' << value << '>' ).text().stdString(), stream.str() );
   }
}

TEST( TraceTextOfDoubleTest, AFractionPrintsAsAnOutputStreamDoes ) {
   for ( double const value : { 1.0, 0.1, -2.5, 1e-9, 123456789.0, 1.0 / 3.0 } ) {
      std::ostringstream stream;
      stream << value;
      EXPECT_EQ( ( TraceText() << value ).text().stdString(), stream.str() );
   }
}

TEST_F( TraceTest, FacilitiesAreKnownWhileTheyLive ) {
   auto const others = traceFacilities().size() - 1;
   {
      TraceHandle const second( "Test::Second" );
      TraceHandle const sameAgain( "Test::Trace" );
      std::vector<String> const names = traceFacilities();
      EXPECT_THAT( names, testing::IsSupersetOf( { String( "Test::Second" ), String( "Test::Trace" ) } ) );
      EXPECT_EQ( names.size(), others + 2 );
      EXPECT_TRUE( std::is_sorted( names.begin(), names.end() ) );
   }
   EXPECT_EQ( traceFacilities().size(), others + 1 );
}

TEST_F( TraceTest, AHostSwitchesByNameAllHandlesOfTheFacility ) {
   TraceHandle const sameAgain( "Test::Trace" );
   TraceHandle const other( "Test::Other" );
   traceLevelIs( "Test::Trace", 1, true );
   EXPECT_TRUE( handle.isEnabled( 1 ) );
   EXPECT_TRUE( sameAgain.isEnabled( 1 ) );
   EXPECT_FALSE( handle.isEnabled( 0 ) );
   EXPECT_FALSE( other.isEnabled( 1 ) );
   traceLevelIs( "Test::Trace", 1, false );
   EXPECT_FALSE( handle.isEnabled( 1 ) );
}

TEST_F( TraceTest, SwitchingByNameCountsForHandlesToCome ) {
   traceLevelIs( "Test::ToCome", 0, true );
   traceLevelIs( "Test::ToCome", 4, true );
   traceLevelIs( "Test::ToCome", 5, true );
   traceLevelIs( "Test::ToCome", 4, false );
   for ( int time = 0; time < 2; ++time ) {   // loaded, unloaded, loaded again
      TraceHandle const late( "Test::ToCome" );
      EXPECT_TRUE( late.isEnabled( 0 ) );
      EXPECT_FALSE( late.isEnabled( 1 ) );
      EXPECT_FALSE( late.isEnabled( 4 ) );
      EXPECT_TRUE( late.isEnabled( 5 ) );
   }
   traceLevelIs( "Test::ToCome", 0, false );
   traceLevelIs( "Test::ToCome", 5, false );
   EXPECT_FALSE( TraceHandle( "Test::ToCome" ).isEnabled( 0 ) );
}

TEST_F( TraceTest, InstallingASinkGivesBackTheOneBefore ) {
   Ptr<TraceSink> const second = new TraceNotes;
   EXPECT_EQ( traceSinkIs( second ), notes );
   EXPECT_EQ( traceSinkIs( nullptr ), second );
   EXPECT_FALSE( traceSinkIs( notes ) );
}

TEST_F( TraceTest, ASinkMayTakeItselfAway ) {
   struct Once : TraceSink {
      explicit Once( int & destroyed ) : destroyed( destroyed ) {}
      ~Once() override { ++destroyed; }
      void trace( TraceRecord const & ) override {
         traceSinkIs( nullptr );
         EXPECT_EQ( destroyed, 0 );
      }
      int & destroyed;
   };
   int destroyed = 0;
   traceSinkIs( new Once( destroyed ) );
   handle.levelIs( 1, true );
   VOR_TRACE( handle, 1, "" );
   EXPECT_EQ( destroyed, 1 );
}

TEST_F( TraceTest, WithoutASinkATraceIsOneLineOfStandardError ) {
   traceSinkIs( nullptr );
   activityManager().config().clockIs( new ManualClock( 12.5 ) );
   handle.levelIs( 1, true );
   testing::internal::CaptureStderr();
   U32 const line = __LINE__ + 1;
   VOR_TRACE( handle, 1, "count = " << '\n' << "\t\r\x1b[0m\\ end" );
   std::string const written = testing::internal::GetCapturedStderr();
   activityManager().config().clockIs( nullptr );
   EXPECT_EQ(
      written, Vor::format(
                  "%14s %-24s %2s %-44s %s\n", "12.500000", "Test::Trace", "1",
                  Vor::format( "TraceTest:%u TestBody", line ).charPtr(), "count = \\n\\t\\r\\x1b[0m\\\\ end" )
                  .stdString() );
}

}   // namespace
}   // namespace Vor::TraceTests
