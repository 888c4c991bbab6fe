#include "hardware/Max24305Op.h"

#include "framework/Reflection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace Hardware::Max24305 {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Vor::DeserializeException;
using Vor::ParseException;
using Vor::String;
using Vor::Value;

constexpr U32 maximum = 4294967295;

/// Where reading broke off, and what the error said.
struct Broken {
   std::ptrdiff_t column;
   std::string message;
   bool namesAnAttribute;
};
Broken readBroken( String const & text ) {
   auto pos = text.begin();
   try {
      Op const op( pos, text.end() );
      ADD_FAILURE() << "read as " << op;
      return {};
   } catch ( ParseException const & error ) {
      return { pos - text.begin(), error.what(), dynamic_cast<DeserializeException const *>( &error ) != nullptr };
   }
}

TEST( Op, ADefaultOneIsZeroThroughout ) {
   Op const op;
   EXPECT_EQ( op.key, 0u );
   EXPECT_EQ( op.type, unknownOp_ );
   EXPECT_EQ( op.address, 0u );
   EXPECT_EQ( op.value, 0u );
   EXPECT_EQ( op, Op() );
}

TEST( Op, EqualityTakesEveryField ) {
   Op const op( 1, write_, 2, 3 );
   EXPECT_EQ( op, Op( 1, write_, 2, 3 ) );
   EXPECT_NE( op, Op( 9, write_, 2, 3 ) );
   EXPECT_NE( op, Op( 1, read_, 2, 3 ) );
   EXPECT_NE( op, Op( 1, write_, 9, 3 ) );
   EXPECT_NE( op, Op( 1, write_, 2, 9 ) );
}

TEST( Op, TextForm ) {
   EXPECT_EQ(
      valueToStrep( Op( 5, write_, 0, 60 ) ),
      "Value('Hardware::Max24305::Op', ** {'key': 5, 'type': 'write', 'address': 0, 'value': 60})" );
   std::ostringstream out;
   out << Op( maximum, sleep_, maximum, maximum );
   EXPECT_EQ(
      out.str(),
      "Value('Hardware::Max24305::Op', ** {'key': 4294967295, 'type': 'sleep', 'address': 4294967295, 'value': "
      "4294967295})" );
}

TEST( Op, WhatIsPrintedIsReadBack ) {
   for ( OpType const type : { unknownOp_, read_, write_, sleep_ } )
      for ( U32 const key : { 0u, maximum } )
         for ( U32 const address : { 0u, maximum } )
            for ( U32 const value : { 0u, maximum } ) {
               Op const op( key, type, address, value );
               String const text = valueToStrep( op );
               auto pos = text.begin();
               EXPECT_EQ( Op( pos, text.end() ), op );
               EXPECT_EQ( pos, text.end() );
            }
}

TEST( Op, ReadingStopsBehindTheForm ) {
   String const text = valueToStrep( Op( 5, write_, 0, 60 ) ) + ", next";
   auto pos = text.begin();
   Op const op( pos, text.end() );
   EXPECT_EQ( std::string( pos, text.end() ), ", next" );
}

TEST( Op, ABareEnumeratorIsReadToo ) {
   String const text = "Value('Hardware::Max24305::Op', ** {'key': 5, 'type': unknownOp, 'address': 0, 'value': 60})";
   auto pos = text.begin();
   EXPECT_EQ( Op( pos, text.end() ), Op( 5, unknownOp_, 0, 60 ) );
}

TEST( Op, EachLiteralIsRequiredAtItsPlace ) {
   std::vector<std::string> const pieces{
      "Value('Hardware::Max24305::Op', ** {",
      "'key': ",
      "5",
      ", 'type': ",
      "'write'",
      ", 'address': ",
      "16",
      ", 'value': ",
      "60",
      "})" };
   auto const joined = [&]( std::size_t broken, std::string const & instead ) {
      std::string text;
      for ( std::size_t i = 0; i < pieces.size(); ++i ) text += i == broken ? instead : pieces[i];
      return text;
   };
   std::ptrdiff_t column = 0;
   for ( std::size_t i = 0; i < pieces.size(); ++i ) {
      bool const literal = i == 0 || i % 2 == 1;
      if ( literal ) {
         for ( std::string const & instead : { std::string( "#" ), " " + pieces[i], pieces[i].substr( 1 ) } ) {
            Broken const broken = readBroken( joined( i, instead ) );
            EXPECT_EQ( broken.column, column ) << joined( i, instead );
            EXPECT_THAT( broken.message, HasSubstr( "expected \"" + pieces[i] + "\"" ) );
            EXPECT_FALSE( broken.namesAnAttribute );
         }
      }
      column += static_cast<std::ptrdiff_t>( pieces[i].size() );
   }
}

