// A card description: which chips a card carries, how they are wired and how the card is reached. A plain record of
// the file that docs/card-description.md describes, checked as a whole: names are unique, references point at
// something, registers are aligned, inside the space and nobody else's.
//
//    Input::CardDescription const card = Input::readCard( "card.json" );
//    Input::CardDescription const simulated = Input::cardOfScenario( scenarioFile.root() );
//
// Sequence files are read along with it; relative paths start at the folder of the file that names them.
#pragma once

#include "framework/Types.h"
#include "hardware/Max24305Op.h"
#include "hardware/Max24305Types.h"
#include "hardware/TolvaneTypes.h"
#include "input/NamedList.h"
#include "platform/Gpo.h"
#include "sim/Defaults.h"
#include "sim/Scenario.h"

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace Input {

class JsonValue;

/// A simulated card.
struct SimulatedAccess {
   U64 spiClockInHz = Sim::defaultSpiClockInHz;
   U64 lockAfterNs = Sim::defaultLockAfterNs;
   std::string socket;   ///< of the process that its hardware lives in; empty: in that of who uses it
};

/// Registers of a card in the machine, mapped from a file.
struct MmapAccess {
   std::string path;
   U64 offset = 0;   ///< where the card's space starts within the file
   U32 size = 0;     ///< of the card's space, in bytes
};

struct GpoDescription : Fru::OutputBit {
   std::string name;
   U32 offset = 0;
   bool operator==( GpoDescription const & ) const = default;
};

struct TolvaneDescription {
   std::string name;
   U32 offset = 0;
   std::string resetGpoName;
   Hardware::Tolvane::Role role = Hardware::Tolvane::timeSync_;
};

struct Max24305Description {
   std::string name;
   U32 configOffset = 0;
   U32 statusOffset = 0;
   std::string resetGpoName;
   Hardware::Max24305::Role role = Hardware::Max24305::timeSync_;
   Hardware::Max24305::Input input = Hardware::Max24305::noInput_;
   std::string tolvane;       ///< the feeding Tolvane; empty unless the input is one
   std::string clockStatus;   ///< name of the clock status; the chip's own name unless several share one
   Hardware::Max24305::ProgramSeq programSeq = Hardware::Max24305::ic1In10_oc1Out10_;
   U32 outputFrequencyInHz = 0;
   bool spiResetSupported = false;
   std::vector<Hardware::Max24305::Op> sequence;
   std::string sequenceFile;         ///< for messages; empty for a sequence in place
   std::vector<U32> sequenceLines;   ///< of each operation in that file, from 1
   std::string sequencePlace;        ///< of a sequence in place: "card.json: /chips/0/sequence"
   // Of a simulated card:
   U64 simulatedLockAfterNs = 0;
   U8 simulatedApllStatus = Sim::defaultApllStatus;   ///< register 7 once locked
   U64 simulatedSettleNs = 0;                         ///< writes that follow a soft reset within it are lost
   std::map<U16, U8> simulatedVolatile;               ///< bits that change with every read: masks by register

   /// Of an operation, as it stands in messages: "ptp0.ops:7".
   std::string placeOf( std::size_t operation ) const {
      return sequenceFile.empty() ? sequencePlace + "/" + std::to_string( operation )
                                  : sequenceFile + ":" + std::to_string( sequenceLines[operation] );
   }
   /// The same with its number, from 1: "operation 3 (ptp0.ops:7)".
   std::string operationText( std::size_t operation ) const {
      return "operation " + std::to_string( operation + 1 ) + " (" + placeOf( operation ) + ")";
   }
};

struct CardDescription {
   std::string file;   ///< for messages
   std::string json;   ///< the description itself, on one line; sequence files are named in it, and not held
   std::variant<SimulatedAccess, MmapAccess> access;
   U32 genId = 0;
   U32 slotId = 0;
   NamedList<GpoDescription> gpos;
   NamedList<TolvaneDescription> tolvanes;     ///< in the card's order
   NamedList<Max24305Description> max24305s;   ///< in the card's order

   GpoDescription const * gpo( std::string_view name ) const { return gpos.find( name ); }
   Max24305Description const * max24305( std::string_view name ) const { return max24305s.find( name ); }
   TolvaneDescription const * tolvane( std::string_view name ) const { return tolvanes.find( name ); }
   /// The file by which a card is reached that outlives its users: what is mapped, or the socket of its hardware. Empty
   /// where the hardware is simulated in the process of who uses it.
   std::string place() const;
   /// All the files that stand in it, its own too.
   std::vector<std::string> files() const;
   /// What a scenario can name.
   std::vector<Sim::ScenarioChip> scenarioChips() const;
};

/// What the hardware is made from that is simulated as described. The access must be simulated.
Sim::SimulatedCard::Parameters simulatedParameters( CardDescription const & description );

/// Reads a description. Throws InputError, which names the place, what stood there and what is accepted, of all
/// mistakes that can be told at once.
CardDescription readCard( std::string const & path );
CardDescription cardDescription( JsonValue const & root );
/// The same of the card that a scenario names, or holds in place, under "card".
CardDescription cardOfScenario( JsonValue const & scenario );
/// Throws InputError for a card that cannot be simulated.
void requireSimulated( CardDescription const & card );

}   // namespace Input
