#include "hal/KivHal.h"

#include "framework/Reflection.h"
#include "framework/Type.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Hardware {
namespace {

using testing::ElementsAre;
using Vor::Reflected;
using Vor::String;
using Vor::Value;

template<class Register> std::vector<std::string_view> attributeNames() {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : Register::staticType().attributes() ) names.push_back( attribute.name );
   return names;
}

// The addresses, as the hardware has them.
static_assert( SpiCommandFifo::address() == 0x00 );
static_assert( SpiResponseFifo::address() == 0x10 );
static_assert( SpiCtrl::address() == 0x20 );
static_assert( SpiReset::address() == 0x30 );
static_assert( TolvaneEnable::address() == 0x00 );
static_assert( Max24305Status::address() == 0x00 );

// What getters give.
static_assert( std::is_same_v<decltype( SpiCommandFifo().dataToWrite() ), U8> );
static_assert( std::is_same_v<decltype( SpiCommandFifo().csEnd() ), bool> );
static_assert( std::is_same_v<decltype( SpiResponseFifo().dataValid() ), bool> );
static_assert( std::is_same_v<decltype( SpiCtrl().writeFifoCount() ), U8> );
static_assert( std::is_same_v<decltype( SpiReset().reset() ), U8> );
static_assert( std::is_same_v<decltype( Max24305Status().frequencyInHz() ), U32> );
static_assert( sizeof( SpiCtrl ) == sizeof( U32 ), "a register value is its word and nothing else" );

TEST( SpiCommandFifo, Words ) {
   SpiCommandFifo command;
   command.csEndIs( 1 );
   command.recordResponseIs( 1 );
   command.dataToWriteIs( 0 );
   EXPECT_EQ( command.value(), 0x80001000u );
   command = SpiCommandFifo();
   command.dataToWriteIs( 0xA5 );
   EXPECT_EQ( command.value(), 0x000000A5u );
   command.csEndIs( 1 );
   EXPECT_EQ( command.value(), 0x800000A5u );
   SpiCommandFifo const read( 0x8000105A );
   EXPECT_TRUE( read.csEnd() );
   EXPECT_TRUE( read.recordResponse() );
   EXPECT_EQ( read.dataToWrite(), 0x5A );
}

TEST( SpiResponseFifo, Words ) {
   SpiResponseFifo const valid( 0x8000003C );
   EXPECT_TRUE( valid.dataValid() );
   EXPECT_EQ( valid.data(), 0x3C );
   EXPECT_FALSE( SpiResponseFifo( 0x7FFFFFFF ).dataValid() );
   SpiResponseFifo made;
   made.dataIs( 0x11 );
   made.dataValidIs( 1 );
   EXPECT_EQ( made.value(), 0x80000011u );
}

TEST( SpiCtrl, Words ) {
   SpiCtrl const counts( 0x00050003 );
   EXPECT_EQ( counts.readFifoCount(), 3 );
   EXPECT_EQ( counts.writeFifoCount(), 5 );
   SpiCtrl const full( 0xFFFFFFFF );
   EXPECT_EQ( full.readFifoCount(), 63 );
   EXPECT_EQ( full.writeFifoCount(), 63 );
   SpiCtrl made;
   made.writeFifoCountIs( 63 );
   EXPECT_EQ( made.value(), 0x003F0000u );
   made.readFifoCountIs( 63 );
   EXPECT_EQ( made.value(), 0x003F003Fu );
}

TEST( SpiReset, Words ) {
   SpiReset reset;
   reset.resetIs( 1 );
   EXPECT_EQ( reset.value(), 0x1u );
   EXPECT_EQ( SpiReset( 0xFFFFFFFF ).reset(), 1 );
}

TEST( TolvaneEnable, Words ) {
   TolvaneEnable enable;
   enable.enableIs( 1 );
   EXPECT_EQ( enable.value(), 0x2u );
   EXPECT_FALSE( enable.powerGood() );
   enable.powerGoodIs( 1 );
   EXPECT_EQ( enable.value(), 0x3u );
   EXPECT_TRUE( TolvaneEnable( 1 ).powerGood() );
   EXPECT_FALSE( TolvaneEnable( 1 ).enable() );
}

TEST( Max24305Status, TheFieldIsTheWholeRegister ) {
   EXPECT_EQ( Max24305Status( 10'000'000 ).frequencyInHz(), 10'000'000u );
   Max24305Status status;
   status.frequencyInHzIs( 0xFFFFFFFF );
   EXPECT_EQ( status.value(), 0xFFFFFFFFu );
}

TEST( KivHal, FieldSettersSilentlyKeepTheBitsOfTheFieldOnly ) {
   SpiReset reset;
   reset.resetIs( 2 );
   EXPECT_EQ( reset.value(), 0u );
   reset.resetIs( 3 );
   EXPECT_EQ( reset.value(), 1u );
   SpiCtrl counts;
   counts.writeFifoCountIs( 64 + 5 );
   counts.readFifoCountIs( 0xFFFFFFC3 );
   EXPECT_EQ( counts.value(), 0x00050003u );
   SpiCommandFifo command;
   command.csEndIs( 2 );
   command.recordResponseIs( 4 );
   command.dataToWriteIs( 0x1FF );
   EXPECT_EQ( command.value(), 0xFFu );
   SpiResponseFifo response;
   response.dataValidIs( 2 );
   EXPECT_EQ( response.value(), 0u );
}

