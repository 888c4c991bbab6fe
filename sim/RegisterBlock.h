// Some 32-bit registers of the card's FPGA that belong together, such as those of one SPI master.
//
// The card places a block at a byte offset of its space and hands it the accesses that its declaration allows: else
// reads give 0 and writes are ignored.
#pragma once

#include "hal/Block.h"

namespace Sim {

class RegisterBlock {
 public:
   virtual ~RegisterBlock() = default;

   virtual Hal::Registers registers() const = 0;

   /// `address` is that of a readable register of registers().
   virtual U32 read( U32 address ) = 0;
   /// `address` is that of a writable one; who has none has nothing to do.
   virtual void write( U32 /*address*/, U32 /*value*/ ) {}
};

}   // namespace Sim
