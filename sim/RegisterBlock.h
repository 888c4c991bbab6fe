// Some 32-bit registers of the card's FPGA that belong together, such as those of one SPI master.
//
// The card places a block at a byte offset of its space and hands it the accesses to its registers.
#pragma once

#include "framework/Types.h"

#include <span>

namespace Sim {

class RegisterBlock {
 public:
   virtual ~RegisterBlock() = default;

   /// The byte addresses of its registers within the block.
   virtual std::span<U32 const> addresses() const = 0;

   /// `address` is one of addresses().
   virtual U32 read( U32 address ) = 0;
   virtual void write( U32 address, U32 value ) = 0;
};

}   // namespace Sim
