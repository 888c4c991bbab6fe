// The stuffed-clock machine: the base machine, completed.
#include "framework/Reflection.h"
#include "framework/TypeRegistry.h"
#include "tests/sm/Max24305Rig.h"

namespace SmTest::StuffedClock {
namespace {

using namespace Hardware::Max24305;

Lines const initializing{
   trace( 1, "handleInitialized", "virtual void Hardware::Max24305WithStuffedClockInputSm::handleInitialized()" ),
   trace( 1, "handleInitialized", "virtual void Hardware::Max24305Sm::handleInitialized()" ) };

class StuffedClockTest : public Max24305World {};
class StuffedClockDeathTest : public Max24305World {};

TEST_F( StuffedClockTest, ItIsWiredThenEvaluatesItsGateWhichKeepsTheBasesSignature ) {
   auto const machine = stuffedClockMachine();
   EXPECT_EQ(
      diary.take(), initializing + gateOpen( "acquiring", "uninitialized", "notReady", "Max24305Sm" ) +
                       Lines{ programmingTrace } + attemptStart() + Lines{ told( "status", "locking" ) } );
   EXPECT_TRUE( machine->initialized() );
   EXPECT_TRUE( machine->hasNotificationActive() );
   EXPECT_EQ( machine->setClearGpo(), gpoReset );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   EXPECT_EQ( takeTraces().front(), gateOpen( "disabled", "locking", "notReady", "Max24305Sm" ).front() );
}

TEST_F( StuffedClockTest, TheFirstEvaluationMayFindTheGateClosed ) {
   chip->hardwarePresentIs( false );
   config->opsToDoValidIs( false );
   gpoReset->hamIs( nullptr );
   auto const machine = stuffedClockMachine();
   EXPECT_EQ(
      diary.take(),
      ( initializing + Lines{
                          gateSays( " Kiv hardware not present" ), gateSays( " Invalid programming sequence." ),
                          gateSays( " Gpo ham not available yet" ) } ) );
   chip->hardwarePresentIs( true );
   config->opsToDoValidIs( true );
   EXPECT_EQ( status->state(), uninitialized_ );
   gpoReset->hamIs( ham );
   EXPECT_EQ( status->state(), locking_ );
}

TEST_F( StuffedClockTest, TheSimulationCountsAsInTheBase ) {
   Rig::simulationVmidIs( "" );
   gpoReset->hamIs( nullptr );
   auto const machine = stuffedClockMachine();
   EXPECT_FALSE( machine->setClearGpo() );
   EXPECT_EQ( status->state(), locking_ );
}

TEST_F( StuffedClockTest, ItTakesAnyOutputInSimulation ) {
   Rig::simulationVmidIs( "" );
   auto const machine = Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
      redundancy, config, status, pllStatus, timeSync, new OtherGpo( diary ) );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_EQ( diary.count( gpo( true ) ), 1u );
}

TEST_F( StuffedClockDeathTest, MissingWiringIsFoundByTheBase ) {
   constexpr char const * base = "virtual void Hardware::Max24305Sm::handleInitialized()";
   EXPECT_DEATH(
      Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
         redundancy, config, status, nullptr, timeSync, gpoReset ),
      assertionOf( base, "pllStatus()", initializing ) );
   EXPECT_DEATH(
      Max24305WithStuffedClockInputSm::Max24305WithStuffedClockInputSmIs(
         redundancy, config, status, pllStatus, timeSync, new OtherGpo( diary ) ),
      assertionOf( base, "setClearGpo()", initializing ) );
}

TEST_F( StuffedClockTest, ItIsARegisteredTypeWithTheBasesAttributesAndACreator ) {
   auto const * type = Vor::typeRegistry().type( "Hardware::Max24305WithStuffedClockInputSm" );
   ASSERT_EQ( type, &Max24305WithStuffedClockInputSm::staticType() );
   EXPECT_EQ( type->attributes().size(), Max24305Sm::staticType().attributes().size() );
   Vor::NamedValue const arguments[] = {
      { "redundancyStatus", Vor::toValue( redundancy ) },
      { "config", Vor::toValue( config ) },
      { "status", Vor::toValue( status ) },
      { "pllStatus", Vor::toValue( pllStatus ) },
      { "timeSyncStatus", Vor::toValue( timeSync ) },
      { "resetGpo", Vor::toValue( gpoReset ) } };
   auto const machine = Vor::ptrCast<Max24305WithStuffedClockInputSm>( type->make( arguments ) );
   ASSERT_TRUE( machine );
   EXPECT_EQ( &machine->fwkType(), type );
   EXPECT_EQ( status->state(), locking_ );
   EXPECT_TRUE( machine->hasNotificationActive() );
}

}   // namespace
}   // namespace SmTest::StuffedClock
