#include "input/Json.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>

namespace JsonTests {
namespace {

using namespace Input;

// What the error says that `body` raises.
std::string error( std::function<void()> const & body ) {
   try {
      body();
   } catch ( InputError const & error ) {
      return error.what();
   }
   return "no error";
}

std::string syntaxError( std::string_view content ) {
   return error( [&] { JsonDocument( "f.json", content ); } );
}

TEST( Json, ReadsWhatStandsThere ) {
   JsonDocument const file( "f.json", R"({"text":"a","flag":true,"number":18446744073709551615,"list":[1,2],"o":{}})" );
   JsonObject object = file.root().object();
   EXPECT_EQ( object["text"].text(), "a" );
   EXPECT_TRUE( object["flag"].boolean() );
   EXPECT_EQ( object["number"].u64(), 18446744073709551615u );
   EXPECT_EQ( object["list"].list().at( 1 ).u32(), 2u );
   EXPECT_EQ( object["list"].list().at( 1 ).pointer(), "/list/1" );
   EXPECT_TRUE( object["o"].isObject() );
   EXPECT_FALSE( object.has( "absent" ) );
   object.finish();
}

TEST( Json, MembersKeepTheOrderOfTheFile ) {
   JsonDocument const file( "f.json", R"({"b":1,"a":2})" );
   auto const members = file.root().object().members();
   ASSERT_EQ( members.size(), 2u );
   EXPECT_EQ( members[0].first, "b" );
   EXPECT_EQ( members[1].first, "a" );
}

TEST( Json, AWrongTypeNamesPointerExpectedAndFound ) {
   JsonDocument const file( "f.json", R"({"a":[{"b":"x"}]})" );
   JsonValue const value = file.root().object()["a"].list()[0].object()["b"];
   EXPECT_EQ(
      error( [&] { value.u32(); } ), "f.json: /a/0/b: expected a whole number from 0 to 4294967295, found \"x\"" );
   EXPECT_EQ( error( [&] { value.boolean(); } ), "f.json: /a/0/b: expected true or false, found \"x\"" );
   EXPECT_EQ( error( [&] { value.object(); } ), "f.json: /a/0/b: expected an object, found \"x\"" );
   EXPECT_EQ( error( [&] { value.list(); } ), "f.json: /a/0/b: expected a list, found \"x\"" );
   EXPECT_EQ( error( [&] { file.root().text(); } ), "f.json: expected a text, found an object" );
   EXPECT_EQ( error( [&] { file.root().object()["a"].text(); } ), "f.json: /a: expected a text, found a list" );
}

TEST( Json, ALongTextIsShortened ) {
   JsonDocument const file( "f.json", "\"" + std::string( 100, 'x' ) + "\"" );
   EXPECT_EQ(
      error( [&] { file.root().boolean(); } ),
      "f.json: expected true or false, found \"" + std::string( 60, 'x' ) + "...\"" );
}

TEST( Json, AMissingKeyIsTheErrorOfItsPlace ) {
   JsonDocument const file( "f.json", "{}" );
   EXPECT_EQ(
      error( [&] { file.root().object()["offset"].u32(); } ),
      "f.json: /offset: expected a whole number from 0 to 4294967295, found nothing: the key is missing" );
}

TEST( Json, NumbersKeepToTheirRange ) {
   JsonDocument const file( "f.json", R"([4294967295,4294967296,-1,1.0,1e3,18446744073709551616])" );
   auto const values = file.root().list();
   EXPECT_EQ( values[0].u32(), 4294967295u );
   for ( std::size_t i = 1; i < values.size(); ++i ) EXPECT_NE( error( [&] { values[i].u32(); } ), "no error" ) << i;
   EXPECT_EQ(
      error( [&] { values[1].u32(); } ), "f.json: /1: expected a whole number from 0 to 4294967295, found 4294967296" );
   EXPECT_EQ(
      error( [&] { values[0].u64( 0, 31 ); } ), "f.json: /0: expected a whole number from 0 to 31, found 4294967295" );
}

TEST( Json, ANumberMayBeTheTextOfAHexadecimalOne ) {
   JsonDocument const file(
      "f.json", R"(["0x2000","0xffffFFFFffffFFFF","0x10000000000000000","0x","0xg","8192"," 0x1"])" );
   auto const values = file.root().list();
   EXPECT_EQ( values[0].u32(), 8192u );
   EXPECT_EQ( values[1].u64(), 18446744073709551615u );
   for ( std::size_t i = 2; i < values.size(); ++i ) EXPECT_NE( error( [&] { values[i].u64(); } ), "no error" ) << i;
   EXPECT_EQ(
      error( [&] { values[0].u32( 31 ); } ), "f.json: /0: expected a whole number from 0 to 31, found \"0x2000\"" );
   EXPECT_EQ(
      error( [&] { values[5].u32(); } ), "f.json: /5: expected a whole number from 0 to 4294967295, found \"8192\"" );
}

TEST( Json, EveryUnknownKeyIsTold ) {
   JsonDocument const file( "f.json", R"({"a":1,"name":2,"b":3})" );
   JsonObject object = file.root().object();
   object.has( "name" );
   try {
      object.finish();
      ADD_FAILURE() << "no error";
   } catch ( InputError const & error ) {
      EXPECT_EQ(
         error.mistakes(), ( std::vector<std::string>{
                              "f.json: /a: unknown key, found with 1; known here: \"name\"",
                              "f.json: /b: unknown key, found with 3; known here: \"name\"" } ) );
   }
}

TEST( Json, AnUnknownKeySuggestsTheNearestKnownOne ) {
   JsonDocument const file( "f.json", R"({"confgOffset":256})" );
   JsonObject object = file.root().object();
   object.has( "configOffset" );
   object.has( "name" );
   EXPECT_EQ(
      error( [&] { object.finish(); } ), "f.json: /confgOffset: unknown key, found with 256; did you mean "
                                         "\"configOffset\"?; known here: \"configOffset\" or "
                                         "\"name\"" );
}

TEST( Json, AnUnknownKeyThatIsLikeNoneGetsNoSuggestion ) {
   JsonDocument const file( "f.json", R"({"colour/tone":{}})" );
   JsonObject object = file.root().object();
   object.has( "name" );
   EXPECT_EQ(
      error( [&] { object.finish(); } ),
      "f.json: /colour~1tone: unknown key, found with an object; known here: \"name\"" );
}

TEST( Json, AKeyThatStandsTwiceIsAnError ) {
   EXPECT_EQ(
      syntaxError( R"({"a":[{"x":1},{"x":1,"y":{"x":3},"x":2}]})" ),
      "f.json: /a/1/x: this key stands twice in its object; keep one" );
   EXPECT_EQ( syntaxError( R"({"a":{"x":1},"b":{"x":1}})" ), "no error" );
}

TEST( Json, WrongSyntaxNamesLineAndColumn ) {
   EXPECT_EQ(
      syntaxError( "{\"a\":1,\n \"b\" 2}" ),
      "f.json:2:6: syntax error while parsing object separator - unexpected number literal; expected ':'" );
   EXPECT_EQ(
      syntaxError( "" ),
      "f.json:1:1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal" );
   EXPECT_EQ(
      syntaxError( "[1,2" ), "f.json:1:5: syntax error while parsing array - unexpected end of input; expected ']'" );
   EXPECT_EQ( syntaxError( "[1e400]" ), "f.json: number overflow parsing '1e400'" );
}

TEST( Json, OneOfListsTheChoices ) {
   JsonDocument const file( "f.json", R"(["b","d"])" );
   EXPECT_EQ( file.root().list()[0].oneOf( { "a", "b", "c" } ), 1u );
   EXPECT_EQ(
      error( [&] {
         file.root().list()[1].oneOf( { "a", "b", "c" } );
      } ),
      "f.json: /1: expected \"a\", \"b\" or \"c\", found \"d\"" );
}

TEST( Json, AFileThatCannotBeReadSaysWhy ) {
   std::string const folder = ::testing::TempDir();
   EXPECT_EQ(
      error( [&] { readFile( folder + "absent.json" ); } ),
      folder + "absent.json: cannot be read: No such file or directory" );
   EXPECT_EQ( error( [&] { readFile( folder ); } ), folder + ": cannot be read: Is a directory" );
   std::string const empty = folder + "empty.json";
   { std::ofstream file( empty ); }
   EXPECT_EQ( readFile( empty ), "" );
   std::remove( empty.c_str() );
}

TEST( Json, WhatPassesALimitIsAnErrorThatNamesIt ) {
   auto const nested = []( std::size_t depth ) { return std::string( depth, '[' ) + std::string( depth, ']' ); };
   std::size_t const deepest = Limits::nesting.most;
   EXPECT_EQ( syntaxError( nested( deepest ) ), "no error" );
   std::string place;
   for ( std::size_t i = 0; i < deepest; ++i ) place += "/0";
   EXPECT_EQ(
      syntaxError( nested( deepest + 1 ) ),
      "f.json: " + place + ": expected at most 32 objects and lists within one another, found 33" );
   std::string const longest( Limits::textBytes.most, 'x' );
   EXPECT_EQ( syntaxError( R"({"a":[1,")" + longest + R"("]})" ), "no error" );
   EXPECT_EQ(
      syntaxError( R"({"a":[1,")" + longest + R"(x"]})" ),
      "f.json: /a/1: expected at most 65536 bytes in a text, found 65537" );
   EXPECT_EQ(
      syntaxError( R"({"a":{")" + longest + R"(x":1}})" ),
      "f.json: /a: expected at most 65536 bytes in a text, found 65537" );
   JsonDocument const list( "f.json", "[1,2,3]" );
   EXPECT_EQ( list.root().list( { 3, "lamps" } ).size(), 3u );
   EXPECT_EQ( error( [&] { list.root().list( { 2, "lamps" } ); } ), "f.json: expected at most 2 lamps, found 3" );
}

TEST( Json, AFileThatIsTooLongIsNotReadToItsEnd ) {
   EXPECT_EQ(
      error( [] { readFile( "/dev/zero" ); } ), "/dev/zero: expected at most 67108864 bytes in a file, found more" );
}

TEST( Json, NamesHoldPrintableCharactersOnly ) {
   auto const nameError = []( std::string const & text ) {
      return error( [&] { JsonDocument( "f.json", "[\"" + text + "\"]" ).root().list()[0].name(); } );
   };
   for ( std::string const text : { "ptp0", "a b~", "\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80", "\xc2\xa1" } )
      EXPECT_EQ( nameError( text ), "no error" ) << text;
   // Escape, delete, next line, line separator, right-to-left override, word joiner, byte order mark.
   for ( std::string const text : { "\\u001b[2J", "a\\u007f", "\\u0085", "\\u2028", "x\\u202e", "\\u2060", "\\ufeff" } )
      EXPECT_NE(
         nameError( text ).find( "f.json: /0: expected a name of printable characters, found " ), std::string::npos )
         << text;
   EXPECT_EQ( nameError( "\\u001b" ), "f.json: /0: expected a name of printable characters, found \"\\u001b\"" );
   EXPECT_EQ( nameError( std::string( 4097, 'x' ) ), "f.json: /0: expected at most 4096 bytes in a name, found 4097" );
   // A message has none either, whatever a key holds.
   JsonDocument const file( "f.json", R"({"\u001b":1})" );
   EXPECT_EQ(
      error( [&] { file.root().object().finish(); } ),
      "f.json: \"/\\u001b\": unknown key, found with 1; known here: nothing" );
}

TEST( Json, OfManyMistakesTheFirstAreTold ) {
   Mistakes mistakes;
   for ( std::size_t i = 0; i < 3 * Mistakes::mostTold; ++i )
      mistakes.gather( [&] { throw InputError( std::to_string( i ) ); } );
   ASSERT_EQ( mistakes.all().size(), Mistakes::mostTold + 1 );
   EXPECT_EQ( mistakes.all()[Mistakes::mostTold - 1], "999" );
   EXPECT_EQ( mistakes.all().back(), "There are more mistakes; the first are told." );
}

TEST( Json, NearestChoiceTakesTypingErrorsOnly ) {
   EXPECT_EQ( nearestChoice( "recieve", { "receive", "send" } ), "receive" );
   EXPECT_EQ( nearestChoice( "TimeSync", { "timeSync" } ), "timeSync" );
   EXPECT_EQ( nearestChoice( "fault", { "timeSync", "events" } ), "" );
}

}   // namespace
}   // namespace JsonTests
