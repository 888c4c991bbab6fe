// Messages beside bytes that a daemon took and gave: linuxptp 3.1.1.
#include "service/PtpManagement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Host::PtpManagementTests {
namespace {

using Ptp::PortState;
using testing::HasSubstr;

using Bytes = std::vector<U8>;

constexpr Ptp::Client client{ .identity = 0x0102030405060708, .domain = 0 };

// Blanks are left out.
Bytes bytesOf( std::string_view hex ) {
   Bytes bytes;
   auto const digit = []( char c ) { return static_cast<U8>( c <= '9' ? c - '0' : c - 'a' + 10 ); };
   std::string digits;
   for ( char const c : hex )
      if ( c != ' ' ) digits += c;
   for ( std::size_t at = 0; at + 1 < digits.size(); at += 2 )
      bytes.push_back( static_cast<U8>( digit( digits[at] ) << 4 | digit( digits[at + 1] ) ) );
   return bytes;
}

std::string const uncalibratedText = "0d020050 0000 0000 0000000000000000 00000000 6eb217fffe97e084 0001 0001 04 7f "
                                     "0102030405060708 0001 00 00 02 00 0001 001c 2004 "
                                     "6eb217fffe97e084 0001 08 fd 0000000000000000 fd 03 fd 01 00 02";
Bytes const uncalibrated = bytesOf( uncalibratedText );
Bytes const refused = bytesOf( "0d02003c 0000 0000 0000000000000000 00000000 6eb217fffe97e084 0001 0005 04 7f "
                               "0102030405060708 0001 00 00 02 00 0002 0008 0006 c003 00000000" );

std::string troubleOf( Bytes const & bytes ) {
   Ptp::Message const message = Ptp::messageOf( bytes, client );
   EXPECT_FALSE( message.port );
   return message.trouble;
}

// With other bytes there.
Bytes changed( Bytes bytes, std::size_t at, std::initializer_list<U8> to ) {
   std::ranges::copy( to, bytes.begin() + static_cast<std::ptrdiff_t>( at ) );
   return bytes;
}

TEST( PtpManagement, AsksAllPortsOfTheDaemon ) {
   EXPECT_EQ(
      Ptp::portsAsked( client, 0x1234 ), bytesOf( "0d020036 0000 0000 0000000000000000 00000000 0102030405060708 0001 "
                                                  "1234 04 7f ffffffffffffffff ffff 00 00 00 00 0001 0002 2004" ) );
   EXPECT_EQ( Ptp::portsAsked( { .identity = 1, .domain = 24 }, 1 )[4], 24 );
}

TEST( PtpManagement, AsksForChangesOfThePortsStates ) {
   Bytes const asked = Ptp::changesAsked( client, 2, 300 );
   std::string const mask = "01" + std::string( 126, '0' );
   EXPECT_EQ(
      asked, bytesOf(
                "0d020078 0000 0000 0000000000000000 00000000 0102030405060708 0001 0002 04 7f "
                "ffffffffffffffff ffff 00 00 01 00 0001 0044 c003 012c" +
                mask ) );
}

TEST( PtpManagement, APortTellsItsState ) {
   Ptp::Message const message = Ptp::messageOf( uncalibrated, client );
   EXPECT_EQ( message.port, ( Ptp::Port{ 1, PortState::uncalibrated_ } ) );
   EXPECT_EQ( message.trouble, "" );
   for ( U8 state = 1; state <= 9; ++state )
      EXPECT_EQ(
         Ptp::messageOf( changed( uncalibrated, 62, { 0x12, 0x34, state } ), client ).port,
         ( Ptp::Port{ 0x1234, static_cast<PortState>( state ) } ) );
   EXPECT_EQ( Ptp::textOf( PortState::initializing_ ), "initializing" );
   EXPECT_EQ( Ptp::textOf( PortState::master_ ), "master" );
   EXPECT_EQ( Ptp::textOf( PortState::slave_ ), "slave" );
}

TEST( PtpManagement, WhatConfirmsSaysNothing ) {
   Bytes confirmed = Ptp::changesAsked( client, 2, 10 );
   std::copy_n( confirmed.begin() + 20, 10, confirmed.begin() + 34 );   // to who asked
   confirmed[46] = 2;
   Ptp::Message const message = Ptp::messageOf( confirmed, client );
   EXPECT_FALSE( message.port );
   EXPECT_EQ( message.trouble, "" );
}

TEST( PtpManagement, WhatIsCutOffAnywhereIsNoAnswer ) {
   for ( std::size_t size = 0; size < uncalibrated.size(); ++size ) {
      Bytes const cut( uncalibrated.begin(), uncalibrated.begin() + static_cast<std::ptrdiff_t>( size ) );
      EXPECT_NE( troubleOf( cut ), "" ) << size;
      if ( size >= 4 ) {
         // Also one that says so itself.
         EXPECT_NE( troubleOf( changed( cut, 2, { 0, static_cast<U8>( size ) } ) ), "" ) << size;
      }
   }
   EXPECT_EQ( troubleOf( {} ), "a message of 0 bytes is cut off" );
}

TEST( PtpManagement, WhatIsLongerThanItSaysIsReadAsItSays ) {
   Bytes longer = uncalibrated;
   longer.resize( 100, 0xff );
   EXPECT_TRUE( Ptp::messageOf( longer, client ).port );
}

TEST( PtpManagement, ElementsThatDoNotFitAreNoAnswers ) {
   EXPECT_EQ(
      troubleOf( changed( uncalibrated, 50, { 0, 0x1d } ) ),
      "a message of 80 bytes says that it has 80, with an element of 29" );
   EXPECT_THAT( troubleOf( changed( uncalibrated, 50, { 0xff, 0xff } ) ), HasSubstr( "an element of 65535" ) );
   EXPECT_THAT( troubleOf( changed( uncalibrated, 50, { 0, 1 } ) ), HasSubstr( "an element of 1" ) );
   EXPECT_EQ( troubleOf( changed( uncalibrated, 50, { 0, 2 } ) ), "expected 26 bytes of a port, found 0" );
   EXPECT_EQ( troubleOf( changed( uncalibrated, 50, { 0, 0x1a } ) ), "expected 26 bytes of a port, found 24" );
}

TEST( PtpManagement, StatesThatThereAreNotAreNoAnswers ) {
   EXPECT_EQ( troubleOf( changed( uncalibrated, 64, { 0 } ) ), "port 1 is in state 0; expected 1 to 9" );
   EXPECT_EQ( troubleOf( changed( uncalibrated, 64, { 10 } ) ), "port 1 is in state 10; expected 1 to 9" );
}

TEST( PtpManagement, WhatIsForSomebodyElseIsNoAnswer ) {
   std::string const foreign = "expected an answer to this agent, found a message for somebody else";
   EXPECT_EQ( troubleOf( changed( uncalibrated, 41, { 9 } ) ), foreign ) << "another identity";
   EXPECT_EQ( troubleOf( changed( uncalibrated, 43, { 2 } ) ), foreign ) << "another port of it";
   EXPECT_EQ( troubleOf( changed( uncalibrated, 4, { 1 } ) ), foreign ) << "another domain";
   EXPECT_EQ( troubleOf( changed( uncalibrated, 46, { 0 } ) ), foreign ) << "a question";
   EXPECT_EQ( troubleOf( changed( uncalibrated, 0, { 0x0b } ) ), "expected a management message of PTP version 2" );
   EXPECT_EQ( troubleOf( changed( uncalibrated, 1, { 1 } ) ), "expected a management message of PTP version 2" );
   EXPECT_TRUE( Ptp::messageOf( changed( uncalibrated, 1, { 0x12 } ), client ).port ) << "version 2.1";
   EXPECT_EQ(
      troubleOf( changed( uncalibrated, 52, { 0x20, 0 } ) ),
      "expected the state of a port, found element 1 with id 0x2000" );
   EXPECT_EQ(
      troubleOf( changed( uncalibrated, 48, { 0, 3 } ) ),
      "expected the state of a port, found element 3 with id 0x2004" );
}

TEST( PtpManagement, ARefusalSaysOfWhat ) {
   EXPECT_EQ( troubleOf( refused ), "it does not tell changes at once (error 0x0006)" );
   EXPECT_EQ(
      troubleOf( changed( refused, 54, { 0x20, 0x04 } ) ), "it does not tell the states of its ports (error 0x0006)" );
   EXPECT_NE( troubleOf( changed( refused, 50, { 0, 2 } ) ), "" );
}

}   // namespace
}   // namespace Host::PtpManagementTests
