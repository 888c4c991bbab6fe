#include "service/AgentRequests.h"

#include "input/InputError.h"
#include "tests/service/LiveCard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Host::AgentRequestsTests {
namespace {

using Input::Json;
using testing::HasSubstr;
using testing::StartsWith;

class AgentRequestsTest : public testing::Test {
 protected:
   AgentRequestsTest() {
      live.input.said( PtpTimeSync::enabling_ );
      live.makeMachines();
      live.run( 10 );
   }
   Json answer( std::string const & request ) { return requests.answer( Json::parse( request ) ); }
   std::string refusal( std::string const & request ) {
      try {
         return "not refused: " + answer( request ).dump();
      } catch ( std::exception const & error ) {
         return error.what();
      }
   }
   Json set( std::string const & entity, std::string const & attribute, Json const & value ) {
      return requests.answer(
         { { "do", "set" }, { "entity", entity }, { "attribute", attribute }, { "value", value } } );
   }
   std::string setRefused( std::string const & entity, std::string const & attribute, Json const & value ) {
      return refusal(
         Json{ { "do", "set" }, { "entity", entity }, { "attribute", attribute }, { "value", value } }.dump() );
   }
   Json call( std::string const & object, std::string const & operation, Json const & arguments = Json::object() ) {
      return requests.answer(
         { { "do", "call" }, { "object", object }, { "operation", operation }, { "arguments", arguments } } );
   }
   std::string
   callRefused( std::string const & object, std::string const & operation, Json const & arguments = Json::object() ) {
      return refusal(
         Json{ { "do", "call" }, { "object", object }, { "operation", operation }, { "arguments", arguments } }
            .dump() );
   }

