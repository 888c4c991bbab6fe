#include "diagnosis/FileCheck.h"

#include "input/Json.h"
#include "input/ScenarioFile.h"
#include "input/SequenceFile.h"

#include <algorithm>

namespace Diagnosis {

using Input::CardDescription;
using Input::Max24305Description;

namespace {

bool isJson( std::string_view content ) {
   std::size_t const start = content.find_first_not_of( " \t\r\n" );
   return start != std::string_view::npos && content[start] == '{';
}

// A card with one chip, which has the file's name and sequence.
CardDescription cardOfSequence( std::string const & path, std::string const & content ) {
   Max24305Description chip;
   chip.name = path;
   chip.input = Hardware::Max24305::stuffedClock_;
   chip.sequenceFile = path;
   chip.sequence = Input::sequenceOf( path, content, &chip.sequenceLines );
   CardDescription card;
   card.max24305s.push_back( std::move( chip ) );
   return card;
}

void cardCheck( CardDescription const & card, FileCheck & check ) {
   check.warnings = warningsOf( card );
   auto const * const simulated = std::get_if<Input::SimulatedAccess>( &card.access );
   U64 const spiClockInHz = simulated ? simulated->spiClockInHz : Sim::defaultSpiClockInHz;
   for ( Max24305Description const & chip : card.max24305s ) {
      auto const unknown =
         std::ranges::find( chip.sequence, Hardware::Max24305::unknownOp_, &Hardware::Max24305::Op::type );
      if ( unknown == chip.sequence.end() )
         check.bringUpTimes.emplace_back( chip.name, bringUpTime( chip, spiClockInHz ) );
   }
}

}   // namespace

FileCheck checkFile( std::string const & path ) {
   FileCheck check;
   Input::Mistakes mistakes;
   mistakes.gather( [&] {
      std::string const content = Input::readFile( path );
      if ( !isJson( content ) ) return cardCheck( cardOfSequence( path, content ), check );
      Input::JsonDocument const file( path, content );
      Input::JsonObject root = file.root().object();
      // A card description has chips of its own, a scenario names a card.
      if ( root.has( "chips" ) || root.has( "access" ) )
         return cardCheck( Input::cardDescription( file.root() ), check );
      CardDescription const card = Input::cardOfScenario( file.root() );
      cardCheck( card, check );
      mistakes.gather( [&] { Input::readScenario( file.root(), card ); } );
      mistakes.gather( [&] { Input::requireSimulated( card ); } );
   } );
   check.mistakes = mistakes.all();
   return check;
}

}   // namespace Diagnosis
