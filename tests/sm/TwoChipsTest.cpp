// The machines of several chips together, on simulated cards. The Tolvane's published state is the only link between
// its machine and that of the MAX24305 it feeds; each is told of the card's own changes by itself, in the order in
// which they were made.
#include "hardware/HwMax24305.h"
#include "hardware/TolvaneConfig.h"
#include "hardware/TolvaneStatus.h"
#include "platform/ClockStatus.h"
#include "platform/PtpTimeSyncStatus.h"
#include "platform/RedundancyStatus.h"
#include "sim/SimulatedCard.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "sm/Max24305WithTolvaneInputSm.h"
#include "sm/TolvaneSm.h"
#include "tests/sm/Rig.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace SmTest::TwoChips {
namespace {

using namespace Hardware;
using Max24305Config = Hardware::Max24305::Config;
using Max24305State = Hardware::Max24305::Status;
using TolvaneConfig = Hardware::Tolvane::Config;
using TolvaneState = Hardware::Tolvane::Status;
using ClockStatus = Hardware::Kiv::ClockStatus;

constexpr U32 outputs = 0x2000;

// A handle on a simulated card.
class CardHam final : public Fru::HamImpl {
 public:
   explicit CardHam( Sim::SimulatedCard & card ) : HamImpl( "kiv" ), card_( card ) {}
   void read32( U32 address, U32 & value ) override { value = card_.read32( address ); }
   void write32( U32 address, U32 value ) override { card_.write32( address, value ); }

 private:
   Sim::SimulatedCard & card_;
};

// A handle without a card behind it.
class MemoryHam final : public Fru::HamImpl {
 public:
   explicit MemoryHam( std::vector<U32> remembered ) : HamImpl( "memory" ), remembered_( std::move( remembered ) ) {}
   void read32( U32 address, U32 & value ) override { value = words_[address]; }
   void write32( U32 address, U32 value ) override {
      if ( std::count( remembered_.begin(), remembered_.end(), address ) ) words_[address] = value;
   }

 private:
   std::vector<U32> const remembered_;
   std::map<U32, U32> words_;
};

// A set/clear output that writes its changes into the diary, then carries them out.
class CardGpo final : public SetClearGpo {
 public:
   CardGpo( Diary & diary, char const * name, U32 bit, Vor::Ptr<Fru::Ham const> ham )
      : SetClearGpo( name ), impl_( new Noting( diary, name, SetClearGpo::impl() ) ) {
      offsetIs( outputs );
      bitIs( bit );
      hamIs( std::move( ham ) );
   }
   Vor::Ptr<Fru::GpoImpl> impl() const override { return impl_; }

 private:
   class Noting final : public Fru::GpoImpl {
    public:
      Noting( Diary & diary, std::string name, Vor::Ptr<Fru::GpoImpl> output )
         : diary_( diary ), name_( std::move( name ) ), output_( std::move( output ) ) {}
      void doEnable() override {
         diary_.add( gpo( true, name_ ) );
         output_->doEnable();
      }
      void doDisable() override {
         diary_.add( gpo( false, name_ ) );
         output_->doDisable();
      }

    private:
      Diary & diary_;
      std::string const name_;
      Vor::Ptr<Fru::GpoImpl> const output_;
   };

