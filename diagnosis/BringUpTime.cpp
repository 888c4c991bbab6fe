#include "diagnosis/BringUpTime.h"

#include "card/SimulatedWorld.h"
#include "input/Json.h"

namespace Diagnosis {

using Hardware::Max24305::Op;
using enum Hardware::Max24305::OpType;

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

U64 nsToTheEnd( Input::CardDescription const & card, Sim::Scenario const & scenario ) {
   Host::SimulatedWorld world( card, scenario );
   world.run();
   return world.nowNs();
}

}   // namespace

BringUpTime bringUpTime( Input::Max24305Description const & described, U64 spiClockInHz ) {
   Input::CardDescription card = Input::cardDescription( Input::JsonDocument( "", cardOfOneChip ).root() );
   std::get<Input::SimulatedAccess>( card.access ).spiClockInHz = spiClockInHz;
   Input::Max24305Description & chip = card.max24305s[0];
   chip.spiResetSupported = described.spiResetSupported;
   chip.sequence = described.sequence;
   for ( Op & op : chip.sequence )
      if ( op.type != sleep_ ) op = { op.key, op.type, anyRegister, 0 };
   U64 const bestNs = nsToTheEnd( card, {} );

   Sim::Scenario worst;
   worst.start.actions = {
      { .key = "fault",
        .name = chip.name,
        .fault = { .kind = Sim::FaultKind::bitFlip_, .address = lastRegister, .mask = 1, .count = failingAttempts } } };
   chip.sequence.emplace_back( 0, read_, lastRegister, 0 );
   chip.simulatedApllStatus = 0;
   return { .bestNs = bestNs, .worstNs = nsToTheEnd( card, worst ) };
}

}   // namespace Diagnosis
