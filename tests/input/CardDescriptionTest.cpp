#include "input/CardDescription.h"

#include "input/Json.h"
#include "input/SequenceFile.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

namespace CardDescriptionTests {
namespace {

using namespace Input;

std::string error( std::string const & content ) {
   try {
      cardOf( content );
   } catch ( Input::InputError const & error ) {
      return error.what();
   }
   return "no error";
}

std::string errorWith( std::string const & piece, std::string const & other ) {
   return error( with( wholeCard, piece, other ) );
}

TEST( CardDescription, ReadsTheWholeCard ) {
   CardDescription const card = cardOf( wholeCard );
   EXPECT_EQ( card.genId, 7u );
   EXPECT_EQ( card.slotId, 3u );
   ASSERT_EQ( card.gpos.size(), 3u );
   EXPECT_EQ( card.gpos[1].name, "ptp0Reset" );
   EXPECT_EQ( card.gpos[1].offset, 8192u );
   EXPECT_EQ( card.gpos[1].bit, 1u );
   EXPECT_EQ( card.gpos[1].activeType, Fru::activeLow_ );
   EXPECT_EQ( card.gpos[2].activeType, Fru::activeHigh_ );
   ASSERT_EQ( card.tolvanes.size(), 1u );
   EXPECT_EQ( card.tolvanes[0].name, "osc0" );
   EXPECT_EQ( card.tolvanes[0].offset, 12288u );
   EXPECT_EQ( card.tolvanes[0].resetGpoName, "osc0Reset" );
   EXPECT_EQ( card.tolvanes[0].role, Hardware::Tolvane::timeSync_ );
   ASSERT_EQ( card.max24305s.size(), 2u );
   Max24305Description const & ptp0 = card.max24305s[0];
   EXPECT_EQ( ptp0.name, "ptp0" );
   EXPECT_EQ( ptp0.configOffset, 256u );
   EXPECT_EQ( ptp0.statusOffset, 512u );
   EXPECT_EQ( ptp0.input, Hardware::Max24305::tolvane_ );
   EXPECT_EQ( ptp0.outputFrequencyInHz, 10'000'000u );
   EXPECT_TRUE( ptp0.spiResetSupported );
   ASSERT_EQ( ptp0.sequence.size(), 3u );
   EXPECT_EQ( ptp0.sequence[1], Hardware::Max24305::Op( 1, Hardware::Max24305::write_, 16, 60 ) );
   Max24305Description const & ptp1 = card.max24305s[1];
   EXPECT_EQ( ptp1.role, Hardware::Max24305::unknown_ );
   EXPECT_EQ( ptp1.input, Hardware::Max24305::stuffedClock_ );
   EXPECT_EQ( ptp1.programSeq, Hardware::Max24305::mClkIn25_oc1Out10_ );
   EXPECT_TRUE( ptp1.sequence.empty() );
}

TEST( CardDescription, WhatIsLeftOutHasItsDefault ) {
   CardDescription const card = cardOf( with( with( wholeCard, R"("genId": 7, )", "" ), R"("slotId": 3,)", "" ) );
   EXPECT_EQ( card.genId, 0u );
   EXPECT_EQ( card.slotId, 0u );
   auto const & access = std::get<SimulatedAccess>( card.access );
   EXPECT_EQ( access.spiClockInHz, 10'000'000u );
   EXPECT_EQ( access.lockAfterNs, 2'500'000'000u );
   Max24305Description const & ptp0 = card.max24305s[0];
   EXPECT_EQ( ptp0.role, Hardware::Max24305::timeSync_ );
   EXPECT_EQ( ptp0.programSeq, Hardware::Max24305::ic1In10_oc1Out10_ );
   EXPECT_EQ( ptp0.tolvane, "osc0" );
   EXPECT_EQ( ptp0.clockStatus, "ptp0" );
   EXPECT_EQ( ptp0.simulatedLockAfterNs, 2'500'000'000u );
   EXPECT_EQ( ptp0.simulatedApllStatus, 0x11u );
   EXPECT_EQ( card.max24305s[1].outputFrequencyInHz, 0u );
}

TEST( CardDescription, ASimulatedChipMayHavePropertiesOfItsOwn ) {
   CardDescription const card = cardOf( with(
      with( wholeCard, R"("kind": "simulated")", R"("kind": "simulated", "spiClockInHz": 1000, "lockAfterNs": 5)" ),
      R"("role": "unknown")", R"("simulated": { "lockAfterNs": 9, "apllStatus": 51 }, "clockStatus": "shared")" ) );
   EXPECT_EQ( std::get<SimulatedAccess>( card.access ).spiClockInHz, 1000u );
   EXPECT_EQ( card.max24305s[0].simulatedLockAfterNs, 5u );
   EXPECT_EQ( card.max24305s[1].simulatedLockAfterNs, 9u );
   EXPECT_EQ( card.max24305s[1].simulatedApllStatus, 51u );
   EXPECT_EQ( card.max24305s[1].clockStatus, "shared" );
}

TEST( CardDescription, TheHardwareOfASimulatedCardMayLiveElsewhere ) {
   EXPECT_EQ( cardOf( wholeCard ).place(), "" );
   std::string const elsewhere =
      with( wholeCard, R"("kind": "simulated")", R"("kind": "simulated", "socket": "a/b" )" );
   Input::JsonDocument const file( "/cards/card.json", elsewhere );
   EXPECT_EQ( cardDescription( file.root() ).place(), "/cards/a/b" );
   std::string const mapped =
      with( wholeCard, R"("kind": "simulated")", R"("kind": "mmap", "path": "/dev/uio0", "size": 65536 )" );
   EXPECT_EQ( cardOf( mapped ).place(), "/dev/uio0" );
}

TEST( CardDescription, ASimulatedChipMaySettleAndHaveVolatileBits ) {
   CardDescription const card = cardOf( with(
      wholeCard, R"("role": "unknown")",
      R"("simulated": { "settleNs": 1000000, "volatile": [ { "address": 65535, "mask": 255 },
                                                           { "address": 0, "mask": 1 } ] })" ) );
   EXPECT_EQ( card.max24305s[0].simulatedSettleNs, 0u );
   EXPECT_TRUE( card.max24305s[0].simulatedVolatile.empty() );
   EXPECT_EQ( card.max24305s[1].simulatedSettleNs, 1'000'000u );
   EXPECT_EQ( card.max24305s[1].simulatedVolatile, ( std::map<U16, U8>{ { 0, 1 }, { 65535, 255 } } ) );
   EXPECT_EQ( card.max24305s[1].simulatedApllStatus, 0x11u );
}

TEST( CardDescription, WhatIsSimulatedIsChecked ) {
   auto const simulatedError = []( std::string const & simulated ) {
      return errorWith( R"("role": "unknown")", "\"simulated\": { " + simulated + " }" );
   };
   std::string const at = "card.json: /chips/2/simulated";
   EXPECT_EQ(
      simulatedError( R"("settleNs": -1)" ),
      at + "/settleNs: expected a whole number from 0 to 18446744073709551615, found -1" );
   EXPECT_EQ( simulatedError( R"("volatile": {})" ), at + "/volatile: expected a list, found an object" );
   EXPECT_EQ(
      simulatedError( R"("volatile": [ { "address": 65536, "mask": 1 } ])" ),
      at + "/volatile/0/address: expected a whole number from 0 to 65535, found 65536" );
   EXPECT_EQ(
      simulatedError( R"("volatile": [ { "address": 1, "mask": 0 } ])" ),
      at + "/volatile/0/mask: expected a whole number from 1 to 255, found 0" );
   EXPECT_EQ(
      simulatedError( R"("volatile": [ { "address": 1 } ])" ),
      at + "/volatile/0/mask: expected a whole number from 1 to 255, found nothing: the key is missing" );
   EXPECT_EQ(
      simulatedError( R"("volatile": [ { "address": 1, "mask": 1, "bits": 2 } ])" ),
      at + "/volatile/0/bits: unknown key, found with 2; known here: \"address\" or \"mask\"" );
   EXPECT_EQ(
      simulatedError( R"("volatile": [ { "address": 1, "mask": 1 }, { "address": 1, "mask": 2 } ])" ),
      at + "/volatile/1: register 1 stands here twice; expected one mask for it" );
   EXPECT_EQ(
      simulatedError( R"("settle": 1)" ),
      at + "/settle: unknown key, found with 1; did you mean \"settleNs\"?; known here: \"lockAfterNs\", "
           "\"apllStatus\", \"settleNs\" or \"volatile\"" );
}

TEST( CardDescription, AMappedCardHasAPathBesideItsFile ) {
   Folder const folder;
   std::string const path = folder.file(
      "card.json",
      with( wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "mmap", "path": "resource0", "size": 16384 })" ) );
   auto const access = std::get<MmapAccess>( readCard( path ).access );
   EXPECT_EQ( access.path, folder.path( "resource0" ) );
   EXPECT_EQ( access.offset, 0u );
   EXPECT_EQ( access.size, 16384u );
}

TEST( CardDescription, AMissingKeyIsNamed ) {
   EXPECT_EQ(
      errorWith( R"("configOffset": 256, )", "" ), "card.json: /chips/0/configOffset: expected a whole number from 0 "
                                                   "to 4294967295, found nothing: the key is missing" );
   EXPECT_EQ(
      errorWith( R"("access": { "kind": "simulated" }, )", "" ),
      "card.json: /access: expected an object, found nothing: the key is missing" );
   EXPECT_EQ(
      errorWith( R"("input": "tolvane", )", "" ),
      "card.json: /chips/0/input: expected \"noInput\", \"tolvane\" or \"stuffedClock\", found nothing: the key is "
      "missing" );
   EXPECT_EQ(
      errorWith( R"("spiResetSupported": true, )", "" ),
      "card.json: /chips/0/spiResetSupported: expected true or false, found nothing: the key is missing" );
   EXPECT_EQ(
      errorWith( R"("sequence": [])", R"("clockStatus": "x")" ),
      "card.json: /chips/2/sequence: expected the path of a sequence file or a list of operations, found nothing: the "
      "key is missing" );
   EXPECT_EQ(
      errorWith( R"("kind": "tolvane", )", "" ),
      "card.json: /chips/1/kind: expected \"tolvane\" or \"max24305\", found nothing: the key is missing" );
}

TEST( CardDescription, AnUnknownKeyIsAnError ) {
   EXPECT_EQ(
      errorWith( R"("genId": 7)", R"("genID": 7)" ),
      "card.json: /genID: unknown key, found with 7; did you mean \"genId\"?; known here: \"access\", \"genId\", "
      "\"slotId\", \"gpos\" or \"chips\"" );
   EXPECT_EQ(
      errorWith( R"("bit": 0)", R"("bit": 0, "colour": "red")" ),
      "card.json: /gpos/0/colour: unknown key, found with \"red\"; known here: \"name\", \"offset\", \"bit\" or "
      "\"activeType\"" );
   EXPECT_EQ(
      errorWith( R"("offset": 12288)", R"("offset": 12288, "statusOffset": 0)" ),
      "card.json: /chips/1/statusOffset: unknown key, found with 0; known here: \"kind\", \"name\", \"offset\", "
      "\"resetGpoName\" or \"role\"" );
   EXPECT_EQ(
      errorWith( R"("kind": "simulated")", R"("kind": "simulated", "size": 4)" ),
      "card.json: /access/size: unknown key, found with 4; known here: \"kind\", \"spiClockInHz\", \"lockAfterNs\" or "
      "\"socket\"" );
}

TEST( CardDescription, AWrongTypeIsAnError ) {
   EXPECT_EQ(
      errorWith( R"("configOffset": 256)", R"("configOffset": "256")" ),
      "card.json: /chips/0/configOffset: expected a whole number from 0 to 4294967295, found \"256\"" );
   EXPECT_EQ(
      errorWith( R"("outputFrequencyInHz": 10000000)", R"("outputFrequencyInHz": 4294967296)" ),
      "card.json: /chips/0/outputFrequencyInHz: expected a whole number from 0 to 4294967295, found 4294967296" );
   EXPECT_EQ(
      errorWith( R"("bit": 31)", R"("bit": 32)" ),
      "card.json: /gpos/2/bit: expected a whole number from 0 to 31, found 32" );
   EXPECT_EQ(
      errorWith( R"("role": "unknown")", R"("role": "timesync")" ),
      "card.json: /chips/2/role: expected \"unknown\" or \"timeSync\", found \"timesync\"" );
   EXPECT_EQ(
      errorWith( R"("activeType": "activeLow")", R"("activeType": "low")" ),
      "card.json: /gpos/1/activeType: expected \"activeHigh\" or \"activeLow\", found \"low\"" );
   EXPECT_EQ( error( "[]" ), "card.json: expected an object, found an empty list" );
}

TEST( CardDescription, NamesAreUnique ) {
   EXPECT_EQ(
      errorWith( R"("name": "ptp1")", R"("name": "ptp0")" ),
      "card.json: /chips/2/name: two chips are named \"ptp0\"; expected a name of its own" );
   EXPECT_EQ(
      errorWith( R"("name": "ptp1")", R"("name": "osc0")" ),
      "card.json: /chips/2/name: two chips are named \"osc0\"; expected a name of its own" );
   EXPECT_EQ(
      errorWith( R"("name": "ptp1Reset")", R"("name": "osc0Reset")" ),
      "card.json: /gpos/2/name: two outputs are named \"osc0Reset\"; expected a name of its own" );
   EXPECT_EQ(
      errorWith( R"("name": "ptp1")", R"("name": "ptp/1")" ),
      "card.json: /chips/2/name: expected a name without blanks, '/', ':' and '.', which part names from one another, "
      "found \"ptp/1\"" );
   EXPECT_EQ(
      errorWith( R"("name": "ptp1")", R"("name": "")" ),
      "card.json: /chips/2/name: expected a name (a text that is not empty), found \"\"" );
}

TEST( CardDescription, ReferencesPointAtSomething ) {
   EXPECT_EQ(
      errorWith( R"("resetGpoName": "ptp0Reset")", R"("resetGpoName": "reset")" ),
      "card.json: /chips/0/resetGpoName: there is no output \"reset\"; expected one of \"gpos\": \"osc0Reset\", "
      "\"ptp0Reset\" or \"ptp1Reset\"" );
   EXPECT_EQ(
      errorWith( R"("input": "tolvane")", R"("input": "tolvane", "tolvane": "ptp1")" ),
      "card.json: /chips/0/tolvane: there is no Tolvane \"ptp1\"; expected one of the chips of kind \"tolvane\": "
      "\"osc0\"" );
   EXPECT_EQ(
      errorWith( R"("input": "stuffedClock")", R"("input": "stuffedClock", "tolvane": "osc0")" ),
      "card.json: /chips/2/tolvane: expected no feeding Tolvane, since \"input\" is not \"tolvane\", found \"osc0\"" );
   EXPECT_EQ(
      errorWith( R"({ "kind": "tolvane", "name": "osc0", "offset": 12288, "resetGpoName": "osc0Reset" },)", "" ),
      "card.json: /chips/0/tolvane: expected the name of the feeding Tolvane, which may be left out only where the "
      "card "
      "has exactly one (it has 0), found nothing: the key is missing" );
}

TEST( CardDescription, RegistersAreAlignedAndBelongToOne ) {
   EXPECT_EQ(
      errorWith( R"("configOffset": 256)", R"("configOffset": 258)" ),
      "card.json: /chips/0/configOffset: expected an offset that is a multiple of 4, for a register is a 32-bit word; "
      "found 258" );
   EXPECT_EQ(
      errorWith( R"("configOffset": 1024)", R"("configOffset": 272)" ),
      "card.json: /chips/2/configOffset: the register at 0x110 of the SPI master of \"ptp1\" belongs to the SPI master "
      "of "
      "\"ptp0\" already (/chips/0/configOffset); expected offsets that do not overlap, found 272" );
   EXPECT_EQ(
      errorWith( R"("statusOffset": 1280)", R"("statusOffset": 12288)" ),
      "card.json: /chips/2/statusOffset: the register at 0x3000 of the frequency register of \"ptp1\" belongs to the "
      "enable register of \"osc0\" already (/chips/1/offset); expected offsets that do not overlap, found 12288" );
   EXPECT_EQ(
      errorWith( R"("statusOffset": 512)", R"("statusOffset": 8192)" ),
      "card.json: /chips/0/statusOffset: the register at 0x2000 of the frequency register of \"ptp0\" belongs to the "
      "output \"osc0Reset\" already (/gpos/0/offset); expected offsets that do not overlap, found 8192" );
   EXPECT_EQ(
      errorWith( R"("bit": 1,)", R"("bit": 0,)" ),
      "card.json: /gpos/1/bit: bit 0 at 0x2000 is the output \"osc0Reset\" already; expected a bit of its own" );
   EXPECT_EQ(
      errorWith( R"("configOffset": 256)", R"("configOffset": 4294967280)" ),
      "card.json: /chips/0/configOffset: the register at 0x100000000 of the SPI master of \"ptp0\" lies outside the "
      "card's space; expected it below 0x100000000, found the offset 4294967280" );
}

TEST( CardDescription, RegistersOfAMappedCardLieInItsSpace ) {
   auto const mapped = []( std::string const & access ) {
      return errorWith( R"({ "kind": "simulated" })", "{ \"kind\": \"mmap\", \"path\": \"f\", " + access + " }" );
   };
   EXPECT_EQ( mapped( R"("size": 12292)" ), "no error" );
   EXPECT_EQ(
      mapped( R"("size": 12288)" ),
      "card.json: /chips/1/offset: the register at 0x3000 of the enable register of \"osc0\" lies outside the card's "
      "space; expected it below 0x3000, found the offset 12288" );
   EXPECT_EQ( mapped( R"("size": 12290)" ), "card.json: /access/size: expected a multiple of 4, found 12290" );
   EXPECT_EQ(
      mapped( R"("size": 16384, "offset": 2)" ), "card.json: /access/offset: expected a multiple of 4, found 2" );
   EXPECT_EQ(
      mapped( R"("size": 0)" ), "card.json: /access/size: expected a whole number from 4 to 4294967292, found 0" );
   EXPECT_EQ(
      error( with(
         with( wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "mmap", "path": "f", "size": 16384 })" ),
         R"("role": "unknown")", R"("simulated": {})" ) ),
      "card.json: /chips/2/simulated: expected no simulated properties, since the card's access is not \"simulated\", "
      "found an object" );
}

TEST( CardDescription, AnUnreadableSequenceSaysWhere ) {
   Folder const folder;
   std::string const path =
      folder.file( "card.json", with( wholeCard, R"("sequence": [])", R"("sequence": "absent.ops")" ) );
   try {
      readCard( path );
      ADD_FAILURE() << "no error";
   } catch ( Input::InputError const & error ) {
      EXPECT_EQ(
         error.what(), path + ": /chips/2/sequence: the sequence file " + folder.path( "absent.ops" ) +
                          ": cannot be read: No such file or directory" );
   }
}

TEST( CardDescription, ASequenceInPlaceNamesElementAndColumn ) {
   EXPECT_EQ(
      errorWith(
         R"("sequence": [])",
         R"json("sequence": ["Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'toggle', 'address': 1, 'value': 2})"])json" ),
      "card.json: /chips/2/sequence/0: column 55: attribute 'type': Hardware::Max24305::OpType has no enumerator "
      "'toggle'; it has unknownOp, read, write, sleep" );
   EXPECT_EQ(
      errorWith( R"("sequence": [])", R"("sequence": [5])" ),
      "card.json: /chips/2/sequence/0: expected a text, found 5" );
}

