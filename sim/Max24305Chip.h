// The MAX24305 as its bus and its reset line see it: a register file behind the SPI framing, and two APLLs.
//
// A transaction lasts while chip select is asserted: instruction (hal/Max24305Hal.h), register address high byte, low
// byte, then data. Further data bytes go to the following registers. Another instruction has no effect. The chip
// drives 0 except while it answers a read; held in reset it does not drive the bus, which then reads 0xFF, and takes
// nothing in. A transaction during which reset was asserted is lost to its end.
//
// Reset puts all registers to their power-up value, 0 but for the identification, which cannot be written:
//
//    0x0030, 0x0031   part number, high and low byte: 0x5E, 0xF1 (24305)
//    0x0032           revision: 0x01
//
// Register 7, which cannot be written either, tells the APLLs' state: `apllStatus` when they have locked, else 0. They
// lock `lockAfterNs` after the last register write, or after power-up or the end of the reset when none followed;
// every write makes them start over. The output has its frequency while both APLLs are locked.
//
// A soft reset is a write of 0x80 to register 0; writes that follow it within `settleNs` are lost. Bits of a register
// may be volatile: a number that stands in them counts up with every read, from 1, over resets too.
#pragma once

#include "framework/Types.h"
#include "sim/Defaults.h"
#include "sim/Fault.h"
#include "sim/SpiMaster.h"
#include "sim/VirtualClock.h"

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Sim {

/// Told of every data byte on a chip's bus. `bytes`: instruction, address high, address low, data; `response`: what the
/// bus carried back with the data.
using SpiObserver = std::function<void( std::string_view chip, std::array<U8, 4> const & bytes, U8 response )>;

class Max24305Chip final : public SpiDevice {
 public:
   struct Parameters {
      std::string name{};
      U64 lockAfterNs = defaultLockAfterNs;
      U8 apllStatus = defaultApllStatus;   ///< register 7 once locked
      U32 outputFrequencyInHz = 0;
      U64 settleNs = 0;
      std::map<U16, U8> volatileBits{};   ///< masks by register
   };

   /// The faults outlive the chip.
   Max24305Chip( VirtualClock & clock, FaultBoard & faults, Parameters parameters );

   U8 byteExchanged( U8 out ) override;
   void handleChipSelectReleased() override;
   /// What its reset line says.
   void resetIs( bool asserted );

   /// 0 unless both APLLs are locked.
   U32 outputFrequencyInHz() const;

   /// One observer, null for none.
   void spiObserverIs( SpiObserver observer ) { observer_ = std::move( observer ); }

 private:
   U8 dataExchanged( U8 instruction, U16 address, U8 out );
   U8 arrived( U8 answer, U8 before );
   U8 registerRead( U16 address );
   void registerWritten( U16 address, U8 value );
   void powerUpRegisters();

   U8 apllStatus() const;
   void startLocking();
   void lockAgain();
   void handleLockDue();
   void loseLock();

   VirtualClock const & clock_;
   FaultBoard & faults_;
   Parameters const parameters_;
   SpiObserver observer_;

   std::unordered_map<U16, U8> registers_;   // 0 but for these
   std::map<U16, U8> volatileValues_;        // what was read last, 0 but for these
   std::optional<U64> softResetNs_;          // the last one since power-up or reset
   bool inReset_ = false;

   std::array<U8, 3> header_{};   // instruction and address of the transaction under way
   U32 bytesOfTransaction_ = 0;
   bool transactionLost_ = false;   // reset was asserted during it, or still is
   U8 driven_ = 0;                  // the byte that the chip shifted out last
   U8 lateAnswer_ = 0;              // spiLate: what comes in place of the next answer

   U8 locked_ = 0;          // what register 7 has of `apllStatus`: all of it, less the APLLs that lost their lock
   bool delayed_ = false;   // this lock was made slow already
   TimedEvent lockDue_;
};

}   // namespace Sim
