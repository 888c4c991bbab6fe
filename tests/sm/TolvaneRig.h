// One Tolvane with all that its machine is handed, on a scripted handle, for the tests of the machine.
#pragma once

#include "hardware/HwTolvane.h"
#include "hardware/TolvaneConfig.h"
#include "hardware/TolvaneStatus.h"
#include "sm/TolvaneSm.h"
#include "tests/sm/Rig.h"

#include <gtest/gtest.h>

namespace SmTest {

using Hardware::TolvaneSm;
using TolvaneConfig = Hardware::Tolvane::Config;
using TolvaneStatus = Hardware::Tolvane::Status;

constexpr U32 tolvaneOffset = 0x3000;

// The machine's traces.
inline std::string const initializedTrace =
   trace( 1, "handleInitialized", "void Hardware::TolvaneSm::handleInitialized()" );
inline std::string const gateTrace =
   trace( 1, "handleEnvironmentChanges", "void Hardware::TolvaneSm::handleEnvironmentChanges()" );
inline std::string const programTrace = trace( 1, "doProgramTolvane", "void Hardware::TolvaneSm::doProgramTolvane()" );
inline std::string const retryTrace = trace( 1, "doProgramTolvane", "Tolvane initialization failed. Retrying." );
inline std::string const initFailedLog = log(
   "TOLVANE_INIT_FAILED", 3, "Possible hardware error with the Tolvane chip.",
   "Initialization of the Tolvane chip has failed." );

/// The entities of one chip. From the start its gate is open, and its enable register is scripted by the test.
class TolvaneWorld : public testing::Test {
 protected:
   TolvaneWorld() {
      ham->hamImplIs( handle );
      handle->hardwarePresentIs( true );
   }

   Vor::Ptr<TolvaneSm> machine() { return TolvaneSm::TolvaneSmIs( config, status, gpoReset ); }

   /// A machine whose chip was brought up; the diary is empty again.
   Vor::Ptr<TolvaneSm> readyMachine() {
      answersAre( { 0, 3 } );
      Vor::Ptr<TolvaneSm> const made = machine();
      EXPECT_EQ( status->state(), Hardware::Tolvane::ready_ );
      diary.take();
      return made;
   }

   /// What the coming reads of the enable register give: two for each attempt.
   void answersAre( std::vector<U32> const & values ) { handle->answersAre( tolvaneOffset, values ); }

   /// What one attempt does, to its last read.
   static Lines attempt( U32 found, U32 readBack, U32 offset = tolvaneOffset ) {
      return { gpo( true ),          sleep( 100'000'000 ),      gpo( false ),
               sleep( 200'000'000 ), read32( offset, found ),   write32( offset, found | 2 ),
               sleep( 500'000'000 ), read32( offset, readBack ) };
   }

   Rig rig;
   Diary & diary = rig.diary;
   Vor::Ptr<ScriptedHam> const handle = new ScriptedHam( diary );
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "ham" );
   Vor::Ptr<Fru::Ham> const otherGpoHam = Fru::hamFactory( "otherGpoHam" );
   Vor::Ptr<NotingGpo> const gpoReset = new NotingGpo( diary );
   Vor::Ptr<TolvaneConfig> config = Hardware::Tolvane::configFactory(
      "osc0", Fru::GenerationId( 1 ), tolvaneOffset, ham, "osc0Reset", Hardware::Tolvane::timeSync_, Fru::SlotId( 3 ) );
   Vor::Ptr<TolvaneStatus> const status =
      Hardware::Tolvane::statusFactory( "osc0", Fru::GenerationId( 1 ), Hardware::Tolvane::timeSync_ );
   Vor::Ptr<StateWatch<TolvaneStatus>> const statusWatch = new StateWatch<TolvaneStatus>( status, diary, "tolvane" );
};

}   // namespace SmTest
