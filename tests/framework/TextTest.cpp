#include "framework/Text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <sstream>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace Vor {
namespace {

TEST( StringTest, IsMadeFromEveryKindOfText ) {
   EXPECT_EQ( String(), "" );
   EXPECT_EQ( String( "abc" ), "abc" );
   EXPECT_EQ( String( "abcdef", 3 ), "abc" );
   EXPECT_EQ( String( "abcdef", 0 ), "" );
   EXPECT_EQ( String( std::string( "abc" ) ), "abc" );
   EXPECT_EQ( String( std::string_view( "abcdef" ).substr( 1, 3 ) ), "bcd" );
   EXPECT_EQ( String( "abc" ).stdString(), "abc" );
}

TEST( StringTest, KeepsEveryCharacterNulIncluded ) {
   String const text( "a\0b", 3 );
   EXPECT_EQ( text.size(), 3u );
   EXPECT_EQ( std::memcmp( text.charPtr(), "a\0b\0", 4 ), 0 );
   EXPECT_NE( text, String( "a" ) );
   EXPECT_EQ( ( text + text ).size(), 6u );
}

TEST( StringTest, Concatenates ) {
   String text = "ab";
   text += String( "cd" );
   text += "ef";
   EXPECT_EQ( text, "abcdef" );
   EXPECT_EQ( text + "g", "abcdefg" );
   EXPECT_EQ( "x" + text, "xabcdef" );
   EXPECT_EQ( text, "abcdef" );
   text += text;
   EXPECT_EQ( text, "abcdefabcdef" );
}

TEST( StringTest, ComparesByItsCharacters ) {
   EXPECT_TRUE( String( "a" ) == String( "a" ) );
   EXPECT_TRUE( String( "a" ) != String( "A" ) );
   EXPECT_LT( String( "a" ), String( "aa" ) );
   EXPECT_LT( String( "Z" ), String( "a" ) );
   EXPECT_LT( String(), String( "a" ) );
   EXPECT_GE( String( "b" ), String( "a" ) );
   EXPECT_EQ( String( "a" ) <=> String( "a" ), std::strong_ordering::equal );
   EXPECT_LT( String( "a" ), String( "\xff" ) );   // characters count as unsigned
}

TEST( StringTest, EqualTextsHashEqually ) {
   EXPECT_EQ( String( "abc" ).hash(), String( "abcd", 3 ).hash() );
   EXPECT_NE( String( "abc" ).hash(), String( "abd" ).hash() );
   EXPECT_EQ( std::unordered_set<String>( { "a", "b", "a" } ).size(), 2u );
}

TEST( StringTest, StreamsAsItIs ) {
   std::ostringstream out;
   out << String( "a\0b", 3 ) << Name( "n" );
   EXPECT_EQ( out.str(), std::string( "a\0bn", 4 ) );
}

TEST( NameTest, IsMadeFromEveryKindOfText ) {
   EXPECT_EQ( Name( "ptp0" ).string(), "ptp0" );
   EXPECT_EQ( Name( String( "ptp0" ) ).string(), "ptp0" );
   EXPECT_EQ( Name( std::string( "ptp0" ) ).string(), "ptp0" );
   EXPECT_STREQ( Name( "ptp0" ).charPtr(), "ptp0" );
}

TEST( NameTest, TheEmptyNameIsOneHoweverItIsMade ) {
   EXPECT_TRUE( Name().empty() );
   EXPECT_TRUE( Name( "" ).empty() );
   EXPECT_EQ( Name(), Name( "" ) );
   EXPECT_EQ( Name().hash(), Name( String() ).hash() );
   EXPECT_EQ( Name().string(), "" );
   EXPECT_FALSE( Name( "a" ).empty() );
   EXPECT_LT( Name(), Name( "a" ) );
}

TEST( NameTest, ComparesAndHashesByItsText ) {
   Name const a( "ptp0" );
   Name const b( String( "ptp0" ) );
   EXPECT_EQ( a, b );
   EXPECT_EQ( a.hash(), b.hash() );
   EXPECT_EQ( a.hash(), String( "ptp0" ).hash() );
   EXPECT_NE( a, Name( "ptp1" ) );
   EXPECT_LT( a, Name( "ptp1" ) );
   std::unordered_map<Name, int> map{ { "ptp0", 1 } };
   EXPECT_EQ( map.at( b ), 1 );
}

TEST( NameTest, CopiesShareOneText ) {
   Name const name( "a name too long for a text without storage of its own" );
   Name const copy = name;
   EXPECT_EQ( copy.charPtr(), name.charPtr() );
   Name other = "other";
   other = name;
   EXPECT_EQ( other.charPtr(), name.charPtr() );
}

TEST( NameTest, OutlivesTheTextItWasMadeFrom ) {
   Name name;
   {
      std::string text( 1000, 'x' );
      name = Name( text );
      text[0] = 'y';
   }
   EXPECT_EQ( name.string(), String( std::string( 1000, 'x' ) ) );
}

TEST( FormatTest, FollowsPrintf ) {
   EXPECT_EQ( format( "0x%x to 0x%x.", 60u, 0x10u ), "0x3c to 0x10." );
   EXPECT_EQ( format( "plain" ), "plain" );
   EXPECT_EQ( format( "%s", "" ), "" );
   EXPECT_EQ( format( "%5u|%-5s|%05.1f|%%", 42u, "ab", 2.25 ), "   42|ab   |002.2|%" );
   EXPECT_EQ( format( "%u", std::numeric_limits<unsigned>::max() ), "4294967295" );
   EXPECT_EQ( format( "%llu", std::numeric_limits<unsigned long long>::max() ), "18446744073709551615" );
}

TEST( FormatTest, PlainConversionsAloneAndBesideOthers ) {
   EXPECT_EQ( format( "%x%u%d", 0u, 0u, 0 ), "000" );
   EXPECT_EQ( format( "%x", std::numeric_limits<unsigned>::max() ), "ffffffff" );
   EXPECT_EQ( format( "%d", std::numeric_limits<int>::min() ), "-2147483648" );
   EXPECT_EQ( format( "%d of %u at 0x%x", -1, 1u, 0xABCDEFu ), "-1 of 1 at 0xabcdef" );
   EXPECT_EQ( format( "%u then %02x, %s and %d", 1u, 2u, "three", 4 ), "1 then 02, three and 4" );
   EXPECT_EQ( format( "%u%%", 50u ), "50%" );
}

TEST( FormatTest, HasNoLimitOfLength ) {
   std::string const text( 100'000, 'x' );
   EXPECT_EQ( format( "<%s>", text.c_str() ), String( "<" + text + ">" ) );
   for ( std::size_t size : { 15u, 16u, 17u, 255u, 256u, 257u, 1023u, 1024u } )
      EXPECT_EQ( format( "%s", std::string( size, 'y' ).c_str() ).size(), size );
}

TEST( FormatTest, KeepsANulCharacter ) { EXPECT_EQ( format( "a%cb", 0 ), String( "a\0b", 3 ) ); }

TEST( OneLineTest, EscapesWhatWouldBreakTheLineOrTheTerminal ) {
   EXPECT_EQ( oneLine( "" ), "" );
   EXPECT_EQ( oneLine( "plain text, \"quoted\"" ), "plain text, \"quoted\"" );
   EXPECT_EQ( oneLine( "a\nb\r\tc" ), "a\\nb\\r\\tc" );
   EXPECT_EQ( oneLine( std::string_view( "\0\x01\x1b\x1f \x7f", 6 ) ), "\\x00\\x01\\x1b\\x1f \\x7f" );
   EXPECT_EQ( oneLine( "\\n" ), "\\\\n" );
   EXPECT_EQ( oneLine( "µs" ), "µs" );
}

}   // namespace
}   // namespace Vor