   Vor::Ptr<Fru::GpoImpl> const impl_;
};

// Where the chips stand on a card: Tolvanes osc0 and osc1, MAX24305s ptp0 to ptp2, each with its reset output.
struct Place {
   char const * name;
   U32 offset;   // of the enable register, or of the SPI master
   U32 statusOffset;
   U32 bit;
};
constexpr Place osc0{ "osc0", 0x3000, 0, 0 };
constexpr Place osc1{ "osc1", 0x3004, 0, 1 };
constexpr Place ptp0{ "ptp0", 0x100, 0x200, 2 };
constexpr Place ptp1{ "ptp1", 0x400, 0x500, 3 };
constexpr Place ptp2{ "ptp2", 0x700, 0x800, 4 };

Sim::SimulatedCard::Parameters allChips() {
   Sim::SimulatedCard::Parameters parameters;
   for ( Place const & place : { osc0, osc1, ptp0, ptp1, ptp2 } )
      parameters.outputs.push_back( { .name = place.name, .offset = outputs, .bit = place.bit } );
   for ( Place const & place : { osc0, osc1 } )
      parameters.tolvanes.push_back( { .name = place.name, .offset = place.offset, .resetGpoName = place.name } );
   for ( Place const & place : { ptp0, ptp1, ptp2 } )
      parameters.max24305s.push_back(
         { .name = place.name,
           .configOffset = place.offset,
           .statusOffset = place.statusOffset,
           .resetGpoName = place.name,
           .outputFrequencyInHz = 10'000'000 } );
   return parameters;
}

struct TolvaneChip {
   Vor::Ptr<CardGpo> output;
   Vor::Ptr<TolvaneConfig> config;
   Vor::Ptr<TolvaneState> status;
   Vor::Ptr<StateWatch<TolvaneState>> watch;
   Vor::Ptr<TolvaneSm> machine;
};
struct Max24305Chip {
   Vor::Ptr<CardGpo> output;
   Vor::Ptr<Max24305Config> config;
   Vor::Ptr<Max24305State> status;
   Vor::Ptr<ClockStatus> clock;
   Vor::Ptr<StateWatch<Max24305State>> watch;
   Vor::Ptr<Max24305Sm> machine;
};

class TwoChipsTest : public testing::Test {
 protected:
   TwoChipsTest() {
      diary.shortSleepNsIs( 1'000'000'000'000 );
      ham->hamImplIs( handle );
      timeSync->stateIs( PtpTimeSync::acquiring_ );
      redundancy->modeIs( Redundancy::standby_ );
   }

   TolvaneChip tolvane( Place const & place, Vor::Ptr<Fru::Ham> const & on ) {
      TolvaneChip made;
      made.output = new CardGpo( diary, place.name, place.bit, on );
      made.config = Tolvane::configFactory(
         place.name, Fru::GenerationId( 1 ), place.offset, on, place.name, Tolvane::timeSync_, Fru::SlotId( 3 ) );
      made.status = Tolvane::statusFactory( place.name, Fru::GenerationId( 1 ), Tolvane::timeSync_ );
      made.watch = new StateWatch<TolvaneState>( made.status, diary, place.name );
      return made;
   }
   Max24305Chip max24305( Place const & place, Vor::Ptr<Fru::Ham> const & on ) {
      Max24305Chip made;
      made.output = new CardGpo( diary, place.name, place.bit, on );
      made.config = Max24305::configFactory(
         place.name, Fru::GenerationId( 1 ), place.offset, place.statusOffset, on, place.name, Max24305::timeSync_,
         Max24305::tolvane_, 10'000'000, Fru::SlotId( 3 ), true );
      made.config->opsToDoEnq( { 1, Max24305::write_, 0x40, 0x5A } );
      made.config->opsToDoEnq( { 2, Max24305::read_, 0x40, 0x5A } );
      made.config->opsToDoValidIs( true );
      made.status = Max24305::statusFactory( place.name, Fru::GenerationId( 1 ), Max24305::timeSync_ );
      made.clock = Kiv::clockStatusFactory( place.name );
      made.watch = new StateWatch<Max24305State>( made.status, diary, place.name );
      return made;
   }
   void machineIs( TolvaneChip & chip ) {
      chip.machine = TolvaneSm::TolvaneSmIs( chip.config, chip.status, chip.output );
   }
   void machineIs( Max24305Chip & chip, TolvaneChip const & feeding ) {
      chip.machine = Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
         redundancy, chip.config, chip.status, chip.clock, timeSync, chip.output, feeding.status );
   }
   void machineIs( Max24305Chip & chip ) {
      chip.machine = Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
         redundancy, chip.config, chip.status, chip.clock, timeSync, chip.output );
   }

   // Waits for what is under way, and tells the published states and the rising edges of outputs since the last time.
   Lines story() {
      rig.turns();
      Lines lines;
      for ( std::string & line : diary.take() )
         if ( !line.starts_with( "trace" ) && !line.ends_with( " off" ) ) lines.push_back( std::move( line ) );
      return lines;
   }
   static Lines up( char const * chip ) {
      return { gpo( true, chip ), told( chip, "locking" ), told( chip, "ready" ) };
   }

   Rig rig;
   Diary & diary = rig.diary;
   Sim::SimulatedCard card{ rig.clock, allChips() };
   Vor::Ptr<Fru::HamImpl> handle = new CardHam( card );
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "ham" );
   Vor::Ptr<PtpTimeSync::Status> const timeSync = PtpTimeSync::statusFactory( "timeSync" );
   Vor::Ptr<Redundancy::RedundancyStatus> const redundancy = Redundancy::redundancyStatusFactory( "redundancy" );
};

