#include "sim/SimulatedCard.h"

#include "hal/KivHal.h"
#include "sim/SpiMaster.h"
#include "sim/TolvaneChip.h"

#include <stdexcept>

namespace Sim {

namespace {

constexpr U32 goneValue = 0xFFFFFFFF;

// The FPGA's counter of a MAX24305's output clock.
class FrequencyRegister final : public RegisterBlock {
 public:
   explicit FrequencyRegister( Max24305Chip const & chip ) : chip_( chip ) {}

   Hal::Registers registers() const override { return Hardware::frequencyBlock; }
   U32 read( U32 ) override {
      Hardware::Max24305Status status;
      status.frequencyInHzIs( chip_.outputFrequencyInHz() );
      return status.value();
   }

 private:
   Max24305Chip const & chip_;
};

std::string inQuotes( std::string_view name ) { return "\"" + std::string( name ) + "\""; }

}   // namespace

// A chip behind the card's registers, with its faults and its reset line.
struct SimulatedCard::Chip {
   Chip( VirtualClock & clock, FaultTarget target ) : target( target ), faults( clock ) {
      faults.listenerAdd( FaultKind::resetStuck_, FaultBoard::spanEnds_, [this] {
         if ( !faults.active( FaultKind::resetStuck_ ) ) resetIs( resetDriven );
      } );
   }
   virtual ~Chip() = default;

   /// What the line says, which is released at the start.
   virtual void resetIs( bool asserted ) = 0;

   /// What the output drives, true for the active level: the line follows it, unless it is stuck.
   void resetDrivenIs( bool asserted ) {
      if ( asserted == resetDriven ) return;
      resetDriven = asserted;
      if ( !asserted && faults.occurs( FaultKind::resetStuck_ ) ) return;
      resetIs( asserted );
   }

   FaultTarget const target;
   FaultBoard faults;
   bool resetDriven = false;
};

struct SimulatedCard::Max24305Part final : Chip {
   Max24305Part( VirtualClock & clock, Max24305 const & parameters, U64 spiClockInHz )
      : Chip( clock, FaultTarget::max24305_ ),
        chip(
           clock, faults,
           { .name = parameters.name,
             .lockAfterNs = parameters.lockAfterNs,
             .apllStatus = parameters.apllStatus,
             .outputFrequencyInHz = parameters.outputFrequencyInHz,
             .settleNs = parameters.settleNs,
             .volatileBits = parameters.volatileBits } ),
        master(
           clock, chip, faults,
           { .clockInHz = spiClockInHz,
             .resetSupported = parameters.spiResetSupported,
             .responses = parameters.spiResponses,
             .commands = parameters.spiCommands } ),
        frequency( chip ) {}
   void resetIs( bool asserted ) override { chip.resetIs( asserted ); }

   Max24305Chip chip;
   SpiMaster master;
   FrequencyRegister frequency;
};

struct SimulatedCard::TolvanePart final : Chip {
   explicit TolvanePart( VirtualClock & clock ) : Chip( clock, FaultTarget::tolvane_ ), chip( faults ) {}
   void resetIs( bool asserted ) override { chip.resetIs( asserted ); }

   TolvaneChip chip;
};

// A register of the FPGA whose bits are outputs; some of them drive the reset lines of chips. It is 0 at power-up and
// reads back what was written.
class SimulatedCard::OutputRegister final : public RegisterBlock {
 public:
   Hal::Registers registers() const override {
      static constexpr Hal::RegisterDeclaration one;   // its bits are the outputs
      return { &one, 1 };
   }
   U32 read( U32 ) override { return value_; }
   void write( U32, U32 value ) override {
      value_ = value;
      for ( Wire const * wire : wires )
         for ( Chip * chip : wire->chips ) chip->resetDrivenIs( wire->bit.active( value_ ) );
   }

   std::vector<Wire const *> wires;

