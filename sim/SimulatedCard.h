// The simulated card: one space of 32-bit registers, as a hardware-access handle sees it, with the chips behind it.
//
// It holds the registers of the reset outputs, which are 0 at power-up (an active-low output holds its chip in reset
// until it is driven), and per chip what the chip has: a MAX24305 the SPI master's block and the frequency register, a
// Tolvane its enable register. Elsewhere reads give 0 and writes are lost, and the observer is told. An access takes no
// virtual time.
//
//    Sim::SimulatedCard card( clock, { .outputs = { { .name = "ptp0Reset", .offset = 8192, .bit = 1 } },
//                                      .max24305s = { { .name = "ptp0", .configOffset = 256, .statusOffset = 512,
//                                                       .resetGpoName = "ptp0Reset" } } } );
//    card.write32( 256, 0x80000003 );
#pragma once

#include "framework/Types.h"
#include "platform/Gpo.h"
#include "sim/CardListener.h"
#include "sim/Defaults.h"
#include "sim/Fault.h"
#include "sim/Max24305Chip.h"
#include "sim/RegisterBlock.h"
#include "sim/VirtualClock.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Sim {

/// Told of an access where the card has no register.
using UnclaimedObserver = std::function<void( U32 address, AccessDirection direction )>;

class SimulatedCard {
 public:
   /// How many accesses where no register is are told of, each address and direction once.
   static constexpr std::size_t unclaimedToldMax = 1'000;

   struct Output {
      std::string name{};
      U32 offset = 0;
      U32 bit = 0;
      Fru::ActiveType activeType = Fru::activeHigh_;
      bool operator==( Output const & ) const = default;
   };
   struct Max24305 {
      std::string name{};
      U32 configOffset = 0;
      U32 statusOffset = 0;
      bool spiResetSupported = true;
      std::string resetGpoName{};   ///< of one of the outputs; empty: none
      U32 outputFrequencyInHz = 0;
      U64 lockAfterNs = defaultLockAfterNs;
      U8 apllStatus = defaultApllStatus;
      U64 settleNs = 0;                   ///< writes that follow a soft reset within it are lost
      std::map<U16, U8> volatileBits{};   ///< which change with every read: masks by register
      U32 spiResponses = 0;               ///< entries that stand in the response FIFO at the start
      U32 spiCommands = 0;                ///< the same of the command FIFO
      bool operator==( Max24305 const & ) const = default;
   };
   struct Tolvane {
      std::string name{};
      U32 offset = 0;
      std::string resetGpoName{};   ///< of one of the outputs; empty: none
      bool operator==( Tolvane const & ) const = default;
   };
   struct Parameters {
      U64 spiClockInHz = defaultSpiClockInHz;
      std::vector<Output> outputs{};
      std::vector<Max24305> max24305s{};
      std::vector<Tolvane> tolvanes{};
      bool operator==( Parameters const & ) const = default;
   };

   /// Throws std::invalid_argument, naming both sides, where two things want one register, one bit or one name, where
   /// a chip's output is none of the outputs, and for a bit above 31.
   SimulatedCard( Vor::Ptr<VirtualClock> clock, Parameters const & parameters );
   ~SimulatedCard();
   SimulatedCard( SimulatedCard const & ) = delete;
   SimulatedCard & operator=( SimulatedCard const & ) = delete;

   U32 read32( U32 address );
   void write32( U32 address, U32 value );

   /// A fault of the named chip, or of the whole card with an empty name, begins now. Throws std::invalid_argument
   /// where there is no such chip, or its sort cannot have this fault.
   void faultBegin( std::string_view chip, Fault const & fault );

   /// Whether there is a chip of that name.
   bool hasChip( std::string_view name ) const { return chipOf( name ) != nullptr; }

   /// One observer of all chips' buses, null for none.
   void spiObserverIs( SpiObserver observer ) { spiObserver_ = std::move( observer ); }
   /// One observer, null for none.
   void unclaimedObserverIs( UnclaimedObserver observer ) { unclaimedObserver_ = std::move( observer ); }

 private:
   struct Chip;
   struct Max24305Part;
   struct TolvanePart;
   class OutputRegister;
   // From an output to the reset lines of chips.
   struct Wire {
      std::string owner;
      Fru::OutputBit bit;
      std::vector<Chip *> chips;
   };
   struct Register {
      RegisterBlock * block;
      Hal::RegisterDeclaration const * declaration;
      std::string owner;
   };

   void outputAdd( Output const & output );
   void max24305Add( Max24305 const & parameters, U64 spiClockInHz );
   void tolvaneAdd( Tolvane const & parameters );
   void chipAdd( std::string const & name, std::unique_ptr<Chip> chip, std::string const & resetGpoName );
   void blockAdd( std::string const & owner, U32 offset, RegisterBlock & block );
   Register const * registerAt( U32 address, AccessDirection direction );
   Chip * chipOf( std::string_view name ) const;

   Vor::Ptr<VirtualClock> clock_;
   FaultBoard faults_;
   std::map<U32, std::unique_ptr<OutputRegister>> outputRegisters_;   // by offset
   std::map<std::string, Wire> wires_;                                // by output
   std::map<std::string, std::unique_ptr<Chip>, std::less<>> chips_;
   std::unordered_map<U32, Register> registers_;
   SpiObserver spiObserver_;
   UnclaimedObserver unclaimedObserver_;
   std::set<std::pair<U32, AccessDirection>> unclaimedTold_;
};

}   // namespace Sim
