#include "util/Utils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <deque>
#include <time.h>
#include <vector>

// This executable is its own operating system as far as sleeping goes: each call is written down, and answered by the
// script.
namespace {

struct Call {
   timespec request;
   timespec const * requestRecord;
   timespec const * remainderRecord;
};
struct Answer {
   int error;
   timespec remainder;
};

std::vector<Call> calls;
std::deque<Answer> script;

}   // namespace

extern "C" __attribute__( ( visibility( "default" ) ) ) int
nanosleep( timespec const * request, timespec * remainder ) {
   calls.push_back( { *request, request, remainder } );
   if ( script.empty() ) return 0;
   Answer const answer = script.front();
   script.pop_front();
   if ( answer.error == 0 ) return 0;
   *remainder = answer.remainder;
   errno = answer.error;
   return -1;
}

namespace Hardware {
namespace {

class NsleepTest : public testing::Test {
 protected:
   void SetUp() override {
      calls.clear();
      script.clear();
   }
   static void expectCall( std::size_t number, time_t seconds, long nanoseconds ) {
      ASSERT_LT( number, calls.size() );
      EXPECT_EQ( calls[number].request.tv_sec, seconds );
      EXPECT_EQ( calls[number].request.tv_nsec, nanoseconds );
   }
};

TEST_F( NsleepTest, TheTimeIsSplitIntoSecondsAndTheRest ) {
   struct {
      std::uint32_t asked;
      time_t seconds;
      long nanoseconds;
   } const cases[] = {
      { 0, 0, 0 },
      { 1, 0, 1 },
      { 999'999'999, 0, 999'999'999 },
      { 1'000'000'000, 1, 0 },
      { 1'000'000'001, 1, 1 },
      { 4'294'967'295, 4, 294'967'295 } };
   for ( auto const & each : cases ) {
      calls.clear();
      nsleep( each.asked );
      ASSERT_EQ( calls.size(), 1u ) << each.asked;
      expectCall( 0, each.seconds, each.nanoseconds );
   }
}

TEST_F( NsleepTest, AnInterruptedSleepGoesOnWithWhatWasLeft ) {
   script = { { EINTR, { 1, 250'000'000 } }, { EINTR, { 0, 7 } } };
   nsleep( 2'500'000'000 );
   ASSERT_EQ( calls.size(), 3u );
   expectCall( 0, 2, 500'000'000 );
   expectCall( 1, 1, 250'000'000 );
   expectCall( 2, 0, 7 );
}

TEST_F( NsleepTest, EveryFailureIsRepeated ) {
   script = { { EINVAL, { 0, 5 } }, { EFAULT, { 0, 5 } }, { ENOSYS, { 0, 5 } }, { EINTR, { 0, 5 } } };
   nsleep( 5 );
   EXPECT_EQ( calls.size(), 5u );
}

TEST_F( NsleepTest, OneRecordIsRequestAndRemainder ) {
   script = { { EINTR, { 0, 3 } } };
   nsleep( 5 );
   ASSERT_EQ( calls.size(), 2u );
   for ( Call const & call : calls ) {
      EXPECT_EQ( call.requestRecord, call.remainderRecord );
      EXPECT_EQ( call.requestRecord, calls.front().requestRecord );
   }
}

}   // namespace
}   // namespace Hardware
