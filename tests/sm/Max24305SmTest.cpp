// The machine's construction and wiring.
#include "sm/Max24305Sm.h"

#include "framework/ActivityManager.h"
#include "framework/Reflection.h"
#include "framework/TypeRegistry.h"
#include "tests/sm/Max24305Rig.h"

#include <limits>

namespace SmTest::Base {
namespace {

constexpr double never = std::numeric_limits<double>::infinity();
constexpr char const * initializing = "virtual void Hardware::Max24305Sm::handleInitialized()";

class Max24305SmTest : public Max24305World {};
class Max24305SmDeathTest : public Max24305World {};

TEST_F( Max24305SmTest, TheConstructorTouchesNothingAndTracesNothing ) {
   opsAre( { { 2, 0x10, 0x3c } } );
   auto const machine = bareMachine();
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( gpoReset->fetched(), 0u );
   EXPECT_EQ( machine->redundancyStatus(), redundancy );
   EXPECT_EQ( machine->config(), config );
   EXPECT_EQ( machine->status(), status );
   EXPECT_EQ( machine->pllStatus(), pllStatus );
   EXPECT_EQ( machine->timeSyncStatus(), timeSync );
   EXPECT_EQ( machine->resetGpo(), gpoReset );
   EXPECT_FALSE( machine->setClearGpo() );
   EXPECT_FALSE( machine->hamImpl() );
   EXPECT_FALSE( machine->kivSpiIntf() );
   EXPECT_FALSE( machine->timerWheel() );
   EXPECT_FALSE( machine->lockStatusClock() );
   EXPECT_EQ( machine->lockPollCount(), 0u );
   EXPECT_FALSE( machine->initialized() );
   EXPECT_TRUE( machine->hasNotificationActive() );
}

TEST_F( Max24305SmTest, TheConstructorTakesNothingForWhatIsNotGiven ) {
   auto const machine = Max24305Sm::Max24305SmIs( nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   EXPECT_FALSE( machine->redundancyStatus() );
   EXPECT_FALSE( machine->config() );
   EXPECT_FALSE( machine->timeSyncStatus() );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305SmTest, TheFreeFactoryGivesWhatTheCreatorGives ) {
   auto const machine = Hardware::max24305SmFactory(
      redundancy, config, status, pllStatus, timeSync, Vor::Ptr<Fru::Gpo const>( gpoReset ) );
   EXPECT_EQ( &machine->fwkType(), &Max24305Sm::staticType() );
   EXPECT_TRUE( machine->hasNotificationActive() );
   EXPECT_EQ( machine->config(), config );
}

TEST_F( Max24305SmTest, InitializingWiresTheMachineAndStopsThere ) {
   auto const machine = bareMachine();
   rig.clock->nowNsIs( 123 );
   machine->handleInitialized();
   EXPECT_EQ( diary.take(), Lines{ trace( 1, "handleInitialized", initializing ) } );
   EXPECT_FALSE( machine->initialized() );
   EXPECT_EQ( machine->setClearGpo(), gpoReset );
   EXPECT_EQ( machine->hamImpl(), chip );
   ASSERT_TRUE( machine->timerWheel() );
   EXPECT_EQ( machine->timerWheel()->clock(), rig.clock );
   EXPECT_EQ( machine->timerWheel()->tickMsecs(), 100u );
   EXPECT_EQ( machine->timerWheel()->initialMaxTicks(), 3000u );
   EXPECT_TRUE( machine->timerWheel()->preserveOrder() );
   EXPECT_EQ( machine->timerWheel()->defaultBucketSize(), 1024u );
   ASSERT_TRUE( machine->lockStatusClock() );
   EXPECT_EQ( machine->lockStatusClock()->notifier(), machine->timerWheel() );
   EXPECT_EQ( machine->lockStatusClock()->timeMin(), never );
   ASSERT_TRUE( machine->kivSpiIntf() );
   EXPECT_EQ( machine->kivSpiIntf()->base(), configOffset );
   EXPECT_EQ( machine->kivSpiIntf()->hamImpl(), chip );
   EXPECT_TRUE( machine->kivSpiIntf()->resetSupported() );
   EXPECT_EQ( gpoReset->fetched(), 0u );
}

TEST_F( Max24305SmTest, InSimulationTheOutputIsNotViewedAsASetClearGpo ) {
   Rig::simulationVmidIs( "" );
   auto const machine = bareMachine();
   machine->handleInitialized();
   EXPECT_FALSE( machine->setClearGpo() );
   EXPECT_TRUE( machine->kivSpiIntf() );
}

TEST_F( Max24305SmTest, ABareMachineIsBroughtUpByItsHost ) {
   chip->readIs( 7, 0x11 );
   auto const machine = bareMachine();
   machine->handleInitialized();
   diary.take();
   machine->initializedIs( true );
   EXPECT_EQ( diary.take(), Lines{} );
   machine->handleEnvironmentChanges();
   EXPECT_EQ( diary.take().front(), gateOpen( "acquiring", "uninitialized", "notReady" ).front() );
   EXPECT_EQ( status->state(), Hardware::Max24305::locking_ );
   rig.turns();
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
}

TEST_F( Max24305SmTest, ABareMachineMayAlsoWaitForTheFirstChange ) {
   auto const machine = bareMachine();
   machine->handleInitialized();
   machine->initializedIs( true );
   diary.take();
   timeSync->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ( status->state(), Hardware::Max24305::locking_ );
}

TEST_F( Max24305SmTest, BeforeItIsInitializedNothingHappensAtAll ) {
   auto const machine = bareMachine();
   machine->handleInitialized();
   status->stateIs( Hardware::Max24305::locking_ );
   diary.take();
   config->opsToDoValidIs( false );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   chip->hardwarePresentIs( false );
   gpoReset->hamIs( nullptr );
   redundancy->switchoverStageIs( "DovraWritable", true );
   machine->handleEnvironmentChanges();
   machine->doProgramMax24305();
   machine->doWaitForLock();
   machine->handleSwitchoverStage( "DovraWritable" );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305SmTest, PollsAreCounted ) {
   auto const machine = bareMachine();
   machine->lockPollCountIs( 5 );
   machine->lockPollCountInc( 3 );
   EXPECT_EQ( machine->lockPollCount(), 8u );
}

TEST_F( Max24305SmTest, WheelAndInterfaceCanBeDropped ) {
   auto const machine = bareMachine();
   machine->handleInitialized();
   machine->lockStatusClockDel();
   machine->timerWheelDel();
   machine->kivSpiIntfDel();
   EXPECT_FALSE( machine->lockStatusClock() );
   EXPECT_FALSE( machine->timerWheel() );
   EXPECT_FALSE( machine->kivSpiIntf() );
   EXPECT_EQ( Vor::activityManager().nextTime(), never );
}

// --- inputs that are replaced and dropped ---

TEST_F( Max24305SmTest, AnotherRedundancyStatusIsFollowedInPlaceOfTheFirst ) {
   auto const machine = readyMachine();
   auto const other = Redundancy::redundancyStatusFactory( "other" );
   std::string const followed =
      trace( 1, "handleSwitchoverStage", "handleSwitchoverStage Redundancy mode = unknown Stage = other" );
   machine->redundancyStatusIs( other );
   EXPECT_EQ( machine->redundancyStatus(), other );
   redundancy->switchoverStageIs( "first", true );
   EXPECT_EQ( diary.take(), Lines{} );
   other->switchoverStageIs( "other", true );
   EXPECT_EQ( diary.take(), Lines{ followed } );
   machine->redundancyStatusDel();
   EXPECT_FALSE( machine->redundancyStatus() );
   other->switchoverStageIs( "other", false );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305SmTest, AnotherTimeSyncStatusIsFollowedInPlaceOfTheFirst ) {
   auto const machine = readyMachine();
   auto const other = PtpTimeSync::statusFactory( "other" );
   machine->timeSyncStatusIs( other );
   EXPECT_EQ( machine->timeSyncStatus(), other );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_EQ( diary.take(), Lines{} );
   other->stateIs( PtpTimeSync::locked_ );
   EXPECT_EQ( diary.take().back(), trace( 1, "handleEnvironmentChanges", "handleEnvironmentChanges Already started" ) );
   machine->timeSyncStatusDel();
   EXPECT_FALSE( machine->timeSyncStatus() );
   other->stateIs( PtpTimeSync::disabled_ );
   EXPECT_EQ( diary.take(), Lines{} );
   EXPECT_EQ( status->state(), Hardware::Max24305::ready_ );
}

TEST_F( Max24305SmTest, AnotherConfigurationIsFollowedInPlaceOfTheFirst ) {
   auto const machine = readyMachine();
   auto const first = config;
   auto const other = Hardware::Max24305::configFactory(
      "ptp1", Fru::GenerationId( 1 ), configOffset, statusOffset, ham, "ptp0Reset", Hardware::Max24305::timeSync_,
      Hardware::Max24305::stuffedClock_, frequencyInHz, Fru::SlotId( 3 ), true );
   machine->configIs( other );
   EXPECT_EQ( machine->config(), other );
   first->opsToDoValidIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
   other->opsToDoValidIs( true );
   EXPECT_EQ( diary.take().back(), trace( 1, "handleEnvironmentChanges", "handleEnvironmentChanges Already started" ) );
   machine->configDel();
   EXPECT_FALSE( machine->config() );
   other->opsToDoValidIs( false );
   EXPECT_EQ( diary.take(), Lines{} );
}

// --- reactors made by hand ---

// `make` gives a new reactor on the second of two notifiers, the first of which the machine watches already.
template<class Make, class Get>
void isMade( Vor::Ptr<Max24305Sm> const & machine, Make make, Get get, Vor::PtrInterface const * notifier ) {
   auto const made = make();
   EXPECT_EQ( made->vorNotifier(), notifier );
   EXPECT_EQ( get().ptr(), notifier );
   EXPECT_TRUE( made->hasNotificationActive() );
   machine->hasNotificationActiveIs( false );
   EXPECT_FALSE( made->hasNotificationActive() ) << "the machine does not hold it";
   auto const again = make();
   EXPECT_NE( again, made );
   EXPECT_FALSE( again->hasNotificationActive() ) << "it does not take over the machine's flag";
   EXPECT_FALSE( made->vorNotifier() ) << "the one before is still attached";
   machine->hasNotificationActiveIs( true );
   EXPECT_TRUE( again->hasNotificationActive() );
}

TEST_F( Max24305SmTest, EachReactorCanBeMadeByHand ) {
   auto const machine = bareMachine();
   machine->handleInitialized();
   auto const wheel = Jor::TimerWheel::TimerWheelIs( rig.clock, 100, 10, true, 1 );
   auto const otherRedundancy = Redundancy::redundancyStatusFactory( "other" );
   auto const otherTimeSync = PtpTimeSync::statusFactory( "other" );
   Vor::Ptr<NotingGpo> const otherGpo = new NotingGpo( diary );
   Vor::Ptr<ScriptedChip> const otherChip = new ScriptedChip( diary );
   auto const otherConfig = Hardware::Max24305::configFactory(
      "ptp1", Fru::GenerationId( 1 ), configOffset, statusOffset, ham, "ptp0Reset", Hardware::Max24305::timeSync_,
      Hardware::Max24305::stuffedClock_, frequencyInHz, Fru::SlotId( 3 ), true );
   isMade(
      machine, [&] { return machine->newRedundancyStatus( otherRedundancy ); },
      [&] { return machine->redundancyStatus(); }, otherRedundancy.ptr() );
   isMade(
      machine, [&] { return machine->newConfig( otherConfig ); }, [&] { return machine->config(); },
      otherConfig.ptr() );
   isMade(
      machine, [&] { return machine->newTimeSyncStatus( otherTimeSync ); }, [&] { return machine->timeSyncStatus(); },
      otherTimeSync.ptr() );
   isMade(
      machine, [&] { return machine->newSetClearGpo( otherGpo ); }, [&] { return machine->setClearGpo(); },
      otherGpo.ptr() );
   isMade(
      machine, [&] { return machine->newHamImpl( otherChip ); }, [&] { return machine->hamImpl(); }, otherChip.ptr() );
   isMade(
      machine, [&] { return machine->newLockStatusClock( wheel ); },
      [&] { return machine->lockStatusClock()->notifier(); }, wheel.ptr() );
}

// --- what must be wired ---

TEST_F( Max24305SmDeathTest, EveryInputIsAskedForInItsOrder ) {
   Vor::Ptr<Redundancy::RedundancyStatus> const r = redundancy;
   auto const initialize = [&]( bool c, bool s, bool p, bool t, bool g ) {
      auto const machine = Max24305Sm::Max24305SmIs(
         r, c ? config : nullptr, s ? status : nullptr, p ? pllStatus : nullptr, t ? timeSync : nullptr,
         g ? Vor::Ptr<Fru::Gpo const>( gpoReset ) : nullptr );
      machine->handleInitialized();
   };
   Lines const traced{ trace( 1, "handleInitialized", initializing ) };
   EXPECT_DEATH( initialize( false, false, false, false, false ), assertionOf( initializing, "config()", traced ) );
   EXPECT_DEATH( initialize( true, false, false, false, false ), assertionOf( initializing, "status()", traced ) );
   EXPECT_DEATH( initialize( true, true, false, false, false ), assertionOf( initializing, "pllStatus()", traced ) );
   EXPECT_DEATH(
      initialize( true, true, true, false, false ), assertionOf( initializing, "timeSyncStatus()", traced ) );
   EXPECT_DEATH( initialize( true, true, true, true, false ), assertionOf( initializing, "resetGpo()", traced ) );
}

TEST_F( Max24305SmDeathTest, TheRedundancyStatusIsMissedOnlyWhereItIsNeeded ) {
   redundancy = nullptr;
   auto const machine = bareMachine();
   machine->handleInitialized();
   machine->initializedIs( true );
   chip->hardwarePresentIs( false );   // a closed gate does not need it
   EXPECT_DEATH( chip->hardwarePresentIs( true ), "RedundancyStatus" );
}

TEST_F( Max24305SmDeathTest, AnOutputOfAnotherKindIsRefusedOutsideSimulation ) {
   auto const initialize = [&] {
      Max24305Sm::Max24305SmIs( redundancy, config, status, pllStatus, timeSync, new OtherGpo( diary ) )
         ->handleInitialized();
   };
   EXPECT_DEATH( initialize(), assertionOf( initializing, "setClearGpo()" ) );
   Rig::simulationVmidIs( "" );
   initialize();
}

TEST_F( Max24305SmDeathTest, ATimerThatIsNotThere ) {
   struct WithoutTimer final : Max24305Sm {
      using Max24305Sm::Max24305Sm;
      void lockStatusClockIs( Vor::Ptr<Jor::TimerWheel const> const & ) override {}
   };
   Vor::Ptr<WithoutTimer> const machine =
      new WithoutTimer( redundancy, config, status, pllStatus, timeSync, Vor::Ptr<Fru::Gpo const>( gpoReset ) );
   EXPECT_DEATH( machine->handleInitialized(), assertionOf( initializing, "lockStatusClock()" ) );
}

TEST_F( Max24305SmDeathTest, AHandleThatIsNotThere ) {
   ham->hamImplIs( nullptr );
   EXPECT_DEATH( bareMachine()->handleInitialized(), assertionOf( initializing, "hamImpl()" ) );
}

// --- reflection ---

TEST_F( Max24305SmTest, AttributesInTheirOrder ) {
   std::vector<std::string_view> names;
   for ( auto const & attribute : Max24305Sm::staticType().attributes() ) names.push_back( attribute.name );
   EXPECT_EQ(
      names, ( std::vector<std::string_view>{
                "redundancyStatus",
                "config",
                "status",
                "pllStatus",
                "timeSyncStatus",
                "resetGpo",
                "setClearGpo",
                "hamImpl",
                "kivSpiIntf",
                "lockPollCount",
                "timerWheel",
                "lockStatusClock",
                "initialized",
                "maxLockPollIterations",
                "lockPollPeriod",
                "dovraWritableSwitchoverStage",
                "doProgramMax24305",
                "doWaitForLock",
                "handleSwitchoverStage",
                "timerWheelIs",
                "kivSpiIntfIs" } ) );
   auto const & type = Max24305Sm::staticType();
   auto const argumentsOf = [&type]( std::string_view operation ) {
      auto const arguments = type.attribute( operation ).argumentNames;
      return std::vector<std::string_view>( arguments.begin(), arguments.end() );
   };
   EXPECT_EQ(
      argumentsOf( "timerWheelIs" ),
      ( std::vector<std::string_view>{
         "systemClock", "tickMsecs", "initialMaxTicks", "preserveOrder", "defaultBucketSize" } ) );
   EXPECT_EQ( argumentsOf( "kivSpiIntfIs" ), ( std::vector<std::string_view>{ "base", "hamImpl", "resetSupported" } ) );
}

TEST_F( Max24305SmTest, ConstantsAndStateByReflection ) {
   auto const machine = bareMachine();
   Vor::Reflected const reflected{ Vor::Ptr<Vor::PtrInterface>( machine ) };
   EXPECT_EQ( reflected.get( "maxLockPollIterations" ), Vor::Value( U64{ 100 } ) );
   EXPECT_EQ( reflected.get( "lockPollPeriod" ), Vor::Value( 1.0 ) );
   EXPECT_EQ( reflected.get( "dovraWritableSwitchoverStage" ), Vor::Value( Vor::String( "DovraWritable" ) ) );
   EXPECT_EQ( reflected.get( "initialized" ), Vor::Value( false ) );
   reflected.set( "initialized", true );
   EXPECT_TRUE( machine->initialized() );
   reflected.set( "lockPollCount", U64{ 7 } );
   EXPECT_EQ( machine->lockPollCount(), 7u );
   reflected.call(
      "kivSpiIntfIs", { { "resetSupported", false },
                        { "hamImpl", Vor::Value( Vor::Ptr<Vor::PtrInterface>( chip ) ) },
                        { "base", U64{ 0x700 } } } );
   ASSERT_TRUE( machine->kivSpiIntf() );
   EXPECT_EQ( machine->kivSpiIntf()->base(), 0x700u );
}

TEST_F( Max24305SmTest, MadeThroughReflection ) {
   auto const value = []( auto const & object ) { return Vor::toValue( object ); };
   Vor::NamedValue const arguments[] = {
      { "redundancyStatus", value( redundancy ) },
      { "config", value( config ) },
      { "status", value( status ) },
      { "pllStatus", value( pllStatus ) },
      { "timeSyncStatus", value( timeSync ) },
      { "resetGpo", value( gpoReset ) } };
   auto const & type = *Vor::typeRegistry().type( "Hardware::Max24305Sm" );
   auto const machine = Vor::ptrCast<Max24305Sm>( type.make( arguments ) );
   ASSERT_TRUE( machine );
   EXPECT_EQ( machine->resetGpo(), gpoReset );
   EXPECT_EQ( machine->status(), status );
   EXPECT_EQ( type.allocated(), 1u );
}

}   // namespace
}   // namespace SmTest::Base
