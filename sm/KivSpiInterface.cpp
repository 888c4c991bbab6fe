#include "sm/KivSpiInterface.h"

#include "framework/Describe.h"
#include "platform/SimulationVmid.h"
#include "sm/Max24305SmModule.h"
#include "util/Utils.h"

namespace Hardware {

using namespace Max24305SmModule;

namespace {

constexpr U32 maxPolls = 10;
constexpr U32 pollPeriodNs = 1'000;
constexpr U32 transferEndNs = 500'000'000;
constexpr U32 resetNs = 5'000'000;

}   // namespace

template<class Register> Register KivSpiInterface::read() {
   U32 value = 0;
   hamImpl_->read32( base_ + Register::address(), value );
   return Register( value );
}

template<class Register> void KivSpiInterface::write( Register const & value ) {
   hamImpl_->write32( base_ + Register::address(), value.value() );
}

KivSpiInterface::KivSpiInterface( U32 base, Vor::Ptr<Fru::HamImpl> const & hamImpl, bool resetSupported )
   : base_( base ), hamImpl_( hamImpl ), resetSupported_( resetSupported ) {}

U8 KivSpiInterface::doRead( U16 address ) {
   SpiCommandFifo command;
   sendRegisterAddress( command, readCmd, address );
   command.dataToWriteIs( 0 );
   command.csEndIs( 1 );
   command.recordResponseIs( 1 );
   write( command );

   if ( simulationVmid() ) return static_cast<U8>( simulatedData( address ) );

   for ( U32 poll = 0; poll < maxPolls; ++poll ) {
      nsleep( pollPeriodNs );
      U8 const count = read<SpiCtrl>().readFifoCount();
      if ( count > 1 ) {
         // Streamed as the 8-bit value it is: one character whose code is the count.
         VOR_TRACE( traceHandle, 1, "SPI ERROR: Read count = " << count );
         return 0xFF;
      }
      if ( count == 1 ) {
         auto const response = read<SpiResponseFifo>();
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
   write( command );

   // The simulated write is polled like a real one all the same: its result is that of the handle.
   if ( simulationVmid() ) simulatedDataIs( address, value );

   U8 count = 0;
   for ( U32 poll = 0; poll < maxPolls; ++poll ) {
      nsleep( pollPeriodNs );
      count = read<SpiCtrl>().writeFifoCount();
      if ( count == 0 ) {
         read<SpiCtrl>();
         return true;
      }
   }
   VOR_TRACE( traceHandle, 1, "SPI ERROR: Write failed. Write FIFO count = " << count );
   return false;
}

void KivSpiInterface::doResetHwSm() {
   auto ctrl = read<SpiCtrl>();
   // Both limit and counter have 8 bits, so that the limit comes round at 256.
   auto const limit = static_cast<U8>( 3 * ( ctrl.readFifoCount() + ctrl.writeFifoCount() ) );
   for ( U8 steps = 0; steps < limit && ( ctrl.readFifoCount() || ctrl.writeFifoCount() ); ++steps ) {
      read<SpiResponseFifo>();
      ctrl = read<SpiCtrl>();
   }
   SpiCommandFifo command;
   command.csEndIs( 1 );
   write( command );
   nsleep( transferEndNs );
}

void KivSpiInterface::doReset() {
   if ( !resetSupported_ ) return;
   write( SpiReset( 1 ) );
   nsleep( resetNs );
   write( SpiReset( 0 ) );
   nsleep( resetNs );
}

void KivSpiInterface::simulatedDataDelAll() {
   for ( U32 const address : simulatedData_.keys() ) simulatedDataDel( address );
}

void KivSpiInterface::sendRegisterAddress( SpiCommandFifo & command, U64 instruction, U16 address ) {
   command.dataToWriteIs( static_cast<U32>( instruction ) );
   write( command );
   command.dataToWriteIs( U32{ address } >> 8 );
   write( command );
   command.dataToWriteIs( address & 0xFFU );
   write( command );
}

Vor::Type const & KivSpiInterface::staticType() { return Vor::typeOf<KivSpiInterface, "Hardware::KivSpiInterface">(); }

}   // namespace Hardware
