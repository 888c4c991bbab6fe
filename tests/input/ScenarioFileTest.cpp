#include "input/ScenarioFile.h"

#include "input/Json.h"

#include <gtest/gtest.h>

namespace ScenarioFileTests {
namespace {

using namespace Input;
using namespace Sim;

std::vector<ScenarioChip> const chips{
   { "osc0", FaultTarget::tolvane_ }, { "ptp0", FaultTarget::max24305_ }, { "ptp1", FaultTarget::max24305_ } };

Scenario scenarioOf( std::string_view content ) {
   JsonDocument const file( "s.json", content );
   return readScenario( file.root(), chips );
}

std::string error( std::string_view content ) {
   try {
      scenarioOf( content );
   } catch ( InputError const & error ) {
      return error.what();
   }
   return "no error";
}

std::vector<std::string> textsOf( std::vector<Action> const & actions ) {
   std::vector<std::string> texts;
   for ( Action const & action : actions ) texts.push_back( actionText( action ) );
   return texts;
}

std::string eventError( std::string const & event ) { return error( R"({"events":[)" + event + "]}" ); }

TEST( Scenario, AnEmptyOneIsACardLeftAlone ) {
   Scenario const scenario = scenarioOf( R"({"card":"card.json"})" );
   EXPECT_FALSE( scenario.start.simulationVmid );
   EXPECT_TRUE( scenario.start.actions.empty() );
   EXPECT_TRUE( scenario.events.empty() );
   EXPECT_FALSE( scenario.untilNs );
}

TEST( Scenario, ReadsTheStartingState ) {
   Scenario const scenario = scenarioOf( R"({
      "start": { "timeSync": 2, "redundancyMode": 4, "switchoverStage": { "B": false, "A": true },
                 "hardwarePresent": false, "simulationVmid": true,
                 "gpoHam": { "osc0": false }, "opsToDoValid": { "ptp1": false } },
      "untilNs": 200000000000 })" );
   EXPECT_TRUE( scenario.start.simulationVmid );
   EXPECT_EQ(
      textsOf( scenario.start.actions ),
      ( std::vector<std::string>{
         "time-sync state 2", "redundancy mode 4", "switchover stage B not reached", "switchover stage A reached",
         "hardware not present", "sequence of ptp1 taken back", "reset output of osc0 has no handle" } ) );
   EXPECT_EQ( scenario.untilNs, 200'000'000'000u );
}

TEST( Scenario, EventsAreSortedByTimeAndThoseOfOneTimeKeepTheirOrder ) {
   Scenario const scenario = scenarioOf( R"({ "events": [
      { "atNs": 3, "timeSync": 1 }, { "atNs": 1, "timeSync": 2 }, { "atNs": 3, "timeSync": 3 },
      { "atNs": 2, "timeSync": 4 }, { "atNs": 3, "timeSync": 0 } ] })" );
   std::vector<std::pair<U64, U32>> order;
   for ( Event const & event : scenario.events ) order.emplace_back( event.atNs, event.actions.at( 0 ).value );
   std::vector<std::pair<U64, U32>> const expected{ { 1, 2 }, { 2, 4 }, { 3, 1 }, { 3, 3 }, { 3, 0 } };
   EXPECT_EQ( order, expected );
}

TEST( Scenario, ActionsOfOneLineKeepTheOrderWritten ) {
   Scenario const scenario = scenarioOf( R"({ "events": [
      { "timeSync": 2, "switchoverStage": { "Z": true, "A": false }, "hardwarePresent": false, "atNs": 7,
        "opsToDoValid": { "chip": "ptp0", "value": true }, "gpoHam": { "chip": "osc0", "value": false },
        "redundancyMode": 5 } ] })" );
   std::vector<std::string> const expected{
      "time-sync state 2",    "switchover stage Z reached",   "switchover stage A not reached",
      "hardware not present", "sequence of ptp0 handed over", "reset output of osc0 has no handle",
      "redundancy mode 5" };
   EXPECT_EQ( textsOf( scenario.events.at( 0 ).actions ), expected );
}

TEST( Scenario, ReadsEachFault ) {
   Scenario const scenario = scenarioOf( R"({ "events": [
      { "atNs": 0, "fault": { "kind": "bitFlip", "chip": "ptp0", "address": 16, "mask": 1, "count": 3 } },
      { "atNs": 1, "fault": { "kind": "slowLock", "chip": "ptp1", "extraNs": 5 } },
      { "atNs": 2, "fault": { "kind": "noPower", "chip": "osc0", "forNs": 100 } },
      { "atNs": 3, "fault": { "kind": "hardwareGone" } },
      { "atNs": 4, "fault": { "kind": "hardwareGone", "chip": "ptp0" } },
      { "atNs": 5, "fault": { "kind": "noPower" } },
      { "atNs": 6, "fault": { "kind": "slowLock", "chip": "ptp0" } } ] })" );
   std::vector<std::string> texts;
   for ( Event const & event : scenario.events ) texts.push_back( actionText( event.actions.at( 0 ) ) );
   std::vector<std::string> const expected{
      "fault bitFlip at ptp0, register 16 mask 1, 3 times",
      "fault slowLock at ptp1, 5 ns longer",
      "fault noPower at osc0, for 100 ns",
      "fault hardwareGone",
      "fault hardwareGone",
      "fault noPower at osc0",
      "fault slowLock at ptp0, 10000000000 ns longer" };
   EXPECT_EQ( texts, expected );
   Fault const & flip = scenario.events[0].actions[0].fault;
   EXPECT_EQ( flip.kind, FaultKind::bitFlip_ );
   EXPECT_EQ( flip.address, 16u );
   EXPECT_EQ( flip.mask, 1u );
   EXPECT_EQ( flip.count, 3u );
   EXPECT_FALSE( flip.forNs );
}

