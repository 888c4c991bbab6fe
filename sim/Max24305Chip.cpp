#include "sim/Max24305Chip.h"

#include "hal/Max24305Hal.h"

#include <algorithm>
#include <utility>

namespace Sim {

namespace {

constexpr U8 undrivenBus = 0xFF;
constexpr U16 apllStatusAddress = Hardware::ApllStatus::address();
constexpr U16 softResetAddress = 0;
constexpr U8 softReset = 0x80;

struct PowerUpValue {
   U16 address;
   U8 value;
};
constexpr PowerUpValue identification[] = { { 0x0030, 0x5E }, { 0x0031, 0xF1 }, { 0x0032, 0x01 } };

bool isReadOnly( U16 address ) {
   return std::ranges::any_of(
             Hardware::max24305Block,
             [address]( auto const & reg ) { return reg.address == address && !Hal::writable( reg.access ); } ) ||
          std::ranges::any_of( identification, [address]( auto const & row ) { return row.address == address; } );
}

}   // namespace

Max24305Chip::Max24305Chip( VirtualClock & clock, FaultBoard & faults, Parameters parameters )
   : clock_( clock ),
     faults_( faults ),
     parameters_( std::move( parameters ) ),
     lockDue_( clock, [this] { handleLockDue(); } ) {
   faults_.listenerAdd( FaultKind::spiLate_, FaultBoard::begins_, [this] { lateAnswer_ = 0; } );
   faults_.listenerAdd( FaultKind::loseLock_, FaultBoard::begins_, [this] { loseLock(); } );
   for ( FaultKind const kind : { FaultKind::neverLock_, FaultKind::loseLock_ } )
      faults_.listenerAdd( kind, FaultBoard::spanEnds_, [this] {
         if ( !inReset_ && locked_ != parameters_.apllStatus && !lockDue_.pending() ) lockAgain();
      } );
   faults_.listenerAdd( FaultKind::chipReset_, FaultBoard::begins_, [this] {
      faults_.occurs( FaultKind::chipReset_ );
      if ( inReset_ ) return;
      resetIs( true );
      resetIs( false );
   } );
   powerUpRegisters();
   startLocking();
}

U8 Max24305Chip::byteExchanged( U8 out ) {
   U32 const place = bytesOfTransaction_++;
   U8 const idle = transactionLost_ ? undrivenBus : 0;
   if ( place < 3 ) {
      header_[place] = out;
      driven_ = idle;
      return idle;
   }
   U16 const first = static_cast<U16>( header_[1] << 8 | header_[2] );
   U16 const address = static_cast<U16>( first + ( place - 3 ) );
   U8 const before = driven_;
   driven_ = transactionLost_ ? idle : dataExchanged( header_[0], address, out );
   U8 const response = header_[0] == Hardware::spiRead_ ? arrived( driven_, before ) : driven_;
   if ( observer_ )
      observer_(
         parameters_.name, { header_[0], static_cast<U8>( address >> 8 ), static_cast<U8>( address ), out }, response );
   return response;
}

void Max24305Chip::handleChipSelectReleased() {
   bytesOfTransaction_ = 0;
   transactionLost_ = inReset_;
}

void Max24305Chip::resetIs( bool asserted ) {
   if ( asserted == inReset_ ) return;
   inReset_ = asserted;
   if ( asserted ) {
      transactionLost_ = true;
      locked_ = 0;
      lockDue_.cancel();
      powerUpRegisters();
   } else {
      transactionLost_ = bytesOfTransaction_ > 0;
      startLocking();
   }
}

U32 Max24305Chip::outputFrequencyInHz() const {
   return Hardware::ApllStatus( apllStatus() ).bothLocked() ? parameters_.outputFrequencyInHz : 0;
}

U8 Max24305Chip::dataExchanged( U8 instruction, U16 address, U8 out ) {
   if ( instruction == Hardware::spiRead_ ) return registerRead( address );
   if ( instruction == Hardware::spiWrite_ ) registerWritten( address, out );
   return 0;
}

// What arrives of an answer that the chip shifts out, `before` being the byte that it shifted out last.
U8 Max24305Chip::arrived( U8 answer, U8 before ) {
   U8 in = answer;
   if ( Fault const * shift = faults_.occurs( FaultKind::spiShift_ ) )
      in = static_cast<U8>( ( before << 8 | in ) >> shift->bits );
   if ( faults_.occurs( FaultKind::spiLate_ ) ) std::swap( in, lateAnswer_ );
   if ( Fault const * stuck = faults_.occurs( FaultKind::misoStuck_ ) ) in = stuck->value ? 0xFF : 0;
   return in;
}

U8 Max24305Chip::registerRead( U16 address ) {
   auto const found = registers_.find( address );
   U8 stored = found == registers_.end() ? U8( 0 ) : found->second;
   if ( address == apllStatusAddress ) stored = apllStatus();
   if ( auto const bits = parameters_.volatileBits.find( address ); bits != parameters_.volatileBits.end() ) {
      U8 const mask = bits->second;
      U8 & value = volatileValues_[address];
      value = static_cast<U8>( ( ( value | ~mask ) + 1 ) & mask );   // the carry runs through the bits between
      stored = static_cast<U8>( ( stored & ~mask ) | value );
   }
   return static_cast<U8>( faults_.asRead( address, stored ) );
}

void Max24305Chip::registerWritten( U16 address, U8 value ) {
   if ( softResetNs_ && clock_.nowNs() - *softResetNs_ < parameters_.settleNs ) return;
   if ( faults_.occurs( FaultKind::writeLost_ ) ) return;
   if ( address == softResetAddress && value == softReset ) softResetNs_ = clock_.nowNs();
   if ( !isReadOnly( address ) ) registers_[address] = value;
   startLocking();
}

void Max24305Chip::powerUpRegisters() {
   registers_.clear();
   softResetNs_.reset();
   for ( PowerUpValue const & row : identification ) registers_[row.address] = row.value;
}

U8 Max24305Chip::apllStatus() const {
   U32 status = locked_;
   faults_.occurEach( [&]( Fault const & fault ) {
      if ( fault.kind != FaultKind::flapLock_ ) return false;
      U64 const agoNs = clock_.nowNs() - fault.beganNs;
      bool const over = fault.count && agoNs / fault.periodNs >= *fault.count;
      if ( !over && agoNs % fault.periodNs >= fault.lockedNs ) status &= ~fault.mask;
      return false;   // its count is of periods, not of looks
   } );
   return static_cast<U8>( status );
}

void Max24305Chip::startLocking() {
   locked_ = 0;
   lockAgain();
}

// Those that are in lock stay so meanwhile.
void Max24305Chip::lockAgain() {
   delayed_ = false;
   lockDue_.inNsIs( parameters_.lockAfterNs );
}

void Max24305Chip::handleLockDue() {
   if ( !delayed_ ) {
      if ( Fault const * slow = faults_.occurs( FaultKind::slowLock_ ) ) {
         delayed_ = true;
         lockDue_.inNsIs( slow->extraNs );
         return;
      }
   }
   if ( faults_.occurs( FaultKind::neverLock_ ) ) return;
   locked_ = parameters_.apllStatus;
   loseLock();
}

void Max24305Chip::loseLock() {
   bool again = false;
   faults_.occurEach( [&]( Fault const & fault ) {
      if ( fault.kind != FaultKind::loseLock_ || !( locked_ & fault.mask ) ) return false;
      locked_ &= static_cast<U8>( ~fault.mask );
      again |= fault.count.has_value();
      return true;
   } );
   if ( again ) lockAgain();
}

}   // namespace Sim