Lines const tolvaneUp{ gpo( true, "osc0" ), told( "osc0", "ready" ) };

// One of each, on one handle.
class OneOfEachTest : public TwoChipsTest {
 protected:
   void ready() {
      handle->hardwarePresentIs( true );
      machineIs( osc );
      machineIs( ptp, osc );
      story();
      ASSERT_EQ( osc.status->state(), Tolvane::ready_ );
      ASSERT_EQ( ptp.status->state(), Max24305::ready_ );
      ASSERT_EQ( ptp.clock->state(), ClockStatus::ready_ );
   }

   TolvaneChip osc = tolvane( osc0, ham );
   Max24305Chip ptp = max24305( ptp0, ham );
};

TEST_F( OneOfEachTest, TheTolvanesReadyRunsTheWholeProgrammingBeforeItsRunReturns ) {
   machineIs( osc );
   machineIs( ptp, osc );
   handle->hardwarePresentIs( true );
   rig.turns();
   diary.take();
   osc.machine->doProgramTolvane();
   EXPECT_EQ( osc.status->state(), Tolvane::ready_ );
   EXPECT_EQ( ptp.status->state(), Max24305::locking_ );
   EXPECT_EQ(
      diary.of( { "gpo", "osc0", "ptp0" } ),
      ( Lines{
         "osc0 uninitialized", "ptp0 uninitialized", "gpo osc0 on", "gpo osc0 off", "osc0 ready", "gpo ptp0 on",
         "gpo ptp0 off", "ptp0 locking" } ) );
}

TEST_F( OneOfEachTest, AnObserverBehindTheMachineSeesTheChipLockingAsItIsToldOfReady ) {
   machineIs( osc );
   machineIs( ptp, osc );
   Max24305::State seen = Max24305::failed_;
   Vor::Ptr<StateWatch<TolvaneState>> const behind = new StateWatch<TolvaneState>( osc.status, diary, "behind" );
   behind->action = [&] {
      if ( osc.status->state() == Tolvane::ready_ ) seen = ptp.status->state();
   };
   handle->hardwarePresentIs( true );
   EXPECT_EQ( seen, Max24305::locking_ );
}

TEST_F( OneOfEachTest, WithTheTolvanesObserverFirstPresenceProgramsTheMax24305Twice ) {
   machineIs( osc );
   machineIs( ptp, osc );
   story();
   handle->hardwarePresentIs( true );
   Lines const begun = { gpo( true, "ptp0" ), told( "ptp0", "locking" ), told( "ptp0", "uninitialized" ) };
   EXPECT_EQ( story(), tolvaneUp + begun + up( "ptp0" ) );
}

TEST_F( OneOfEachTest, WithTheMax24305sObserverFirstPresenceProgramsItOnce ) {
   machineIs( ptp, osc );
   machineIs( osc );
   story();
   handle->hardwarePresentIs( true );
   EXPECT_EQ( story(), tolvaneUp + up( "ptp0" ) );
}

