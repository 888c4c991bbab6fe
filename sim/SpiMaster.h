// The FPGA's SPI master: a command FIFO that is shifted out byte by byte, a response FIFO, their counts, a reset.
//
// A byte takes 8 bit times, so the counts move with virtual time: `writeFifoCount` falls by one as a word's byte is
// out, and a response stands in its FIFO from then on. Chip select is asserted by the first byte and released after
// the byte whose word says `csEnd`. Each FIFO holds 63 entries, what its 6-bit count can say; what comes when it is
// full is lost. Reading an empty response FIFO gives 0, which is not valid.
//
// Entries may stand in the FIFOs from before: valid responses of 0, and command words of 0, whose transaction goes on.
//
// While `reset` is 1 the master is idle: both FIFOs are empty, chip select is released, words written are lost. A
// master without the reset register ignores writes to it and reads 0 there.
#pragma once

#include "framework/Types.h"
#include "sim/Defaults.h"
#include "sim/Fault.h"
#include "sim/RegisterBlock.h"
#include "sim/VirtualClock.h"

#include <deque>

namespace Sim {

/// What hangs on the bus, seen from the master.
class SpiDevice {
 public:
   /// One byte goes out to the device, and the result comes in at the same time; the first asserts chip select.
   virtual U8 byteExchanged( U8 out ) = 0;
   virtual void handleChipSelectReleased() = 0;

 protected:
   ~SpiDevice() = default;
};

class SpiMaster final : public RegisterBlock {
 public:
   static constexpr std::size_t fifoDepth = 63;

   struct Parameters {
      U64 clockInHz = defaultSpiClockInHz;
      bool resetSupported = true;
      U32 responses = 0;   ///< that stand in their FIFO at the start, at most fifoDepth
      U32 commands = 0;    ///< the same of command words
   };

   /// Throws std::invalid_argument for a clock of 0 Hz. Device and faults outlive the master.
   SpiMaster( VirtualClock & clock, SpiDevice & device, FaultBoard & faults, Parameters const & parameters );

   /// How long a byte is on the wire.
   U64 byteNs() const { return byteNs_; }

   Hal::Registers registers() const override;
   U32 read( U32 address ) override;
   void write( U32 address, U32 value ) override;

 private:
   void handleCommand( U32 word );
   void resetIs( bool reset );
   U32 responseTaken();
   U32 counts() const;

   void startByte();
   void handleByteOut();
   void responsePushed( U8 data );

   SpiDevice & device_;
   FaultBoard & faults_;
   bool const resetSupported_;
   U64 const byteNs_;

   std::deque<U32> commands_;
   std::deque<U32> responses_;
   bool inReset_ = false;
   bool stuck_ = false;
   bool selected_ = false;        // chip select is asserted
   U32 wordsOfTransaction_ = 0;   // handed in since the last word with csEnd
   TimedEvent byteOut_;
};

}   // namespace Sim
