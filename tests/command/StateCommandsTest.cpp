// The commands on an agent's state, on a log and a socket that the test serves.
#include "command/StateCommands.h"

#include "framework/LogWriter.h"
#include "service/AgentRequests.h"
#include "service/ControlSocket.h"
#include "service/UsualPlaces.h"
#include "service/WallTime.h"
#include "state/OpenLog.h"
#include "tests/command/Process.h"
#include "tests/input/Files.h"
#include "tests/service/LiveCard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <future>

namespace Host::StateCommandsTests {
namespace {

using Input::Json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class StateCommandsTest : public testing::Test {
 protected:
   StateCommandsTest() {
      agent->socketIs( control.path() );
      agent->roleIs( "single" );
      agent->generationIs( 4 );
      agent->processIs( 4711 );
      chips->parentIs( agent.ptr() );
      progress->parentIs( chips.ptr() );
      live.input.said( PtpTimeSync::enabling_ );
      live.makeMachines();
      live.run( 10 );
      Card const & card = live.card();
      Vor::Entity * const hardware = card.max24305ConfigDir()->parent()->parent();
      Vor::Ptr<Vor::Entity const> const places[] = {
         hardware, card.tolvaneConfigDir()->parent(), card.max24305ConfigDir()->parent(),
         card.clockStatusOf( "ptp0" )->parent()->parent(), card.clockStatusOf( "ptp0" )->parent() };
      for ( auto const & place : places ) writer.entityAdd( place );
      for ( Vor::Ptr<Vor::Entity const> const & entity : std::initializer_list<Vor::Ptr<Vor::Entity const>>{
               card.hamImpl(), card.ham(), card.timeSync(), card.redundancy(), card.gpo( "ptp0Reset" ),
               card.tolvaneConfigDir(), card.tolvaneStatusDir(), card.max24305ConfigDir(), card.max24305StatusDir(),
               card.clockStatusOf( "ptp0" ), card.clockStatusOf( "ptp1" ), agent, chips, progress } )
         writer.entityAdd( entity );
      publish();
   }

   void publish() {
      if ( number > 0 && writer.turn().empty() ) return;
      sink->append( { { 4, ++number }, number == 1, writer.turn() } );
      writer.turnDone();
   }
   // The command, while the loop turns.
   Ran ranOn( std::vector<std::string> words ) {
      for ( char const * word : { "--state", state.c_str() } ) words.emplace_back( word );
      return ranOnly( words );
   }
   Ran ranOnly( std::vector<std::string> const & words ) {
      auto result = std::async( std::launch::async, [&] { return run( words ); } );
      while ( result.wait_for( std::chrono::seconds( 0 ) ) != std::future_status::ready ) {
         pollSet.wait( 0.002 );
         publish();
      }
      return result.get();
   }
   std::string outputOf( std::vector<std::string> const & words ) {
      Ran const ran = ranOn( words );
      EXPECT_EQ( ran.errors, "" );
      EXPECT_EQ( ran.result, 0 );
      return ran.output;
   }
   std::string errorOf( std::vector<std::string> const & words, int code ) {
      Ran const ran = ranOn( words );
      EXPECT_EQ( ran.result, code );
      EXPECT_EQ( ran.output, "" );
      return ran.errors;
   }

   Input::Folder const folder;
   std::string const state = folder.path( "agent.db" );
   LiveCard live;
   PollSet pollSet;
   AgentRequests requests{ live.card(), live.input, live.world.machines(), live.world.events() };
   ControlSocket control{
      folder.path( "run/socket" ), pollSet, [this]( Json const & request ) { return requests.answer( request ); } };
   Vor::Ptr<AgentStatus> const agent = live.status;
   Vor::Ptr<Vor::Entity> const chips = Vor::entityFactory( "chip" );
   Vor::Ptr<ChipProgress> const progress = chipProgressFactory( "ptp0" );
   Vor::LogWriter writer;
   std::unique_ptr<Vor::TurnSink> const sink = State::openSink( state );
   U64 number = 0;
};

TEST_F( StateCommandsTest, InspectShowsTheTree ) {
   std::string const text = outputOf( { "inspect" } );
   EXPECT_THAT(
      text, HasSubstr( "\n/hardware/max24305/status/ptp0  Hardware::Max24305::Status\n"
                       "   name   ptp0\n"
                       "   genId  7\n"
                       "   role   timeSync\n"
                       "   state  ready\n" ) );
   EXPECT_THAT( text, HasSubstr( "\n/hamImpl  Fru::HamImpl\n   name                       hamImpl\n" ) );
   EXPECT_THAT( text, HasSubstr( "   configOffset         256 (0x100)\n" ) );
   EXPECT_THAT( text, HasSubstr( "   ham         /ham\n" ) ) << "of the output";
   EXPECT_THAT( text, HasSubstr( "   heldBack        \"\"\n" ) );
   EXPECT_THAT(
      text, HasSubstr( "opsToDo[1]           Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'write', 'address': "
                       "16, 'value': 60})\n" ) );
}

TEST_F( StateCommandsTest, InspectShowsOneEntityAndOneAttribute ) {
   EXPECT_EQ(
      outputOf( { "inspect", "/timeSync" } ),
      "/timeSync  PtpTimeSync::Status\n   name   timeSync\n   state  enabling\n" );
   EXPECT_EQ( outputOf( { "inspect", "/timeSync", "state" } ), "enabling\n" );
   EXPECT_EQ( outputOf( { "inspect", "/hardware/max24305/config/ptp0", "configOffset" } ), "256 (0x100)\n" );
   live.card().redundancy()->switchoverStageIs( "DovraWritable", true );
   publish();
   EXPECT_EQ(
      outputOf( { "inspect", "/redundancy", "switchoverStage" } ), "   switchoverStage[DovraWritable]  true\n" );
}

TEST_F( StateCommandsTest, InspectTellsPrograms ) {
   EXPECT_EQ(
      Json::parse( outputOf( { "inspect", "/gpo/ptp0Reset", "--json" } ) ),
      Json::parse( R"({ "entity": "/gpo/ptp0Reset", "type": "Hardware::SetClearGpo", "attributes": {
         "name": "ptp0Reset", "activeType": "activeLow", "ham": "/ham", "offset": 8192, "bit": 1 } })" ) );
   EXPECT_EQ(
      Json::parse( outputOf( { "inspect", "/timeSync", "state", "--json" } ) ), Json( { { "state", "enabling" } } ) );
   Json const all = Json::parse( outputOf( { "inspect", "--json" } ) );
   EXPECT_EQ( all.at( "position" ), "4-1" );
   EXPECT_GT( all.at( "entities" ).size(), 20u );
}

TEST_F( StateCommandsTest, MistakesNameTheNearest ) {
   EXPECT_EQ(
      errorOf( { "inspect", "/timesync" }, 2 ),
      "clockpath: there is no entity \"/timesync\"; did you mean \"/timeSync\"?\n" );
   EXPECT_EQ(
      errorOf( { "inspect", "/timeSync", "stat" }, 2 ),
      "clockpath: PtpTimeSync::Status: there is no attribute \"stat\"; did you mean \"state\"? Expected \"name\" or "
      "\"state\"\n" );
   EXPECT_EQ(
      run( { "inspect" } ).errors,
      "clockpath: expected --state WHERE, or --card CARD for the usual place of that card's agent\n" );
   EXPECT_EQ(
      errorOf( { "inspect", "--card", "card.json" }, 2 ),
      "clockpath: --state and --card each name a state; expected one of them\n" );
   EXPECT_EQ(
      errorOf( { "call", "/machine/ptp0/kivSpiIntf", "doRead", "7" }, 2 ),
      "clockpath: expected NAME=VALUE, found \"7\"\n" );
   EXPECT_EQ( run( { "inspect", "--state", folder.path( "none.db" ) } ).result, 1 );
   EXPECT_EQ( run( { "set", "/timeSync", "state", "--state", state } ).result, 2 );
}

TEST_F( StateCommandsTest, SetAsksTheAgent ) {
   EXPECT_EQ( outputOf( { "set", "/timeSync", "state", "locked" } ), "locked\n" );
   EXPECT_EQ( live.timeSync(), 3u );
   EXPECT_EQ( outputOf( { "inspect", "/timeSync", "state" } ), "locked\n" );
   EXPECT_EQ( outputOf( { "set", "/redundancy", "switchoverStage", "DovraWritable", "true" } ), "true\n" );
   EXPECT_EQ( outputOf( { "set", "/gpo/ptp1Reset", "ham", "none" } ), "none\n" );
   EXPECT_EQ(
      errorOf( { "set", "/redundancy", "mode", "active" }, 2 ),
      "clockpath: mode of /redundancy is not set: time sync is locked, and ptp1 is not ready: the gate of an active "
      "supervisor stops the process; set it when the chip is ready\n" );
   outputOf( { "set", "/gpo/ptp1Reset", "ham", "/ham" } );
   EXPECT_EQ(
      Json::parse( outputOf( { "set", "/timeSync", "state", "4", "--json" } ) ),
      Json(
         { { "value", "locked" },
           { "heldBack", "ptp1 locks, and would be programmed again: the machines are told locked" } } ) );
   EXPECT_EQ(
      outputOf( { "set", "/timeSync", "state", "1" } ),
      "locked\nheld back: ptp1 locks, and would be programmed again: the machines are told locked\n" );
}

TEST_F( StateCommandsTest, CallAsksTheAgent ) {
   EXPECT_EQ( outputOf( { "call", "/machine/ptp0/kivSpiIntf", "doRead", "address=0x30" } ), "94 (0x5e)\n" );
   EXPECT_EQ( outputOf( { "call", "/machine/ptp0/kivSpiIntf", "doWrite", "address=16", "value=61" } ), "true\n" );
   EXPECT_EQ( outputOf( { "call", "/machine/ptp0", "handleSwitchoverStage", "stage=x" } ), "" );
   EXPECT_EQ(
      Json::parse( outputOf( { "call", "/machine/ptp0/kivSpiIntf", "doRead", "address=16", "--json" } ) ),
      Json( { { "result", 61 } } ) );
   EXPECT_EQ(
      errorOf( { "call", "/machine/ptp0/kivSpiIntf", "doRead" }, 2 ),
      "clockpath: doRead of /machine/ptp0/kivSpiIntf is not called: 'doRead' needs the argument 'address'\n" );
}

TEST_F( StateCommandsTest, WhoAsksIsToldWhatHeWaitsFor ) {
   control.busyWith( "ptp1 is being brought up" );
   Process process( { "set", "/timeSync", "state", "locked", "--state", state } );
   auto result = std::async( std::launch::async, [&] { return process.result(); } );
   // The loop turns when he has waited for a while.
   EXPECT_EQ( result.wait_for( std::chrono::milliseconds( 200 ) ), std::future_status::timeout );
   control.busyWith( "" );
   while ( result.wait_for( std::chrono::seconds( 0 ) ) != std::future_status::ready ) pollSet.wait( 0.002 );
   EXPECT_EQ( result.get(), 0 );
   EXPECT_EQ( process.errors(), "clockpath: waiting: ptp1 is being brought up\n" );
   EXPECT_EQ( process.output(), "locked\n" );
}

TEST_F( StateCommandsTest, WhereNoAgentAnswersThatIsSaid ) {
   agent->socketIs( folder.path( "run/none" ) );
   publish();
   EXPECT_EQ(
      errorOf( { "set", "/timeSync", "state", "1" }, 1 ),
      "clockpath: no agent answers at " + folder.path( "run/none" ) + ": No such file or directory\n" );
   agent->socketIs( "" );
   publish();
   EXPECT_EQ(
      errorOf( { "set", "/timeSync", "state", "1" }, 1 ), "clockpath: no agent has a socket for requests there\n" );
}

TEST_F( StateCommandsTest, WatchTellsChangesAsTheyCome ) {
   Process process( { "watch", "--state", state } );
   Process named( { "watch", "/timeSync", "state", "--json", "--state", state } );
   // Until it has come to the end of the log, there is nothing to see of it.
   auto const untilSeen = [&]( Process & one, std::string const & text ) {
      auto seen = std::async( std::launch::async, [&] { return one.outputHas( text ); } );
      for ( U32 count = 0; seen.wait_for( std::chrono::milliseconds( 5 ) ) != std::future_status::ready; ++count ) {
         agent->activityIs( Vor::format( "%u", count ) );
         live.card().timeSync()->stateIs( count % 2 == 0 ? PtpTimeSync::acquiring_ : PtpTimeSync::locked_ );
         publish();
      }
      return seen.get();
   };
   EXPECT_TRUE( untilSeen( process, "  /agent  activity  " ) );
   EXPECT_TRUE( untilSeen( named, R"("entity":"/timeSync","attribute":"state","value":)" ) );
   live.card().redundancy()->switchoverStageIs( "Begun", true );
   publish();
   live.card().redundancy()->switchoverStageDel( "Begun" );
   publish();
   EXPECT_TRUE( process.outputHas( "  /redundancy  switchoverStage[Begun]  true\n" ) );
   EXPECT_TRUE( process.outputHas( "  /redundancy  switchoverStage[Begun]  erased\n" ) );
   Vor::Ptr<ChipProgress> const other = chipProgressFactory( "other" );
   writer.entityAdd( other );
   publish();
   other->attemptIs( 12 );
   publish();
   EXPECT_TRUE( process.outputHas( "  /other  came, a Host::ChipProgress\n" ) );
   EXPECT_TRUE( process.outputHas( "  /other  attempt  12 (0xc)\n" ) );
   writer.entityDel( other );
   publish();
   EXPECT_TRUE( process.outputHas( "  /other  has gone\n" ) );
   // A writer that begins again.
   live.card().timeSync()->stateIs( PtpTimeSync::holdover_ );
   Vor::LogBatch whole;
   writer.whole( whole );
   sink->append( { { 5, 1 }, true, whole } );
   EXPECT_TRUE( process.outputHas( "  gap: what came before 5-1 was not seen; only what differs is told\n" ) );
   EXPECT_TRUE( process.outputHas( "  /timeSync  state  holdover\n" ) );
   EXPECT_TRUE( named.outputHas( R"("value":"holdover")" ) );
   process.signal( SIGTERM );
   named.signal( SIGTERM );
   EXPECT_EQ( process.result(), -SIGTERM );
   named.result();
   EXPECT_THAT( named.output(), testing::Not( HasSubstr( "/agent" ) ) );
}

TEST_F( StateCommandsTest, StatusIsTheEverydayView ) {
   progress->attemptIs( 1 );
   progress->attemptsIs( 10 );
   progress->operationIs( 3 );
   progress->operationsIs( 3 );
   progress->pollIs( 4 );
   progress->pollsIs( 101 );
   progress->gateIs( "hardware", "present" );
   progress->gateIs( "osc0", "not met: failed" );
   progress->causeIs( "osc0 has failed" );
   U64 const now = static_cast<U64>(
      std::chrono::duration_cast<std::chrono::milliseconds>( std::chrono::system_clock::now().time_since_epoch() )
         .count() );
   progress->stateSinceMsIs( now - 3'725'000 );
   publish();
   EXPECT_EQ(
      outputOf( { "status" } ), "agent      single, generation 4, process 4711\n"
                                "time sync  enabling\n"
                                "mode       standby\n"
                                "osc0  ready\n"
                                "ptp0  ready for 1 h 02 min, clock ready\n"
                                "   attempt     1 of 10, operation 3 of 3\n"
                                "   lock poll   4 of 101\n"
                                "   gate        hardware present, osc0 not met: failed\n"
                                "   cause       osc0 has failed\n"
                                "ptp1  ready, clock ready\n" );
   live.card().resetGpoOf( "ptp1" )->hamIs( nullptr );
   live.input.said( PtpTimeSync::locked_ );
   live.input.modeIs( Redundancy::active_ );
   agent->activityIs( "ptp1 is being brought up" );
   publish();
   Ran const ran = ranOn( { "status" } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_THAT(
      ran.output, StartsWith( "agent      single, generation 4, process 4711: ptp1 is being brought up\n"
                              "time sync  enabling, the source says locked\n"
                              "mode       active\n"
                              "held back  the supervisor is active, and ptp1 is not ready: the machines are told "
                              "enabling\n" ) );
   EXPECT_THAT( ran.output, EndsWith( "\nptp1  uninitialized, clock notReady\n" ) );
}

TEST_F( StateCommandsTest, StatusTellsPrograms ) {
   progress->attemptIs( 2 );
   progress->attemptsIs( 10 );
   publish();
   Json const told = Json::parse( outputOf( { "status", "--json" } ) );
   EXPECT_EQ( told.at( "ready" ), true );
   EXPECT_EQ( told.at( "absent" ), "" );
   EXPECT_EQ( told.at( "agent" ).at( "process" ), 4711 );
   EXPECT_EQ( told.at( "timeSync" ), Json( { { "told", "enabling" }, { "source", "enabling" }, { "heldBack", "" } } ) );
   ASSERT_EQ( told.at( "chips" ).size(), 3u );
   Json const & chip = told.at( "chips" )[1];
   EXPECT_EQ( chip.at( "chip" ), "ptp0" );
   EXPECT_EQ( chip.at( "ageMs" ), nullptr );
   EXPECT_EQ( chip.at( "attempt" ), Json( { { "number", 2 }, { "of", 10 } } ) );
}

TEST_F( StateCommandsTest, StatusTellsThatNobodyLooksAfterTheCard ) {
   agent->roleIs( "stopped" );
   publish();
   Ran const stopped = ranOn( { "status" } );
   EXPECT_EQ( stopped.result, 1 );
   EXPECT_THAT( stopped.output, StartsWith( "the agent has stopped: this is what it told last\n" ) );
   agent->roleIs( "single" );
   agent->socketIs( folder.file( "run/dead", "" ) );
   publish();
   Ran const killed = ranOn( { "status" } );
   EXPECT_EQ( killed.result, 1 );
   EXPECT_THAT( killed.output, StartsWith( "the agent does not answer: this is what it told last\n" ) );
}

TEST_F( StateCommandsTest, StatusTellsThatAReadyChipIsNotWell ) {
   progress->watchedIs( "lock: 0x01: APLL1 locked, APLL2 not locked" );
   progress->watchedSinceMsIs( wallMs() - 42'000 );
   publish();
   Ran const lost = ranOn( { "status" } );
   EXPECT_EQ( lost.result, 1 );
   EXPECT_THAT(
      lost.output,
      HasSubstr( "\nptp0  ready, clock ready\n   not well    lock: 0x01: APLL1 locked, APLL2 not locked, for 42." ) );
   Json const told = Json::parse( ranOn( { "status", "--json" } ).output );
   EXPECT_EQ( told.at( "ready" ), false );
   EXPECT_EQ( told.at( "chips" )[1].at( "ready" ), true );
   EXPECT_EQ( told.at( "chips" )[1].at( "watched" ), "lock: 0x01: APLL1 locked, APLL2 not locked" );
   EXPECT_EQ( told.at( "chips" )[1].at( "watchedSinceMs" ), progress->watchedSinceMs() );
   progress->watchedIs( "" );
   publish();
   EXPECT_EQ( ranOn( { "status" } ).result, 0 );
}

TEST_F( StateCommandsTest, RetryAsksTheAgent ) {
   EXPECT_EQ(
      errorOf( { "retry", "ptp1" }, 2 ),
      "clockpath: ptp1 is not brought up again: what is ready stops until it is brought up as well: ptp1; expected "
      "--yes\n" );
   EXPECT_EQ( outputOf( { "retry", "ptp1", "--yes" } ), "locking\n" );
   EXPECT_EQ( live.attempts["ptp1"], 2 );
   EXPECT_THAT( errorOf( { "retry", "ptp3" }, 2 ), HasSubstr( "there is no chip \"ptp3\"; did you mean" ) );
   Ran const bySocket = ranOnly( { "retry", "ptp1", "--socket", control.path(), "--json" } );
   EXPECT_EQ( bySocket.result, 0 ) << bySocket.errors;
   EXPECT_EQ( Json::parse( bySocket.output ), Json( { { "chip", "ptp1" }, { "state", "locking" } } ) );
   live.input.said( PtpTimeSync::disabled_ );
   Ran const waits = ranOn( { "retry", "ptp1" } );
   EXPECT_EQ( waits.result, 1 );
   EXPECT_EQ( waits.output, "uninitialized\n" );
}

// Of the state alone, so that it comes as fast during a bring-up.
TEST_F( StateCommandsTest, StatusAsksNobody ) {
   control.busyWith( "ptp0 is being brought up" );
   auto result = std::async( std::launch::async, [&] { return run( { "status", "--state", state } ); } );
   EXPECT_EQ( result.get().result, 0 ) << "although the loop does not turn";
}

TEST_F( StateCommandsTest, TypesNeedsNoState ) {
   EXPECT_EQ(
      run( { "types", "PtpTimeSync::Status" } ).output, "PtpTimeSync::Status  has a factory\n"
                                                        "   name  Vor::Name  constructor parameter\n"
                                                        "   state  PtpTimeSync::OperationalState  changeable\n" );
   std::string const all = run( { "types" } ).output;
   EXPECT_THAT( all, HasSubstr( "\n   doWrite( U16 address, U8 value )  bool  operation\n" ) );
   EXPECT_THAT( all, HasSubstr( "\n   switchoverStage  bool by Vor::String  collection\n" ) );
   EXPECT_THAT( all, HasSubstr( "\nHardware::Max24305WithTolvaneInputSm  has a factory\n" ) );
   Json const modules = Json::parse( run( { "types", "Hardware::KivSpiInterface", "--json" } ).output ).at( "modules" );
   ASSERT_EQ( modules.size(), 1u );
   EXPECT_EQ( modules[0].at( "name" ), "Max24305Sm" );
   Json const & type = modules[0].at( "types" )[0];
   EXPECT_EQ( type.at( "factory" ), true );
   EXPECT_EQ( type.at( "attributes" )[0].at( "kind" ), "constructor parameter" );
   EXPECT_EQ( type.at( "operations" )[0].at( "name" ), "doRead" );
   EXPECT_EQ(
      type.at( "operations" )[0].at( "arguments" ), Json::array( { { { "name", "address" }, { "type", "U16" } } } ) );
   EXPECT_EQ( run( { "types", "KivSpi" } ).result, 2 );
}

TEST_F( StateCommandsTest, PeekAndAuditOfACardInUseGoThroughItsAgent ) {
   std::string const card = folder.file( "card.json", Input::wholeCard );
   ControlSocket const usual( usualSocketPath( Input::readCard( card ) ), pollSet, [this]( Json const & request ) {
      return requests.answer( request );
   } );
   // What only this card holds: a simulated one of the command's own would have 60 there.
   requests.answer( Json::parse( R"({ "do": "call", "object": "/machine/ptp0/kivSpiIntf", "operation": "doWrite",
                                      "arguments": { "address": 16, "value": 52 } })" ) );
   Ran const peeked = ranOnly( { "peek", card, "ptp0:0x10" } );
   EXPECT_EQ( peeked.result, 0 );
   EXPECT_EQ(
      peeked.output, "Register   Address          Value  Fields\n"
                     "ptp0:0x10  register 0x0010  0x34\n" );
   Json const registers = Json::parse( ranOnly( { "peek", card, "ptp0:0x10", "--json" } ).output ).at( "registers" );
   EXPECT_EQ(
      registers, Json::parse( R"([ { "register": "ptp0:0x10", "address": 16, "chip": "ptp0", "value": 52, "text": "",
                                     "done": true } ])" ) );
   Ran const audited = ranOnly( { "audit", card } );
   EXPECT_EQ( audited.result, 1 );
   EXPECT_THAT( audited.output, HasSubstr( "      0x0010  expected 0x3c, found 0x34, bit 3: operation 3 (" ) );
   EXPECT_THAT( audited.output, EndsWith( "\n1 of 3 chips not as expected.\n" ) );
   EXPECT_EQ( ranOnly( { "peek", card, "ptp9:1" } ).result, 2 );
}

}   // namespace
}   // namespace Host::StateCommandsTests
