// What `simulate` says of the situations in tests/diagnosis/faults/, which its README.md describes: each must be told
// to be what it is, and nothing must be said where all is well.
#include "input/Json.h"
#include "tests/command/Process.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>

namespace FaultTableTests {
namespace {

using namespace Host;
using Input::Json;

struct Said {
   std::string weight;   // "Cause"
   std::string text;     // its first line and its advice, in lower case, each on one line
};

std::string lowered( std::string text ) {
   std::ranges::transform(
      text, text.begin(), []( unsigned char c ) { return static_cast<char>( std::tolower( c ) ); } );
   return text;
}

std::vector<Said> saidIn( std::string const & output ) {
   std::vector<Said> all;
   bool advice = false;
   std::istringstream lines( output );
   for ( std::string line; std::getline( lines, line ); ) {
      if ( !line.starts_with( ' ' ) ) {
         std::string const weight = line.substr( 0, line.find( ':' ) );
         advice = weight == "Cause" || weight == "Warning" || weight == "Earlier";
         if ( advice ) all.push_back( { weight, lowered( line ) } );
         continue;
      }
      if ( all.empty() ) continue;
      if ( line.size() > 2 && line[2] != ' ' ) advice = line.starts_with( "  do" );
      if ( advice ) all.back().text += "\n" + lowered( line );
   }
   return all;
}

// Whether the phrase stands in the text where a word begins.
bool stands( std::string const & text, std::string const & phrase ) {
   std::string const wanted = lowered( phrase );
   for ( std::size_t at = text.find( wanted ); at != std::string::npos; at = text.find( wanted, at + 1 ) )
      if ( at == 0 || !std::isalnum( static_cast<unsigned char>( text[at - 1] ) ) ) return true;
   return false;
}

class Table {
 public:
   Json const file = Json::parse( Input::readFile( CLOCKPATH_FAULTS "faults.json" ) );

   // One phrase, the name of a list of them, or such a list.
   bool says( std::string const & text, Json const & phrase ) const {
      if ( phrase.is_array() )
         return std::ranges::any_of( phrase, [&]( Json const & one ) { return says( text, one ); } );
      std::string const word = phrase.get<std::string>();
      return word.starts_with( '<' ) ? says( text, file["alternatives"].at( word.substr( 1, word.size() - 2 ) ) )
                                     : stands( text, word );
   }