 private:
   U32 value_ = 0;
};

SimulatedCard::SimulatedCard( Vor::Ptr<VirtualClock> clock, Parameters const & parameters )
   : clock_( std::move( clock ) ), faults_( *clock_ ) {
   for ( Output const & output : parameters.outputs ) outputAdd( output );
   for ( Tolvane const & tolvane : parameters.tolvanes ) tolvaneAdd( tolvane );
   for ( Max24305 const & max24305 : parameters.max24305s ) max24305Add( max24305, parameters.spiClockInHz );
}

SimulatedCard::~SimulatedCard() = default;

U32 SimulatedCard::read32( U32 address ) {
   if ( faults_.occurs( FaultKind::hardwareGone_ ) ) return goneValue;
   Register const * const found = registerAt( address, AccessDirection::read_ );
   if ( !found || !Hal::readable( found->declaration->access ) ) return 0;
   return found->block->read( found->declaration->address );
}

void SimulatedCard::write32( U32 address, U32 value ) {
   if ( faults_.occurs( FaultKind::hardwareGone_ ) ) return;
   Register const * const found = registerAt( address, AccessDirection::write_ );
   if ( found && Hal::writable( found->declaration->access ) )
      found->block->write( found->declaration->address, value );
}

void SimulatedCard::faultBegin( std::string_view chip, Fault const & fault ) {
   Chip * const target = chip.empty() ? nullptr : chipOf( chip );
   if ( !chip.empty() && !target ) throw std::invalid_argument( "the card has no chip " + inQuotes( chip ) );
   if ( !faultFits( fault.kind, target ? target->target : FaultTarget::card_ ) )
      throw std::invalid_argument(
         "the fault " + inQuotes( faultKindText( fault.kind ) ) + " is none of " +
         ( target ? "the chip " + inQuotes( chip ) : std::string( "the card" ) ) );
   ( target ? target->faults : faults_ ).faultBegin( fault );
}

void SimulatedCard::outputAdd( Output const & output ) {
   if ( output.bit > 31 )
      throw std::invalid_argument(
         "the output " + inQuotes( output.name ) + " has bit " + std::to_string( output.bit ) + "; expected 0 to 31" );
   std::string const owner = "the output " + inQuotes( output.name );
   auto const [entry, isNew] = wires_.try_emplace( output.name, Wire{ owner, { output.bit, output.activeType }, {} } );
   if ( !isNew ) throw std::invalid_argument( "two outputs are named " + inQuotes( output.name ) );
   std::unique_ptr<OutputRegister> & outputs = outputRegisters_[output.offset];
   if ( !outputs ) {
      outputs = std::make_unique<OutputRegister>();
      blockAdd( owner, output.offset, *outputs );
   }
   for ( Wire const * other : outputs->wires )
      if ( other->bit.bit == output.bit )
         throw std::invalid_argument(
            "bit " + std::to_string( output.bit ) + " of the register at " + std::to_string( output.offset ) +
            " belongs to " + other->owner + " and to " + owner );
   outputs->wires.push_back( &entry->second );
}

void SimulatedCard::max24305Add( Max24305 const & parameters, U64 spiClockInHz ) {
   auto chip = std::make_unique<Max24305Part>( *clock_, parameters, spiClockInHz );
   chip->chip.spiObserverIs( [this]( std::string_view name, auto const & bytes, U8 response ) {
      if ( spiObserver_ ) spiObserver_( name, bytes, response );
   } );
   std::string const owner = "the chip " + inQuotes( parameters.name );
   blockAdd( owner, parameters.configOffset, chip->master );
   blockAdd( owner, parameters.statusOffset, chip->frequency );
   chipAdd( parameters.name, std::move( chip ), parameters.resetGpoName );
}

void SimulatedCard::tolvaneAdd( Tolvane const & parameters ) {
   auto chip = std::make_unique<TolvanePart>( *clock_ );
   blockAdd( "the chip " + inQuotes( parameters.name ), parameters.offset, chip->chip );
   chipAdd( parameters.name, std::move( chip ), parameters.resetGpoName );
}

void SimulatedCard::chipAdd( std::string const & name, std::unique_ptr<Chip> chip, std::string const & resetGpoName ) {
   auto const [entry, isNew] = chips_.try_emplace( name, std::move( chip ) );
   if ( !isNew ) throw std::invalid_argument( "two chips are named " + inQuotes( name ) );
   if ( resetGpoName.empty() ) return;
   auto const found = wires_.find( resetGpoName );
   if ( found == wires_.end() )
      throw std::invalid_argument(
         "the reset output " + inQuotes( resetGpoName ) + " of the chip " + inQuotes( name ) +
         " is none of the card's outputs" );
   Wire & wire = found->second;
   wire.chips.push_back( entry->second.get() );
   entry->second->resetDrivenIs( wire.bit.active( 0 ) );
}

void SimulatedCard::blockAdd( std::string const & owner, U32 offset, RegisterBlock & block ) {
   for ( Hal::RegisterDeclaration const & declaration : block.registers() ) {
      U32 const address = offset + declaration.address;
      auto const [entry, isNew] = registers_.try_emplace( address, Register{ &block, &declaration, owner } );
      if ( !isNew )
         throw std::invalid_argument(
            "the register at " + std::to_string( address ) + " belongs to " + entry->second.owner + " and to " +
            owner );
   }
}

SimulatedCard::Register const * SimulatedCard::registerAt( U32 address, AccessDirection direction ) {
   auto const found = registers_.find( address );
   if ( found != registers_.end() ) return &found->second;
   if (
      unclaimedObserver_ && unclaimedTold_.size() < unclaimedToldMax &&
      unclaimedTold_.emplace( address, direction ).second )
      unclaimedObserver_( address, direction );
   return nullptr;
}

SimulatedCard::Chip * SimulatedCard::chipOf( std::string_view name ) const {
   auto const found = chips_.find( name );
   return found == chips_.end() ? nullptr : found->second.get();
}

}   // namespace Sim