TEST( KivHal, FieldSettersKeepReservedBits ) {
   SpiCtrl counts( 0xFFFFFFFF );
   counts.writeFifoCountIs( 0 );
   counts.readFifoCountIs( 0 );
   EXPECT_EQ( counts.value(), 0xFFC0FFC0u );
   SpiCommandFifo command( 0xFFFFFFFF );
   command.csEndIs( 0 );
   command.recordResponseIs( 0 );
   command.dataToWriteIs( 0 );
   EXPECT_EQ( command.value(), 0x7FFFEF00u );
   TolvaneEnable enable( 0xFFFFFFF0 );
   enable.enableIs( 1 );
   EXPECT_EQ( enable.value(), 0xFFFFFFF2u );
}

TEST( KivHal, EqualityIncludesReservedBits ) {
   EXPECT_EQ( SpiCtrl( 0x00050003 ), SpiCtrl( 0x00050003 ) );
   EXPECT_NE( SpiCtrl( 0x00050003 ), SpiCtrl( 0x80050003 ) );
}

TEST( KivHal, TextFormsAreThoseOfTheWord ) {
   EXPECT_EQ( valueToStrep( SpiCommandFifo( 0x80001000 ) ), "2147487744" );
   std::ostringstream out;
   out << SpiCtrl( 0x00050003 );
   EXPECT_EQ( out.str(), "327683" );
   String const text = "327683";
   auto pos = text.begin();
   EXPECT_EQ( SpiCtrl( pos, text.end() ), SpiCtrl( 0x00050003 ) );
}

TEST( KivHal, ReflectionListsValueBitsAddressThenTheFieldsHighBitsFirst ) {
   EXPECT_THAT(
      attributeNames<SpiCommandFifo>(),
      ElementsAre( "value", "bits", "address", "csEnd", "recordResponse", "dataToWrite" ) );
   EXPECT_THAT( attributeNames<SpiResponseFifo>(), ElementsAre( "value", "bits", "address", "dataValid", "data" ) );
   EXPECT_THAT(
      attributeNames<SpiCtrl>(), ElementsAre( "value", "bits", "address", "writeFifoCount", "readFifoCount" ) );
   EXPECT_THAT( attributeNames<SpiReset>(), ElementsAre( "value", "bits", "address", "reset" ) );
   EXPECT_THAT( attributeNames<TolvaneEnable>(), ElementsAre( "value", "bits", "address", "enable", "powerGood" ) );
   EXPECT_THAT( attributeNames<Max24305Status>(), ElementsAre( "value", "bits", "address", "frequencyInHz" ) );
   EXPECT_THAT( attributeNames<Hal::Reg32>(), ElementsAre( "value", "bits" ) );
}

TEST( KivHal, ReflectionGetsAndSetsFields ) {
   SpiCommandFifo command;
   Reflected const reflected( command );
   EXPECT_STREQ( reflected.type().name(), "Hardware::SpiCommandFifo" );
   reflected.set( "csEnd", true );
   reflected.set( "recordResponse", U64{ 1 } );
   reflected.set( "dataToWrite", String( "90" ) );
   EXPECT_EQ( command.value(), 0x8000105Au );
   EXPECT_EQ( reflected.get( "csEnd" ), Value( true ) );
   EXPECT_EQ( reflected.get( "dataToWrite" ), Value( U64{ 90 } ) );
   reflected.set( "dataToWrite", U64{ 0x1FF } );   // masked, as the setter does
   EXPECT_EQ( command.value(), 0x800010FFu );
   EXPECT_FALSE( reflected.isDefault() );
   EXPECT_THROW( reflected.hash(), Vor::UnhashableTypeException );
}

TEST( KivHal, TheAddressIsReadButNotSet ) {
   SpiCtrl counts;
   EXPECT_EQ( Reflected( counts ).get( "address" ), Value( U64{ 0x20 } ) );
   EXPECT_THROW( Reflected( counts ).set( "address", U64{ 0x30 } ), Vor::OperationNotSupportedException );
}

TEST( KivHal, ARegisterMayBeViewedAsTheWordItIs ) {
   SpiCtrl counts( 0x00050003 );
   Reflected const word( static_cast<Hal::Reg32 &>( counts ) );
   EXPECT_STREQ( word.type().name(), "Hal::Reg32" );
   word.setAt( "bits", String( "BitRange(0, 5)" ), U64{ 7 } );
   EXPECT_EQ( counts.readFifoCount(), 7 );
   EXPECT_THROW( word.get( "readFifoCount" ), Vor::NameNotFoundException );
}

}   // namespace
}   // namespace Hardware
