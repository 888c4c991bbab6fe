#include "card/Card.h"

#include "card/Machines.h"
#include "card/SimulatedWorld.h"
#include "framework/ActivityManager.h"
#include "input/InputError.h"
#include "sm/Max24305WithStuffedClockInputSm.h"
#include "sm/Max24305WithTolvaneInputSm.h"
#include "sm/TolvaneSm.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

namespace {

using namespace Host;
using namespace Input;

// A handle to nothing.
class NoHam final : public Fru::HamImpl {
 public:
   NoHam() : HamImpl( "none" ) {}
   void read32( U32, U32 & value ) override { value = 0; }
   void write32( U32, U32 ) override {}
};

Vor::Ptr<Hardware::SetClearGpo> plainGpo( Vor::Name name ) { return Hardware::setClearGpoFactory( name ); }

struct Configured {
   explicit Configured( std::string const & content = wholeCard )
      : card( cardOf( content ), new NoHam, plainGpo ), inventory( inventoryOf( card.description(), card.ham() ) ) {
      configure( card, inventory );
   }
   Card card;
   CardInventory inventory;
};

TEST( CardInventory, RecordsSayWhatTheDescriptionSays ) {
   Vor::Ptr<Fru::Ham> const ham = Fru::hamFactory( "ham" );
   CardDescription const card = cardOf( wholeCard );
   CardInventory const inventory = inventoryOf( card, ham );
   ASSERT_EQ( inventory.tolvanes.size(), 1u );
   Inventory::Tolvane const & osc0 = *inventory.tolvanes[0];
   EXPECT_EQ( osc0.name(), Vor::Name( "osc0" ) );
   EXPECT_EQ( osc0.block()->offset(), 12288u );
   EXPECT_EQ( osc0.block()->ham(), ham );
   EXPECT_EQ( osc0.reset()->name(), Vor::Name( "osc0Reset" ) );
   EXPECT_EQ( osc0.role(), Hardware::Tolvane::timeSync_ );
   ASSERT_EQ( inventory.max24305s.size(), 2u );
   Inventory::Max24305 const & ptp0 = *inventory.max24305s[0];
   EXPECT_EQ( ptp0.configBlock()->offset(), 256u );
   EXPECT_TRUE( ptp0.configBlock()->spiResetSupported() );
   EXPECT_EQ( ptp0.statusBlock()->offset(), 512u );
   EXPECT_EQ( ptp0.reset()->name(), Vor::Name( "ptp0Reset" ) );
   EXPECT_EQ( ptp0.role(), Hardware::Max24305::timeSync_ );
   EXPECT_EQ( ptp0.input(), Hardware::Max24305::tolvane_ );
   EXPECT_EQ( ptp0.outputFrequencyInHz(), 10'000'000u );
   EXPECT_EQ( ptp0.opsToDo().count(), 3u );
   Inventory::Max24305 const & ptp1 = *inventory.max24305s[1];
   EXPECT_EQ( ptp1.role(), Hardware::Max24305::unknown_ );
   EXPECT_EQ( ptp1.programSeq(), Hardware::Max24305::mClkIn25_oc1Out10_ );
   EXPECT_FALSE( ptp1.configBlock()->spiResetSupported() );
   EXPECT_TRUE( ptp1.opsToDo().empty() );
}

TEST( Configurator, TurnsRecordsIntoConfigurations ) {
   Configured const made;
   Card const & card = made.card;
   Vor::Ptr<Hardware::Tolvane::Config> const osc0 = card.tolvaneConfigDir()->tolvane( "osc0" );
   ASSERT_TRUE( osc0 );
   EXPECT_EQ( osc0->genId(), Fru::GenerationId( 7 ) );
   EXPECT_EQ( osc0->offset(), 12288u );
   EXPECT_EQ( osc0->ham(), card.ham() );
   EXPECT_EQ( osc0->resetGpoName(), Vor::Name( "osc0Reset" ) );
   EXPECT_EQ( osc0->slotId(), Fru::SlotId( 3 ) );
   Vor::Ptr<Hardware::Max24305::Config> const ptp0 = card.max24305ConfigDir()->max24305( "ptp0" );
   ASSERT_TRUE( ptp0 );
   EXPECT_EQ( ptp0->genId(), Fru::GenerationId( 7 ) );
   EXPECT_EQ( ptp0->configOffset(), 256u );
   EXPECT_EQ( ptp0->statusOffset(), 512u );
   EXPECT_TRUE( ptp0->ham().ptr() == card.ham().ptr() );
   EXPECT_EQ( ptp0->resetGpoName(), Vor::Name( "ptp0Reset" ) );
   EXPECT_EQ( ptp0->role(), Hardware::Max24305::timeSync_ );
   EXPECT_EQ( ptp0->input(), Hardware::Max24305::tolvane_ );
   EXPECT_EQ( ptp0->outputFrequencyInHz(), 10'000'000u );
   EXPECT_EQ( ptp0->slotId(), Fru::SlotId( 3 ) );
   EXPECT_TRUE( ptp0->spiResetSupported() );
   EXPECT_EQ( ptp0->opsToDo().keys(), ( std::vector<U32>{ 0, 1, 2 } ) );
   EXPECT_EQ( ptp0->opsToDo().value( 1 ), Hardware::Max24305::Op( 1, Hardware::Max24305::write_, 16, 60 ) );
   EXPECT_TRUE( card.max24305ConfigDir()->supported() );
   EXPECT_EQ( card.max24305StatusDir()->max24305Count(), 2u );
   EXPECT_EQ( card.tolvaneStatusDir()->tolvaneCount(), 1u );
}

TEST( Configurator, ASequenceIsHandedOverOnItsOwn ) {
   Configured made;
   Vor::Ptr<Hardware::Max24305::Config> const ptp0 = made.card.max24305ConfigDir()->max24305( "ptp0" );
   EXPECT_FALSE( ptp0->opsToDoValid() );
   made.card.handOver( "ptp0" );
   EXPECT_TRUE( ptp0->opsToDoValid() );
   EXPECT_FALSE( made.card.max24305ConfigDir()->max24305( "ptp1" )->opsToDoValid() );
}

TEST( Card, EntitiesHaveTheirFullNames ) {
   Configured const made;
   Card const & card = made.card;
   EXPECT_EQ( card.tolvaneConfigDir()->tolvane( "osc0" )->fullName(), Vor::String( "/hardware/tolvane/config/osc0" ) );
   EXPECT_EQ( card.tolvaneStatusDir()->tolvane( "osc0" )->fullName(), Vor::String( "/hardware/tolvane/status/osc0" ) );
   EXPECT_EQ(
      card.max24305ConfigDir()->max24305( "ptp0" )->fullName(), Vor::String( "/hardware/max24305/config/ptp0" ) );
   EXPECT_EQ(
      card.max24305StatusDir()->max24305( "ptp1" )->fullName(), Vor::String( "/hardware/max24305/status/ptp1" ) );
   EXPECT_EQ( card.clockStatusOf( "ptp0" )->fullName(), Vor::String( "/hardware/kiv/clockStatus/ptp0" ) );
}

TEST( Card, OutputsAreWiredAsDescribed ) {
   Configured const made;
   Vor::Ptr<Hardware::SetClearGpo> const reset = made.card.resetGpoOf( "ptp0" );
   ASSERT_TRUE( reset );
   EXPECT_EQ( reset, made.card.gpo( "ptp0Reset" ) );
   EXPECT_EQ( reset->offset(), 8192u );
   EXPECT_EQ( reset->bit(), 1u );
   EXPECT_EQ( reset->activeType(), Fru::activeLow_ );
   EXPECT_TRUE( reset->ham().ptr() == made.card.ham().ptr() );
   EXPECT_FALSE( made.card.gpo( "absent" ) );
   EXPECT_FALSE( made.card.resetGpoOf( "absent" ) );
}

TEST( Card, ChipsMayShareAClockStatus ) {
   Configured const apart;
   EXPECT_EQ( apart.card.clockStatuses().size(), 2u );
   EXPECT_NE( apart.card.clockStatusOf( "ptp0" ), apart.card.clockStatusOf( "ptp1" ) );
   Configured const shared( with(
      with( wholeCard, R"("input": "tolvane")", R"("input": "tolvane", "clockStatus": "pll")" ),
      R"("input": "stuffedClock")", R"("input": "stuffedClock", "clockStatus": "pll")" ) );
   ASSERT_EQ( shared.card.clockStatuses().size(), 1u );
   EXPECT_EQ( shared.card.clockStatusOf( "ptp0" ), shared.card.clockStatusOf( "ptp1" ) );
   EXPECT_EQ( shared.card.clockStatusOf( "ptp0" )->fullName(), Vor::String( "/hardware/kiv/clockStatus/pll" ) );
}

TEST( Card, IsReadyWhenEveryChipIs ) {
   Configured const made;
   Vor::Ptr<Hardware::Tolvane::Status> const osc0 = made.card.tolvaneStatusDir()->tolvane( "osc0" );
   Vor::Ptr<Hardware::Max24305::Status> const ptp0 = made.card.max24305StatusDir()->max24305( "ptp0" );
   Vor::Ptr<Hardware::Max24305::Status> const ptp1 = made.card.max24305StatusDir()->max24305( "ptp1" );
   EXPECT_FALSE( made.card.allReady() );
   ptp0->stateIs( Hardware::Max24305::ready_ );
   ptp1->stateIs( Hardware::Max24305::ready_ );
   EXPECT_FALSE( made.card.allReady() );
   osc0->stateIs( Hardware::Tolvane::ready_ );
   EXPECT_TRUE( made.card.allReady() );
   ptp1->stateIs( Hardware::Max24305::locking_ );
   EXPECT_FALSE( made.card.allReady() );
}

TEST( Machines, AreChosenByTheInput ) {
   Configured const made;   // without hardware, so that nothing is programmed
   EXPECT_TRUE( dynamic_cast<Hardware::TolvaneSm *>( tolvaneMachine( made.card, "osc0" ).ptr() ) );
   EXPECT_TRUE( dynamic_cast<Hardware::Max24305WithTolvaneInputSm *>( max24305Machine( made.card, "ptp0" ).ptr() ) );
   EXPECT_TRUE(
      dynamic_cast<Hardware::Max24305WithStuffedClockInputSm *>( max24305Machine( made.card, "ptp1" ).ptr() ) );
}

TEST( Machines, AnInputThatNoneServesIsAnError ) {
   Configured const made( with( wholeCard, "stuffedClock", "noInput" ) );
   char const expected[] =
      "card.json: the chip \"ptp1\" has the input \"noInput\", from which it cannot be brought up; "
      "expected \"tolvane\" or \"stuffedClock\"";
   auto const error = []( auto const & make ) {
      try {
         make();
      } catch ( Input::InputError const & thrown ) {
         return std::string( thrown.what() );
      }
      return std::string( "no error" );
   };
   EXPECT_EQ( error( [&] { max24305Machine( made.card, "ptp1" ); } ), expected );
   EXPECT_EQ( error( [&] { Machines machines( made.card ); } ), expected );
}

TEST( Machines, AreMadeTolvanesFirstEachInTheCardsOrder ) {
   struct Order final : Sim::CardListener {
      std::vector<std::string> outputs;
      void onGpo( U64, std::string_view name, bool active ) override {
         if ( active ) outputs.emplace_back( name );
      }
   } order;
   SimulatedWorld world( cardOf( wholeCard ), {} );
   world.events().listenerAdd( order );
   world.run();
   EXPECT_EQ( order.outputs, ( std::vector<std::string>{ "osc0Reset", "ptp0Reset", "ptp1Reset" } ) );
   EXPECT_TRUE( world.card().allReady() );
}

// States as they are stored.
struct States final : Sim::CardListener {
   std::vector<std::string> all;
   void onState( U64, Sim::StateChange const & change ) override {
      all.push_back( std::string( change.entity ) + " " + std::string( change.text ) );
   }
};

Sim::Scenario gpoHamLost() {
   Sim::Scenario scenario;
   scenario.events.push_back( { 20'000'000'000, { { .key = "gpoHam", .name = "osc0", .value = false } } } );
   scenario.events.push_back( { 30'000'000'000, { { .key = "gpoHam", .name = "osc0", .value = true } } } );
   return scenario;
}

TEST( SimulatedWorld, LosingTheTolvaneDropsItsChipAloneAndItsReturnBringsItUp ) {
   States states;
   SimulatedWorld world( cardOf( wholeCard ), gpoHamLost() );
   world.events().listenerAdd( states );
   world.run();
   std::string const osc0 = "/hardware/tolvane/status/osc0 ";
   std::string const ptp0 = "/hardware/max24305/status/ptp0 ";
   std::string const ptp1 = "/hardware/max24305/status/ptp1 ";
   std::string const clock0 = "/hardware/kiv/clockStatus/ptp0 ";
   std::string const clock1 = "/hardware/kiv/clockStatus/ptp1 ";
   EXPECT_EQ(
      states.all, ( std::vector<std::string>{
                     osc0 + "ready", ptp0 + "locking", ptp1 + "locking", ptp0 + "ready", clock0 + "ready",
                     ptp1 + "ready", clock1 + "ready", osc0 + "uninitialized", ptp0 + "uninitialized",
                     clock0 + "notReady", osc0 + "ready", ptp0 + "locking", ptp0 + "ready", clock0 + "ready" } ) );
}

TEST( SimulatedWorld, StartsInTheScenariosState ) {
   Sim::Scenario scenario;
   scenario.start.actions = {
      { .key = "timeSync", .value = 0 },
      { .key = "redundancyMode", .value = 4 },
      { .key = "switchoverStage", .name = "DovraWritable", .value = true },
      { .key = "hardwarePresent", .value = false },
      { .key = "gpoHam", .name = "ptp1", .value = false },
      { .key = "opsToDoValid", .name = "ptp0", .value = false } };
   SimulatedWorld const world( cardOf( wholeCard ), scenario );
   Card const & card = world.card();
   EXPECT_EQ( card.timeSync()->state(), PtpTimeSync::disabled_ );
   EXPECT_EQ( card.redundancy()->mode(), Redundancy::switchover_ );
   EXPECT_TRUE( card.redundancy()->switchoverStage().value( "DovraWritable" ) );
   EXPECT_FALSE( card.hamImpl()->hardwarePresent() );
   EXPECT_FALSE( card.resetGpoOf( "ptp1" )->ham() );
   EXPECT_TRUE( card.resetGpoOf( "ptp0" )->ham() );
   EXPECT_FALSE( card.max24305ConfigDir()->max24305( "ptp0" )->opsToDoValid() );
   EXPECT_TRUE( card.max24305ConfigDir()->max24305( "ptp1" )->opsToDoValid() );
}

TEST( SimulatedWorld, StartsWithACardAtRestUnlessToldOtherwise ) {
   SimulatedWorld const world( cardOf( wholeCard ), {} );
   Card const & card = world.card();
   EXPECT_EQ( card.timeSync()->state(), PtpTimeSync::enabling_ );
   EXPECT_EQ( card.redundancy()->mode(), Redundancy::standby_ );
   EXPECT_EQ( card.redundancy()->switchoverStage().count(), 0u );
   EXPECT_TRUE( card.hamImpl()->hardwarePresent() );
   for ( char const * chip : { "ptp0", "ptp1" } ) {
      EXPECT_TRUE( card.resetGpoOf( chip )->ham() );
      EXPECT_TRUE( card.max24305ConfigDir()->max24305( chip )->opsToDoValid() );
   }
}

TEST( SimulatedWorld, MakesThePresenceOfTheVariableItsOwnAndPutsItBack ) {
   ::setenv( "SIMULATION_VMID", "outer", 1 );
   {
      SimulatedWorld const world( cardOf( wholeCard ), {} );
      EXPECT_EQ( std::getenv( "SIMULATION_VMID" ), nullptr );
   }
   EXPECT_STREQ( std::getenv( "SIMULATION_VMID" ), "outer" );
   ::unsetenv( "SIMULATION_VMID" );
   {
      Sim::Scenario scenario;
      scenario.start.simulationVmid = true;
      SimulatedWorld const world( cardOf( wholeCard ), scenario );
      EXPECT_NE( std::getenv( "SIMULATION_VMID" ), nullptr );
   }
   EXPECT_EQ( std::getenv( "SIMULATION_VMID" ), nullptr );
}

TEST( SimulatedWorld, TheLibrarysOwnSimulatedModeLocksOnlyWhenTheSequenceSaysSo ) {
   Sim::Scenario scenario;
   scenario.start.simulationVmid = true;
   {
      SimulatedWorld world( cardOf( wholeCard ), scenario );
      world.run();
      EXPECT_EQ( world.card().max24305StatusDir()->max24305( "ptp1" )->state(), Hardware::Max24305::failed_ );
   }
   CardDescription card = cardOf( wholeCard );
   card.max24305s[1].sequence.push_back( { 0, Hardware::Max24305::write_, 7, 0x11 } );
   SimulatedWorld world( card, scenario );
   world.run();
   EXPECT_EQ( world.card().max24305StatusDir()->max24305( "ptp1" )->state(), Hardware::Max24305::ready_ );
}

}   // namespace
