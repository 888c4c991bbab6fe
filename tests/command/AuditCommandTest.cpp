#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace AuditCommandTests {
namespace {

using namespace Host;
using namespace Input;

class AuditCommandTest : public ::testing::Test {
 protected:
   std::string scenario( std::string const & content ) const {
      return folder.file( "s.json", R"({ "card": "card.json", )" + content + " }" );
   }
   std::string stuckBit() const {
      return scenario( R"("events": [ { "atNs": 30000000000, "fault": {
         "kind": "bitStuck", "chip": "ptp0", "address": 16, "mask": 8, "value": 0 } } ], "untilNs": 40000000000)" );
   }

   Folder const folder;
   std::string const card = folder.file( "card.json", wholeCard );
};

TEST_F( AuditCommandTest, OfAHealthyCardGivesZero ) {
   Ran const ran = run( { "audit", card } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ( ran.errors, "" );
   EXPECT_EQ(
      ran.output, "osc0\n"
                  "   bus             answers\n"
                  "   enable          0x00000003: enable true, powerGood true\n"
                  "ptp0\n"
                  "   bus             answers\n"
                  "   fifos           0 responses, 0 commands\n"
                  "   identification  1 of 1 as expected\n"
                  "   registers       1 of 1 as expected\n"
                  "   lock            0x11: APLL1 locked, APLL2 locked\n"
                  "   frequency       10000000 Hz, expected 10000000 Hz within 1001 Hz\n"
                  "ptp1\n"
                  "   bus             answers\n"
                  "   fifos           0 responses, 0 commands\n"
                  "   lock            0x11: APLL1 locked, APLL2 locked\n"
                  "   frequency       0 Hz, not checked\n"
                  "All is as expected.\n" );
}

TEST_F( AuditCommandTest, WhatDiffersGivesOne ) {
   Ran const ran = run( { "audit", "--after", stuckBit() } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_NE(
      ran.output.find( " ! registers       0 of 1 as expected\n"
                       "      0x0010  expected 0x3c, found 0x34, bit 3: operation 3 (" ),
      std::string::npos )
      << ran.output;
   EXPECT_TRUE( ran.output.ends_with( "\n1 of 3 chips not as expected.\n" ) ) << ran.output;
}

TEST_F( AuditCommandTest, TheToleranceIsAnOption ) {
   std::string const off = scenario( R"("built": { "chips": { "ptp0": { "outputFrequencyInHz": 10000011 } } })" );
   EXPECT_EQ( run( { "audit", "--after", off } ).result, 0 );
   EXPECT_EQ( run( { "audit", "--after", off, "--tolerance", "1" } ).result, 0 );
   EXPECT_EQ( run( { "audit", "--after", off, "--tolerance", "0.9" } ).result, 1 );
}

TEST_F( AuditCommandTest, TellsTheSameToPrograms ) {
   Ran const ran = run( { "audit", "--json", "--after", stuckBit() } );
   EXPECT_EQ( ran.result, 1 );
   Json const chips = Json::parse( ran.output ).at( "chips" );
   ASSERT_EQ( chips.size(), 3u );
   EXPECT_EQ( chips.at( 0 ).at( "well" ), true );
   EXPECT_EQ( chips.at( 1 ).at( "differences" ).at( 0 ).at( "found" ), 0x34 );
}

TEST_F( AuditCommandTest, ACardThatIsNotThereGivesOne ) {
   std::string const mapped = folder.file(
      "mapped.json",
      with( wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "mmap", "path": "space", "size": 16384 })" ) );
   Ran const ran = run( { "audit", mapped } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_EQ(
      ran.errors, "clockpath: the card is not there: " + folder.path( "space" ) + ": No such file or directory\n" );
   folder.file( "space", std::string( 16384, '\0' ) );
   Ran const silent = run( { "audit", mapped } );
   EXPECT_EQ( silent.result, 1 );
   EXPECT_NE( silent.output.find( "ptp0\n ! bus             no answer\n" ), std::string::npos ) << silent.output;
}

TEST_F( AuditCommandTest, TheSelfTestOnlyReadsWhereItIsToldSo ) {
   Ran const ran = run( { "selftest", card, "--online" } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_TRUE( ran.output.starts_with( "Chip  Test            Result  Found\n"
                                        "osc0  bus             pass    answers\n" ) )
      << ran.output;
   EXPECT_EQ( ran.output.find( "reset" ), std::string::npos ) << ran.output;
}

TEST_F( AuditCommandTest, TheSelfTestWantsToBeSure ) {
   Ran const ran = run( { "selftest", card } );
   EXPECT_EQ( ran.result, 2 );
   EXPECT_EQ(
      ran.errors,
      "clockpath: selftest changes the hardware of " + card + ": expected --yes, since nobody can be asked here\n" );
}

TEST_F( AuditCommandTest, TheSelfTestNamesWhatFails ) {
   EXPECT_EQ( run( { "selftest", card, "--yes" } ).result, 0 );
   Ran const ran = run( { "selftest", "--yes", "--after", stuckBit() } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_NE(
      ran.output.find( "ptp0  reset           pass    vanishes and returns with ptp0Reset\n"
                       "ptp1  reset           pass    vanishes and returns with ptp1Reset\n"
                       "ptp0  transfers       FAIL    register 0x0010, bits 0x3c: 251 of 1000 wrong, bit 3: 251\n"
                       "The chips are left in reset: each output is active.\n" ),
      std::string::npos )
      << ran.output;
   Json const json = Json::parse( run( { "selftest", "--yes", "--json", "--after", stuckBit() } ).output );
   EXPECT_EQ( json.at( "leftInReset" ), true );
   EXPECT_EQ( json.at( "tests" ).back().at( "passed" ), false );
   EXPECT_EQ( json.at( "tests" ).back().at( "test" ), "transfers" );
}

}   // namespace
}   // namespace AuditCommandTests
