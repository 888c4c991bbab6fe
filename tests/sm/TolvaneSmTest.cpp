#include "tests/sm/TolvaneRig.h"

#include "framework/Reflection.h"

#include <gmock/gmock.h>

#include <csignal>

namespace SmTest::Tolvane {
namespace {

using namespace Hardware::Tolvane;
using testing::ElementsAre;

class TolvaneSmTest : public TolvaneWorld {
 protected:
   static Lines gateAndProgram() { return { gateTrace, programTrace }; }
   static Lines upFrom( char const * state ) {
      Lines const reset =
         state == std::string( "uninitialized" ) ? Lines{} : Lines{ told( "tolvane", "uninitialized" ) };
      return gateAndProgram() + reset + attempt( 0, 3 ) + Lines{ told( "tolvane", "ready" ) };
   }
};

// Wiring.

TEST_F( TolvaneSmTest, WiresTracesAndDecidesOnceWhenItIsMade ) {
   handle->hardwarePresentIs( false );
   Vor::Ptr<TolvaneSm> const made = machine();
   EXPECT_EQ( diary.take(), ( Lines{ initializedTrace, gateTrace } ) );
   EXPECT_TRUE( made->initialized() );
   EXPECT_TRUE( made->hasNotificationActive() );
   EXPECT_EQ( made->config(), config );
   EXPECT_EQ( made->status(), status );
   EXPECT_EQ( made->resetGpo(), gpoReset );
   EXPECT_EQ( made->setClearGpo(), gpoReset );
   EXPECT_EQ( made->hamImpl(), handle );
}

TEST_F( TolvaneSmTest, BringsTheChipUpWithinItsCreator ) {
   answersAre( { 0, 3 } );
   Vor::Ptr<TolvaneSm> const made = machine();
   EXPECT_EQ( diary.take(), Lines{ initializedTrace } + upFrom( "uninitialized" ) );
   EXPECT_EQ( rig.clock->nowNs(), 800'000'000u );
}

TEST_F( TolvaneSmTest, AChangeWithinTheCreatorIsNeitherDeliveredNorReplayed ) {
   answersAre( { 0, 3 } );
   rig.inSleep( 100'000'000, [this] {
      handle->hardwarePresentIs( false );
      gpoReset->hamIs( otherGpoHam );
      handle->hardwarePresentIs( true );
      handle->hardwarePresentIs( false );
   } );
   Vor::Ptr<TolvaneSm> const made = machine();
   EXPECT_EQ( diary.take(), Lines{ initializedTrace } + upFrom( "uninitialized" ) );
   EXPECT_EQ( rig.turns(), 0u );
   EXPECT_EQ( status->state(), ready_ );
}

TEST_F( TolvaneSmTest, WiringItAgainDecidesAgain ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   answersAre( { 0, 3 } );
   made->handleInitialized();
   EXPECT_EQ( diary.take(), Lines{ initializedTrace } + upFrom( "ready" ) );
}

TEST_F( TolvaneSmTest, TracesOnlyWhileTheyAreOn ) {
   Rig::tracesAre( false );
   readyMachine();
   answersAre( { 0, 3 } );
   Vor::Ptr<TolvaneSm> const made = machine();
   EXPECT_EQ( diary.of( { "trace" } ), Lines{} );
}

// The gate.

TEST_F( TolvaneSmTest, AClosedGateTracesItsEntryAloneAndResetsTheState ) {
   status->stateIs( failed_ );
   diary.take();
   handle->hardwarePresentIs( false );
   Vor::Ptr<TolvaneSm> const made = machine();
   EXPECT_EQ( diary.take(), ( Lines{ initializedTrace, gateTrace, told( "tolvane", "uninitialized" ) } ) );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{ gateTrace } );
}

TEST_F( TolvaneSmTest, NothingHappensBeforeItIsInitialized ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   made->initializedIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
   handle->hardwarePresentIs( false );
   handle->hardwarePresentIs( true );
   gpoReset->hamIs( nullptr );
   made->handleEnvironmentChanges();
   made->doProgramTolvane();
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( status->state(), ready_ );
   made->initializedIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
   made->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

TEST_F( TolvaneSmTest, ProgramsWhenTheHardwareComes ) {
   handle->hardwarePresentIs( false );
   Vor::Ptr<TolvaneSm> const made = machine();
   diary.take();
   answersAre( { 0, 3 } );
   handle->hardwarePresentIs( true );
   EXPECT_EQ( diary.take(), upFrom( "uninitialized" ) );
}

TEST_F( TolvaneSmTest, ProgramsWhenTheOutputGetsItsHandle ) {
   gpoReset->hamIs( nullptr );
   Vor::Ptr<TolvaneSm> const made = machine();
   EXPECT_EQ( diary.take(), ( Lines{ initializedTrace, gateTrace } ) );
   answersAre( { 0, 3 } );
   gpoReset->hamIs( otherGpoHam );
   EXPECT_EQ( diary.take(), upFrom( "uninitialized" ) );
}

TEST_F( TolvaneSmTest, WaitsForBothConditions ) {
   handle->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   Vor::Ptr<TolvaneSm> const made = machine();
   diary.take();
   handle->hardwarePresentIs( true );
   handle->hardwarePresentIs( false );
   gpoReset->hamIs( otherGpoHam );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, gateTrace, gateTrace } ) );
   EXPECT_EQ( status->state(), uninitialized_ );
}

