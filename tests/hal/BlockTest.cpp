#include "hal/Block.h"

#include "framework/Reflection.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"

#include <gtest/gtest.h>

#include <string>

namespace Hardware {
namespace {

std::string accessText( Vor::Type const & type ) { return Vor::valueText( type.operations().access() ).stdString(); }

// One register a line: type, address, access, fields as NAME FROM-TO, with ? for a flag and ! for one never written.
std::string text( Hal::Registers block ) {
   std::string lines;
   for ( Hal::RegisterDeclaration const & reg : block ) {
      lines += std::string( reg.type().name() ) + " " + std::to_string( reg.address ) + " " + accessText( reg.type() );
      EXPECT_EQ( Vor::valueText( Vor::toValue( reg.access ) ).stdString(), accessText( reg.type() ) );
      for ( Hal::FieldDeclaration const & field : reg.fields )
         lines += ", " + std::string( field.name ) + " " + std::to_string( field.range.from ) + "-" +
                  std::to_string( field.range.to ) + ( field.isFlag ? "?" : "" ) +
                  ( Hal::writable( field.access ) ? "" : "!" );
      lines += "\n";
   }
   return lines;
}

TEST( Block, DeclaresTheRegistersAsTheHardwareHasThem ) {
   EXPECT_EQ(
      text( spiMasterBlock ),
      "Hardware::SpiCommandFifo 0 writeOnly, csEnd 31-31?, recordResponse 12-12?, dataToWrite 0-7\n"
      "Hardware::SpiResponseFifo 16 readTakes, dataValid 31-31?, data 0-7\n"
      "Hardware::SpiCtrl 32 readOnly, writeFifoCount 16-21, readFifoCount 0-5\n"
      "Hardware::SpiReset 48 readWrite, reset 0-0\n" );
   EXPECT_EQ( text( tolvaneBlock ), "Hardware::TolvaneEnable 0 readWrite, enable 1-1?, powerGood 0-0?!\n" );
   EXPECT_EQ( text( frequencyBlock ), "Hardware::Max24305Status 0 readOnly, frequencyInHz 0-31\n" );
   EXPECT_EQ( text( max24305Block ), "Hardware::ApllStatus 7 readOnly, apll2Locked 4-4?, apll1Locked 0-0?\n" );
}

TEST( Block, AFieldReadsItsBitsOfAWord ) {
   Hal::FieldDeclaration const & count = spiMasterBlock[2].fields[0];
   EXPECT_EQ( count.value( 0xFFC5FFFF ), 5u );
   EXPECT_EQ( count.maximum(), 63u );
   EXPECT_EQ( frequencyBlock[0].fields[0].maximum(), 0xFFFFFFFFu );
}

TEST( Access, WhoMayBeReadAndWritten ) {
   EXPECT_TRUE( Hal::readable( Hal::readWrite_ ) && Hal::writable( Hal::readWrite_ ) );
   EXPECT_TRUE( Hal::readable( Hal::readOnly_ ) && !Hal::writable( Hal::readOnly_ ) );
   EXPECT_TRUE( !Hal::readable( Hal::writeOnly_ ) && Hal::writable( Hal::writeOnly_ ) );
   EXPECT_TRUE( Hal::readable( Hal::readTakes_ ) && !Hal::writable( Hal::readTakes_ ) );
}

TEST( Access, OtherTypesHaveNone ) { EXPECT_EQ( Hal::Reg32::staticType().operations().access, nullptr ); }

}   // namespace
}   // namespace Hardware
