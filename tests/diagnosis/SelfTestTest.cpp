#include "diagnosis/SelfTest.h"

#include "tests/registers/LookedAt.h"

#include <gtest/gtest.h>

namespace SelfTestTests {
namespace {

using namespace Diagnosis;
using Host::faultText;
using Host::LookedAt;
using Input::with;
using Lines = std::vector<std::string>;

// "ptp0 reset: text", with FAIL where it is not well.
Lines results( LookedAt & at ) {
   Lines lines;
   for ( auto const & [chip, point] : offlineTest( at.card, at.access, []( std::string const & ) {} ) )
      lines.push_back( chip + " " + std::string( point.name ) + ": " + ( point.well ? "" : "FAIL " ) + point.text );
   return lines;
}

Lines results( std::string const & scenario, std::string const & card = Input::wholeCard ) {
   LookedAt at( scenario, card );
   return results( at );
}

std::string built( std::string const & what ) { return R"({ "built": { )" + what + " } }"; }

std::string const osc0Resets = "osc0 reset: vanishes and returns with osc0Reset";
std::string const ptp0Resets = "ptp0 reset: vanishes and returns with ptp0Reset";
std::string const ptp1Resets = "ptp1 reset: vanishes and returns with ptp1Reset";
std::string const ptp0Transfers = "ptp0 transfers: register 0x0010, bits 0x3c: 0 of 1000 wrong";

TEST( SelfTest, OfAHealthyCardPasses ) {
   EXPECT_EQ( results( "{}" ), ( Lines{ osc0Resets, ptp0Resets, ptp1Resets, ptp0Transfers } ) );
}

TEST( SelfTest, LeavesTheChipsInReset ) {
   LookedAt at;
   results( at );
   EXPECT_EQ( at.access.readWord( 8192 ), 1u );   // osc0Reset is bit 0, ptp0Reset is bit 1 and active at 0
   EXPECT_EQ( at.access.readWord( 8196 ), 0x80000000u );
   for ( ChipAudit const & audit : auditOf( at.card, at.access ) ) EXPECT_FALSE( audit.isThere() ) << audit.chip;
}

TEST( SelfTest, TellsTheWrongPolarity ) {
   EXPECT_EQ(
      results( built( R"("gpos": { "ptp0Reset": { "activeType": "activeHigh" } })" ) ),
      ( Lines{ osc0Resets, "ptp0 reset: FAIL wrong polarity: there only while ptp0Reset is active", ptp1Resets } ) );
}

TEST( SelfTest, TellsAPinWithoutEffect ) {
   EXPECT_EQ(
      results( built( R"("gpos": { "ptp1Reset": { "bit": 5 } })" ) ),
      ( Lines{
         osc0Resets, ptp0Resets, "ptp1 reset: FAIL pin without effect: the chip stays while ptp1Reset is active",
         ptp0Transfers } ) );
}

TEST( SelfTest, TellsSwappedOutputs ) {
   std::string const card = with( Input::wholeCard, R"("bit": 1, "activeType": "activeLow")", R"("bit": 1)" );
   EXPECT_EQ(
      results( built( R"("gpos": { "osc0Reset": { "bit": 1 }, "ptp0Reset": { "bit": 0 } })" ), card ),
      ( Lines{
         "osc0 reset: FAIL swapped with ptp0: vanishes with ptp0Reset, not osc0Reset",
         "ptp0 reset: FAIL swapped with osc0: vanishes with osc0Reset, not ptp0Reset", ptp1Resets, ptp0Transfers } ) );
}

TEST( SelfTest, TellsSwappedMasters ) {
   Lines const lines =
      results( built( R"("chips": { "ptp0": { "configOffset": 1024 }, "ptp1": { "configOffset": 256 } })" ) );
   EXPECT_EQ( lines.at( 1 ), "ptp0 reset: FAIL swapped with ptp1: vanishes with ptp1Reset, not ptp0Reset" );
   EXPECT_EQ( lines.at( 2 ), "ptp1 reset: FAIL swapped with ptp0: vanishes with ptp0Reset, not ptp1Reset" );
}

TEST( SelfTest, TellsAnOutputThatTwoChipsFollow ) {
   std::string const shared =
      with( Input::wholeCard, R"("resetGpoName": "ptp1Reset")", R"("resetGpoName": "ptp0Reset")" );
   EXPECT_EQ( results( "{}", shared ).at( 1 ), ptp0Resets );
   EXPECT_EQ( results( "{}", shared ).at( 2 ), "ptp1 reset: vanishes and returns with ptp0Reset" );
}

TEST( SelfTest, TellsAChipThatIsNotThere ) {
   EXPECT_EQ(
      results( faultText( "ptp0", R"("misoStuck", "value": 0)" ) ).at( 1 ),
      "ptp0 reset: FAIL not there, whether ptp0Reset is active or not" );
   EXPECT_EQ(
      results( faultText( "osc0", R"("noPower")" ) ).at( 0 ),
      "osc0 reset: FAIL not there, whether osc0Reset is active or not" );
}

TEST( SelfTest, TellsAChipThatDoesNotReturn ) {
   // Its release is the first that is lost.
   EXPECT_EQ(
      results( faultText( "ptp1", R"("resetStuck")" ) ).at( 2 ), "ptp1 reset: FAIL does not return after ptp1Reset" );
}

TEST( SelfTest, CountsTheErrorsOfEachBit ) {
   // 3 of the 12 patterns have bit 3. Of the 100 flips 7 are seen before, by the audits that find the chip.
   EXPECT_EQ(
      results( faultText( "ptp0", R"("bitStuck", "address": 16, "mask": 8, "value": 0)" ) ).back(),
      "ptp0 transfers: FAIL register 0x0010, bits 0x3c: 251 of 1000 wrong, bit 3: 251" );
   EXPECT_EQ(
      results( faultText( "ptp0", R"("bitFlip", "address": 16, "mask": 36, "count": 100)" ) ).back(),
      "ptp0 transfers: FAIL register 0x0010, bits 0x3c: 93 of 1000 wrong, bit 2: 93, bit 5: 93" );
}

TEST( SelfTest, CountsWritesThatAreLost ) {
   // Of the first seven patterns four have one of the register's bits.
   EXPECT_EQ(
      results( faultText( "ptp0", R"("writeLost", "count": 7)" ) ).back(),
      "ptp0 transfers: FAIL register 0x0010, bits 0x3c: 4 of 1000 wrong, bit 2: 3, bit 3: 2, bit 4: 2, bit 5: 2" );
}

// Each hundredth entry of ptp0's response FIFO is lost.
struct LossyHam final : Fru::HamImpl {
   explicit LossyHam( Vor::Ptr<Fru::HamImpl> const & real ) : HamImpl( "lossy" ), real( real ) {}
   void read32( U32 address, U32 & value ) override {
      real->read32( address, value );
      if ( address == 0x110 && ++taken % 100 == 0 ) value = 0;
   }
   void write32( U32 address, U32 value ) override { real->write32( address, value ); }
   Vor::Ptr<Fru::HamImpl> const real;
   U32 taken = 0;
};

TEST( SelfTest, CountsWhatIsNotAnswered ) {
   LookedAt at;
   Host::RegisterAccess access( at.card, new LossyHam( at.world.card().hamImpl() ) );
   Lines begun;
   EXPECT_EQ(
      offlineTest( at.card, access, [&]( std::string const & what ) { begun.push_back( what ); } ).back().second.text,
      "register 0x0010, bits 0x3c: 0 of 1000 wrong, 10 without answer" );
   EXPECT_EQ(
      begun, ( Lines{
                "pulse of osc0Reset", "pulse of ptp0Reset", "pulse of ptp1Reset", "transfers of ptp0",
                "transfers of ptp1" } ) );
}

TEST( SelfTest, OfAGoneCardFindsNoChipAndEnds ) {
   Lines const lines = results( faultText( "", R"("hardwareGone")" ) );
   ASSERT_EQ( lines.size(), 3u );
   for ( std::string const & line : lines ) EXPECT_NE( line.find( "FAIL not there" ), std::string::npos ) << line;
}

}   // namespace
}   // namespace SelfTestTests