TEST_F( TolvaneSmTest, LosingTheHardwareDropsTheChipAndItsReturnResetsItAgain ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   handle->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
   answersAre( { 0, 3 } );
   handle->hardwarePresentIs( true );
   EXPECT_EQ( diary.take(), upFrom( "uninitialized" ) );
}

TEST_F( TolvaneSmTest, LosingTheOutputsHandleDropsTheChip ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

TEST_F( TolvaneSmTest, ASuccessIsNotRemembered ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   answersAre( { 0, 3, 0, 3, 0, 3 } );
   gpoReset->hamIs( otherGpoHam );
   EXPECT_EQ( diary.take(), upFrom( "ready" ) );
   made->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), upFrom( "ready" ) );
   made->doProgramTolvane();
   EXPECT_EQ( diary.take(), ( [] {
                 Lines lines = upFrom( "ready" );
                 lines.erase( lines.begin() );
                 return lines;
              }() ) );
}

TEST_F( TolvaneSmTest, OtherChangesAreIgnored ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   gpoReset->offsetIs( 4 );
   gpoReset->bitIs( 5 );
   gpoReset->activeTypeIs( Fru::activeLow_ );
   handle->sizeIs( 0x10000 );
   handle->offsetIs( 4 );
   handle->hardwareInstanceIdIs( 1 );
   handle->readDriverParameterResultIs( 1 );
   handle->filenameIs( "file" );
   handle->kindIs( "kind" );
   handle->testReadAllFsIs( true );
   handle->testReadAllFsCounterIs( 1 );
   ham->hamImplIs( nullptr );
   status->stateIs( failed_ );
   EXPECT_EQ( diary.take(), Lines{ told( "tolvane", "failed" ) } );
}

// Simulation.

class TolvaneSimulationTest : public TolvaneSmTest, public testing::WithParamInterface<char const *> {
 protected:
   TolvaneSimulationTest() { Rig::simulationVmidIs( GetParam() ); }
};
INSTANTIATE_TEST_SUITE_P( Values, TolvaneSimulationTest, testing::Values( "", "0", "vm7" ), []( auto const & value ) {
   return value.index == 0 ? std::string( "Empty" ) : std::string( value.param );
} );

