// What the documents show is what the command reads.
#include "input/CardDescription.h"

#include "diagnosis/Warnings.h"
#include "input/Json.h"
#include "input/ScenarioFile.h"

#include "recording/Fields.h"
#include "tests/command/Process.h"
#include "tests/input/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

namespace {

using namespace Input;

// The first block of JSON, or of another language, in a document, or behind a heading of it.
std::string
jsonOf( std::string const & document, std::string const & heading = "", std::string const & language = "json" ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS + document );
   std::string const opening = "```" + language + "\n";
   std::size_t const start = text.find( opening, text.find( heading ) );
   if ( start == std::string::npos ) return "";
   return text.substr( start + opening.size(), text.find( "```", start + opening.size() ) - start - opening.size() );
}

TEST( Docs, TheCardOfTheDocumentIsOne ) {
   Input::JsonDocument const file( CLOCKPATH_EXAMPLES "document.json", jsonOf( "card-description.md" ) );
   CardDescription const card = cardDescription( file.root() );
   EXPECT_EQ( card.tolvanes.size(), 1u );
   ASSERT_EQ( card.max24305s.size(), 1u );
   EXPECT_GE( card.max24305s[0].sequence.size(), 400u );
}

TEST( Docs, TheScenarioOfTheDocumentIsOne ) {
   Input::JsonDocument const file( "document.json", jsonOf( "scenario.md" ) );
   Sim::Scenario const scenario = Input::readScenario( file.root(), readCard( CLOCKPATH_EXAMPLES "card.json" ) );
   EXPECT_EQ( scenario.events.size(), 6u );
   EXPECT_EQ( scenario.untilNs, 200'000'000'000u );
}

TEST( Docs, TheBuiltHardwareOfTheDocumentIsSome ) {
   Input::JsonDocument const file( "document.json", "{" + jsonOf( "scenario.md", "## `built`" ) + "}" );
   Sim::Scenario const scenario = Input::readScenario( file.root(), readCard( CLOCKPATH_EXAMPLES "card.json" ) );
   ASSERT_TRUE( scenario.built );
   EXPECT_EQ( scenario.built->max24305s.at( 1 ).configOffset, 256u );
}

TEST( Docs, EveryFaultIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "scenario.md" );
   for ( Sim::FaultKind const kind : Sim::faultKinds() )
      EXPECT_NE( text.find( "| `" + std::string( Sim::faultKindText( kind ) ) + "` |" ), std::string::npos )
         << Sim::faultKindText( kind );
}

TEST( Docs, EveryWarningIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "command.md" );
   for ( std::string_view const check : Diagnosis::checkNames )
      EXPECT_NE( text.find( "| `" + std::string( check ) + "` |" ), std::string::npos ) << check;
}

TEST( Docs, EveryActionIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "scenario.md" );
   std::string const events = text.substr( text.find( "## `events`" ) );
   for ( Sim::ActionType const & type : Sim::actionTypes() )
      EXPECT_NE( events.find( "`" + std::string( type.key ) + "`" ), std::string::npos ) << type.key;
}

// The command runs where the document's reader does.
TEST( Docs, TheJournalIsAsItIsShown ) {
   std::filesystem::path const here = std::filesystem::current_path();
   Folder const folder;
   std::filesystem::current_path( CLOCKPATH_EXAMPLES ".." );
   Host::run( { "simulate", "examples/bit-flip.json", "--events", folder.path( "events" ) } );
   Host::Ran const ran = Host::run( { "journal", folder.path( "events" ) } );
   std::filesystem::current_path( here );
   std::string const shown = jsonOf( "command.md", "## journal", "text" );
   EXPECT_GE( std::ranges::count( shown, '\n' ), 10 );
   EXPECT_NE( ran.output.find( shown ), std::string::npos ) << ran.output;
}

std::set<std::string> keysOf( Input::Json const & object ) {
   std::set<std::string> keys;
   for ( auto const & item : object.items() ) keys.insert( item.key() );
   return keys;
}

// The lines that the document shows, its table and its first line are those of a real log.
TEST( Docs, TheEventLogIsAsItIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "event-log.md" );
   Host::Ran const ran = Host::run( { "simulate", CLOCKPATH_EXAMPLES "demo.json", "--events", "-" } );
   ASSERT_EQ( ran.result, 0 ) << ran.errors;

   std::string const table = text.substr( text.find( "| `ev` |" ), text.find( "## " ) - text.find( "| `ev` |" ) );
   std::vector<std::string_view> kinds{ Recording::firstKind };
   kinds.insert( kinds.end(), Recording::kindNames.begin(), Recording::kindNames.end() );
   std::set<std::string> described;
   std::istringstream rows( table );
   for ( std::string row; std::getline( rows, row ); )
      for ( std::string_view const kind : kinds )
         if ( row.substr( 0, row.find( '|', 1 ) ).find( "`" + std::string( kind ) + "`" ) != std::string::npos )
            described.emplace( kind );
   EXPECT_THAT( described, ::testing::UnorderedElementsAreArray( kinds ) ) << "what a reader knows";

   std::istringstream lines( ran.output );
   std::string line;
   std::getline( lines, line );
   std::set<std::string> first = keysOf( Input::Json::parse( jsonOf( "event-log.md" ) ) );
   EXPECT_EQ( first, keysOf( Input::Json::parse( line ) ) );
   std::set<std::string> written;
   do written.insert( Input::Json::parse( line )["ev"].get<std::string>() );
   while ( std::getline( lines, line ) );
   EXPECT_THAT( described, ::testing::IsSupersetOf( written ) );
   EXPECT_GE( written.size(), 10u );

   int shown = 0;
   std::istringstream document( text );
   for ( ; std::getline( document, line ); ) {
      if ( !line.starts_with( "    {" ) ) continue;
      EXPECT_NE( ran.output.find( line.substr( 4 ) + "\n" ), std::string::npos ) << line;
      ++shown;
   }
   EXPECT_GE( shown, 5 );
}

}   // namespace