TEST( Op, TheKeysNameIsAStepOfItsOwn ) {
   // The opening stands there; what is missing is the key.
   Broken const broken = readBroken( "Value('Hardware::Max24305::Op', ** {'kex': 5" );
   EXPECT_EQ( broken.column, 36 );
   EXPECT_THAT( broken.message, HasSubstr( "expected \"'key': \"" ) );
}

TEST( Op, ATextCutOffAnywhereIsNone ) {
   std::string const whole = valueToStrep( Op( 5, write_, 16, 60 ) ).stdString();
   for ( std::size_t length = 0; length < whole.size(); ++length ) readBroken( String( whole.substr( 0, length ) ) );
}

TEST( Op, AWrongIntegerNamesItsAttribute ) {
   struct {
      char const * attribute;
      char const * form;
      std::ptrdiff_t column;
   } const cases[] = {
      { "'key'", "Value('Hardware::Max24305::Op', ** {'key': %s, 'type': 'read', 'address': 0, 'value': 0})", 43 },
      { "'address'", "Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', 'address': %s, 'value': 0})", 73 },
      { "'value'", "Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', 'address': 0, 'value': %s})", 85 } };
   for ( auto const & each : cases ) {
      for ( std::string const wrong : { "4294967296", "18446744073709551616", "-1", "x", "" } ) {
         std::string text = each.form;
         text.replace( text.find( "%s" ), 2, wrong );
         Broken const broken = readBroken( text );
         EXPECT_TRUE( broken.namesAnAttribute ) << text;
         EXPECT_THAT( broken.message, HasSubstr( each.attribute ) ) << text;
         EXPECT_EQ( broken.column, each.column ) << text;
      }
   }
}

TEST( Op, AWrongTypeIsRaisedAgainNamingType ) {
   for ( std::string const wrong : { "'erase'", "erase", "'Read'", "2", "'read", "" } ) {
      Broken const broken = readBroken(
         "Value('Hardware::Max24305::Op', ** {'key': 5, 'type': " + wrong + ", 'address': 0, 'value': 60})" );
      EXPECT_TRUE( broken.namesAnAttribute ) << wrong;
      EXPECT_THAT( broken.message, HasSubstr( "attribute 'type'" ) ) << wrong;
      EXPECT_EQ( broken.column, 54 ) << wrong;
   }
}

TEST( Op, Reflection ) {
   std::vector<std::string_view> names;
   for ( Vor::Attribute const & attribute : Op::staticType().attributes() ) names.push_back( attribute.name );
   EXPECT_THAT( names, ElementsAre( "key", "type", "address", "value" ) );
   Op op;
   Vor::Reflected const reflected( op );
   EXPECT_TRUE( reflected.isDefault() );
   reflected.set( "type", String( "sleep" ) );
   reflected.set( "value", U64{ maximum } );
   EXPECT_EQ( op, Op( 0, sleep_, 0, maximum ) );
   EXPECT_EQ( reflected.get( "type" ), Value( String( "sleep" ) ) );
   EXPECT_THROW( reflected.set( "type", String( "erase" ) ), Vor::RangeException );
   EXPECT_THROW( reflected.set( "type", U64{ 4 } ), Vor::RangeException );
   EXPECT_EQ( op.type, sleep_ );
   EXPECT_EQ( Op::staticType().attribute( "type" ).typeName, enumType( OpType{} ).name() );
   EXPECT_THROW( reflected.hash(), Vor::UnhashableTypeException );
   EXPECT_FALSE( reflected.isDefault() );
}

}   // namespace
}   // namespace Hardware::Max24305