TEST_P( TolvaneSimulationTest, TheOutputIsNotWatched ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   EXPECT_FALSE( made->setClearGpo() );
   gpoReset->hamIs( otherGpoHam );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_P( TolvaneSimulationTest, TheHardwareAloneDecides ) {
   gpoReset->hamIs( nullptr );
   handle->hardwarePresentIs( false );
   Vor::Ptr<TolvaneSm> const made = machine();
   EXPECT_EQ( diary.take(), ( Lines{ initializedTrace, gateTrace } ) );
   answersAre( { 0, 3 } );
   handle->hardwarePresentIs( true );
   EXPECT_EQ( diary.take(), upFrom( "uninitialized" ) );
   handle->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

TEST_P( TolvaneSimulationTest, AnyKindOfOutputWillDo ) {
   answersAre( { 0, 3 } );
   Vor::Ptr<TolvaneSm> const made = TolvaneSm::TolvaneSmIs( config, status, new OtherGpo( diary ) );
   EXPECT_EQ( diary.take(), Lines{ initializedTrace } + upFrom( "uninitialized" ) );
}

TEST_F( TolvaneSmTest, TheVariableIsLookedUpAtEveryDecision ) {
   gpoReset->hamIs( nullptr );
   Vor::Ptr<TolvaneSm> const made = machine();
   diary.take();
   Rig::simulationVmidIs( "" );
   answersAre( { 0, 3 } );
   made->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), upFrom( "uninitialized" ) );
   Rig::simulationVmidDel();
   made->handleEnvironmentChanges();
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

// The watched inputs.

TEST_F( TolvaneSmTest, TheSameNotifierAgainDoesNothing ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   made->setClearGpoIs( gpoReset );
   made->hamImplIs( handle );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( TolvaneSmTest, AnEmptyPointerDeletesTheReactorSilently ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   made->setClearGpoIs( nullptr );
   made->hamImplIs( nullptr );
   EXPECT_FALSE( made->setClearGpo() );
   EXPECT_FALSE( made->hamImpl() );
   gpoReset->hamIs( nullptr );
   handle->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
   made->setClearGpoDel();
   made->hamImplDel();
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( status->state(), ready_ );
}

TEST_F( TolvaneSmTest, PointingTheHandleElsewhereProgramsThroughTheNewOne ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   Vor::Ptr<ScriptedHam> const other = new ScriptedHam( diary );
   other->hardwarePresentIs( true );
   other->answersAre( tolvaneOffset, { 0, 3 } );
   made->hamImplIs( other );
   EXPECT_EQ( diary.take(), upFrom( "ready" ) );
   EXPECT_TRUE( other->exhausted() );
   handle->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
   other->hardwarePresentIs( false );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

TEST_F( TolvaneSmTest, PointingTheOutputElsewhereDecidesByItsHandleAndStillDrivesTheResetOutput ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   Vor::Ptr<NotingGpo> const other = new NotingGpo( diary, "other" );
   answersAre( { 0, 3 } );
   made->setClearGpoIs( other );
   EXPECT_EQ( diary.take(), upFrom( "ready" ) );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{} );
   other->hamIs( nullptr );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

TEST_F( TolvaneSmTest, ANewReactorAttachesSilentlyAndTakesTheMachinesFlag ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   for ( bool const active : { true, false } ) {
      made->hasNotificationActiveIs( active );
      made->hamImplDel();
      made->setClearGpoDel();
      made->hamImplIs( handle );
      made->setClearGpoIs( gpoReset );
      EXPECT_EQ( diary.take(), Lines{} );
      handle->hardwarePresentIs( false );
      gpoReset->hamIs( nullptr );
      EXPECT_EQ(
         diary.take(), active ? ( Lines{ gateTrace, told( "tolvane", "uninitialized" ), gateTrace } ) : Lines{} );
      handle->hardwarePresentIs( true );
      answersAre( { 0, 3 } );
      gpoReset->hamIs( otherGpoHam );
      EXPECT_EQ( diary.take(), active ? Lines{ gateTrace } + upFrom( "uninitialized" ) : Lines{} );
   }
}

TEST_F( TolvaneSmTest, NotificationSwitchesBothReactors ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   made->hasNotificationActiveIs( false );
   EXPECT_FALSE( made->hasNotificationActive() );
   handle->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{} );
   made->hasNotificationActiveIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
   handle->hardwarePresentIs( true );
   answersAre( { 0, 3 } );
   gpoReset->hamIs( otherGpoHam );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } + upFrom( "uninitialized" ) ) );
}

