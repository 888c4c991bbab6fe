#include "diagnosis/Audit.h"

#include "tests/registers/LookedAt.h"

#include <gtest/gtest.h>

namespace AuditTests {
namespace {

using namespace Diagnosis;
using Host::faultText;
using Host::LookedAt;
using Input::with;
using Lines = std::vector<std::string>;
using Answer = ChipAudit::Answer;

// ptp0's sequence in the short form, on the card that has one.
std::string cardWith( std::string const & operations, std::string const & more = "" ) {
   return with(
      with( Input::wholeCard, Input::shortSequence, "[" + operations + "]" ), R"("genId")", more + R"("genId")" );
}

Lines expectationsText( std::string const & operations ) {
   Input::CardDescription const card = Input::cardOf( cardWith( operations ) );
   Lines lines;
   for ( Expectation const & one : expectationsOf( *card.max24305( "ptp0" ) ) )
      lines.push_back(
         std::to_string( one.address ) + " is " + std::to_string( one.value ) +
         ( one.identification ? " of old" : "" ) + ", " + one.place );
   return lines;
}

TEST( Expectations, AreWhatWasVerifiedLastAndNotOverwritten ) {
   EXPECT_EQ(
      expectationsText( R"("read 48 94", "write 1 1", "read 1 1", "write 2 2", "read 2 2", "write 1 3", "read 1 3")" ),
      ( Lines{
         "1 is 3, operation 7 (card.json: /chips/0/sequence/6)", "2 is 2, operation 5 (card.json: /chips/0/sequence/4)",
         "48 is 94 of old, operation 1 (card.json: /chips/0/sequence/0)" } ) );
   EXPECT_EQ( expectationsText( R"("write 1 1", "read 1 1", "write 1 2")" ), Lines{} );
   EXPECT_EQ( expectationsText( R"("write 1 1", "sleep 1ms")" ), Lines{} );
}

TEST( Expectations, AreNoneOfStatusRegisters ) { EXPECT_EQ( expectationsText( R"("read 7 17")" ), Lines{} ); }

TEST( Expectations, TheIdentificationIsReadBeforeAnythingIsWrittenThere ) {
   EXPECT_EQ(
      expectationsText( R"("write 1 1", "read 48 94", "read 2 0", "write 2 5", "read 2 5")" ),
      ( Lines{
         "2 is 5, operation 5 (card.json: /chips/0/sequence/4)",
         "48 is 94 of old, operation 2 (card.json: /chips/0/sequence/1)" } ) );
}

TEST( Audit, OfAHealthyCardFindsNothing ) {
   LookedAt at( "{}", with( Input::wholeCard, R"("sequence": [])", R"("sequence": [], "outputFrequencyInHz": 5)" ) );
   auto const audits = auditOf( at.card, at.access );
   ASSERT_EQ( audits.size(), 3u );
   for ( ChipAudit const & audit : audits ) {
      EXPECT_TRUE( audit.well() && audit.isThere() ) << audit.chip;
      EXPECT_EQ( audit.answer, Answer::yes_ );
   }
   EXPECT_EQ( audits[0].enable, 3u );
   EXPECT_EQ( audits[1].identificationCount, 1u );
   EXPECT_EQ( audits[1].verifiedCount, 1u );
   EXPECT_EQ( audits[1].frequencyInHz, 10'000'000u );
   EXPECT_EQ(
      linesOf( audits[1] ), ( Lines{
                               "ptp0",
                               "   bus             answers",
                               "   fifos           0 responses, 0 commands",
                               "   identification  1 of 1 as expected",
                               "   registers       1 of 1 as expected",
                               "   lock            0x11: APLL1 locked, APLL2 locked",
                               "   frequency       10000000 Hz, expected 10000000 Hz within 1001 Hz",
                            } ) );
}

TEST( Audit, TellsDriftByRegisterAndBit ) {
   LookedAt at( faultText( "ptp0", R"("bitFlip", "address": 16, "mask": 129)" ) );
   ChipAudit const audit = auditOf( at.ptp0(), at.access );
   EXPECT_FALSE( audit.well() );
   ASSERT_EQ( audit.drift.size(), 1u );
   EXPECT_EQ( audit.drift[0].found, 0xBD );
   EXPECT_EQ( audit.drift[0].bits(), 0x81u );
   Lines const lines = linesOf( audit );
   EXPECT_EQ( lines.at( 4 ), " ! registers       0 of 1 as expected" );
   EXPECT_EQ(
      lines.at( 5 ),
      "      0x0010  expected 0x3c, found 0xbd, bits 0, 7: operation 3 (card.json: /chips/0/sequence/2)" );
}

TEST( Audit, AChipThatWasResetHasDriftedAndKeepsItsIdentification ) {
   LookedAt at( faultText( "ptp0", R"("chipReset")" ) );
   ChipAudit const audit = auditOf( at.ptp0(), at.access );
   EXPECT_TRUE( audit.isThere() );
   EXPECT_EQ( audit.drift.size(), 1u );
   EXPECT_TRUE( audit.identification.empty() );
}

TEST( Audit, TellsAnotherIdentification ) {
   LookedAt at( faultText( "ptp0", R"("bitStuck", "address": 48, "mask": 2, "value": 0)" ) );
   ChipAudit const audit = auditOf( at.ptp0(), at.access );
   EXPECT_FALSE( audit.isThere() );
   EXPECT_FALSE( audit.well() );
   ASSERT_EQ( audit.identification.size(), 1u );
   EXPECT_EQ( audit.identification[0].found, 0x5C );
   EXPECT_TRUE( audit.drift.empty() );
}

TEST( Audit, LeavesVolatileBitsOut ) {
   std::string const changing = R"("simulated": { "volatile": [ { "address": 16, "mask": 3 } ] }, "sequence": )";
   std::string const card =
      with( cardWith( R"("write 16 60", "read 16 61", "write 17 1", "read 17 1")" ), R"("sequence": )", changing );
   LookedAt at( "{}", card );
   ChipAudit const audit = auditOf( at.ptp0(), at.access );
   EXPECT_TRUE( audit.well() ) << linesOf( audit ).at( 3 );
   EXPECT_EQ( audit.verifiedCount, 2u );
}

TEST( Audit, TellsMissingAnswersFromOnesAndZeros ) {
   auto const answer = []( std::string const & kind ) {
      LookedAt at( faultText( "ptp0", kind ) );
      ChipAudit const audit = auditOf( at.ptp0(), at.access );
      EXPECT_FALSE( audit.well() || audit.isThere() ) << kind;
      EXPECT_EQ( audit.points().size(), 2u ) << kind;   // the FIFOs are the master's own
      return audit.answer;
   };
   EXPECT_EQ( answer( R"("spiDead")" ), Answer::none_ );
   EXPECT_EQ( answer( R"("misoStuck", "value": 1)" ), Answer::allOnes_ );
   EXPECT_EQ( answer( R"("misoStuck", "value": 0)" ), Answer::allZeros_ );
}

TEST( Audit, AMissingAnswerIsOneOfItsRegister ) {
   LookedAt at;
   RegisterDifference const missing{ { .address = 16, .value = 60 }, std::nullopt };
   EXPECT_EQ( missing.bits(), 0u );
   ChipAudit audit = auditOf( at.ptp0(), at.access );
   audit.drift.push_back( missing );
   EXPECT_FALSE( audit.well() );
   EXPECT_EQ( linesOf( audit ).at( 5 ), "      0x0010  expected 0x3c, no answer: " );
}

TEST( Audit, OfAGoneCardHasNoAnswers ) {
   LookedAt at( faultText( "", R"("hardwareGone")" ) );
   for ( ChipAudit const & audit : auditOf( at.card, at.access ) ) {
      EXPECT_EQ( audit.answer, Answer::none_ ) << audit.chip;
      EXPECT_EQ( linesOf( audit ).at( 1 ), " ! bus             no answer" );
   }
}

TEST( Audit, TellsALostLock ) {
   LookedAt at( faultText( "ptp0", R"("loseLock", "mask": 16)" ) );
   ChipAudit const audit = auditOf( at.ptp0(), at.access );
   EXPECT_EQ( audit.apllStatus, 1 );
   EXPECT_EQ( linesOf( audit ).at( 5 ), " ! lock            0x01: APLL1 locked, APLL2 not locked" );
}

TEST( Audit, ChecksTheFrequencyWithinItsTolerance ) {
   auto const well = []( std::string const & hz, double ppm ) {
      LookedAt at( R"({ "built": { "chips": { "ptp0": { "outputFrequencyInHz": )" + hz + " } } } }" );
      return auditOf( at.ptp0(), at.access, ppm ).well();
   };
   EXPECT_TRUE( well( "10001001", 100 ) );
   EXPECT_FALSE( well( "10001002", 100 ) );
   EXPECT_TRUE( well( "9998999", 100 ) );
   EXPECT_FALSE( well( "9998998", 100 ) );
   EXPECT_TRUE( well( "10000001", 0 ) );
   EXPECT_FALSE( well( "10000002", 0 ) );
}

TEST( Audit, AFrequencyThatNobodyAskedForIsNotChecked ) {
   LookedAt at;
   ChipAudit const audit = auditOf( *at.card.max24305( "ptp1" ), at.access );
   EXPECT_TRUE( audit.well() );
   EXPECT_EQ( audit.points().back().text, "0 Hz, not checked" );
}

TEST( Audit, TellsWhatStandsInTheFifos ) {
   LookedAt at( R"({ "start": { "timeSync": 0 }, "built": { "chips": { "ptp0": { "spiResponses": 3 } } } })" );
   ChipAudit const audit = auditOf( at.ptp0(), at.access );
   EXPECT_EQ( audit.spiCtrl, 3u );
   EXPECT_EQ( audit.answer, Answer::none_ );   // the driver takes none where several stand
   EXPECT_EQ( linesOf( audit ).at( 2 ), " ! fifos           3 responses, 0 commands" );
}

TEST( Audit, OfATolvaneIsItsEnableRegister ) {
   LookedAt at( faultText( "osc0", R"("noPower")" ) );
   ChipAudit const audit = auditOf( at.card.tolvanes.front(), at.access );
   EXPECT_FALSE( audit.well() || audit.isThere() );
   EXPECT_EQ( linesOf( audit ).at( 2 ), " ! enable          0x00000000: enable false, powerGood false" );
}

TEST( Audit, EitherBitOfATolvaneIsEnoughForItsMachineAndHere ) {
   LookedAt at( faultText( "osc0", R"("bitFlip", "mask": 1)" ) );
   EXPECT_TRUE( auditOf( at.card.tolvanes.front(), at.access ).well() );
}

TEST( Audit, LinesAreNotMoreThanAPersonReads ) {
   std::string operations;
   for ( int reg = 256; reg < 296; ++reg )
      operations += ( operations.empty() ? "" : ", " ) + std::string( R"("write )" ) + std::to_string( reg ) +
                    R"( 1", "read )" + std::to_string( reg ) + R"( 1")";
   LookedAt at( faultText( "ptp0", R"("chipReset")" ), cardWith( operations ) );
   ChipAudit const audit = auditOf( at.ptp0(), at.access );
   EXPECT_EQ( audit.drift.size(), 40u );
   Lines const lines = linesOf( audit );
   EXPECT_EQ( lines.size(), 6u + 17u );
   EXPECT_EQ( lines[3 + 17], "      and 24 more" );
   for ( std::string const & line : lines ) EXPECT_LE( line.size(), 100u ) << line;
}

TEST( Audit, TellsTheSameToPrograms ) {
   LookedAt at( faultText( "ptp0", R"("bitFlip", "address": 16, "mask": 1)" ) );
   Input::Json const json = jsonOf( auditOf( at.ptp0(), at.access ) );
   EXPECT_EQ( json.at( "chip" ), "ptp0" );
   EXPECT_EQ( json.at( "well" ), false );
   EXPECT_EQ( json.at( "points" ).at( 0 ).dump(), R"({"name":"bus","well":true,"text":"answers"})" );
   EXPECT_EQ(
      json.at( "differences" ).dump(),
      R"json([{"address":16,"expected":60,"found":61,"place":"operation 3 (card.json: /chips/0/sequence/2)"}])json" );
}

}   // namespace
}   // namespace AuditTests
