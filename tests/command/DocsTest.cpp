// What the documents show is what the command reads.
#include "input/CardDescription.h"

#include "diagnosis/Warnings.h"
#include "input/Json.h"
#include "input/ScenarioFile.h"

#include <gtest/gtest.h>

namespace {

using namespace Input;

// The first block of JSON in a document.
std::string jsonOf( std::string const & document ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS + document );
   std::string const opening = "```json\n";
   std::size_t const start = text.find( opening );
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
   std::vector<Sim::ScenarioChip> const chips = readCard( CLOCKPATH_EXAMPLES "card.json" ).scenarioChips();
   Sim::Scenario const scenario = Input::readScenario( file.root(), chips );
   EXPECT_EQ( scenario.events.size(), 6u );
   EXPECT_EQ( scenario.untilNs, 200'000'000'000u );
}

TEST( Docs, EveryFaultIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "scenario.md" );
   for ( Sim::FaultKind const kind : Sim::faultKinds() )
      EXPECT_NE( text.find( "| `" + std::string( Sim::faultKindText( kind ) ) + "` |" ), std::string::npos )
         << Sim::faultKindText( kind );
}

TEST( Docs, EveryWarningIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "command.md" );
   for ( std::string_view const check : Diagnosis::checkNames() )
      EXPECT_NE( text.find( "| `" + std::string( check ) + "` |" ), std::string::npos ) << check;
}

TEST( Docs, EveryActionIsDescribed ) {
   std::string const text = Input::readFile( CLOCKPATH_DOCS "scenario.md" );
   std::string const events = text.substr( text.find( "## `events`" ) );
   for ( Sim::ActionType const & type : Sim::actionTypes() )
      EXPECT_NE( events.find( "`" + std::string( type.key ) + "`" ), std::string::npos ) << type.key;
}

}   // namespace