TEST_F( OneOfEachTest, MachinesMadeWhileTheCardIsThereProgramEachChipOnce ) {
   handle->hardwarePresentIs( true );
   machineIs( osc );
   EXPECT_EQ( story(), tolvaneUp );
   machineIs( ptp, osc );
   EXPECT_EQ( story(), up( "ptp0" ) );
}

TEST_F( OneOfEachTest, AMax24305MadeFirstIsWokenByTheCreatorOfItsTolvane ) {
   handle->hardwarePresentIs( true );
   machineIs( ptp, osc );
   EXPECT_EQ( story(), Lines{} );
   machineIs( osc );
   EXPECT_EQ( story(), tolvaneUp + up( "ptp0" ) );
}

TEST_F( OneOfEachTest, LosingTheHardwareDropsBothAndItsReturnBringsBothUp ) {
   ready();
   handle->hardwarePresentIs( false );
   EXPECT_EQ( story(), ( Lines{ told( "osc0", "uninitialized" ), told( "ptp0", "uninitialized" ) } ) );
   EXPECT_EQ( ptp.clock->state(), ClockStatus::notReady_ );
   handle->hardwarePresentIs( true );
   Lines const lines = story();
   EXPECT_EQ( lines.back(), told( "ptp0", "ready" ) );
   EXPECT_EQ( osc.status->state(), Tolvane::ready_ );
   EXPECT_EQ( ptp.clock->state(), ClockStatus::ready_ );
}

TEST_F( OneOfEachTest, AChangeOfTheTolvanesOutputBringsBothUpAgain ) {
   ready();
   Vor::Ptr<Fru::Ham> const other = Fru::hamFactory( "other" );
   other->hamImplIs( handle );
   osc.output->hamIs( other );
   EXPECT_EQ(
      story(),
      ( Lines{ told( "osc0", "uninitialized" ), told( "ptp0", "uninitialized" ) } + tolvaneUp + up( "ptp0" ) ) );
   EXPECT_EQ( ptp.clock->state(), ClockStatus::ready_ );
}

TEST_F( OneOfEachTest, AChangeOfTheMax24305sOwnOutputLeavesBothAlone ) {
   ready();
   ptp.output->hamIs( nullptr );
   EXPECT_EQ( story(), Lines{} );
   EXPECT_EQ( ptp.status->state(), Max24305::ready_ );
}

TEST_F( OneOfEachTest, ATolvaneThatNeedsThreeAttemptsWakesItsMax24305Once ) {
   card.faultBegin( "osc0", { .kind = Sim::FaultKind::noPower_, .count = 2 } );
   handle->hardwarePresentIs( true );
   machineIs( ptp, osc );
   machineIs( osc );
   EXPECT_EQ(
      story(),
      ( Lines{ gpo( true, "osc0" ), told( "osc0", "failed" ), gpo( true, "osc0" ) } + tolvaneUp + up( "ptp0" ) ) );
}

