#include "diagnosis/FileCheck.h"

#include "input/Json.h"
#include "input/ScenarioFile.h"
#include "input/SequenceFile.h"

#include <algorithm>

namespace Diagnosis {

using Input::CardDescription;
using Input::Max24305Description;

namespace {

class Checker {
 public:
   FileCheck check( std::string const & path ) {
      mistakes_.gather( [&] {
         std::string const content = Input::readFile( path );
         std::size_t const start = content.find_first_not_of( " \t\r\n" );
         if ( start != std::string::npos && content[start] == '{' )
            json( Input::JsonDocument( path, content ).root() );
         else
            sequence( path, content );
      } );
      result_.mistakes = mistakes_.all();
      return std::move( result_ );
   }

 private:
   void sequence( std::string const & path, std::string const & content ) {
      Max24305Description chip;
      chip.name = path;
      chip.sequence = Input::sequenceOf( path, content, &chip.sequenceLines );
      chip.sequencePlaces = Input::linePlaces( path, chip.sequenceLines );
      result_.warnings = warningsOf( chip.sequence, chip.sequencePlaces );
      timesAdd( chip, Sim::defaultSpiClockInHz );
   }

   // A card description has chips of its own, a scenario names a card.
   void json( Input::JsonValue const & root ) {
      Input::JsonObject object = root.object();
      if ( object.has( "chips" ) || object.has( "access" ) ) {
         card( Input::cardDescription( root ) );
         return;
      }
      CardDescription const described = Input::cardOfScenario( root );
      card( described );
      mistakes_.gather( [&] { Input::readScenario( root, described ); } );
      mistakes_.gather( [&] { Input::requireSimulated( described ); } );
   }

   void card( CardDescription const & card ) {
      result_.warnings = warningsOf( card );
      auto const * access = std::get_if<Input::SimulatedAccess>( &card.access );
      for ( Max24305Description const & chip : card.max24305s )
         timesAdd( chip, access ? access->spiClockInHz : Sim::defaultSpiClockInHz );
   }

   void timesAdd( Max24305Description const & chip, U64 spiClockInHz ) {
      if (
         std::ranges::find( chip.sequence, Hardware::Max24305::unknownOp_, &Hardware::Max24305::Op::type ) ==
         chip.sequence.end() )
         result_.bringUpTimes.emplace_back( chip.name, bringUpTime( chip, spiClockInHz ) );
   }

   Input::Mistakes mistakes_;
   FileCheck result_;
};

}   // namespace

FileCheck checkFile( std::string const & path ) { return Checker().check( path ); }

}   // namespace Diagnosis
