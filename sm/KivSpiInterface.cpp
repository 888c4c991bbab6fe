#include "sm/KivSpiInterface.h"

#include "framework/Allocate.h"
#include "framework/Describe.h"
#include "platform/SimulationVmid.h"
#include "sm/Max24305SmModule.h"
#include "util/Utils.h"

namespace Hardware {

using Max24305SmModule::traceHandle;

namespace {

constexpr auto & vorSource = Max24305SmModule::source;

constexpr U32 maxPolls = 10;
constexpr U32 pollPeriodNs = 1'000;
constexpr U32 transferEndNs = 500'000'000;
constexpr U32 resetNs = 5'000'000;

}   // namespace

KivSpiInterface::KivSpiInterface( U32 base, Vor::Ptr<Fru::HamImpl> const & hamImpl, bool resetSupported )
   : base_( base ), hamImpl_( hamImpl ), resetSupported_( resetSupported ) {}

U8 KivSpiInterface::doRead( U16 address ) {
   SpiCommandFifo command;
   sendRegisterAddress( command, readCmd, address );
   command.dataToWriteIs( 0 );
   command.csEndIs( 1 );
   command.recordResponseIs( 1 );
   send( command );

   if ( simulationVmid() ) return static_cast<U8>( simulatedData( address ) );

   for ( U32 poll = 0; poll < maxPolls; ++poll ) {
      nsleep( pollPeriodNs );
      U8 const count = readCtrl().readFifoCount();
      if ( count > 1 ) {
         // Streamed as the 8-bit value it is: one character whose code is the count.
         VOR_TRACE( traceHandle, 1, "SPI ERROR: Read count = " << count );
         return 0xFF;
      }
      if ( count == 1 ) {
         SpiResponseFifo const response = readResponse();
         if ( response.dataValid() ) return response.data();
      }
   }
   return 0xFF;
}

bool KivSpiInterface::doWrite( U16 address, U8 value ) {
   SpiCommandFifo command;
   sendRegisterAddress( command, writeCmd, address );
   command.dataToWriteIs( value );
   command.csEndIs( 1 );
   send( command );

   // The simulated write is polled like a real one all the same: its result is that of the handle.
   if ( simulationVmid() ) simulatedDataIs( address, value );

   U8 count = 0;
   for ( U32 poll = 0; poll < maxPolls; ++poll ) {
      nsleep( pollPeriodNs );
      count = readCtrl().writeFifoCount();
      if ( count == 0 ) {
         readCtrl();
         return true;
      }
   }
   VOR_TRACE( traceHandle, 1, "SPI ERROR: Write failed. Write FIFO count = " << count );
   return false;
}

void KivSpiInterface::doResetHwSm() {
   SpiCtrl ctrl = readCtrl();
   // Both limit and counter have 8 bits, so that the limit comes round at 256.
   auto const limit = static_cast<U8>( 3 * ( ctrl.readFifoCount() + ctrl.writeFifoCount() ) );
   for ( U8 steps = 0; steps < limit && ( ctrl.readFifoCount() || ctrl.writeFifoCount() ); ++steps ) {
      readResponse();
      ctrl = readCtrl();
   }
   SpiCommandFifo command;
   command.csEndIs( 1 );
   send( command );
   nsleep( transferEndNs );
}

void KivSpiInterface::doReset() {
   if ( !resetSupported_ ) return;
   resetIs( 1 );
   nsleep( resetNs );
   resetIs( 0 );
   nsleep( resetNs );
}

void KivSpiInterface::simulatedDataDelAll() {
   for ( U32 const address : simulatedData_.keys() ) simulatedDataDel( address );
}

void KivSpiInterface::sendRegisterAddress( SpiCommandFifo & command, U64 instruction, U16 address ) {
   command.dataToWriteIs( static_cast<U32>( instruction ) );
   send( command );
   command.dataToWriteIs( U32{ address } >> 8 );
   send( command );
   command.dataToWriteIs( address & 0xFFU );
   send( command );
}

void KivSpiInterface::send( SpiCommandFifo const & command ) {
   hamImpl_->write32( base_ + SpiCommandFifo::address(), command.value() );
}

SpiCtrl KivSpiInterface::readCtrl() {
   U32 value = 0;
   hamImpl_->read32( base_ + SpiCtrl::address(), value );
   return SpiCtrl( value );
}

SpiResponseFifo KivSpiInterface::readResponse() {
   U32 value = 0;
   hamImpl_->read32( base_ + SpiResponseFifo::address(), value );
   return SpiResponseFifo( value );
}

void KivSpiInterface::resetIs( U32 reset ) {
   SpiReset value;
   value.resetIs( reset );
   hamImpl_->write32( base_ + SpiReset::address(), value.value() );
}

Vor::Type const & KivSpiInterface::staticType() {
   static constinit auto const type =
      Vor::describe<KivSpiInterface, &kivSpiInterfaceFactory>( "Hardware::KivSpiInterface" );
   return type;
}

Vor::Ptr<KivSpiInterface>
kivSpiInterfaceFactory( U32 base, Vor::Ptr<Fru::HamImpl> const & hamImpl, bool resetSupported ) {
   auto const spi = Vor::allocate<KivSpiInterface>( base, hamImpl, resetSupported );
   spi->hasNotificationActiveIs( true );
   return spi;
}

}   // namespace Hardware
