#include "input/SequenceFile.h"

#include "input/InputError.h"
#include "input/Number.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace SequenceFileTests {
namespace {

using namespace Input;
using Hardware::Max24305::Op;

constexpr char good[] = "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'read', 'address': 2, 'value': 3})";

std::string error( std::string const & content ) {
   try {
      sequenceOf( "f.ops", content );
   } catch ( Input::InputError const & error ) {
      return error.what();
   }
   return "no error";
}

TEST( SequenceFile, ReadsOneOperationALine ) {
   auto const sequence = sequenceOf(
      "f.ops",
      "# comment\n\n  \t\n" + std::string( good ) + "\r\n   # another\n  " + good +
         "  \nValue('Hardware::Max24305::Op', ** {'key': 4294967295, 'type': 'sleep', 'address': 0, 'value': 0})" );
   ASSERT_EQ( sequence.size(), 3u );
   EXPECT_EQ( sequence[0], Op( 1, Hardware::Max24305::read_, 2, 3 ) );
   EXPECT_EQ( sequence[1], sequence[0] );
   EXPECT_EQ( sequence[2], Op( 4294967295, Hardware::Max24305::sleep_, 0, 0 ) );
}

TEST( SequenceFile, AnUnknownOperationNamesLineColumnAndTheKnownOnes ) {
   EXPECT_EQ(
      error(
         std::string( good ) +
         "\n# x\n  Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'toggle', 'address': 2, 'value': 3})\n" ),
      "f.ops:3:57: attribute 'type': Hardware::Max24305::OpType has no enumerator 'toggle'; it has unknownOp, read, "
      "write, sleep" );
}

TEST( SequenceFile, AnOperationThatGoesOnBehindANulIsUnknown ) {
   std::string text = good;
   text.replace( text.find( "read" ), 4, std::string( "write\0garbage", 13 ) );
   EXPECT_EQ(
      error( text ), R"(f.ops:1:55: attribute 'type': Hardware::Max24305::OpType has no enumerator 'write\0garbage'; )"
                     "it has unknownOp, read, write, sleep" );
}

TEST( SequenceFile, AMissingLiteralNamesWhatWasExpectedAndWhatStoodThere ) {
   EXPECT_EQ(
      error( "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'read', 'addr': 2, 'value': 3})" ),
      "f.ops:1:61: expected \", 'address': \", found ', \\'addr\\': 2, \\'value\\': 3})'" );
   EXPECT_EQ(
      error( "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'read', 'address': 2, 'value': 3" ),
      "f.ops:1:87: expected \"})\", found the end of the text" );
   EXPECT_EQ( error( "read 5" ), "f.ops:1:1: expected \"Value('Hardware::Max24305::Op', ** {\", found 'read 5'" );
}

TEST( SequenceFile, ReadsTheShortFormWithPlacesAsKeys ) {
   auto const sequence = sequenceOf(
      "f.ops", "# comment\nwrite 0x10 0x3c\n\t read 16 60# read back\n" + std::string( good ) +
                  "\nsleep 1ms   # a while\nread 0xFFFFFFFF 4294967295\r\n" );
   ASSERT_EQ( sequence.size(), 5u );
   EXPECT_EQ( sequence[0], Op( 0, Hardware::Max24305::write_, 16, 60 ) );
   EXPECT_EQ( sequence[1], Op( 1, Hardware::Max24305::read_, 16, 60 ) );
   EXPECT_EQ( sequence[2], Op( 1, Hardware::Max24305::read_, 2, 3 ) );
   EXPECT_EQ( sequence[3], Op( 3, Hardware::Max24305::sleep_, 0, 1'000'000 ) );
   EXPECT_EQ( sequence[4], Op( 4, Hardware::Max24305::read_, 4294967295, 4294967295 ) );
}

TEST( SequenceFile, APauseIsAWholeNumberOfNanoseconds ) {
   for ( auto const & [text, ns] : std::vector<std::pair<std::string, U32>>{
            { "0ns", 0 },
            { "7ns", 7 },
            { "1us", 1'000 },
            { "20ms", 20'000'000 },
            { "4s", 4'000'000'000 },
            { "4294967295ns", 4'294'967'295 } } )
      EXPECT_EQ( sequenceOf( "f.ops", "sleep " + text ).at( 0 ).value, ns ) << text;
   for ( std::string const text :
         { "1", "ms", ".5ms", "1.5ms", "0x1ms", "-1ms", "1min", "4294967296ns", "5s", "1e3ns", "1MS" } )
      EXPECT_EQ(
         error( "sleep " + text ), "f.ops:1:7: expected a pause such as 1ms, in ns, us, ms or s, of 0 to 4294967295 "
                                   "whole ns, found '" +
                                      text + "'" );
}

TEST( SequenceFile, AMistakeInTheShortFormNamesItsPlace ) {
   EXPECT_EQ( error( "write 0x1g 5" ), "f.ops:1:7: expected an address from 0 to 0xffffffff, found '0x1g'" );
   EXPECT_EQ( error( "write 5  4294967296" ), "f.ops:1:10: expected a value from 0 to 0xffffffff, found '4294967296'" );
   EXPECT_EQ( error( "read 5 6 7" ), "f.ops:1:10: expected the end of the line, found '7'" );
   EXPECT_EQ(
      error( "# x\n  sleep # y" ), "f.ops:2:3: expected \"Value('Hardware::Max24305::Op', ** {\", found 'sleep # y'" );
}

TEST( SequenceFile, AllMistakesAreToldAtOnce ) {
   try {
      sequenceOf( "f.ops", "read 1 y\nread 1 2\nwrite x 3\n" );
      ADD_FAILURE() << "no error";
   } catch ( InputError const & error ) {
      EXPECT_EQ(
         error.mistakes(), ( std::vector<std::string>{
                              "f.ops:1:8: expected a value from 0 to 0xffffffff, found 'y'",
                              "f.ops:3:7: expected an address from 0 to 0xffffffff, found 'x'" } ) );
      EXPECT_EQ( error.what(), error.mistakes().front() );
   }
}

TEST( SequenceFile, EachOperationHasItsLine ) {
   std::vector<U32> lines;
   sequenceOf( "f.ops", "# one\nread 1 2\n\n" + std::string( good ), &lines );
   EXPECT_EQ( lines, ( std::vector<U32>{ 2, 4 } ) );
}

TEST( SequenceFile, TheExampleGoesThroughTheShortFormAndBack ) {
   Sequence const sequence = readSequence( CLOCKPATH_EXAMPLES "ptp0.ops" );
   std::string content;
   for ( Op const & op : sequence ) content += shortText( op ) + "\n";
   EXPECT_TRUE(
      content.starts_with( "read 0x30 0x5e\nread 0x31 0xf1\nread 0x32 0x01\nwrite 0x00 0x80\nsleep 20ms\n" ) );
   EXPECT_EQ( sequenceOf( "f.ops", content ), sequence );
}

TEST( SequenceFile, PausesAreShownInTheLongestUnitThatFits ) {
   auto const text = []( U32 ns ) { return shortText( Op( 0, Hardware::Max24305::sleep_, 0, ns ) ); };
   EXPECT_EQ( text( 0 ), "sleep 0ns" );
   EXPECT_EQ( text( 1'000'000'000 ), "sleep 1s" );
   EXPECT_EQ( text( 1'500'000'000 ), "sleep 1500ms" );
   EXPECT_EQ( text( 10'000 ), "sleep 10us" );
   EXPECT_EQ( text( 4'294'967'295 ), "sleep 4294967295ns" );
}

TEST( SequenceFile, AnUnknownOperationHasNoShortForm ) {
   Op const op( 3, Hardware::Max24305::unknownOp_, 4, 5 );
   EXPECT_EQ( sequenceOf( "f.ops", shortText( op ) ), Sequence{ op } );
}

TEST( NumberOf, TakesDecimalAndHexadecimal ) {
   EXPECT_EQ( numberOf( "4294967295" ), 4294967295u );
   EXPECT_EQ( numberOf( "0xFFFFffff" ), 4294967295u );
   EXPECT_EQ( numberOf( "256", 255 ), std::nullopt );
   EXPECT_EQ( numberOf<U64>( "0x100000000" ), 4294967296u );
   EXPECT_EQ( numberOf( "1f", 255, 16 ), 31u );
   for ( char const * text : { "", "0x", "4294967296", "-1", "1 ", "x", "0x1g" } )
      EXPECT_EQ( numberOf( text ), std::nullopt ) << text;
}

TEST( RegisterList, TakesWhatRegisterToolsExport ) {
   EXPECT_EQ(
      listOf( "f.csv", "# exported\n# by a tool\n0x0010,0x3C\n11;7f # on\n  0012  00 # off\r\nffff, ff\n\n" ),
      ( Sequence{
         { 0, Hardware::Max24305::write_, 0x10, 0x3C },
         { 1, Hardware::Max24305::write_, 0x11, 0x7F },
         { 2, Hardware::Max24305::write_, 0x12, 0 },
         { 3, Hardware::Max24305::write_, 0xFFFF, 0xFF } } ) );
}

TEST( RegisterList, MistakesNameTheirPlaces ) {
   auto const mistakes = []( std::string const & content ) -> std::vector<std::string> {
      try {
         listOf( "f.csv", content );
      } catch ( InputError const & error ) {
         return error.mistakes();
      }
      return {};
   };
   EXPECT_EQ(
      mistakes( "10000,1\n 10\n10,100\n10,1,2\nAddress,Value\n" ),
      ( std::vector<std::string>{
         "f.csv:1:1: expected a hexadecimal address from 0 to ffff, found '10000'",
         "f.csv:2:4: expected a hexadecimal value from 0 to ff, found the end of the text",
         "f.csv:3:4: expected a hexadecimal value from 0 to ff, found '100'",
         "f.csv:4:6: expected the end of the line, found '2'",
         "f.csv:5:1: expected a hexadecimal address from 0 to ffff, found 'Address'" } ) );
   EXPECT_EQ(
      mistakes( "# none\n" ),
      std::vector<std::string>{ "f.csv: expected at least one register, such as 0x0010,0x3c, found none" } );
}

TEST( ReadBacks, StandBehindEachWrite ) {
   EXPECT_EQ(
      withReadBacks( sequenceOf( "f.ops", "write 1 0x102\nsleep 1ns\nread 3 4" ) ),
      sequenceOf( "f.ops", "write 1 0x102\nread 1 2\nsleep 1ns\nread 3 4" ) );
}

TEST( SequenceFile, ANumberAbove32BitsNamesItsAttribute ) {
   EXPECT_EQ(
      error( "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'read', 'address': 2, 'value': 4294967296})" ),
      "f.ops:1:86: attribute 'value': expected an unsigned integer from 0 to 4294967295, found '4294967296'" );
   EXPECT_EQ(
      error( "Value('Hardware::Max24305::Op', ** {'key': -1, 'type': 'read', 'address': 2, 'value': 3})" ),
      "f.ops:1:44: attribute 'key': expected an unsigned integer from 0 to 4294967295, found '-1, \\'type\\': "
      "\\'read\\', \\'address\\': 2, \\'value...'" );
}

TEST( SequenceFile, NothingMayFollowAnOperation ) {
   EXPECT_EQ(
      error( std::string( good ) + " # why" ),
      "f.ops:1:" + std::to_string( sizeof good ) + ": expected the end of the line, found ' # why'" );
}

TEST( SequenceFile, AFileWithoutOperationsIsAnError ) {
   std::string const expected =
      "f.ops: expected at least one operation, such as Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', "
      "'address': 0, 'value': 36}), found none";
   EXPECT_EQ( error( "" ), expected );
   EXPECT_EQ( error( "# nothing\n\n" ), expected );
}

TEST( SequenceFile, AFileThatCannotBeReadSaysWhy ) {
   Folder const folder;
   try {
      readSequence( folder.path( "absent.ops" ) );
      ADD_FAILURE() << "no error";
   } catch ( Input::InputError const & error ) {
      EXPECT_EQ( error.what(), folder.path( "absent.ops" ) + ": cannot be read: No such file or directory" );
   }
}

TEST( SequenceFile, TheExampleIsOfRealSizeAndShape ) {
   auto const sequence = readSequence( CLOCKPATH_EXAMPLES "ptp0.ops" );
   std::size_t counts[4] = {};
   for ( Op const & op : sequence ) ++counts[op.type];
   EXPECT_GE( sequence.size(), 400u );
   EXPECT_EQ( counts[Hardware::Max24305::unknownOp_], 0u );
   EXPECT_GE( counts[Hardware::Max24305::read_], 100u );
   EXPECT_GE( counts[Hardware::Max24305::write_], 100u );
   EXPECT_GE( counts[Hardware::Max24305::sleep_], 10u );
   EXPECT_EQ( sequence[0].type, Hardware::Max24305::read_ );
   for ( std::size_t i = 0; i < sequence.size(); ++i ) EXPECT_EQ( sequence[i].key, i );
}

TEST( SequenceFile, HasALimit ) {
   std::string lines;
   for ( U32 i = 0; i < 20'001; ++i ) lines += "read 0 0\n";
   EXPECT_EQ( error( lines ), "f.ops:20001: expected at most 20000 operations, found more" );
}

}   // namespace
}   // namespace SequenceFileTests
