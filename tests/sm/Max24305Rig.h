// One MAX24305 with all that its machine is handed, for the tests of the machine.
//
// ScriptedChip is a handle that understands the SPI master's words, so that the diary tells of chip registers where a
// ScriptedHam tells of single accesses:
//
//    spi close                  the lone closing word of the clean-up
//    spi reset 1                the master's reset
//    chip write 0x10 0x3c
//    chip read 0x10 gives 0x3c
//    frequency read             the FPGA's frequency register
#pragma once

#include "hardware/HwMax24305.h"
#include "platform/ClockStatus.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "sm/Max24305Sm.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "tests/sm/Rig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace SmTest {

// Entity types, under names that the tests can use beside the namespaces of the same name.
using Max24305Config = Hardware::Max24305::Config;
using Max24305StatusEntity = Hardware::Max24305::Status;
using Hardware::Max24305Sm;
using Hardware::Max24305WithStuffedClockInputSm;
using Hardware::Max24305::Op;
using ClockStatus = Hardware::Kiv::ClockStatus;

constexpr U32 configOffset = 0x100;
constexpr U32 statusOffset = 0x200;
constexpr U32 frequencyInHz = 10'000'000;

std::string chipRead( U32 address, U32 value );
std::string chipWrite( U32 address, U32 value );
std::string spiReset( U32 level );
inline std::string const spiClose = "spi close";
inline std::string const frequencyRead = "frequency read";

class ScriptedChip final : public Fru::HamImpl {
 public:
   explicit ScriptedChip( Diary & diary ) : HamImpl( "kiv" ), diary_( diary ) {}

   /// What the next reads of a register give, appended to what waits. After them, and where nothing was scripted, a
   /// register gives what was written last or set here; one of which nothing is known fails the test.
   void readsAre( U16 address, std::vector<U8> const & values );
   void readIs( U16 address, U8 value ) { registers_[address] = value; }
   /// So many of the coming writes never leave the command FIFO.
   void stuckWritesAre( U32 count ) { stuckWrites_ = count; }
   /// So many of the coming reads get no response.
   void deadReadsAre( U32 count ) { deadReads_ = count; }

   void read32( U32 address, U32 & value ) override;
   void write32( U32 address, U32 value ) override;

 private:
   void transaction();

   Diary & diary_;
   std::vector<U32> words_;
   U32 response_ = 0;   // 0: none waits
   bool stuck_ = false;
   U32 stuckWrites_ = 0;
   U32 deadReads_ = 0;
   std::map<U32, std::deque<U8>> reads_;
   std::map<U32, U8> registers_;
};

/// The entities of one chip. From the start its gate is open on a standby supervisor; the queue is empty and
/// register 7 tells of no lock.
class Max24305World : public testing::Test {
 protected:
   using OpList = std::vector<std::array<U32, 3>>;   // type, address, value

   Max24305World();

   /// Appends operations to the queue, with keys from 1 on.
   void opsAre( OpList const & ops );
   /// A stuffed-clock machine, which comes up as far as it can before this returns.
   Vor::Ptr<Max24305WithStuffedClockInputSm> stuffedClockMachine();
   /// The same, ready, with an empty diary.
   Vor::Ptr<Max24305WithStuffedClockInputSm> readyMachine();
   /// A bare base machine, wired but not initialized.
   Vor::Ptr<Max24305Sm> bareMachine();

   /// The diary without traces; it is empty afterwards, as after the next one.
   Lines takeDeeds();
   /// The diary's traces alone.
   Lines takeTraces();

   /// What one attempt does before the first operation.
   static Lines attemptStart();
   /// What it does after a failed operation.
   static Lines attemptFailed();

   Rig rig;
   Diary & diary = rig.diary;
   Vor::Ptr<ScriptedChip> const chip = new ScriptedChip( diary );
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "ham" );
   Vor::Ptr<NotingGpo> const gpoReset = new NotingGpo( diary );
   Vor::Ptr<Max24305Config> config;
   Vor::Ptr<Max24305StatusEntity> status;
   Vor::Ptr<ClockStatus> pllStatus;
   Vor::Ptr<PtpTimeSync::Status> timeSync;
   Vor::Ptr<Redundancy::RedundancyStatus> redundancy;
   Vor::Ptr<StateWatch<Max24305StatusEntity>> statusWatch;
   Vor::Ptr<StateWatch<ClockStatus>> pllWatch;
};

/// What an assertion of these machines writes to standard error. `diary` are lines of the diary that come together.
testing::Matcher<std::string const &>
assertionOf( std::string const & function, std::string const & expression, Lines const & diary = {} );

/// The two traces with which an open gate begins.
Lines gateOpen(
   std::string const & timeSync, std::string const & status, std::string const & clock,
   std::string const & machine = "Max24305Sm" );
std::string gateSays( std::string const & message );
inline std::string const programmingTrace =
   trace( 1, "doProgramMax24305", "void Hardware::Max24305Sm::doProgramMax24305()" );
inline std::string const alreadyProgrammed =
   trace( 1, "doProgramMax24305", "doProgramMax24305 Max24305 is already programmed" );
inline std::string const switchoverWait =
   trace( 0, "doProgramMax24305", "Switchover in progress. Wait for Dovra to become writable." );
inline std::string const initFailed = log(
   "MAX24305_INIT_FAILED", 3, "Possible hardware error with the Max24305 chip.",
   "Initialization of the Max24305 chip has failed." );

}   // namespace SmTest