TEST_F( OneOfEachTest, ATolvaneWithoutSupplyKeepsItsMax24305DownUntilItsInputsChange ) {
   card.faultBegin( "osc0", { .kind = Sim::FaultKind::noPower_, .forNs = 10'000'000'000 } );
   handle->hardwarePresentIs( true );
   machineIs( osc );
   machineIs( ptp, osc );
   EXPECT_EQ( diary.count( gpo( true, "osc0" ) ), 5u );
   EXPECT_EQ( diary.count( gpo( true, "ptp0" ) ), 0u );
   EXPECT_EQ( osc.status->state(), Tolvane::failed_ );
   EXPECT_EQ( ptp.status->state(), Max24305::uninitialized_ );
   EXPECT_EQ( rig.turns(), 0u );
   rig.clock->nowNsIs( 20'000'000'000 );
   EXPECT_EQ( rig.turns(), 0u );
   diary.take();
   osc.machine->handleEnvironmentChanges();
   EXPECT_EQ( story(), Lines{ told( "osc0", "uninitialized" ) } + tolvaneUp + up( "ptp0" ) );
}

TEST_F( OneOfEachTest, ATolvaneDroppedDuringTheMax24305sRunDoesNotEndThatRun ) {
   handle->hardwarePresentIs( true );
   machineIs( osc );
   machineIs( ptp, osc );
   rig.turns();
   osc.output->hamIs( nullptr );
   diary.take();
   rig.inSleep( 300'000'000, [this] { osc.output->hamIs( nullptr ); } );
   osc.output->hamIs( ham );
   // The pulse of the MAX24305 was under way as the Tolvane went: the run goes on and writes its own outcome.
   EXPECT_EQ(
      story(), tolvaneUp +
                  ( Lines{ gpo( true, "ptp0" ), told( "osc0", "uninitialized" ), told( "ptp0", "locking" ) } ) +
                  Lines{ told( "ptp0", "ready" ) } );
   EXPECT_EQ( osc.status->state(), Tolvane::uninitialized_ );
}

// Several chips.

TEST_F( TwoChipsTest, LosingATolvaneDropsItsMax24305AndNoOther ) {
   TolvaneChip osc = tolvane( osc0, ham );
   Max24305Chip fed = max24305( ptp0, ham );
   Max24305Chip stuffed = max24305( ptp1, ham );
   handle->hardwarePresentIs( true );
   machineIs( osc );
   machineIs( fed, osc );
   machineIs( stuffed );
   EXPECT_EQ( story().size(), tolvaneUp.size() + 2 * up( "" ).size() );
   osc.output->hamIs( nullptr );
   EXPECT_EQ( story(), ( Lines{ told( "osc0", "uninitialized" ), told( "ptp0", "uninitialized" ) } ) );
   EXPECT_EQ( stuffed.status->state(), Max24305::ready_ );
   osc.output->hamIs( ham );
   EXPECT_EQ( story(), tolvaneUp + up( "ptp0" ) );
   EXPECT_EQ( stuffed.status->state(), Max24305::ready_ );
   EXPECT_EQ( stuffed.clock->state(), ClockStatus::ready_ );
}

TEST_F( TwoChipsTest, OneTolvaneFeedsSeveralOneAfterTheOther ) {
   TolvaneChip osc = tolvane( osc0, ham );
   Max24305Chip first = max24305( ptp0, ham );
   Max24305Chip second = max24305( ptp1, ham );
   handle->hardwarePresentIs( true );
   machineIs( second, osc );
   machineIs( first, osc );
   machineIs( osc );
   EXPECT_EQ(
      diary.of( { "gpo", "ptp", "osc0" } ),
      ( Lines{
         "gpo osc0 on", "gpo osc0 off", "osc0 ready", "gpo ptp1 on", "gpo ptp1 off", "ptp1 locking", "gpo ptp0 on",
         "gpo ptp0 off", "ptp0 locking" } ) );
   story();
   EXPECT_EQ( first.status->state(), Max24305::ready_ );
   EXPECT_EQ( second.status->state(), Max24305::ready_ );
}

TEST_F( TwoChipsTest, FiveChipsOnOneHandleComeAndGoTogether ) {
   TolvaneChip oscs[] = { tolvane( osc0, ham ), tolvane( osc1, ham ) };
   Max24305Chip ptps[] = { max24305( ptp0, ham ), max24305( ptp1, ham ), max24305( ptp2, ham ) };
   for ( TolvaneChip & osc : oscs ) machineIs( osc );
   machineIs( ptps[0], oscs[0] );
   machineIs( ptps[1], oscs[1] );
   machineIs( ptps[2] );
   for ( int i = 0; i < 2; ++i ) {
      handle->hardwarePresentIs( true );
      story();
      for ( TolvaneChip const & osc : oscs ) EXPECT_EQ( osc.status->state(), Tolvane::ready_ );
      for ( Max24305Chip const & ptp : ptps ) EXPECT_EQ( ptp.clock->state(), ClockStatus::ready_ );
      handle->hardwarePresentIs( false );
      story();
      for ( TolvaneChip const & osc : oscs ) EXPECT_EQ( osc.status->state(), Tolvane::uninitialized_ );
      for ( Max24305Chip const & ptp : ptps ) EXPECT_EQ( ptp.clock->state(), ClockStatus::notReady_ );
   }
   handle->hardwarePresentIs( true );
   story();
   oscs[1].output->hamIs( nullptr );
   EXPECT_EQ( story(), ( Lines{ told( "osc1", "uninitialized" ), told( "ptp1", "uninitialized" ) } ) );
}

TEST_F( TwoChipsTest, ChipsOnSeveralHandlesComeAndGoByThemselves ) {
   Sim::SimulatedCard otherCard( rig.clock, allChips() );
   Vor::Ptr<Fru::HamImpl> const otherHandle = new CardHam( otherCard );
   Vor::Ptr<Fru::Ham> const otherHam = Fru::hamFactory( "otherHam" );
   otherHam->hamImplIs( otherHandle );
   // The Tolvane on one card feeds a chip on the other.
   TolvaneChip osc = tolvane( osc0, ham );
   Max24305Chip fed = max24305( ptp0, otherHam );
   Max24305Chip stuffed = max24305( ptp1, ham );
   machineIs( osc );
   machineIs( fed, osc );
   machineIs( stuffed );
   story();
   handle->hardwarePresentIs( true );
   EXPECT_EQ( story(), tolvaneUp + up( "ptp1" ) );
   otherHandle->hardwarePresentIs( true );
   EXPECT_EQ( story(), up( "ptp0" ) );
   otherHandle->hardwarePresentIs( false );
   EXPECT_EQ( story(), Lines{ told( "ptp0", "uninitialized" ) } );
   otherHandle->hardwarePresentIs( true );
   EXPECT_EQ( story(), up( "ptp0" ) );
   handle->hardwarePresentIs( false );
   EXPECT_EQ(
      story(),
      ( Lines{ told( "osc0", "uninitialized" ), told( "ptp0", "uninitialized" ), told( "ptp1", "uninitialized" ) } ) );
}

// Without a card.

class SimulatedModeTest : public TwoChipsTest {
 protected:
   SimulatedModeTest() { Rig::simulationVmidIs( "" ); }

   // Brings both chips up on a handle that remembers what is written at these addresses and reads 0 elsewhere.
   Lines bringUp( std::vector<U32> remembered ) {
      handle = new MemoryHam( std::move( remembered ) );
      handle->hardwarePresentIs( true );
      ham->hamImplIs( handle );
      osc = tolvane( osc0, ham );
      ptp = max24305( ptp0, ham );
      ptp.config->opsToDoEnq( { 3, Max24305::write_, 7, 0x11 } );
      osc.output->hamIs( nullptr );
      ptp.output->hamIs( nullptr );
      machineIs( osc );
      machineIs( ptp, osc );
      return story();
   }

   TolvaneChip osc;
   Max24305Chip ptp;
};

TEST_F( SimulatedModeTest, AHandleThatRemembersTheTolvanesRegisterIsEnough ) {
   EXPECT_EQ( bringUp( { osc0.offset } ), tolvaneUp + up( "ptp0" ) );
}

TEST_F( SimulatedModeTest, AHandleThatReadsZeroFailsTheTolvaneAndKeepsItsMax24305Down ) {
   Lines const lines = bringUp( {} );
   EXPECT_EQ( std::count( lines.begin(), lines.end(), gpo( true, "osc0" ) ), 5 );
   EXPECT_EQ( osc.status->state(), Tolvane::failed_ );
   EXPECT_EQ( ptp.status->state(), Max24305::uninitialized_ );
   // Which would be enough for it by itself.
   machineIs( ptp );
   EXPECT_EQ( story(), up( "ptp0" ) );
}

}   // namespace
}   // namespace SmTest::TwoChips
