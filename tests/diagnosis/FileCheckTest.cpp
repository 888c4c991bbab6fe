#include "diagnosis/FileCheck.h"

#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace FileCheckTests {
namespace {

using namespace Diagnosis;
using Input::with;

std::vector<std::string> chipsOf( FileCheck const & check ) {
   std::vector<std::string> chips;
   for ( auto const & [chip, time] : check.bringUpTimes ) chips.push_back( chip );
   return chips;
}

TEST( FileCheck, OfASequenceTellsEveryMistake ) {
   Input::Folder const folder;
   std::string const path = folder.file( "f.ops", "read 1 y\nsleep 1ms\nwrite 1 x\n" );
   FileCheck const check = checkFile( path );
   ASSERT_EQ( check.mistakes.size(), 2u );
   EXPECT_EQ( check.mistakes[0], path + ":1:8: expected a value from 0 to 0xffffffff, found 'y'" );
   EXPECT_EQ( check.mistakes[1], path + ":3:9: expected a value from 0 to 0xffffffff, found 'x'" );
   EXPECT_TRUE( check.bringUpTimes.empty() );
}

TEST( FileCheck, OfASequenceTellsItsWarningsAndTimes ) {
   Input::Folder const folder;
   std::string const path = folder.file( "f.ops", "write 1 1\n" );
   FileCheck const check = checkFile( path );
   EXPECT_TRUE( check.mistakes.empty() );
   ASSERT_EQ( check.warnings.size(), 1u );
   EXPECT_EQ( check.warnings[0].place, path + ":1" );
   EXPECT_EQ( chipsOf( check ), std::vector<std::string>{ path } );
}

TEST( FileCheck, OfACardReadsTheSequencesOfAllChips ) {
   Input::Folder const folder;
   folder.file( "a.ops", "read 1 x\n" );
   folder.file( "b.ops", "# x\nread 1 2\nwrite 2 x\n" );
   std::string const card = folder.file(
      "card.json", with( with( Input::wholeCard, Input::shortSequence, "\"a.ops\"" ), "[] }", "\"b.ops\" }" ) );
   FileCheck const check = checkFile( card );
   ASSERT_EQ( check.mistakes.size(), 2u );
   EXPECT_TRUE( check.mistakes[0].starts_with( folder.path( "a.ops" ) + ":1:8: " ) ) << check.mistakes[0];
   EXPECT_TRUE( check.mistakes[1].starts_with( folder.path( "b.ops" ) + ":3:9: " ) ) << check.mistakes[1];
}

TEST( FileCheck, AMistakeInASequenceOfTwoChipsIsToldOnce ) {
   Input::Folder const folder;
   folder.file( "a.ops", "read 1 x\n" );
   FileCheck const check = checkFile( folder.file(
      "card.json", with( with( Input::wholeCard, Input::shortSequence, "\"a.ops\"" ), "[] }", "\"a.ops\" }" ) ) );
   EXPECT_EQ( check.mistakes.size(), 1u );
}

TEST( FileCheck, OfACardHasATimeForEachChipThatCanBeBroughtUp ) {
   Input::Folder const folder;
   EXPECT_EQ(
      chipsOf( checkFile( folder.file( "card.json", Input::wholeCard ) ) ),
      ( std::vector<std::string>{ "ptp0", "ptp1" } ) );
   FileCheck const unknown =
      checkFile( folder.file( "card.json", with( Input::wholeCard, R"('type': 'write')", R"('type': 'unknownOp')" ) ) );
   EXPECT_EQ( chipsOf( unknown ), std::vector<std::string>{ "ptp1" } );
   ASSERT_FALSE( unknown.warnings.empty() );
   EXPECT_EQ( unknown.warnings[0].check, unknownOperation );
}

TEST( FileCheck, OfAScenarioReadsItsCardAndItself ) {
   Input::Folder const folder;
   folder.file( "card.json", with( Input::wholeCard, "\"osc0Reset\" }", "\"ptp1Reset\" }" ) );
   std::string const scenario = folder.file( "s.json", R"({ "card": "card.json", "untilNs": -1 })" );
   FileCheck const check = checkFile( scenario );
   ASSERT_EQ( check.mistakes.size(), 1u );
   EXPECT_TRUE( check.mistakes[0].starts_with( scenario + ": /untilNs: expected a whole number" ) );
   ASSERT_EQ( check.warnings.size(), 1u );
   EXPECT_EQ( check.warnings[0].check, "sharedOutput" );
}

TEST( FileCheck, AScenarioOfAMappedCardIsAMistake ) {
   Input::Folder const folder;
   std::string const card =
      with( Input::wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "mmap", "path": "f", "size": 16384 })" );
   EXPECT_TRUE( checkFile( folder.file( "card.json", card ) ).mistakes.empty() );
   std::string const scenario = folder.file( "s.json", R"({ "card": "card.json" })" );
   EXPECT_EQ(
      checkFile( scenario ).mistakes,
      std::vector<std::string>{
         folder.path( "card.json" ) +
         ": /access/kind: only a simulated card can be simulated; expected \"simulated\", found \"mmap\"" } );
}

TEST( FileCheck, AScenarioOfAChipWithoutInputIsAMistake ) {
   Input::Folder const folder;
   std::string const card = with( Input::wholeCard, R"("input": "stuffedClock")", R"("input": "noInput")" );
   EXPECT_TRUE( checkFile( folder.file( "card.json", card ) ).mistakes.empty() );
   FileCheck const check = checkFile( folder.file( "s.json", R"({ "card": "card.json" })" ) );
   ASSERT_EQ( check.mistakes.size(), 1u );
   EXPECT_TRUE(
      check.mistakes[0].starts_with( folder.path( "card.json" ) + ": the chip \"ptp1\" has the input \"noInput\"" ) )
      << check.mistakes[0];
}

TEST( FileCheck, AFileThatCannotBeReadIsAMistake ) {
   EXPECT_EQ(
      checkFile( "/absent" ).mistakes,
      std::vector<std::string>{ "/absent: cannot be read: No such file or directory" } );
}

TEST( FileCheck, TheExampleSequencesAreWithoutWarnings ) {
   for ( char const * name : { "ptp0.ops", "short.ops" } ) {
      FileCheck const check = checkFile( std::string( CLOCKPATH_EXAMPLES ) + name );
      EXPECT_TRUE( check.mistakes.empty() ) << name;
      EXPECT_TRUE( check.warnings.empty() ) << name;
   }
}

}   // namespace
}   // namespace FileCheckTests
