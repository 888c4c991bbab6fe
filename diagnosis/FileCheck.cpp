#include "diagnosis/FileCheck.h"

#include "card/SimulatedWorld.h"
#include "input/Json.h"
#include "input/ScenarioFile.h"
#include "input/SequenceFile.h"

#include <algorithm>

namespace Diagnosis {

using Hardware::Max24305::Op;
using enum Hardware::Max24305::OpType;
using Input::CardDescription;
using Input::Max24305Description;

namespace {

// The chip is brought up as soon as its machine is made, and locks at once.
constexpr char cardOfOneChip[] = R"({
   "access": { "kind": "simulated", "lockAfterNs": 0 },
   "gpos": [ { "name": "reset", "offset": 8192, "bit": 0 } ],
   "chips": [ { "kind": "max24305", "name": "chip", "configOffset": 256, "statusOffset": 512, "resetGpoName": "reset",
                "input": "stuffedClock", "spiResetSupported": false, "sequence": [] } ] })";

// Registers of the simulated chip that hold 0 at power-up.
constexpr U16 anyRegister = 0x100;
constexpr U16 lastRegister = 0x101;

constexpr U64 failingAttempts = 9;   // all but the last

U64 nsToTheEnd( CardDescription const & card, Sim::Scenario const & scenario ) {
   Host::SimulatedWorld world( card, scenario );
   world.run();
   return world.nowNs();
}

// The machine itself brings the chip up, in virtual time. What an operation takes does not depend on the register, so
// each reads or writes one whose content is known; the sequence's own values, right or wrong, do not matter.
BringUpTime bringUpTime( Max24305Description const & described, U64 spiClockInHz ) {
   CardDescription card = Input::cardDescription( Input::JsonDocument( "", cardOfOneChip ).root() );
   std::get<Input::SimulatedAccess>( card.access ).spiClockInHz = spiClockInHz;
   Max24305Description & chip = card.max24305s[0];
   chip.spiResetSupported = described.spiResetSupported;
   chip.sequence = described.sequence;
   for ( Op & op : chip.sequence )
      if ( op.type != sleep_ ) op = { op.key, op.type, anyRegister, 0 };
   U64 const bestNs = nsToTheEnd( card, {} );

   Sim::Scenario worst;
   worst.events = {
      { 0,
        { { .key = "fault",
            .name = chip.name,
            .fault = {
               .kind = Sim::FaultKind::bitFlip_, .address = lastRegister, .mask = 1, .count = failingAttempts } } } } };
   chip.sequence.emplace_back( 0, read_, lastRegister, 0 );
   chip.simulatedApllStatus = 0;
   return { .bestNs = bestNs, .worstNs = nsToTheEnd( card, worst ) };
}

bool isJson( std::string_view content ) {
   std::size_t const start = content.find_first_not_of( " \t\r\n" );
   return start != std::string_view::npos && content[start] == '{';
}

// A card with one chip, which has the file's name and sequence.
CardDescription cardOfSequence( std::string const & path, std::string const & content ) {
   Max24305Description chip;
   chip.name = path;
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
   for ( Max24305Description const & chip : card.max24305s )
      if ( std::ranges::find( chip.sequence, unknownOp_, &Op::type ) == chip.sequence.end() )
         check.bringUpTimes.emplace_back( chip.name, bringUpTime( chip, spiClockInHz ) );
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
      mistakes.gather( [&] { Host::requireServedInputs( card ); } );
   } );
   check.mistakes = mistakes.all();
   return check;
}

}   // namespace Diagnosis
