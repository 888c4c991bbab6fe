#include "diagnosis/Warnings.h"

#include "input/SequenceFile.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

namespace WarningsTests {
namespace {

using namespace Diagnosis;
using Input::with;
using Lines = std::vector<std::string>;

// "check at line: text" of each warning.
Lines linesOf( std::vector<Warning> const & warnings ) {
   Lines lines;
   for ( auto const & [check, place, text] : warnings ) {
      EXPECT_EQ( std::ranges::count( checkNames, check ), 1 ) << check;
      lines.push_back( std::string( check ) + " at " + place + ": " + text );
   }
   return lines;
}

Lines of( std::string const & content ) {
   Input::Max24305Description chip;
   chip.sequenceFile = "f";
   chip.sequence = Input::sequenceOf( "f", content, &chip.sequenceLines );
   return linesOf( warningsOf( chip ) );
}

// Of the card with one piece replaced.
Lines ofCard( std::string const & piece = "", std::string const & other = "" ) {
   return linesOf( warningsOf( Input::cardOf( with( Input::wholeCard, piece, other ) ) ) );
}

TEST( SequenceWarnings, ASoundSequenceHasNone ) {
   EXPECT_EQ( of( "read 0x30 0x5e\nwrite 0x10 1\nread 0x10 1\nsleep 1s\nwrite 0x11 0xff\nread 0x11 0xff" ), Lines{} );
}

TEST( SequenceWarnings, AnUnknownOperation ) {
   EXPECT_EQ(
      of( "read 1 1\nValue('Hardware::Max24305::Op', ** {'key': 0, 'type': 'unknownOp', 'address': 70000, 'value': "
          "256})" ),
      Lines{ "unknownOp at f:2: expected read, write or sleep, found unknownOp, which stops the process when the "
             "sequence comes to it" } );
}

TEST( SequenceWarnings, AValueOfMoreThanAByte ) {
   EXPECT_EQ(
      of( "write 1 0x1ff\nread 1 256\nwrite 2 255\nread 2 255" ),
      ( Lines{
         "wideValue at f:1: expected a value from 0 to 0xff, found 0x1ff, of which the low byte 0xff is written",
         "wideValue at f:2: expected a value from 0 to 0xff, found 0x100, of which no read ever brings more than a "
         "byte: it fails every attempt" } ) );
}

TEST( SequenceWarnings, AnAddressOfMoreThanTwoBytes ) {
   EXPECT_EQ(
      of( "write 0xffff 1\nread 0x1ffff 1" ),
      Lines{ "wideAddress at f:2: expected an address from 0 to 0xffff, found 0x1ffff, which is sent as 0xffff" } );
}

TEST( SequenceWarnings, APauseOfMoreThanASecond ) {
   EXPECT_EQ(
      of( "sleep 1s\nsleep 1000000001ns" ),
      Lines{
         "longPause at f:2: expected a pause of 1 s at most, found 1000000001 ns, in which the agent stands still" } );
}

TEST( SequenceWarnings, AStatusRegisterVerified ) {
   EXPECT_EQ(
      of( "read 7 0x11" ),
      Lines{ "statusVerified at f:1: expected a register that keeps what is written, found 0x0007, "
             "Hardware::ApllStatus: what it reads changes by itself" } );
   EXPECT_EQ( of( "write 1 1\nread 1 1\nread 7 0x11" ).size(), 1u );   // and not as one that nothing writes
}

TEST( SequenceWarnings, AReadBackOfWhatNothingWrites ) {
   EXPECT_EQ(
      of( "read 0x30 1\nwrite 1 1\nread 1 1\nread 2 1" ),
      Lines{ "neverWritten at f:4: expected the read-back of a register that was written, found 0x0002, which nothing "
             "writes" } );
}

TEST( SequenceWarnings, AReadBackBeforeItsWrite ) {
   EXPECT_EQ(
      of( "write 2 2\nread 1 1\nwrite 1 1\nread 1 1\nread 2 2" ),
      Lines{ "readTooEarly at f:2: expected the read-back behind the write, found it before operation 3, which is the "
             "first to write 0x0001" } );
}

TEST( SequenceWarnings, WritesThatNothingReadsBackAreOneLine ) {
   EXPECT_EQ(
      of( "write 1 1\nwrite 9 2\nwrite 1 3\nread 1 3\nwrite 1 4\nwrite 3 4\nread 3 4" ),
      Lines{ "notReadBack at f:2: expected a read-back behind each write, found 2 registers without, 0x0009 first" } );
   EXPECT_EQ(
      of( "write 1 1" ),
      Lines{ "notReadBack at f:1: expected a read-back behind each write, found 1 register without, 0x0001 first" } );
}

TEST( CardWarnings, ASoundCardHasNone ) { EXPECT_EQ( ofCard(), Lines{} ); }

TEST( CardWarnings, SequencesHaveThePlacesOfTheirOperations ) {
   EXPECT_EQ(
      ofCard( R"("sequence": [])", R"("sequence": [ "sleep 1s", "sleep 2s" ])" ),
      Lines{ "longPause at card.json: /chips/2/sequence/1: expected a pause of 1 s at most, found 2000000000 ns, in "
             "which the agent stands still" } );
}

TEST( CardWarnings, ASharedOutput ) {
   EXPECT_EQ(
      ofCard( R"("resetGpoName": "ptp1Reset")", R"("resetGpoName": "osc0Reset")" ),
      Lines{ "sharedOutput at card.json: osc0: expected an output for each chip, found \"osc0Reset\" for osc0, ptp1: "
             "each resets the others" } );
}

TEST( CardWarnings, ASharedClockStatus ) {
   EXPECT_EQ(
      ofCard( R"("role": "unknown")", R"("clockStatus": "ptp0")" ),
      Lines{ "sharedClockStatus at card.json: ptp0: expected a clock status for each chip, found \"ptp0\" for ptp0, "
             "ptp1: the last one that writes it is seen" } );
}

TEST( CardWarnings, AnOutputFrequencyThatDoesNotFitTheProgramme ) {
   EXPECT_EQ(
      ofCard( R"("outputFrequencyInHz": 10000000)", R"("outputFrequencyInHz": 25000000)" ),
      Lines{ "outputFrequency at card.json: ptp0: expected the outputFrequencyInHz 10000000 of the programme "
             "ic1In10_oc1Out10, found 25000000" } );
}

TEST( CardWarnings, ASequenceThatTwoChipsShareIsToldOnce ) {
   Input::CardDescription card = Input::cardOf( Input::wholeCard );
   for ( std::size_t i : { 0u, 1u } ) {
      card.max24305s[i].sequenceFile = "f";
      card.max24305s[i].sequenceLines = { 1 };
      card.max24305s[i].sequence = Input::sequenceOf( "f", "sleep 2s" );
   }
   EXPECT_EQ( warningsOf( card ).size(), 1u );
}

}   // namespace
}   // namespace WarningsTests
