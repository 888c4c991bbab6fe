// The parts of the platform's inventory model that the chips' inventory records refer to: register blocks of a card's
// FPGA, and outputs.
#pragma once

#include "platform/Ham.h"

namespace Inventory {

/// A block of registers that starts at a byte offset within a handle's space; fixed once it is made.
class RegisterBlock : public Vor::PtrInterface {
 public:
   RegisterBlock( Vor::Ptr<Fru::Ham> ham, U32 offset ) : ham_( std::move( ham ) ), offset_( offset ) {}
   Vor::Ptr<Fru::Ham> ham() const { return ham_; }
   U32 offset() const { return offset_; }

 private:
   Vor::Ptr<Fru::Ham> const ham_;
   U32 const offset_;
};

class Max24305StatusBlock final : public RegisterBlock {
   using RegisterBlock::RegisterBlock;
};
class TolvaneBlock final : public RegisterBlock {
   using RegisterBlock::RegisterBlock;
};

/// The FPGA's SPI master that reaches a MAX24305.
class Max24305ConfigBlock final : public RegisterBlock {
 public:
   Max24305ConfigBlock( Vor::Ptr<Fru::Ham> ham, U32 offset, bool spiResetSupported )
      : RegisterBlock( std::move( ham ), offset ), spiResetSupported_( spiResetSupported ) {}
   bool spiResetSupported() const { return spiResetSupported_; }

 private:
   bool const spiResetSupported_;
};

/// An output of the card, known by its name.
class Gpo final : public Vor::PtrInterface {
 public:
   explicit Gpo( Vor::Name name ) : name_( std::move( name ) ) {}
   Vor::Name name() const { return name_; }

 private:
   Vor::Name const name_;
};

}   // namespace Inventory