   LiveCard live;
   AgentRequests requests{ live.card(), live.input, live.world.machines(), live.world.events() };
};

TEST_F( AgentRequestsTest, AnAttributeIsSetByTextOrNumber ) {
   EXPECT_EQ( set( "/hardware/kiv/clockStatus/ptp0", "state", "failed" ), Json( { { "value", "failed" } } ) );
   EXPECT_EQ( live.card().clockStatusOf( "ptp0" )->state(), Hardware::Kiv::ClockStatus::failed_ );
   EXPECT_EQ( set( "/hardware/kiv/clockStatus/ptp0", "state", "0x1" ), Json( { { "value", "ready" } } ) );
   EXPECT_EQ( set( "/hardware/kiv/clockStatus/ptp0", "state", 7 ), Json( { { "value", 7 } } ) )
      << "an open enumeration";
   EXPECT_EQ( set( "/hamImpl", "hardwarePresent", "false" ), Json( { { "value", false } } ) );
   EXPECT_EQ( set( "/hamImpl", "hardwarePresent", true ), Json( { { "value", true } } ) );
   EXPECT_EQ( live.attempts["ptp1"], 2 ) << "the machines saw it";
}

TEST_F( AgentRequestsTest, ACollectionIsSetByKey ) {
   EXPECT_EQ(
      answer(
         R"({"do":"set","entity":"/redundancy","attribute":"switchoverStage","key":"DovraWritable","value":true})" ),
      Json( { { "value", true } } ) );
   EXPECT_TRUE( live.card().redundancy()->switchoverStage().value( "DovraWritable" ) );
   EXPECT_EQ(
      setRefused( "/redundancy", "switchoverStage", true ),
      "switchoverStage of /redundancy is not set: it is a collection; expected a key, and the value there" );
   EXPECT_EQ(
      refusal( R"({"do":"set","entity":"/redundancy","attribute":"mode","key":"x","value":1})" ),
      "mode of /redundancy is not set: it is no collection, and has no keys" );
   EXPECT_EQ(
      answer(
         R"({"do":"set","entity":"/machine/ptp0/kivSpiIntf","attribute":"simulatedData","key":"7","value":"0x11"})" ),
      Json( { { "value", 17 } } ) );
}

TEST_F( AgentRequestsTest, AnOutputsHandleIsTakenAndGivenBack ) {
   EXPECT_EQ( set( "/gpo/ptp1Reset", "ham", "none" ), Json( { { "value", nullptr } } ) );
   EXPECT_EQ( live.chip( "ptp1" )->state(), Hardware::Max24305::uninitialized_ );
   EXPECT_EQ( set( "/gpo/ptp1Reset", "ham", "/ham" ), Json( { { "value", "/ham" } } ) );
   EXPECT_EQ( live.chip( "ptp1" )->state(), Hardware::Max24305::locking_ );
   EXPECT_THAT(
      setRefused( "/gpo/ptp1Reset", "ham", "/timeSync" ), HasSubstr( "expected an object of the attribute's type" ) );
}

TEST_F( AgentRequestsTest, WhatTheSourcesSayCanBeSaidByTheUser ) {
   EXPECT_EQ( set( "/timeSync", "state", "locked" ), Json( { { "value", "locked" } } ) );
   EXPECT_EQ( live.status->timeSyncSource(), "locked" );
   EXPECT_EQ( set( "/redundancy", "mode", 5 ), Json( { { "value", "active" } } ) );
   EXPECT_EQ( live.attempts["ptp0"], 1 );
}

TEST_F( AgentRequestsTest, WhatAnotherSourceSaysIsNotForTheUser ) {
   live.input.sourceIs( "the PTP daemon at /run/ptp4l" );
   EXPECT_EQ(
      setRefused( "/timeSync", "state", "locked" ),
      "state of /timeSync is not set: the PTP daemon at /run/ptp4l says what it is; an agent that is started without "
      "--ptp can be told" );
   EXPECT_EQ( live.timeSync(), 1u );
   EXPECT_EQ( set( "/redundancy", "mode", "active" ), Json( { { "value", "active" } } ) );
}

TEST_F( AgentRequestsTest, WhatIsHeldBackIsSaid ) {
   set( "/gpo/ptp1Reset", "ham", "none" );
   set( "/gpo/ptp1Reset", "ham", "/ham" );
   EXPECT_EQ(
      set( "/timeSync", "state", 2 ),
      Json(
         { { "value", "enabling" },
           { "heldBack", "ptp1 locks, and would be programmed again: the machines are told enabling" } } ) );
}

TEST_F( AgentRequestsTest, WhatAGateWouldEndTheProcessForIsRefused ) {
   set( "/redundancy", "mode", "active" );
   set( "/gpo/ptp1Reset", "ham", "none" );
   EXPECT_EQ(
      setRefused( "/timeSync", "state", "locked" ),
      "state of /timeSync is not set: the supervisor is active, and ptp1 is not ready: at time sync locked its gate "
      "stops the process; set it when the chip is ready" );
   set( "/gpo/ptp1Reset", "ham", "/ham" );
   live.run( 10 );
   set( "/timeSync", "state", "locked" );
   EXPECT_THAT(
      callRefused( "/machine/osc0", "handleEnvironmentChanges" ),
      StartsWith( "handleEnvironmentChanges of /machine/osc0 is not called: the supervisor is active" ) );
   set( "/redundancy", "mode", "standby" );
   set( "/hardware/max24305/status/ptp0", "state", "failed" );
   EXPECT_THAT(
      setRefused( "/redundancy", "mode", "active" ), HasSubstr( "time sync is locked, and ptp0 is not ready" ) );
   set( "/timeSync", "state", "disabled" );
   EXPECT_THAT(
      callRefused( "/machine/ptp0", "doProgramMax24305" ),
      HasSubstr( "time sync is disabled, for which doProgramMax24305 stops the process" ) );
}

// Each of these would stop the process, now or at the next bring-up.
TEST_F( AgentRequestsTest, WhatWouldBreakTheCardIsRefused ) {
   std::string const wired = "it is part of how the card is wired";
   EXPECT_THAT( setRefused( "/ham", "hamImpl", "none" ), HasSubstr( wired ) );
   EXPECT_THAT( setRefused( "/machine/ptp0", "timeSyncStatus", "none" ), HasSubstr( wired ) );
   EXPECT_THAT( setRefused( "/machine/osc0", "hamImpl", "none" ), HasSubstr( wired ) );
   EXPECT_THAT( setRefused( "/hamImpl", "size", 0 ), HasSubstr( "the handle says so of itself" ) );
   EXPECT_THAT(
      setRefused( "/gpo/ptp0Reset", "bit", 32 ), HasSubstr( "the card description says where an output is" ) );
   EXPECT_THAT(
      setRefused( "/gpo/ptp0Reset", "offset", 3 ), HasSubstr( "the card description says where an output is" ) );
   EXPECT_THAT(
      setRefused( "/hardware/max24305/status/ptp0", "state", "locking" ),
      HasSubstr( "a chip locks when its machine has programmed it" ) );
   Json const unknown{
      { "do", "set" },
      { "entity", "/hardware/max24305/config/ptp0" },
      { "attribute", "opsToDo" },
      { "key", 1 },
      { "value", "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'unknownOp', 'address': 0, 'value': 0})" } };
   EXPECT_THAT( refusal( unknown.dump() ), HasSubstr( "stops the process when it is executed" ) );
   EXPECT_THAT(
      callRefused(
         "/machine/ptp0", "kivSpiIntfIs", { { "base", 0 }, { "hamImpl", "none" }, { "resetSupported", false } } ),
      HasSubstr( "it wires the machine" ) );
   live.run( 10 );
   EXPECT_EQ( live.attempts["ptp0"], 1 );
}

TEST_F( AgentRequestsTest, AnOperationIsCalledByName ) {
   EXPECT_EQ( call( "/machine/ptp0/kivSpiIntf", "doRead", { { "address", "0x30" } } ), Json( { { "result", 94 } } ) );
   EXPECT_EQ(
      call( "/machine/ptp0/kivSpiIntf", "doWrite", { { "address", 16 }, { "value", 61 } } ),
      Json( { { "result", true } } ) );
   EXPECT_EQ( call( "/machine/ptp0/kivSpiIntf", "doRead", { { "address", 16 } } ), Json( { { "result", 61 } } ) );
   set( "/hardware/max24305/status/ptp0", "state", "failed" );
   EXPECT_EQ( call( "/machine/ptp0", "doProgramMax24305" ), Json::object() );
   EXPECT_EQ( live.attempts["ptp0"], 2 );
   EXPECT_EQ( call( "/machine/ptp0", "handleSwitchoverStage", { { "stage", "7" } } ), Json::object() ) << "a text";
}

TEST_F( AgentRequestsTest, MistakesAreTold ) {
   EXPECT_EQ( setRefused( "/timesync", "state", 1 ), "there is no entity \"/timesync\"; did you mean \"/timeSync\"?" );
   EXPECT_EQ(
      setRefused( "/timeSync", "stat", 1 ),
      "PtpTimeSync::Status: there is no attribute \"stat\"; did you mean \"state\"? Expected \"name\" or \"state\"" );
   EXPECT_EQ( setRefused( "/timeSync", "name", "x" ), "name of /timeSync is not set: it cannot be changed" );
   EXPECT_EQ(
      setRefused( "/timeSync", "state", "lockd" ),
      "state of /timeSync is not set: PtpTimeSync::OperationalState has no enumerator 'lockd'; it has disabled, "
      "enabling, acquiring, locked, holdover" );
   EXPECT_EQ(
      callRefused( "/machine/ptp0/kivSpiIntf", "doRead" ),
      "doRead of /machine/ptp0/kivSpiIntf is not called: 'doRead' needs the argument 'address'" );
   EXPECT_EQ(
      callRefused( "/machine/ptp0/kivSpiIntf", "doRead", { { "adress", 1 } } ),
      "doRead of /machine/ptp0/kivSpiIntf is not called: there is no argument \"adress\"; did you mean \"address\"? "
      "Expected \"address\"" );
   EXPECT_EQ(
      callRefused( "/machine/ptp0/kivSpiIntf", "doRead", { { "address", "0x10000" } } ),
      "doRead of /machine/ptp0/kivSpiIntf is not called: expected a number up to 65535, found 65536" );
   EXPECT_THAT( callRefused( "/timeSync", "state" ), HasSubstr( "there is no operation \"state\"; expected nothing" ) );
   EXPECT_EQ(
      refusal( R"({"do":"sett"})" ), "there is no request \"sett\"; did you mean \"set\"? Expected \"audit\", "
                                     "\"call\", \"peek\", \"retry\" or \"set\"" );
   EXPECT_EQ( refusal( "{}" ), "the request has no text \"do\"" );
   EXPECT_EQ( refusal( R"({"do":"set","entity":7})" ), "the request has no text \"entity\"" );
}

TEST_F( AgentRequestsTest, RegistersAreRead ) {
   Json const registers =
      answer( R"({"do":"peek","registers":["ptp0:0x10","ptp0.max24305Status"]})" ).at( "registers" );
   ASSERT_EQ( registers.size(), 2u );
   EXPECT_EQ( registers[0].at( "value" ), 60 );
   EXPECT_EQ( registers[1].at( "value" ), 10'000'000 );
   EXPECT_THAT( refusal( R"({"do":"peek","registers":["ptp9:1"]})" ), HasSubstr( "ptp9" ) );
   Json const audit = answer( R"({"do":"audit"})" );
   EXPECT_EQ( audit.at( "chips" ).size(), 3u );
   EXPECT_EQ( audit.at( "chips" )[1].at( "well" ), true );
   EXPECT_EQ( audit.at( "lines" )[0], "osc0" );
}

TEST_F( AgentRequestsTest, OtherKindsCanBeAdded ) {
   requests.kindAdd( "role", []( Json const & request ) { return Json{ { "was", request.at( "role" ) } }; } );
   EXPECT_EQ( answer( R"({"do":"role","role":"active"})" ), Json( { { "was", "active" } } ) );
}

// What a retry does to the outputs and states of each chip.
struct Judge final : Sim::CardListener {
   void onGpo( U64, std::string_view name, bool active ) override {
      if ( active ) ++resets[std::string( name )];
   }
   void onState( U64, Sim::StateChange const & change ) override {
      states[std::string( change.entity.substr( change.entity.rfind( '/' ) + 1 ) )] += " " + std::string( change.text );
   }
   std::map<std::string, int> resets;
   std::map<std::string, std::string> states;
};

class RetryTest : public AgentRequestsTest {
 protected:
   RetryTest() { live.world.events().listenerAdd( judge ); }
   Json retry( std::string const & chip, bool yes = true ) {
      return requests.answer( { { "do", "retry" }, { "chip", chip }, { "yes", yes } } );
   }
   std::string retryRefused( std::string const & chip, bool yes = true ) {
      std::string const text = refusal( Json{ { "do", "retry" }, { "chip", chip }, { "yes", yes } }.dump() );
      EXPECT_TRUE( judge.resets.empty() );
      EXPECT_TRUE( judge.states.empty() );
      return text;
   }
   Judge judge;
};

TEST_F( RetryTest, AMax24305IsBroughtUpAgainAndNoOtherChip ) {
   EXPECT_EQ( retry( "ptp0" ), Json( { { "chip", "ptp0" }, { "state", "locking" } } ) );
   live.run( 10 );
   EXPECT_TRUE( live.card().allReady() );
   EXPECT_EQ( judge.resets, ( std::map<std::string, int>{ { "ptp0Reset", 1 } } ) );
   // Its clock has the same name.
   EXPECT_EQ(
      judge.states,
      ( std::map<std::string, std::string>{ { "ptp0", " uninitialized notReady locking ready ready" } } ) );
   EXPECT_EQ( live.attempts["ptp0"], 2 );
   EXPECT_EQ( live.attempts["ptp1"], 1 );
   EXPECT_TRUE( live.card().max24305ConfigDir()->max24305( "ptp0" )->opsToDoValid() );
}

TEST_F( RetryTest, ATolvaneIsBroughtUpAgainWithWhatItFeeds ) {
   EXPECT_EQ( retry( "osc0" ), Json( { { "chip", "osc0" }, { "state", "ready" } } ) );
   live.run( 10 );
   EXPECT_TRUE( live.card().allReady() );
   EXPECT_EQ( judge.resets, ( std::map<std::string, int>{ { "osc0Reset", 1 }, { "ptp0Reset", 1 } } ) );
   EXPECT_EQ( judge.states["osc0"], " uninitialized ready" );
   EXPECT_FALSE( judge.states.contains( "ptp1" ) );
   EXPECT_EQ( live.card().resetGpoOf( "osc0" )->ham(), live.card().ham() );
}

TEST_F( RetryTest, AChipThatHasFailedNeedsNoYes ) {
   live.hardware.faultBegin( "ptp1", { .kind = Sim::FaultKind::neverLock_ } );
   retry( "ptp1" );
   live.run( 120 );
   ASSERT_EQ( live.chip( "ptp1" )->state(), Hardware::Max24305::failed_ );
   EXPECT_EQ( retry( "ptp1", false ).at( "state" ), "locking" );
   EXPECT_EQ( live.attempts["ptp1"], 3 );
}

TEST_F( RetryTest, WhatIsReadyIsNotStoppedWithoutYes ) {
   EXPECT_EQ(
      retryRefused( "ptp0", false ),
      "ptp0 is not brought up again: what is ready stops until it is brought up as well: ptp0; expected --yes" );
   EXPECT_THAT( retryRefused( "osc0", false ), HasSubstr( "as well: osc0, ptp0; expected --yes" ) );
   EXPECT_EQ( refusal( R"({"do":"retry"})" ), "the request has no text \"chip\"" );
   EXPECT_THAT( retryRefused( "ptp2" ), HasSubstr( "there is no chip \"ptp2\"; did you mean \"ptp" ) );
}

TEST_F( RetryTest, WhereTheGateWouldEndTheProcessItIsRefused ) {
   set( "/redundancy", "mode", "active" );
   set( "/timeSync", "state", "locked" );
   EXPECT_EQ(
      retryRefused( "ptp1" ),
      "ptp1 is not brought up again: the supervisor is active and time sync is locked: the gate of ptp1 stops the "
      "process before it is ready again; set time sync to enabling first" );
   live.input.sourceIs( "the PTP daemon at /run/ptp4l" );
   EXPECT_THAT(
      retryRefused( "ptp1" ), HasSubstr( "again; an agent that is started without --ptp can be told enabling first" ) );
   live.input.sourceIs( "" );
   EXPECT_THAT( retryRefused( "osc0" ), HasSubstr( ": the gate of ptp0 stops the process" ) );
   set( "/timeSync", "state", "enabling" );
   EXPECT_EQ( retry( "osc0" ).at( "state" ), "ready" );
   live.input.said( PtpTimeSync::locked_ );
   EXPECT_EQ( live.timeSync(), PtpTimeSync::enabling_ ) << "held back";
   live.run( 10 );
   EXPECT_EQ( live.timeSync(), PtpTimeSync::locked_ );
   EXPECT_TRUE( live.card().allReady() );
}

TEST_F( RetryTest, WhatItsInputsDoNotAllowIsRefused ) {
   set( "/hardware/max24305/config/ptp0", "opsToDoValid", false );
   set( "/gpo/osc0Reset", "ham", "none" );
   judge.resets.clear();
   judge.states.clear();
   EXPECT_THAT(
      retryRefused( "ptp0" ), HasSubstr( "its sequence is not handed over; set opsToDoValid of /hardware/" ) );
   EXPECT_THAT( retryRefused( "osc0" ), HasSubstr( "its reset output has no handle; set ham of /gpo/osc0Reset" ) );
}

TEST_F( RetryTest, WithTheLibrarysSimulationAnOutputBringsNothingUp ) {
   ::setenv( "SIMULATION_VMID", "1", 1 );
   std::string const text = retryRefused( "osc0" );
   ::unsetenv( "SIMULATION_VMID" );
   EXPECT_THAT( text, HasSubstr( "with SIMULATION_VMID its machine does not look at its output" ) );
}

// One that was adopted has no machine until its output's handle goes.
TEST( Retry, AnAdoptedTolvaneGetsItsMachine ) {
   auto const described = Input::cardOf( Input::wholeCard );
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::SimulatedCard hardware( clock, simulatedParameters( described ) );
   VirtualWorld world(
      clock, described, {},
      [&]( Sim::CardEvents & events ) {
         return Vor::Ptr<Fru::HamImpl>( new Sim::SimulatedHam( "hamImpl", hardware, events ) );
      },
      &hardware, { "osc0", "ptp0", "ptp1" } );
   Judge judge;
   world.events().listenerAdd( judge );
   TimeSyncInput input( world.card(), agentStatusFactory( "agent" ) );
   input.said( PtpTimeSync::enabling_ );
   while ( world.machines().makeNext() ) {
   }
   AgentRequests requests( world.card(), input, world.machines(), world.events() );
   ASSERT_TRUE( judge.resets.empty() );
   Json const request{ { "do", "retry" }, { "chip", "osc0" }, { "yes", true } };
   EXPECT_EQ( requests.answer( request ).at( "state" ), "ready" );
   EXPECT_EQ( judge.resets, ( std::map<std::string, int>{ { "osc0Reset", 1 }, { "ptp0Reset", 1 } } ) );
   EXPECT_EQ( judge.states["osc0"], " uninitialized ready" );
   EXPECT_FALSE( judge.states.contains( "ptp1" ) );
   EXPECT_EQ( requests.answer( request ).at( "state" ), "ready" );
   EXPECT_EQ( judge.resets["osc0Reset"], 2 ) << "the machine that was made";
}

}   // namespace
}   // namespace Host::AgentRequestsTests
