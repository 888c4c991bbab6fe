#include "sim/SimulatedCard.h"

#include "hal/KivHal.h"
#include "sim/SpiMaster.h"
#include "sim/TolvaneChip.h"

#include <algorithm>
#include <bit>
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

struct SimulatedCard::Chip {
   Chip( VirtualClock & clock, std::string name ) : name( std::move( name ) ), faults( clock ) {}
   virtual ~Chip() = default;
   virtual FaultTarget target() const = 0;
   virtual ResetLine & resetLine() = 0;

   std::string const name;
   FaultBoard faults;
};

struct SimulatedCard::Max24305Part final : Chip {
   Max24305Part( VirtualClock & clock, Max24305 const & parameters, U64 spiClockInHz )
      : Chip( clock, parameters.name ),
        chip(
           clock, faults,
           { .name = parameters.name,
             .lockAfterNs = parameters.lockAfterNs,
             .apllStatus = parameters.apllStatus,
             .outputFrequencyInHz = parameters.outputFrequencyInHz } ),
        master( clock, chip, faults, { .clockInHz = spiClockInHz, .resetSupported = parameters.spiResetSupported } ),
        frequency( chip ),
        line( chip, faults ) {}
   FaultTarget target() const override { return FaultTarget::max24305_; }
   ResetLine & resetLine() override { return line; }

   Max24305Chip chip;
   SpiMaster master;
   FrequencyRegister frequency;
   ResetLine line;
};

struct SimulatedCard::TolvanePart final : Chip {
   TolvanePart( VirtualClock & clock, Tolvane const & parameters )
      : Chip( clock, parameters.name ), chip( faults ), line( chip, faults ) {}
   FaultTarget target() const override { return FaultTarget::tolvane_; }
   ResetLine & resetLine() override { return line; }

   TolvaneChip chip;
   ResetLine line;
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
   if ( !faultFits( fault.kind, target ? target->target() : FaultTarget::card_ ) )
      throw std::invalid_argument(
         "the fault " + inQuotes( faultKindText( fault.kind ) ) + " is none of " +
         ( target ? "the chip " + inQuotes( chip ) : std::string( "the card" ) ) );
   ( target ? target->faults : faults_ ).faultBegin( fault );
}

void SimulatedCard::spiObserverIs( SpiObserver * observer ) {
   for ( auto const & chip : chips_ ) {
      if ( auto * const part = dynamic_cast<Max24305Part *>( chip.get() ) ) part->chip.spiObserverIs( observer );
   }
}

void SimulatedCard::outputAdd( Output const & output ) {
   if ( output.bit > 31 )
      throw std::invalid_argument(
         "the output " + inQuotes( output.name ) + " has bit " + std::to_string( output.bit ) + "; expected 0 to 31" );
   for ( auto const & [offset, other] : outputRegisters_ ) {
      if ( other.output( output.name ) )
         throw std::invalid_argument( "two outputs are named " + inQuotes( output.name ) );
   }
   Fru::OutputBit const bit{ output.bit, output.activeType };
   claim( "the output " + inQuotes( output.name ), output.offset, bit.mask() );
   auto const [entry, isNew] = outputRegisters_.try_emplace( output.offset );
   OutputRegister & outputs = entry->second;
   if ( isNew ) place( output.offset, outputs );
   outputs.outputAdd( { .name = output.name, .bit = bit } );
}

void SimulatedCard::max24305Add( Max24305 const & parameters, U64 spiClockInHz ) {
   auto chip = std::make_unique<Max24305Part>( *clock_, parameters, spiClockInHz );
   std::string const owner = "the chip " + inQuotes( parameters.name );
   blockAdd( owner, parameters.configOffset, chip->master );
   blockAdd( owner, parameters.statusOffset, chip->frequency );
   chipAdd( std::move( chip ), parameters.resetGpoName );
}

void SimulatedCard::tolvaneAdd( Tolvane const & parameters ) {
   auto chip = std::make_unique<TolvanePart>( *clock_, parameters );
   blockAdd( "the chip " + inQuotes( parameters.name ), parameters.offset, chip->chip );
   chipAdd( std::move( chip ), parameters.resetGpoName );
}

void SimulatedCard::chipAdd( std::unique_ptr<Chip> chip, std::string const & resetGpoName ) {
   if ( hasChip( chip->name ) ) throw std::invalid_argument( "two chips are named " + inQuotes( chip->name ) );
   chips_.push_back( std::move( chip ) );
   if ( resetGpoName.empty() ) return;
   Chip & added = *chips_.back();
   bool const found = std::any_of( outputRegisters_.begin(), outputRegisters_.end(), [&]( auto & entry ) {
      return entry.second.lineAdd( resetGpoName, added.resetLine() );
   } );
   if ( !found )
      throw std::invalid_argument(
         "the reset output " + inQuotes( resetGpoName ) + " of the chip " + inQuotes( added.name ) +
         " is none of the card's outputs" );
}

void SimulatedCard::blockAdd( std::string const & owner, U32 offset, RegisterBlock & block ) {
   for ( Hal::RegisterDeclaration const & declaration : block.registers() )
      claim( owner, offset + declaration.address, wholeRegister );
   place( offset, block );
}

void SimulatedCard::claim( std::string const & owner, U32 address, U32 bits ) {
   auto const * const first = claims_.claim( address, bits, owner );
   if ( !first ) return;
   std::string const what = first->bits == bits && bits != wholeRegister
                               ? "bit " + std::to_string( std::countr_zero( bits ) ) + " of the register at "
                               : std::string( "the register at " );
   throw std::invalid_argument( what + std::to_string( address ) + " belongs to " + first->owner + " and to " + owner );
}

void SimulatedCard::place( U32 offset, RegisterBlock & block ) {
   for ( Hal::RegisterDeclaration const & declaration : block.registers() )
      registers_[offset + declaration.address] = { &block, &declaration };
}

SimulatedCard::Register const * SimulatedCard::registerAt( U32 address, AccessDirection direction ) {
   auto const found = registers_.find( address );
   if ( found != registers_.end() ) return &found->second;
   if (
      unclaimedObserver_ && unclaimedTold_.size() < unclaimedToldMax &&
      unclaimedTold_.emplace( address, direction ).second )
      unclaimedObserver_->onUnclaimed( address, direction );
   return nullptr;
}

SimulatedCard::Chip * SimulatedCard::chipOf( std::string_view name ) const {
   auto const found =
      std::find_if( chips_.begin(), chips_.end(), [name]( auto const & chip ) { return chip->name == name; } );
   return found == chips_.end() ? nullptr : found->get();
}

}   // namespace Sim