   void expectAll( Json const & wanted, std::vector<Said> const & said, std::string const & weight ) const {
      std::vector<std::string> texts;
      for ( Said const & one : said )
         if ( one.weight == weight ) texts.push_back( one.text );
      EXPECT_EQ( texts.size(), wanted.size() ) << weight;
      for ( std::size_t i = 0; i < std::min( texts.size(), wanted.size() ); ++i )
         for ( Json const & phrase : wanted[i] )
            EXPECT_TRUE( says( texts[i], phrase ) ) << phrase << " is missing in\n" << texts[i];
   }
};

// The words that stand in the file behind the mark, to the next quotation mark or the line's end.
std::set<std::string> wordsBehind( std::string const & mark, std::string const & content ) {
   std::set<std::string> words;
   for ( std::size_t at = content.find( mark ); at != std::string::npos; at = content.find( mark, at + 1 ) ) {
      std::size_t const begin = at + mark.size();
      words.insert( content.substr( begin, content.find_first_of( "\"\n", begin ) - begin ) );
   }
   return words;
}

// One that no situation needs is not known to work, and one without a paragraph is not known to anybody.
TEST( FaultTable, EachRuleIsDocumented ) {
   std::set<std::string> rules{ "cardGone", "assertion" };
   for ( char const * table : { "Gate", "Attempt", "Lock", "Ready" } )
      rules.merge(
         wordsBehind( "\n   { \"", Input::readFile( CLOCKPATH_DIAGNOSIS + std::string( table ) + "Rules.cpp" ) ) );
   std::erase_if( rules, []( std::string const & word ) {   // assertions have rows too
      return !std::ranges::all_of( word, []( unsigned char c ) { return std::isalnum( c ); } );
   } );
   EXPECT_EQ( wordsBehind( "\n### ", Input::readFile( CLOCKPATH_DOCS "diagnosis.md" ) ), rules );
}

TEST( FaultTable, EachSituationIsNamed ) {
   Table const table;
   std::set<std::string> rules;
   ASSERT_GE( table.file["situations"].size(), 100u );
   Input::Folder const folder;
   for ( Json const & situation : table.file["situations"] ) {
      std::string const name = situation["name"];
      SCOPED_TRACE( name );
      std::string const log = folder.path( name );
      int const exit = situation["exit"];
      Ran ran = run( { "simulate", CLOCKPATH_FAULTS "scenarios/" + name + ".json", "--events", log } );
      constexpr int shellSignals = 128;
      EXPECT_EQ( ran.result, exit > shellSignals ? shellSignals - exit : exit );
      // A process that an assertion ended is explained by what it recorded.
      if ( exit > shellSignals ) ran = run( { "explain", log } );
      std::vector<Said> const said = saidIn( ran.output );
      rules.merge( wordsBehind( "\n  rule   ", ran.output ) );
      table.expectAll( situation["causes"], said, "Cause" );
      table.expectAll( situation.value( "warns", Json::array() ), said, "Warning" );
      if ( situation.contains( "earlier" ) ) table.expectAll( situation["earlier"], said, "Earlier" );
      EXPECT_TRUE( said.empty() || !situation.value( "silent", false ) ) << ran.output;
      for ( Said const & one : said )
         for ( Json const & phrase : situation.value( "neverSays", Json::array() ) )
            EXPECT_FALSE( one.weight == "Cause" && table.says( one.text, phrase ) ) << phrase << " in\n" << one.text;
   }
   // Those that no simulated card comes to have tests on recordings made by hand.
   std::set<std::string> const byHand{ "answersAsOther",    "drifted",   "locksLate", "lostWhileLocking", "otherByte",
                                       "redundancyMissing", "silentNow", "swapped",   "tolvanePending",   "writeLost" };
   std::set<std::string> missing = wordsBehind( "\n### ", Input::readFile( CLOCKPATH_DOCS "diagnosis.md" ) );
   std::erase_if( missing, [&]( std::string const & rule ) { return rules.contains( rule ); } );
   EXPECT_EQ( missing, byHand );
}

// bit-sometimes is a warning, bit-stuck a cause.
TEST( ExplainCommand, GivesOneForACauseAndInStrictCasesForAWarning ) {
   Input::Folder const folder;
   for ( auto const & [name, lenient] : { std::pair( "bit-sometimes", 0 ), std::pair( "bit-stuck", 1 ) } ) {
      std::string const scenario = CLOCKPATH_FAULTS "scenarios/" + std::string( name ) + ".json";
      std::string const log = folder.path( name );
      EXPECT_EQ( run( { "simulate", scenario, "--events", log } ).result, lenient );
      EXPECT_EQ( run( { "simulate", scenario, "--strict" } ).result, 1 );
      EXPECT_EQ( run( { "explain", log } ).result, lenient );
      EXPECT_EQ( run( { "explain", log, "--strict" } ).result, 1 );
      Ran const ran = run( { "explain", log, "--json" } );
      EXPECT_EQ( ran.result, lenient );
      Json const causes = Json::parse( ran.output );
      ASSERT_EQ( causes.size(), 1u );
      EXPECT_EQ( causes[0]["weight"], lenient ? "cause" : "warning" );
      EXPECT_EQ( causes[0]["chip"], "ptp0" );
   }
}

// What simulate looks at in the end is its own: the log has what the library did, and ends with the scenario.
TEST( SimulateCommand, TheLookAtItsEndAddsNothingToTheLog ) {
   Input::Folder const folder;
   Ran const ran = run( { "simulate", CLOCKPATH_FAULTS "scenarios/lock-lost.json", "--events", folder.path( "log" ) } );
   EXPECT_NE( ran.output.find( "register 7 reads 0x00 now" ), std::string::npos ) << "it looked";
   std::string const log = folder.content( "log" );
   std::string const lastLine = log.substr( log.rfind( '\n', log.size() - 2 ) + 1 );
   EXPECT_EQ( Json::parse( lastLine ).value( "step", "" ), "Published" ) << lastLine;
}

}   // namespace
}   // namespace FaultTableTests
