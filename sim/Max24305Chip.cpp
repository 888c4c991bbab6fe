#include "sim/Max24305Chip.h"

#include "hal/Max24305Hal.h"

#include <algorithm>

namespace Sim {

namespace {

constexpr U8 undrivenBus = 0xFF;
constexpr U16 apllStatusAddress = Hardware::ApllStatus::address();

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
   : faults_( faults ), parameters_( std::move( parameters ) ), lockDue_( clock, [this] { handleLockDue(); } ) {
   faults_.listenerAdd( FaultKind::loseLock_, FaultBoard::begins_, [this] {
      if ( locked_ ) loseLock();
   } );
   for ( FaultKind const kind : { FaultKind::neverLock_, FaultKind::loseLock_ } )
      faults_.listenerAdd( kind, FaultBoard::spanEnds_, [this] {
         if ( !inReset_ && !locked_ && !lockDue_.pending() ) startLocking();
      } );
   powerUpRegisters();
   startLocking();
}

U8 Max24305Chip::byteExchanged( U8 out ) {
   U32 const place = bytesOfTransaction_++;
   U8 const idle = transactionLost_ ? undrivenBus : 0;
   if ( place < 3 ) {
      header_[place] = out;
      return idle;
   }
   U16 const first = static_cast<U16>( header_[1] << 8 | header_[2] );
   U16 const address = static_cast<U16>( first + ( place - 3 ) );
   U8 const response = transactionLost_ ? idle : dataExchanged( header_[0], address, out );
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
      locked_ = false;
      lockDue_.cancel();
      powerUpRegisters();
   } else {
      transactionLost_ = bytesOfTransaction_ > 0;
      startLocking();
   }
}

U32 Max24305Chip::outputFrequencyInHz() const {
   if ( !locked_ ) return 0;
   return Hardware::ApllStatus( parameters_.apllStatus ).bothLocked() ? parameters_.outputFrequencyInHz : 0;
}

U8 Max24305Chip::dataExchanged( U8 instruction, U16 address, U8 out ) {
   if ( instruction == Hardware::spiRead_ ) return registerRead( address );
   if ( instruction == Hardware::spiWrite_ ) registerWritten( address, out );
   return 0;
}

U8 Max24305Chip::registerRead( U16 address ) {
   auto const found = registers_.find( address );
   U8 stored = found == registers_.end() ? U8( 0 ) : found->second;
   if ( address == apllStatusAddress ) stored = locked_ ? parameters_.apllStatus : U8( 0 );
   return stored ^ faults_.flippedBits( address );
}

void Max24305Chip::registerWritten( U16 address, U8 value ) {
   if ( !isReadOnly( address ) ) registers_[address] = value;
   startLocking();
}

void Max24305Chip::powerUpRegisters() {
   registers_.clear();
   for ( PowerUpValue const & row : identification ) registers_[row.address] = row.value;
}

void Max24305Chip::startLocking() {
   locked_ = false;
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
   locked_ = true;
   if ( faults_.active( FaultKind::loseLock_ ) ) loseLock();
}

void Max24305Chip::loseLock() {
   Fault const & fault = *faults_.occurs( FaultKind::loseLock_ );
   locked_ = false;
   if ( fault.count ) startLocking();
}

}   // namespace Sim