TEST( CardDescription, ASequenceInPlaceMayBeInTheShortForm ) {
   CardDescription const card =
      cardOf( with( wholeCard, R"("sequence": [])", R"("sequence": [ "write 0x10 60", "sleep 1us # why" ])" ) );
   EXPECT_EQ(
      card.max24305s[1].sequence,
      ( Sequence{ { 0, Hardware::Max24305::write_, 16, 60 }, { 1, Hardware::Max24305::sleep_, 0, 1000 } } ) );
   EXPECT_EQ( card.max24305s[1].placeOf( 1 ), "card.json: /chips/2/sequence/1" );
}

TEST( CardDescription, AddressesMayBeHexadecimalTexts ) {
   CardDescription const card = cardOf( with( wholeCard, R"("offset": 12288)", R"("offset": "0x3000")" ) );
   EXPECT_EQ( card.tolvanes[0].offset, 12288u );
   EXPECT_EQ(
      errorWith( R"("offset": 12288)", R"("offset": "0x300x")" ),
      "card.json: /chips/1/offset: expected a whole number from 0 to 4294967295, found \"0x300x\"" );
}

std::vector<std::string> mistakes( std::string const & content ) {
   try {
      cardOf( content );
   } catch ( InputError const & error ) {
      return error.mistakes();
   }
   return {};
}

TEST( CardDescription, TellsTheMistakesOfAllItsParts ) {
   std::string content = with( wholeCard, R"("genId": 7)", R"("genId": -7)" );
   content = with( content, R"("sequence": [])", R"("sequence": [ "write 1 x", "read 1 1", "sleep 1" ], "bad": 1)" );
   content = with( content, "'address': 48, ", "" );
   content = with( content, R"("offset": 12288)", R"("offset": 12289)" );
   std::vector<std::string> const found = mistakes( content );
   ASSERT_EQ( found.size(), 6u );
   EXPECT_EQ( found[0], "card.json: /genId: expected a whole number from 0 to 4294967295, found -7" );
   EXPECT_TRUE( found[1].starts_with( "card.json: /chips/0/sequence/0: column 61: expected \", 'address'" ) )
      << found[1];
   EXPECT_TRUE( found[2].starts_with( "card.json: /chips/1/offset: expected an offset" ) ) << found[2];
   EXPECT_TRUE( found[3].starts_with( "card.json: /chips/2/sequence/0: column 9: expected a value" ) ) << found[3];
   EXPECT_TRUE( found[4].starts_with( "card.json: /chips/2/sequence/2: column 7: expected a pause" ) ) << found[4];
   EXPECT_TRUE( found[5].starts_with( "card.json: /chips/2/bad: unknown key" ) ) << found[5];
}

TEST( CardDescription, AMistakeIsNotToldAgainByThoseWhoReferToIt ) {
   EXPECT_EQ(
      mistakes( with( wholeCard, R"("bit": 1,)", R"("bit": 32,)" ) ),
      std::vector<std::string>{ "card.json: /gpos/1/bit: expected a whole number from 0 to 31, found 32" } );
   EXPECT_EQ(
      mistakes( with( wholeCard, R"("offset": 12288)", R"("offset": null)" ) ),
      std::vector<std::string>{
         "card.json: /chips/1/offset: expected a whole number from 0 to 4294967295, found null" } );
}

TEST( CardDescription, PathsStartAtTheFileThatNamesThem ) {
   EXPECT_EQ( besideFile( "a/card.json", "ptp0.ops" ), "a/ptp0.ops" );
   EXPECT_EQ( besideFile( "card.json", "ptp0.ops" ), "ptp0.ops" );
   EXPECT_EQ( besideFile( "a/card.json", "/x/ptp0.ops" ), "/x/ptp0.ops" );
}

TEST( CardDescription, ChipsAndOutputsHaveLimitsAndPrintableNames ) {
   auto const many = []( std::size_t count ) {
      std::string all = "{}";
      for ( std::size_t i = 1; i < count; ++i ) all += ",{}";
      return all;
   };
   EXPECT_EQ(
      error( R"({"access":{"kind":"simulated"},"gpos":[)" + many( 4097 ) + R"(],"chips":[{}]})" ),
      "card.json: /gpos: expected at most 4096 outputs, found 4097" );
   EXPECT_EQ(
      error( R"({"access":{"kind":"simulated"},"gpos":[],"chips":[)" + many( 1025 ) + "]}" ),
      "card.json: /chips: expected at most 1024 chips, found 1025" );
   EXPECT_EQ(
      errorWith( R"("name": "osc0Reset")", R"("name": "osc0\tReset")" ),
      "card.json: /gpos/0/name: expected a name of printable characters, found \"osc0\\tReset\"" );
   EXPECT_EQ(
      errorWith( R"("name": "osc0",)", R"("name": "osc\u009b0",)" ),
      "card.json: /chips/1/name: expected a name of printable characters, found \"osc\xc2\x9b"
      "0\"" );
}

TEST( CardDescription, KnowsItsFiles ) {
   Folder const folder;
   folder.file( "a.ops", "read 0 0\n" );
   std::string const path = folder.file(
      "card.json",
      with( with( wholeCard, shortSequence, "\"a.ops\"" ), "\"simulated\" }", "\"simulated\", \"socket\": \"s\" }" ) );
   EXPECT_EQ(
      readCard( path ).files(), ( std::vector<std::string>{ path, folder.path( "s" ), folder.path( "a.ops" ), "" } ) );
}

}   // namespace
}   // namespace CardDescriptionTests
