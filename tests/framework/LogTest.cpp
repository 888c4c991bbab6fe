#include "framework/Log.h"

#include "framework/ActivityManager.h"
#include "framework/Exception.h"
#include "tests/framework/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace Vor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert( !std::is_copy_constructible_v<LogHandle> );

class LogNotes final : public LogSink {
 public:
   void log( LogRecord const & record ) override {
      std::string note = record.id.stdString() + " " + std::to_string( record.severity ) + "|" +
                         record.cause.stdString() + "|" + record.event.stdString() + "|" +
                         record.recommendedAction.stdString();
      for ( String const & argument : record.arguments ) note += "|" + argument.stdString();
      notes.push_back( note );
   }

   std::vector<std::string> notes;
};

class LogTest : public testing::Test {
 protected:
   LogTest() {
      activityManager().config().clockIs( clock );
      logSinkIs( sink );
   }
   ~LogTest() override {
      logSinkIs( nullptr );
      activityManager().config().clockIs( nullptr );
   }

   /// How many of `asked` messages in a row the limits let through.
   int logged( LogHandle const & handle, int asked ) {
      int count = 0;
      for ( int i = 0; i < asked; ++i )
         if ( okToLog( handle.id() ) ) {
            ++count;
            log( handle.id(), nullptr, 0 );
         }
      return count;
   }

   Ptr<ManualClock> const clock = new ManualClock( 100.0 );
   Ptr<LogNotes> const sink = new LogNotes;
};

TEST_F( LogTest, ADeclarationKeepsItsTextsInTheirOrder ) {
   LogHandle const handle( "TEST_FAILED", 3, "A cause.", "An event.", CallSupportIfPersists, 0.0, 1.0, 0 );
   EXPECT_EQ( handle.id(), "TEST_FAILED" );
   EXPECT_EQ( handle.severity(), 3u );
   EXPECT_EQ( handle.cause(), "A cause." );
   EXPECT_EQ( handle.event(), "An event." );
   EXPECT_EQ( handle.recommendedAction(), "If this condition persists, contact technical support." );
   EXPECT_EQ( handle.intervalSeconds(), 0.0 );
   EXPECT_EQ( handle.burst(), 1.0 );
   EXPECT_FALSE( handle.once() );
}

TEST_F( LogTest, TheSinkGetsTheMessageAndItsArguments ) {
   LogHandle const handle( "TEST_FAILED", 3, "A cause.", "An event.", "Do this.", 0.0, 1.0, 0 );
   log( "TEST_FAILED", nullptr, 0 );
   String const arguments[] = { "one", "two", "three" };
   log( "TEST_FAILED", arguments, 2 );
   EXPECT_THAT(
      sink->notes,
      ElementsAre( "TEST_FAILED 3|A cause.|An event.|Do this.", "TEST_FAILED 3|A cause.|An event.|Do this.|one|two" ) );
}

TEST_F( LogTest, AnIntervalOfZeroSetsNoLimit ) {
   LogHandle const handle( "TEST_FAILED", 3, "", "", "", 0.0, 1.0, 0 );
   EXPECT_EQ( logged( handle, 1000 ), 1000 );
}

TEST_F( LogTest, ABurstIsWhatAnIntervalLetsThrough ) {
   LogHandle const handle( "TEST_FAILED", 3, "", "", "", 10.0, 3.0, 0 );
   EXPECT_EQ( logged( handle, 2 ), 2 );
   clock->time = 109.0;
   EXPECT_EQ( logged( handle, 5 ), 1 );
   clock->time = 109.999;
   EXPECT_EQ( logged( handle, 5 ), 0 );
   clock->time = 110.0;
   EXPECT_EQ( logged( handle, 5 ), 3 );
}

TEST_F( LogTest, AnIntervalBeginsWithItsFirstMessage ) {
   LogHandle const handle( "TEST_FAILED", 3, "", "", "", 10.0, 1.0, 0 );
   EXPECT_EQ( logged( handle, 2 ), 1 );
   clock->time = 117.0;
   EXPECT_EQ( logged( handle, 2 ), 1 );
   clock->time = 120.0;
   EXPECT_EQ( logged( handle, 2 ), 0 );
   clock->time = 127.0;
   EXPECT_EQ( logged( handle, 2 ), 1 );
}

TEST_F( LogTest, AClockThatReadsEarlierBeginsTheNextInterval ) {
   LogHandle const limited( "TEST_LIMITED", 3, "", "", "", 10.0, 1.0, 0 );
   LogHandle const unlimited( "TEST_UNLIMITED", 3, "", "", "", 0.0, 1.0, 0 );
   EXPECT_EQ( logged( limited, 2 ), 1 );
   EXPECT_EQ( logged( unlimited, 2 ), 2 );
   clock->time = 3.0;
   EXPECT_EQ( logged( limited, 2 ), 1 );
   EXPECT_EQ( logged( unlimited, 2 ), 2 );
   clock->time = 13.0;
   EXPECT_EQ( logged( limited, 2 ), 1 );
}

TEST_F( LogTest, ABurstBelowOneStillLetsOneThrough ) {
   for ( double const burst : { 0.0, -3.0, 0.5, 1.9 } ) {
      LogHandle const handle( "TEST_FAILED", 3, "", "", "", 10.0, burst, 0 );
      EXPECT_EQ( logged( handle, 3 ), 1 ) << burst;
   }
}