TEST_F( TolvaneSmTest, ZombieReactorsDoNotReact ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   made->vorDoZombieReactors( true );
   handle->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{} );
   made->vorDoZombieReactors( false );
   handle->hardwarePresentIs( true );
   EXPECT_EQ( diary.take(), ( Lines{ gateTrace, told( "tolvane", "uninitialized" ) } ) );
}

// Reflection and lifetime.

TEST_F( TolvaneSmTest, ItsAttributesAndOperationsAreListedInOrder ) {
   std::vector<std::string> attributes;
   std::vector<std::string> operations;
   for ( Vor::Attribute const & attribute : TolvaneSm::staticType().attributes() )
      ( attribute.kind == Vor::Attribute::Kind::operation ? operations : attributes ).emplace_back( attribute.name );
   EXPECT_THAT( attributes, ElementsAre( "config", "status", "resetGpo", "setClearGpo", "hamImpl", "numRetries" ) );
   EXPECT_THAT( operations, ElementsAre( "handleEnvironmentChanges", "doProgramTolvane", "handleInitialized" ) );
   EXPECT_STREQ( TolvaneSm::staticType().name(), "Hardware::TolvaneSm" );
}

TEST_F( TolvaneSmTest, ItIsReadAndWorkedByName ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   Vor::Reflected const reflected{ Vor::Ptr<Vor::PtrInterface>( made ) };
   EXPECT_EQ( &reflected.type(), &TolvaneSm::staticType() );
   EXPECT_EQ( std::get<Vor::Ptr<Vor::PtrInterface const>>( reflected.get( "config" ) ), config );
   EXPECT_EQ( std::get<Vor::Ptr<Vor::PtrInterface>>( reflected.get( "status" ) ), status );
   EXPECT_EQ( std::get<Vor::Ptr<Vor::PtrInterface const>>( reflected.get( "resetGpo" ) ), gpoReset );
   EXPECT_EQ( std::get<Vor::Ptr<Vor::PtrInterface const>>( reflected.get( "setClearGpo" ) ), gpoReset );
   EXPECT_EQ( std::get<Vor::Ptr<Vor::PtrInterface>>( reflected.get( "hamImpl" ) ), handle );
   EXPECT_EQ( std::get<U64>( reflected.get( "numRetries" ) ), 5u );
   answersAre( { 0, 3, 0, 3, 0, 3 } );
   reflected.call( "handleEnvironmentChanges" );
   EXPECT_EQ( diary.take(), upFrom( "ready" ) );
   reflected.call( "doProgramTolvane" );
   EXPECT_EQ( diary.take().front(), programTrace );
   reflected.call( "handleInitialized" );
   EXPECT_EQ( diary.take(), Lines{ initializedTrace } + upFrom( "ready" ) );
}

TEST_F( TolvaneSmTest, ItsTypeMakesALiveOne ) {
   answersAre( { 0, 3 } );
   std::vector<Vor::NamedValue> const arguments = {
      { "resetGpo", Vor::toValue( Vor::Ptr<Fru::Gpo const>( gpoReset ) ) },
      { "status", Vor::toValue( status ) },
      { "config", Vor::toValue( Vor::Ptr<TolvaneConfig const>( config ) ) } };
   auto const made = Vor::ptrCast<TolvaneSm>( TolvaneSm::staticType().make( arguments ) );
   ASSERT_TRUE( made );
   EXPECT_EQ( &made->fwkType(), &TolvaneSm::staticType() );
   EXPECT_EQ( diary.take(), Lines{ initializedTrace } + upFrom( "uninitialized" ) );
   handle->hardwarePresentIs( false );
   EXPECT_EQ( status->state(), uninitialized_ );
}