TEST( Scenario, AnUnknownFaultListsTheKinds ) {
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"meltdown","chip":"ptp0"}})" ),
      "s.json: /events/0/fault/kind: expected \"spiDead\", \"spiStuckWrite\", \"spiInvalid\", \"spiExtra\", "
      "\"bitFlip\", \"neverLock\", \"loseLock\", \"slowLock\", \"resetStuck\", \"noPower\" or \"hardwareGone\", "
      "found \"meltdown\"" );
}

TEST( Scenario, AFaultHasASpanOrACount ) {
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"spiDead","chip":"ptp0","forNs":1,"count":1}})" ),
      "s.json: /events/0/fault: a fault lasts for a span or a number of times; expected \"forNs\" or \"count\", found "
      "both" );
}

TEST( Scenario, AFaultTakesOnlyWhatBelongsToItsKind ) {
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"spiDead","chip":"ptp0","mask":1}})" ),
      "s.json: /events/0/fault/mask: unknown key, found with 1; known here: \"kind\", \"chip\", \"forNs\" or "
      "\"count\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"bitFlip","chip":"ptp0","address":65536,"mask":1}})" ),
      "s.json: /events/0/fault/address: expected a whole number from 0 to 65535, found 65536" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"bitFlip","chip":"ptp0","address":1,"mask":0}})" ),
      "s.json: /events/0/fault/mask: expected a whole number from 1 to 255, found 0" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"slowLock","chip":"ptp0","extraNs":-1}})" ),
      "s.json: /events/0/fault/extraNs: expected a whole number from 0 to 18446744073709551615, found -1" );
}

TEST( Scenario, ChipsMustBeOnTheCardAndOfTheRightKind ) {
   EXPECT_EQ(
      eventError( R"({"atNs":0,"gpoHam":{"chip":"ptp7","value":true}})" ),
      "s.json: /events/0/gpoHam/chip: the card has no chip \"ptp7\"; expected \"osc0\", \"ptp0\" or \"ptp1\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"opsToDoValid":{"chip":"osc0","value":true}})" ),
      "s.json: /events/0/opsToDoValid/chip: \"osc0\" is a Tolvane, which has no sequence; expected the name of a "
      "MAX24305" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"noPower","chip":"ptp0"}})" ),
      "s.json: /events/0/fault/chip: the chip \"ptp0\" cannot have the fault \"noPower\"; expected \"osc0\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"spiDead"}})" ),
      "s.json: /events/0/fault/chip: expected a name (a text that is not empty), found nothing: the key is missing" );
   EXPECT_EQ(
      error( R"({"start":{"gpoHam":{"ptp7":true}}})" ),
      "s.json: /start/gpoHam/ptp7: the card has no chip \"ptp7\"; expected \"osc0\", \"ptp0\" or \"ptp1\"" );
   EXPECT_EQ(
      error( R"({"start":{"opsToDoValid":{"osc0":true}}})" ),
      "s.json: /start/opsToDoValid/osc0: \"osc0\" is a Tolvane, which has no sequence; expected the name of a "
      "MAX24305" );
}

TEST( Scenario, UnknownKeysAreErrorsEverywhere ) {
   EXPECT_EQ(
      error( R"({"until":5})" ), "s.json: /until: unknown key, found with 5; did you mean \"untilNs\"?; known here: "
                                 "\"card\", \"start\", \"events\" or "
                                 "\"untilNs\"" );
   EXPECT_EQ(
      error( R"({"start":{"timesync":1}})" ),
      "s.json: /start/timesync: unknown key, found with 1; did you mean \"timeSync\"?; known here: \"timeSync\", "
      "\"redundancyMode\", \"switchoverStage\", \"hardwarePresent\", \"opsToDoValid\", \"gpoHam\" or "
      "\"simulationVmid\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":1,"faults":{}})" ),
      "s.json: /events/0/faults: unknown key, found with an object; did you mean \"fault\"?; known here: \"atNs\", "
      "\"timeSync\", \"redundancyMode\", \"switchoverStage\", \"hardwarePresent\", \"opsToDoValid\", \"gpoHam\" or "
      "\"fault\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":1,"gpoHam":{"chip":"ptp0","value":true,"x":1}})" ),
      "s.json: /events/0/gpoHam/x: unknown key, found with 1; known here: \"chip\" or \"value\"" );
}

TEST( Scenario, AnEventHasATimeAndSomethingThatHappens ) {
   EXPECT_EQ(
      eventError( R"({"timeSync":1})" ), "s.json: /events/0/atNs: expected a whole number from 0 to "
                                         "18446744073709551615, found nothing: the key is missing" );
   EXPECT_EQ(
      eventError( R"({"atNs":1})" ),
      "s.json: /events/0: nothing happens here; expected one of \"timeSync\", \"redundancyMode\", \"switchoverStage\", "
      "\"hardwarePresent\", \"opsToDoValid\", \"gpoHam\" or \"fault\" beside \"atNs\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":2e9,"timeSync":1})" ),
      "s.json: /events/0/atNs: expected a whole number from 0 to 18446744073709551615, found 2000000000.0" );
   EXPECT_EQ( error( R"({"events":{}})" ), "s.json: /events: expected a list, found an object" );
}

}   // namespace
}   // namespace ScenarioFileTests
