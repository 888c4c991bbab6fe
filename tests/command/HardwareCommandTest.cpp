#include "recording/Reader.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <filesystem>

namespace HardwareCommandTests {
namespace {

using namespace Host;
using namespace Input;

// A card whose hardware lives in a process of its own; ptp0 comes up in a second and a half.
class HardwareCommand : public ::testing::Test {
 protected:
   HardwareCommand() {
      folder.file(
         "card.json",
         R"({ "access": { "kind": "simulated", "lockAfterNs": 1000000, "socket": "card.sock" },
              "gpos": [ { "name": "ptp0Reset", "offset": 8192, "bit": 4 } ],
              "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                           "resetGpoName": "ptp0Reset", "input": "stuffedClock", "outputFrequencyInHz": 10000000,
                           "spiResetSupported": true, "sequence": )" +
            shortSequence + " } ] }" );
   }

   // Started on that file of the folder, with an event log "hardware.events".
   std::unique_ptr<Process> hardware( std::string const & file = "card.json" ) const {
      auto started = std::make_unique<Process>(
         std::vector<std::string>{ "hardware", folder.path( file ), "--events", folder.path( "hardware.events" ) } );
      EXPECT_TRUE( started->outputHas( "until SIGINT or SIGTERM\n" ) );
      return started;
   }
   std::vector<Recording::Event> eventsOfHardware() const {
      Recording::Reader reader( folder.path( "hardware.events" ) );
      EXPECT_NE( reader.header().began, "" );
      std::vector<Recording::Event> events;
      while ( std::optional<Recording::Event> event = reader.next() ) {
         EXPECT_TRUE( events.empty() || events.back().ns <= event->ns ) << event->line;
         events.push_back( std::move( *event ) );
      }
      return events;
   }

   Folder const folder;
   std::string const card = folder.path( "card.json" );
};

TEST_F( HardwareCommand, OutlivesAnAgentThatIsKilled ) {
   std::unique_ptr<Process> const started = hardware();
   {
      Process agent( { "agent", card } );
      EXPECT_TRUE( agent.outputHas( "ptp0      clock ready" ) ) << agent.output();
      Ran const refused = run( { "poke", card, "ptp0Reset=active", "--yes" } );
      EXPECT_EQ( refused.result, 1 );
      EXPECT_NE( refused.errors.find( "the card is in use by agent, process " ), std::string::npos ) << refused.errors;
      agent.signal( SIGKILL );
      EXPECT_EQ( agent.result(), -SIGKILL );
   }
   Ran const audited = run( { "audit", card } );
   EXPECT_EQ( audited.result, 0 ) << audited.output << audited.errors;
   EXPECT_EQ( run( { "poke", card, "ptp0Reset=active", "--yes" } ).result, 0 );
   Ran const peeked = run( { "peek", card, "ptp0Reset" } );
   EXPECT_NE( peeked.output.find( "0x00000010" ), std::string::npos ) << peeked.output;
   started->signal( SIGTERM );
   EXPECT_EQ( started->result(), 0 );
   EXPECT_FALSE( std::filesystem::exists( folder.path( "card.sock" ) ) );

   // Reset and release by the agent, and the poke; the chip's three operations at least.
   std::vector<bool> levels;
   std::size_t transfers = 0;
   for ( Recording::Event const & event : eventsOfHardware() ) {
      if ( auto const * gpo = std::get_if<Recording::Gpo>( &event.what ) ) levels.push_back( gpo->active );
      transfers += std::holds_alternative<Recording::Spi>( event.what );
   }
   EXPECT_EQ( levels, ( std::vector<bool>{ true, false, true } ) );
   EXPECT_GE( transfers, 3u );
}

TEST_F( HardwareCommand, ItsEndIsNoticedByAnAgentAtOnceAndSoIsItsReturn ) {
   Process agent( { "agent", card, "--time-sync", "0" } );
   EXPECT_TRUE( agent.outputHas( "waiting for the card: " ) );
   std::unique_ptr<Process> started = hardware();
   EXPECT_TRUE( agent.outputHas( "input           hardware present" ) );
   started->signal( SIGKILL );
   EXPECT_EQ( started->result(), -SIGKILL );
   EXPECT_TRUE( agent.outputHas( "input           hardware not present" ) );
   started = hardware();
   EXPECT_TRUE( agent.outputHas( "input           hardware present", 2 ) );
   agent.signal( SIGTERM );
   EXPECT_EQ( agent.result(), 1 );
}

// The scenario's other events are its services', which live in the agent.
TEST_F( HardwareCommand, HasTheFaultsOfAScenario ) {
   folder.file(
      "scenario.json",
      R"({ "card": "card.json", "events": [
             { "atNs": 0, "timeSync": 0 },
             { "atNs": 0, "fault": { "kind": "bitFlip", "chip": "ptp0", "address": 48, "mask": 1 } } ] })" );
   std::unique_ptr<Process> const started = hardware( "scenario.json" );
   Ran const audited = run( { "audit", card } );
   EXPECT_EQ( audited.result, 1 );
   EXPECT_NE( audited.output.find( "expected 0x5e, found 0x5f" ), std::string::npos ) << audited.output;
}

TEST_F( HardwareCommand, WantsASocketThatNobodyElseHas ) {
   std::unique_ptr<Process> const started = hardware();
   Ran const second = run( { "hardware", card } );
   EXPECT_EQ( second.result, 1 );
   EXPECT_NE( second.errors.find( "another process answers there" ), std::string::npos ) << second.errors;
   std::string const inside =
      folder.file( "inside.json", with( folder.content( "card.json" ), R"(, "socket": "card.sock")", "" ) );
   Ran const none = run( { "hardware", inside } );
   EXPECT_EQ( none.result, 2 );
   EXPECT_EQ(
      none.errors,
      "clockpath: " + inside +
         ": /access: expected a simulated card with a \"socket\", where its hardware can be reached; found "
         "none\n" );
}

// In virtual time, in the process of the command.
TEST_F( HardwareCommand, IsNotAskedByASimulation ) {
   std::string const scenario = folder.file( "scenario.json", R"({ "card": "card.json" })" );
   EXPECT_EQ( run( { "simulate", scenario } ).result, 0 );
   EXPECT_EQ( run( { "audit", "--after", scenario } ).result, 0 );
   Ran const alone = run( { "audit", card } );
   EXPECT_EQ( alone.result, 1 );
   EXPECT_NE( alone.errors.find( "the card is not there: " ), std::string::npos ) << alone.errors;
}

}   // namespace
}   // namespace HardwareCommandTests