TEST_F( TolvaneSmTest, ItsEndLeavesThePublishedStateAndLetsGoOfEverything ) {
   U64 const lived = TolvaneSm::staticType().allocated();
   S32 const references[] = {
      config->references(), status->references(), gpoReset->references(), handle->references() };
   Vor::Ptr<TolvaneSm> made = readyMachine();
   EXPECT_EQ( TolvaneSm::staticType().allocated(), lived + 1 );
   EXPECT_EQ( made->references(), 1 );
   made = nullptr;
   EXPECT_EQ( TolvaneSm::staticType().allocated(), lived );
   EXPECT_EQ( status->state(), ready_ );
   handle->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( config->references(), references[0] );
   EXPECT_EQ( status->references(), references[1] );
   EXPECT_EQ( gpoReset->references(), references[2] );
   EXPECT_EQ( handle->references(), references[3] );
}

// Broken wiring.

class TolvaneSmDeathTest : public TolvaneSmTest {
 protected:
   // The regular expression of the death: the entry trace first, then the assertion.
   static std::string wiringStops( std::string const & expression ) {
      return "void Hardware::TolvaneSm::handleInitialized\\(\\)\n"
             "[^\n]*: TolvaneSm:[0-9]+: void Hardware::TolvaneSm::handleInitialized\\(\\): Assertion `" +
             expression + "\\(\\)' failed\\.\n$";
   }
   void make( bool hasConfig, bool hasStatus, Vor::Ptr<Fru::Gpo const> const & output ) {
      Vor::traceSinkIs( nullptr );   // to standard error
      TolvaneSm::TolvaneSmIs( hasConfig ? config : nullptr, hasStatus ? status : nullptr, output );
   }
};

TEST_F( TolvaneSmDeathTest, TheArgumentsAreCheckedInOrder ) {
   EXPECT_DEATH( make( false, false, nullptr ), wiringStops( "config" ) );
   EXPECT_DEATH( make( true, false, nullptr ), wiringStops( "status" ) );
   EXPECT_DEATH( make( true, true, nullptr ), wiringStops( "resetGpo" ) );
   Rig::simulationVmidIs( "" );
   EXPECT_DEATH( make( false, true, gpoReset ), wiringStops( "config" ) );
   EXPECT_DEATH( make( true, false, gpoReset ), wiringStops( "status" ) );
   EXPECT_DEATH( make( true, true, nullptr ), wiringStops( "resetGpo" ) );
}

TEST_F( TolvaneSmDeathTest, AnOutputOfAnotherKindStopsItBeforeAMissingHandleDoes ) {
   ham->hamImplIs( nullptr );
   EXPECT_DEATH( make( true, true, new OtherGpo( diary ) ), wiringStops( "setClearGpo" ) );
}

TEST_F( TolvaneSmDeathTest, AMissingHandleStopsItInSimulationToo ) {
   ham->hamImplIs( nullptr );
   EXPECT_DEATH( make( true, true, gpoReset ), wiringStops( "hamImpl" ) );
   Rig::simulationVmidIs( "" );
   EXPECT_DEATH( make( true, true, gpoReset ), wiringStops( "hamImpl" ) );
}

TEST_F( TolvaneSmDeathTest, ADecisionWithoutItsReactorsStopsIt ) {
   Vor::Ptr<TolvaneSm> const made = readyMachine();
   EXPECT_EXIT( ( made->hamImplDel(), made->handleEnvironmentChanges() ), testing::KilledBySignal( SIGABRT ), "" );
   EXPECT_EXIT( ( made->setClearGpoDel(), made->handleEnvironmentChanges() ), testing::KilledBySignal( SIGABRT ), "" );
}

}   // namespace
}   // namespace SmTest::Tolvane
