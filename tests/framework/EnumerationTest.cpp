#include "framework/Enumeration.h"

#include "tests/framework/Lamp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Test {
namespace {

using Vor::enumInstance;
using Vor::RangeException;
using Vor::String;

static_assert( Vor::Enumeration<Colour> );
static_assert( !Vor::Enumeration<U32> );
static_assert( !std::is_convertible_v<U32, Colour> );

TEST( Enumeration, AnInstanceIsFoundByItsNumber ) {
   EXPECT_EQ( enumInstance<Colour>( 0 ), white_ );
   EXPECT_EQ( enumInstance<Colour>( 1 ), red_ );
   EXPECT_EQ( enumInstance<Colour>( 7 ), deepBlue_ );
}

TEST( Enumeration, ANumberOutsideTheTableIsARangeError ) {
   for ( unsigned const value : { 2u, 6u, 8u, 4294967295u } )
      EXPECT_THROW( enumInstance<Colour>( value ), RangeException ) << value;
}

TEST( Enumeration, AnInstanceIsFoundByItsText ) {
   EXPECT_EQ( enumInstance<Colour>( String( "white" ) ), white_ );
   EXPECT_EQ( enumInstance<Colour>( String( "deepBlue" ) ), deepBlue_ );
}

TEST( Enumeration, AnUnknownTextIsARangeErrorThatTellsWhatIsKnown ) {
   for ( char const * text : { "", "re", "redd", "Red", "red_", "'red'", "1" } )
      EXPECT_THROW( enumInstance<Colour>( String( text ) ), RangeException ) << text;
   try {
      enumInstance<Colour>( String( "pink" ) );
   } catch ( RangeException const & error ) {
      EXPECT_STREQ( error.what(), "Test::Colour has no enumerator 'pink'; it has white, red, deepBlue" );
   }
}

TEST( Enumeration, ATextThatGoesOnBehindANulIsUnknown ) {
   String const text( "red\0dish", 8 );
   EXPECT_THROW( enumInstance<Colour>( text ), RangeException );
   String const quoted = "'" + text + "'";
   auto pos = quoted.begin();
   try {
      sequenceToValue( pos, quoted.end(), static_cast<Colour *>( nullptr ) );
      ADD_FAILURE() << "nothing was thrown";
   } catch ( RangeException const & error ) {
      EXPECT_STREQ( error.what(), R"(Test::Colour has no enumerator 'red\0dish'; it has white, red, deepBlue)" );
   }
   EXPECT_EQ( pos, quoted.begin() );
}

TEST( Enumeration, TextForms ) {
   EXPECT_EQ( stringValue( deepBlue_ ), "deepBlue" );
   EXPECT_EQ( valueToStrep( deepBlue_ ), "'deepBlue'" );
   std::ostringstream out;
   out << red_;
   EXPECT_EQ( out.str(), "red" );
}

TEST( Enumeration, AValueWithoutAnEnumeratorShowsItsNumber ) {
   EXPECT_EQ( stringValue( static_cast<Colour>( 5 ) ), "5" );
   EXPECT_EQ( enumType( Colour{} ).text( 5 ), nullptr );
}

TEST( Enumeration, AnEnumeratorIsReadQuotedOrBareAndThePlaceMovesBehindIt ) {
   for ( char const * form : { "'deepBlue', rest", "deepBlue, rest" } ) {
      String const text = form;
      auto pos = text.begin();
      EXPECT_EQ( sequenceToValue( pos, text.end(), static_cast<Colour *>( nullptr ) ), deepBlue_ );
      EXPECT_EQ( std::string( pos, text.end() ), ", rest" );
   }
}

TEST( Enumeration, WhatIsPrintedIsReadBack ) {
   for ( Colour const colour : { white_, red_, deepBlue_ } ) {
      String const text = valueToStrep( colour );
      auto pos = text.begin();
      EXPECT_EQ( sequenceToValue( pos, text.end(), static_cast<Colour *>( nullptr ) ), colour );
      EXPECT_EQ( pos, text.end() );
   }
}

TEST( Enumeration, AnUnknownTextIsARangeErrorAndLeavesThePlace ) {
   for ( char const * form : { "", "'", "'red", "'pink'", "redder", " red", "'red ", "7" } ) {
      String const text = form;
      auto pos = text.begin();
      EXPECT_THROW( sequenceToValue( pos, text.end(), static_cast<Colour *>( nullptr ) ), RangeException ) << form;
      EXPECT_EQ( pos, text.begin() ) << form;
   }
}

TEST( Enumeration, TheDescriptorListsTheTable ) {
   Vor::EnumType const & type = enumType( Colour{} );
   EXPECT_STREQ( type.name(), "Test::Colour" );
   ASSERT_EQ( type.enumerators().size(), 3u );
   EXPECT_STREQ( type.enumerators()[2].text, "deepBlue" );
   EXPECT_EQ( type.enumerators()[2].value, 7u );
   EXPECT_FALSE( type.open() );
   EXPECT_TRUE( enumType( Mood{} ).open() );
}

}   // namespace
}   // namespace Test