TEST_F( LogTest, OnceIsOnceWhateverTheInterval ) {
   LogHandle const handle( "TEST_FAILED", 3, "", "", "", 0.0, 100.0, 1 );
   EXPECT_EQ( logged( handle, 3 ), 1 );
   clock->time = 1e9;
   EXPECT_EQ( logged( handle, 3 ), 0 );
}

TEST_F( LogTest, LimitsAreEachMessagesOwn ) {
   LogHandle const one( "TEST_ONE", 3, "", "", "", 10.0, 1.0, 0 );
   LogHandle const other( "TEST_OTHER", 3, "", "", "", 10.0, 1.0, 0 );
   EXPECT_EQ( logged( one, 2 ), 1 );
   EXPECT_EQ( logged( other, 2 ), 1 );
}

TEST_F( LogTest, AskingUsesNothingUp ) {
   LogHandle const handle( "TEST_FAILED", 3, "", "", "", 10.0, 1.0, 1 );
   for ( int i = 0; i < 5; ++i ) EXPECT_TRUE( okToLog( "TEST_FAILED" ) );
   EXPECT_THAT( sink->notes, IsEmpty() );
}

TEST_F( LogTest, LoggingWithoutAskingIsHeard ) {
   LogHandle const handle( "TEST_FAILED", 3, "", "", "", 10.0, 1.0, 1 );
   log( "TEST_FAILED", nullptr, 0 );
   log( "TEST_FAILED", nullptr, 0 );
   EXPECT_EQ( sink->notes.size(), 2u );
}

TEST_F( LogTest, AMessageIsKnownWhileItsDeclarationLives ) {
   auto const others = logHandles().size();
   {
      LogHandle const one( "TEST_ONE", 3, "", "", "", 0.0, 1.0, 0 );
      LogHandle const two( "TEST_TWO", 3, "", "", "", 0.0, 1.0, 0 );
      ASSERT_EQ( logHandles().size(), others + 2 );
      EXPECT_EQ( logHandles()[others], &one );
      EXPECT_EQ( logHandles()[others + 1], &two );
   }
   EXPECT_EQ( logHandles().size(), others );
   EXPECT_THROW( okToLog( "TEST_ONE" ), NameNotFoundException );
   LogHandle const again( "TEST_ONE", 3, "", "", "", 0.0, 1.0, 0 );
   EXPECT_TRUE( okToLog( "TEST_ONE" ) );
}

TEST_F( LogTest, AnUndeclaredMessageIsAnError ) {
   try {
      log( "TEST_UNKNOWN", nullptr, 0 );
      FAIL();
   } catch ( NameNotFoundException const & error ) {
      EXPECT_STREQ( error.what(), "log message 'TEST_UNKNOWN' is not declared" );
   }
}

TEST_F( LogTest, AnIdentifierIsDeclaredOnce ) {
   LogHandle const handle( "TEST_FAILED", 3, "first", "", "", 0.0, 1.0, 0 );
   try {
      LogHandle const second( "TEST_FAILED", 4, "second", "", "", 0.0, 1.0, 0 );
      FAIL();
   } catch ( NameInUseException const & error ) {
      EXPECT_STREQ( error.what(), "log message 'TEST_FAILED' is declared already" );
   }
   log( "TEST_FAILED", nullptr, 0 );
   EXPECT_THAT( sink->notes, ElementsAre( "TEST_FAILED 3|first||" ) );
}

TEST_F( LogTest, SeveritiesGoFromZeroToSeven ) {
   EXPECT_STREQ( severityText( 0 ), "emergency" );
   EXPECT_STREQ( severityText( 3 ), "error" );
   EXPECT_STREQ( severityText( 7 ), "debug" );
   try {
      LogHandle const handle( "TEST_FAILED", 8, "", "", "", 0.0, 1.0, 0 );
      FAIL();
   } catch ( RangeException const & error ) {
      EXPECT_STREQ( error.what(), "log severity: expected 0 to 7, found 8" );
   }
   EXPECT_THROW( okToLog( "TEST_FAILED" ), NameNotFoundException );
}

TEST_F( LogTest, InstallingASinkGivesBackTheOneBefore ) {
   Ptr<LogSink> const second = new LogNotes;
   EXPECT_EQ( logSinkIs( second ), sink );
   EXPECT_EQ( logSinkIs( nullptr ), second );
   EXPECT_FALSE( logSinkIs( sink ) );
}

TEST_F( LogTest, WithoutASinkAMessageIsOneLineOfStandardError ) {
   LogHandle const handle( "TEST_FAILED", 3, "Possibly this.", "It failed.", "Do that.", 0.0, 1.0, 0 );
   logSinkIs( nullptr );
   String const arguments[] = { "ptp0", "two\nlines" };
   testing::internal::CaptureStderr();
   log( "TEST_FAILED", nullptr, 0 );
   log( "TEST_FAILED", arguments, 2 );
   EXPECT_EQ(
      testing::internal::GetCapturedStderr(),
      "    100.000000 TEST_FAILED (error): It failed. Possibly this. Recommended action: Do that.\n"
      "    100.000000 TEST_FAILED (error): It failed. Possibly this. [ptp0] [two\\nlines] Recommended action: Do "
      "that.\n" );
}

}   // namespace
}   // namespace Vor
