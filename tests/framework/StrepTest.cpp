#include "framework/Strep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace Vor {
namespace {

using testing::HasSubstr;

// A text and the place a reader has come to.
struct Text {
   explicit Text( String const & text ) : text( text ), pos( this->text.begin() ) {}
   String const text;
   String::IteratorConst pos;
   std::ptrdiff_t column() const { return pos - text.begin(); }
   String::IteratorConst end() const { return text.end(); }
};

template<class Error, class Step> std::string messageOf( Step && step ) {
   try {
      step();
   } catch ( Error const & error ) {
      return error.what();
   }
   ADD_FAILURE() << "nothing was thrown";
   return "";
}

TEST( Strep, NumbersAreDecimalAndBoolsAreWords ) {
   EXPECT_EQ( valueToStrep( 0u ), "0" );
   EXPECT_EQ( valueToStrep( U8{ 255 } ), "255" );
   EXPECT_EQ( valueToStrep( std::numeric_limits<U32>::max() ), "4294967295" );
   EXPECT_EQ( valueToStrep( std::numeric_limits<unsigned long long>::max() ), "18446744073709551615" );
   EXPECT_EQ( valueToStrep( 0.5 ), "0.5" );
   EXPECT_EQ( valueToStrep( true ), "true" );
   EXPECT_EQ( valueToStrep( false ), "false" );
}

TEST( Strep, TextsStandInQuotesWithEscapes ) {
   EXPECT_EQ( valueToStrep( String( "plain" ) ), "'plain'" );
   EXPECT_EQ( valueToStrep( String() ), "''" );
   EXPECT_EQ( valueToStrep( String( "it's a \\ and\na line" ) ), R"('it\'s a \\ and\na line')" );
   EXPECT_EQ( valueToStrep( String( "cut\0short", 9 ) ), R"('cut\0short')" );   // a message would end at a NUL
   EXPECT_EQ( valueToStrep( Name( "ptp0" ) ), "'ptp0'" );
}

TEST( Strep, WhatIsPrintedIsReadBack ) {
   auto const seed = std::random_device{}();
   SCOPED_TRACE( "seed " + std::to_string( seed ) );
   std::mt19937 random( seed );
   constexpr std::string_view alphabet( "an'\\\n \"x0\0", 10 );
   for ( int round = 0; round < 500; ++round ) {
      std::string original( random() % 12, ' ' );
      for ( char & c : original ) c = alphabet[random() % alphabet.size()];
      Text text( valueToStrep( String( original ) ) + "rest" );
      ASSERT_EQ( quotedText( text.pos, text.end() ), String( original ) );
      ASSERT_EQ( String( std::string( text.pos, text.end() ) ), "rest" );
   }
}

TEST( Strep, LiteralsAreRequiredExactly ) {
   Text text( "key: 5" );
   needString( text.pos, text.end(), "key: " );
   EXPECT_EQ( text.column(), 5 );
   auto const message = messageOf<ParseException>( [&] { needString( text.pos, text.end(), "}" ); } );
   EXPECT_EQ( message, "expected \"}\", found '5'" );
   EXPECT_EQ( text.column(), 5 );
   needString( text.pos, text.end(), "" );
   needString( text.pos, text.end(), "5" );
   EXPECT_EQ(
      messageOf<ParseException>( [&] { needString( text.pos, text.end(), "}" ); } ),
      "expected \"}\", found the end of the text" );
}

TEST( Strep, NoBlankIsSkippedBeforeALiteral ) {
   Text text( " }" );
   EXPECT_THROW( needString( text.pos, text.end(), "}" ), ParseException );
   EXPECT_EQ( text.column(), 0 );
}

TEST( Strep, ATextThatEndsWithinTheLiteralLacksIt ) {
   Text text( "Val" );
   EXPECT_THROW( needString( text.pos, text.end(), "Value" ), ParseException );
   EXPECT_EQ( text.column(), 0 );
}

TEST( Strep, UnsignedNumbersOf32BitsAreRead ) {
   for ( auto const & [digits, value] :
         { std::pair{ "0", 0u }, { "007", 7u }, { "4294967295", 4294967295u }, { "60}", 60u } } ) {
      Text text( digits );
      EXPECT_EQ( deserializeAttr( text.pos, text.end(), "key" ), value );
      EXPECT_EQ( text.pos == text.end(), std::string( digits ) != "60}" ) << digits;
   }
}

TEST( Strep, OtherNumbersFailNamingTheAttributeAndLeaveThePlace ) {
   for ( char const * wrong : { "", "x", "-1", "+1", " 1", "0x10", "4294967296", "18446744073709551616" } ) {
      Text text( wrong );
      if ( std::string( wrong ) == "0x10" ) {
         EXPECT_EQ( deserializeAttr( text.pos, text.end(), "address" ), 0u );
         EXPECT_EQ( text.column(), 1 );   // what follows the number is for the next step to refuse
         continue;
      }
      auto const message =
         messageOf<DeserializeException>( [&] { deserializeAttr( text.pos, text.end(), "address" ); } );
      EXPECT_THAT( message, HasSubstr( "'address'" ) ) << wrong;
      EXPECT_THAT( message, HasSubstr( "0 to 4294967295" ) ) << wrong;
      EXPECT_EQ( text.column(), 0 ) << wrong;
   }
}

TEST( Strep, AnUnclosedTextIsNone ) {
   for ( char const * wrong : { "", "abc'", "'", "'abc", "'abc\\'", "'abc\\" } ) {
      Text text( wrong );
      EXPECT_THROW( quotedText( text.pos, text.end() ), ParseException ) << wrong;
      EXPECT_EQ( text.column(), 0 ) << wrong;
   }
}

TEST( Strep, ARangeErrorIsRaisedAgainNamingTheAttribute ) {
   auto const message = messageOf<DeserializeException>(
      [] { rethrowFromDeserializeAttr( RangeException( "no such colour" ), "type" ); } );
   EXPECT_EQ( message, "attribute 'type': no such colour" );
   static_assert( std::is_base_of_v<ParseException, DeserializeException> );
}

TEST( Strep, WhatWasFoundIsShortenedInMessages ) {
   Text text( std::string( 41, 'x' ) );
   EXPECT_EQ( foundText( text.pos, text.end() ), String( "'" + std::string( 40, 'x' ) + "...'" ) );
   EXPECT_EQ( foundText( text.pos + 1, text.end() ), String( "'" + std::string( 40, 'x' ) + "'" ) );
}

}   // namespace
}   // namespace Vor
