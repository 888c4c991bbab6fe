#include "diagnosis/FileCheck.h"

#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace BringUpTimeTests {
namespace {

using namespace Diagnosis;

constexpr U64 ms = 1'000'000;
constexpr U64 slack = 20 * ms;   // of SPI transfers, and of the timer that polls

BringUpTime timeOf( std::string const & content ) {
   Input::Folder const folder;
   return checkFile( folder.file( "f.ops", content ) ).bringUpTimes.at( 0 ).second;
}

void expectNear( U64 ns, U64 expected ) {
   EXPECT_GE( ns, expected );
   EXPECT_LE( ns, expected + slack + expected / 100 );
}

TEST( BringUpTime, TheBestIsOneAttemptAndOnePoll ) {
   expectNear( timeOf( "sleep 100ms" ).bestNs, ( 300 + 500 + 500 + 100 ) * ms );   // reset, recovery, SPI clean-up
}

TEST( BringUpTime, TheWorstIsAllAttemptsAndAllPolls ) {
   U64 const attempt = ( 300 + 500 + 500 + 100 ) * ms;
   expectNear( timeOf( "sleep 100ms" ).worstNs, 10 * attempt + 9 * 1'000 * ms + 100 * 1'000 * ms );
}

TEST( BringUpTime, TheResetOfTheSpiMasterCounts ) {
   Input::Folder const folder;
   std::string const card = Input::with( Input::wholeCard, Input::shortSequence, R"([ "sleep 100ms" ])" );
   auto const times =
      checkFile( folder.file( "card.json", Input::with( card, "[] }", R"([ "sleep 100ms" ] })" ) ) ).bringUpTimes;
   ASSERT_EQ( times.size(), 2u );   // ptp0 has that reset, ptp1 has not
   EXPECT_EQ( times[0].second.bestNs - times[1].second.bestNs, 10 * ms );
}

TEST( BringUpTime, WhatTheSequenceExpectsDoesNotMatter ) {
   BringUpTime const sound = timeOf( "read 0x30 0x5e\nwrite 0x10 1\nread 0x10 1" );
   BringUpTime const unsound = timeOf( "read 0x30 0x12\nwrite 0x10 1\nread 0x10 300" );
   EXPECT_EQ( sound.bestNs, unsound.bestNs );
   EXPECT_EQ( sound.worstNs, unsound.worstNs );
   EXPECT_GT( sound.bestNs, timeOf( "write 0x10 1" ).bestNs );
}

}   // namespace
}   // namespace BringUpTimeTests
