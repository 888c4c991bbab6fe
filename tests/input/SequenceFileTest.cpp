#include "input/SequenceFile.h"

#include "input/InputError.h"
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

}   // namespace
}   // namespace SequenceFileTests
