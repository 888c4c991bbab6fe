#include "sim/SpiMaster.h"

#include "hal/KivHal.h"

#include <algorithm>
#include <stdexcept>

namespace Sim {

namespace {

using Hardware::SpiCommandFifo;
using Hardware::SpiCtrl;
using Hardware::SpiReset;
using Hardware::SpiResponseFifo;

U32 responseOf( U8 data, bool valid ) {
   SpiResponseFifo response;
   response.dataIs( data );
   response.dataValidIs( valid );
   return response.value();
}

U64 byteNsOf( U64 clockInHz ) {
   if ( clockInHz == 0 ) throw std::invalid_argument( "the SPI clock is 0 Hz; expected at least 1" );
   constexpr U64 bitsTimesNsPerSecond = 8'000'000'000;
   return ( bitsTimesNsPerSecond + clockInHz - 1 ) / clockInHz;
}

}   // namespace

SpiMaster::SpiMaster( VirtualClock & clock, SpiDevice & device, FaultBoard & faults, Parameters const & parameters )
   : device_( device ),
     faults_( faults ),
     resetSupported_( parameters.resetSupported ),
     byteNs_( byteNsOf( parameters.clockInHz ) ),
     commands_( std::min<std::size_t>( parameters.commands, fifoDepth ), SpiCommandFifo().value() ),
     responses_( std::min<std::size_t>( parameters.responses, fifoDepth ), responseOf( 0, true ) ),
     byteOut_( clock, [this] { handleByteOut(); } ) {
   faults_.listenerAdd( FaultKind::spiStuckWrite_, FaultBoard::begins_, [this] {
      stuck_ = faults_.active( FaultKind::spiStuckWrite_ );
      byteOut_.cancel();   // the byte on the wire starts over when the FIFO moves again
   } );
   faults_.listenerAdd( FaultKind::spiStuckWrite_, FaultBoard::spanEnds_, [this] {
      stuck_ = faults_.active( FaultKind::spiStuckWrite_ );
      startByte();
   } );
   startByte();
}

Hal::Registers SpiMaster::registers() const { return Hardware::spiMasterBlock; }

U32 SpiMaster::read( U32 address ) {
   switch ( address ) {
   case SpiResponseFifo::address():
      return responseTaken();
   case SpiCtrl::address():
      return counts();
   case SpiReset::address():
      return inReset_ ? 1 : 0;
   default:
      return 0;
   }
}

void SpiMaster::write( U32 address, U32 value ) {
   switch ( address ) {
   case SpiCommandFifo::address():
      handleCommand( value );
      break;
   case SpiReset::address():
      if ( resetSupported_ ) resetIs( SpiReset( value ).reset() != 0 );
      break;
   default:
      break;
   }
}

void SpiMaster::handleCommand( U32 word ) {
   if ( inReset_ ) return;
   stuck_ = faults_.active( FaultKind::spiStuckWrite_ );
   ++wordsOfTransaction_;
   if ( SpiCommandFifo( word ).csEnd() ) {
      if ( wordsOfTransaction_ > 1 ) faults_.occurs( FaultKind::spiStuckWrite_ );
      wordsOfTransaction_ = 0;
   }
   if ( commands_.size() < fifoDepth ) commands_.push_back( word );
   startByte();
}

void SpiMaster::resetIs( bool reset ) {
   inReset_ = reset;
   if ( !reset ) return;
   byteOut_.cancel();
   commands_.clear();
   responses_.clear();
   wordsOfTransaction_ = 0;
   if ( selected_ ) device_.handleChipSelectReleased();
   selected_ = false;
}

U32 SpiMaster::responseTaken() {
   if ( responses_.empty() ) return 0;
   U32 const response = responses_.front();
   responses_.pop_front();
   return response;
}

U32 SpiMaster::counts() const {
   SpiCtrl ctrl;
   ctrl.writeFifoCountIs( static_cast<U8>( commands_.size() ) );
   ctrl.readFifoCountIs( static_cast<U8>( responses_.size() ) );
   return ctrl.value();
}

void SpiMaster::startByte() {
   if ( stuck_ || commands_.empty() || byteOut_.pending() ) return;
   byteOut_.inNsIs( byteNs_ );
}

void SpiMaster::handleByteOut() {
   SpiCommandFifo const command( commands_.front() );
   commands_.pop_front();
   selected_ = true;
   U8 const in = device_.byteExchanged( command.dataToWrite() );
   if ( command.recordResponse() ) responsePushed( in );
   if ( command.csEnd() ) {
      selected_ = false;
      device_.handleChipSelectReleased();
   }
   startByte();
}

void SpiMaster::responsePushed( U8 data ) {
   if ( faults_.occurs( FaultKind::spiDead_ ) ) return;
   U32 const response = responseOf( data, !faults_.occurs( FaultKind::spiInvalid_ ) );
   int const entries = faults_.occurs( FaultKind::spiExtra_ ) ? 2 : 1;
   for ( int i = 0; i < entries && responses_.size() < fifoDepth; ++i ) responses_.push_back( response );
}

}   // namespace Sim
