#include "registers/RegisterBook.h"

#include "input/InputError.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace Host;
using namespace Input;

class RegisterBookTest : public ::testing::Test {
 protected:
   std::string error( std::function<void()> const & body ) const {
      try {
         body();
      } catch ( Input::InputError const & error ) {
         return error.what();
      }
      return "no error";
   }

   CardDescription const card = cardOf( wholeCard );
   RegisterBook const book{ card };
};

TEST_F( RegisterBookTest, ListsEveryRegisterThatHasAName ) {
   std::vector<std::string> names;
   for ( RegisterPlace const & place : book.all() ) names.push_back( place.name );
   EXPECT_EQ(
      names, ( std::vector<std::string>{
                "osc0.tolvaneEnable", "ptp0.spiCommandFifo", "ptp0.spiResponseFifo", "ptp0.spiCtrl", "ptp0.spiReset",
                "ptp0.max24305Status", "ptp0.apllStatus", "ptp1.spiCommandFifo", "ptp1.spiResponseFifo", "ptp1.spiCtrl",
                "ptp1.spiReset", "ptp1.max24305Status", "ptp1.apllStatus", "osc0Reset", "ptp0Reset", "ptp1Reset" } ) );
}

TEST_F( RegisterBookTest, FindsByNameAndByAddress ) {
   RegisterPlace const byName = book.one( "ptp0.spiCtrl" );
   EXPECT_EQ( byName.address, 0x120u );
   EXPECT_EQ( byName.chip, nullptr );
   RegisterPlace const byAddress = book.one( "0x120" );
   EXPECT_EQ( byAddress.declaration, byName.declaration );
   EXPECT_EQ( byAddress.address, 0x120u );
   EXPECT_EQ( book.one( "288" ).declaration, byName.declaration );
   RegisterPlace const unnamed = book.one( "0x4000" );
   EXPECT_EQ( unnamed.address, 0x4000u );
   EXPECT_EQ( unnamed.declaration, nullptr );
   RegisterPlace const ofChip = book.one( "ptp0:0x7" );
   EXPECT_EQ( ofChip.chip, card.max24305( "ptp0" ) );
   EXPECT_EQ( ofChip.address, 7u );
   EXPECT_EQ( ofChip.declaration, book.one( "ptp0.apllStatus" ).declaration );
   EXPECT_EQ( book.one( "ptp1:65535" ).declaration, nullptr );
   EXPECT_EQ( book.one( "ptp1Reset" ).output, &card.gpos[2] );
}

TEST_F( RegisterBookTest, AChipsNameStandsForAllItsRegisters ) {
   EXPECT_EQ( book.named( "ptp0" ).size(), 6u );
   EXPECT_EQ( book.named( "osc0" ).size(), 1u );
   EXPECT_EQ( book.named( "ptp0.spiCtrl" ).size(), 1u );
}

TEST_F( RegisterBookTest, ARangeStandsForItsRegisters ) {
   auto const names = [&]( std::string const & word ) {
      std::string text;
      for ( RegisterPlace const & place : book.range( word ) ) text += place.name + " ";
      return text;
   };
   EXPECT_EQ( names( "ptp0:0xf-0x11" ), "ptp0:0xf ptp0:0x10 ptp0:0x11 " );
   EXPECT_EQ( names( "ptp0:6-7" ), "ptp0:0x6 ptp0:0x7 " );
   EXPECT_EQ( names( "0x11c-0x127" ), "0x11c 0x120 0x124 " );
   EXPECT_EQ( names( "0x120-0x120" ), "0x120 " );
   EXPECT_EQ( names( "ptp0.spiCtrl" ), "ptp0.spiCtrl " );
   EXPECT_EQ( book.range( "0x11c-0x127" )[1].declaration, book.one( "0x120" ).declaration );
   EXPECT_EQ( book.range( "ptp0:0-65535" ).size(), 65536u );
   EXPECT_EQ( book.named( "ptp0:6-7" ).size(), 2u );
   std::string const prefix = "\"0x120-0x11c\" is no register of card.json; ";
   EXPECT_EQ(
      error( [&] { book.range( "0x120-0x11c" ); } ),
      prefix + "expected a range from a lower to a higher register, of 65536 at most" );
   EXPECT_NE( error( [&] { book.range( "0-0xfffffffc" ); } ), "no error" );
   EXPECT_EQ(
      error( [&] { book.range( "ptp0.spiCtrl-7" ); } ),
      "\"ptp0.spiCtrl-7\" is no register of card.json; expected a range of numbers, such as 0x2000-0x200c or "
      "CHIP:0x10-0x1f" );
   EXPECT_EQ(
      error( [&] { book.range( "ptp0:0xfffe-0x10000" ); } ),
      "\"ptp0:0x10000\" is no register of card.json; expected a register from 0 to 0xffff behind the colon" );
}

TEST_F( RegisterBookTest, AnOutputMayBeNamedLikeARange ) {
   CardDescription const dashed =
      cardOf( with( with( wholeCard, "\"osc0Reset\"", "\"reset-0\"" ), "\"osc0Reset\"", "\"reset-0\"" ) );
   EXPECT_EQ( RegisterBook( dashed ).range( "reset-0" ).front().output, &dashed.gpos[0] );
}

