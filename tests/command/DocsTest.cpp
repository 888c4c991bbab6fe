// What the documents show is what the command reads.
#include "input/CardDescription.h"

#include "input/Json.h"
#include "input/ScenarioFile.h"

#include <gtest/gtest.h>

namespace {

using namespace Input;

// The first block of JSON in a document, or behind a heading of it.
std::string jsonOf( std::string const & document, std::string const & heading = "" ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS + document );
   std::string const opening = "```json\n";
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

TEST( Docs, EveryActionIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "scenario.md" );
   std::string const events = text.substr( text.find( "## `events`" ) );
   for ( Sim::ActionType const & type : Sim::actionTypes() )
      EXPECT_NE( events.find( "`" + std::string( type.key ) + "`" ), std::string::npos ) << type.key;
}

}   // namespace
