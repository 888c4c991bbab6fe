// A register of the FPGA whose bits are outputs; some of them drive the reset lines of chips.
//
// It is 0 at power-up and reads back what was written.
#pragma once

#include "framework/Types.h"
#include "platform/Gpo.h"
#include "sim/RegisterBlock.h"
#include "sim/ResetLine.h"

#include <string>
#include <vector>

namespace Sim {

class OutputRegister final : public RegisterBlock {
 public:
   struct Output {
      std::string name;
      Fru::OutputBit bit;
      std::vector<ResetLine *> lines{};   ///< they outlive the register's use
   };

   /// Drives nothing yet: lines are driven from the first lineAdd() on.
   void outputAdd( Output output ) { outputs_.push_back( std::move( output ) ); }

   /// Null where no output of it has that name.
   Output const * output( std::string_view name ) const;

   /// The output drives that line too, from now on; false where it has no output of that name.
   bool lineAdd( std::string_view outputName, ResetLine & line );

   Hal::Registers registers() const override;
   U32 read( U32 ) override { return value_; }
   void write( U32, U32 value ) override;

 private:
   std::vector<Output> outputs_;
   U32 value_ = 0;
};

}   // namespace Sim