TEST_F( RegisterBookTest, DecodesFieldsFromTheDeclarations ) {
   EXPECT_EQ( book.one( "ptp0.spiCtrl" ).fieldsText( 0x00050003 ), "writeFifoCount 5, readFifoCount 3" );
   EXPECT_EQ( book.one( "osc0.tolvaneEnable" ).fieldsText( 2 ), "enable true, powerGood false" );
   EXPECT_EQ( book.one( "ptp0:7" ).fieldsText( 0x10 ), "apll2Locked true, apll1Locked false" );
   EXPECT_EQ( book.one( "ptp0:7" ).fieldsText( 0xFF ), "apll2Locked true, apll1Locked true; or no answer" );
   EXPECT_EQ( book.one( "ptp0:8" ).fieldsText( 0xFF ), "or no answer" );
   EXPECT_EQ( book.one( "ptp0:8" ).fieldsText( 0x12 ), "" );
   EXPECT_EQ( book.one( "osc0Reset" ).fieldsText( 1 ), "bit 0 is 1, active" );
   EXPECT_EQ( book.one( "ptp0Reset" ).fieldsText( 2 ), "bit 1 is 1, inactive" );
   EXPECT_EQ( book.one( "ptp1Reset" ).fieldsText( 0x80000000 ), "bit 31 is 1, active" );
}

TEST_F( RegisterBookTest, ReplacesOneField ) {
   std::string field;
   RegisterPlace const enable = book.one( "osc0.tolvaneEnable.enable", &field );
   EXPECT_EQ( field, "enable" );
   EXPECT_EQ( enable.withField( 0x80000001, field, "1" ), 0x80000003u );
   EXPECT_EQ( enable.withField( 3, field, "false" ), 1u );
   EXPECT_EQ( book.one( "ptp0.spiCtrl" ).withField( 0xFFFFFFFF, "readFifoCount", "0x1f" ), 0xFFFFFFDFu );
   EXPECT_EQ(
      error( [&] { enable.withField( 0, "enabled", "1" ); } ),
      "there is no field \"enabled\"; expected \"enable\" or \"powerGood\"" );
   EXPECT_EQ(
      error( [&] { book.one( "ptp0.spiReset" ).withField( 0, "reset", "2" ); } ),
      "the field \"reset\": expected a number from 0 to 1, found \"2\"" );
   EXPECT_EQ(
      error( [&] { enable.withField( 0, "enable", "on" ); } ),
      "the field \"enable\": expected a number from 0 to 1, found \"on\"" );
}

TEST_F( RegisterBookTest, AFieldThatCanOnlyBeReadIsNotReplaced ) {
   EXPECT_EQ(
      error( [&] { book.one( "osc0.tolvaneEnable" ).withField( 0, "powerGood", "1" ); } ),
      "the field \"powerGood\" can only be read; expected \"enable\"" );
}

TEST_F( RegisterBookTest, KnowsWhatCanBeReadAndWritten ) {
   auto const readable = [&]( std::string const & word ) {
      return error( [&] { book.requireReadable( book.one( word ) ); } ) == "no error";
   };
   auto const writable = [&]( std::string const & word ) {
      return error( [&] { book.requireWritable( book.one( word ) ); } ) == "no error";
   };
   for ( char const * both : { "osc0.tolvaneEnable", "ptp0.spiReset", "ptp0Reset", "0x2000", "0x4000", "ptp0:8" } )
      EXPECT_TRUE( readable( both ) && writable( both ) ) << both;
   // ptp1's SPI master has no reset.
   for ( char const * onlyRead :
         { "ptp0.spiResponseFifo", "ptp0.spiCtrl", "0x120", "ptp0.max24305Status", "ptp0.apllStatus", "ptp0:7",
           "ptp1.spiReset", "0x430" } )
      EXPECT_TRUE( readable( onlyRead ) && !writable( onlyRead ) ) << onlyRead;
   for ( char const * onlyWritten : { "ptp0.spiCommandFifo", "0x100" } )
      EXPECT_TRUE( !readable( onlyWritten ) && writable( onlyWritten ) ) << onlyWritten;
   EXPECT_EQ(
      error( [&] { book.requireWritable( book.one( "0x420" ) ); } ),
      "\"0x420\" can only be read: it ignores writes; expected a register that can be written: \"osc0.tolvaneEnable\", "
      "\"ptp0.spiCommandFifo\", \"ptp0.spiReset\", \"ptp1.spiCommandFifo\", \"osc0Reset\", \"ptp0Reset\" or "
      "\"ptp1Reset\"" );
}

TEST_F( RegisterBookTest, ANameThatTheCardHasNotIsAnError ) {
   std::string const near = error( [&] { book.one( "ptp0.spiCtr" ); } );
   EXPECT_EQ(
      near.substr( 0, near.find( '?' ) ),
      "\"ptp0.spiCtr\" is no register of card.json; did you mean \"ptp0.spiCtrl\"" );
   EXPECT_EQ(
      error( [&] { book.one( "0x121" ); } ),
      "\"0x121\" is no register of card.json; expected an address that is a multiple of 4" );
   EXPECT_EQ(
      error( [&] { book.one( "osc0:7" ); } ), "\"osc0:7\" is no register of card.json; expected a MAX24305 of the "
                                              "card before the colon: \"ptp0\" or \"ptp1\"" );
   EXPECT_EQ(
      error( [&] { book.one( "ptp0:65536" ); } ),
      "\"ptp0:65536\" is no register of card.json; expected a register from 0 to 0xffff behind the colon" );
   std::string field;
   EXPECT_TRUE( error( [&] {
                   book.one( "osc0Reset.active", &field );
                } ).starts_with( "\"osc0Reset.active\" is no register of card.json; " ) );
   CardDescription const mapped =
      cardOf( with( wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "mmap", "path": "f", "size": 16384 })" ) );
   EXPECT_EQ(
      error( [&] { RegisterBook( mapped ).one( "0x4000" ); } ),
      "\"0x4000\" is no register of card.json; expected an address below 0x4000" );
}

}   // namespace
