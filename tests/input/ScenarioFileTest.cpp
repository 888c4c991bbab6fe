#include "input/ScenarioFile.h"

#include "input/Json.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

namespace ScenarioFileTests {
namespace {

using namespace Input;
using namespace Sim;

// With osc0, a Tolvane, ptp0 and ptp1.
CardDescription const & card() {
   static CardDescription const whole = cardOf( wholeCard );
   return whole;
}

Scenario scenarioOf( std::string_view content ) {
   JsonDocument const file( "s.json", content );
   return readScenario( file.root(), card() );
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

TEST( Scenario, TellsTheMistakesOfAllItsParts ) {
   try {
      scenarioOf( R"({ "built": { "chips": { "ptp9": {} } }, "start": { "timeSync": -1 },
                       "events": [ { "atNs": -1 }, { "atNs": 0, "timeSync": 2 }, { "atNs": 0 } ], "untilNs": -1, "x": 1 })" );
      ADD_FAILURE() << "no error";
   } catch ( InputError const & error ) {
      std::vector<std::string> places;
      for ( std::string const & mistake : error.mistakes() )
         places.push_back( mistake.substr( 0, mistake.find( ": ", 8 ) ) );
      EXPECT_EQ(
         places, ( std::vector<std::string>{
                    "s.json: /built/chips/ptp9", "s.json: /start/timeSync", "s.json: /events/0/atNs",
                    "s.json: /events/2", "s.json: /untilNs", "s.json: /x" } ) );
   }
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

std::vector<std::string> faultTexts( std::vector<std::string> const & faults ) {
   std::vector<std::string> texts;
   for ( std::string const & fault : faults ) {
      Scenario const scenario = scenarioOf( R"({"events":[{"atNs":0,"fault":)" + fault + "}]}" );
      texts.push_back( actionText( scenario.events.at( 0 ).actions.at( 0 ) ) );
   }
   return texts;
}

TEST( Scenario, ReadsWhatEachFaultTakes ) {
   EXPECT_EQ(
      faultTexts(
         { R"({"kind":"bitStuck","chip":"ptp0","address":65535,"mask":255,"value":0,"count":1})",
           R"({"kind":"bitStuck","chip":"osc0","mask":4294967295,"value":4294967295})",
           R"({"kind":"bitFlip","chip":"osc0","address":0,"mask":3})",
           R"({"kind":"misoStuck","chip":"ptp0","value":1,"forNs":5})", R"({"kind":"spiShift","chip":"ptp0","bits":1})",
           R"({"kind":"spiShift","chip":"ptp0","bits":7,"count":2})", R"({"kind":"spiLate","chip":"ptp0"})",
           R"({"kind":"writeLost","chip":"ptp0","count":4})", R"({"kind":"loseLock","chip":"ptp0"})",
           R"({"kind":"loseLock","chip":"ptp0","mask":16})",
           R"({"kind":"flapLock","chip":"ptp0","periodNs":10,"lockedNs":9,"count":3})",
           R"({"kind":"flapLock","chip":"ptp0","mask":17,"periodNs":1,"lockedNs":0})",
           R"({"kind":"chipReset","chip":"ptp0"})" } ),
      ( std::vector<std::string>{
         "fault bitStuck at ptp0, register 65535 mask 255 value 0, once",
         "fault bitStuck at osc0, register 0 mask 4294967295 value 4294967295",
         "fault bitFlip at osc0, register 0 mask 3", "fault misoStuck at ptp0, at 1, for 5 ns",
         "fault spiShift at ptp0, by 1 bit", "fault spiShift at ptp0, by 7 bits, 2 times", "fault spiLate at ptp0",
         "fault writeLost at ptp0, 4 times", "fault loseLock at ptp0", "fault loseLock at ptp0, APLLs of mask 16",
         "fault flapLock at ptp0, locked 9 of 10 ns, 3 times",
         "fault flapLock at ptp0, APLLs of mask 17, locked 0 of 1 ns", "fault chipReset at ptp0" } ) );
}

TEST( Scenario, WithoutANameBitsAreThoseOfTheOnlyMax24305 ) {
   auto const chipMeant = []( std::vector<std::string> const & tolvanes, std::vector<std::string> const & max24305s ) {
      CardDescription some;
      for ( std::string const & name : tolvanes ) {
         TolvaneDescription chip;
         chip.name = name;
         some.tolvanes.push_back( chip );
      }
      for ( std::string const & name : max24305s ) {
         Max24305Description chip;
         chip.name = name;
         some.max24305s.push_back( chip );
      }
      JsonDocument const file( "s.json", R"({"events":[{"atNs":0,"fault":{"kind":"bitFlip","address":0,"mask":1}}]})" );
      return readScenario( file.root(), some ).events.at( 0 ).actions.at( 0 ).name;
   };
   EXPECT_EQ( chipMeant( { "osc0" }, { "ptp0" } ), "ptp0" );
   EXPECT_EQ( chipMeant( { "osc0", "osc1" }, { "ptp0" } ), "ptp0" );
   EXPECT_EQ( chipMeant( { "osc0" }, {} ), "osc0" );
   EXPECT_THROW( chipMeant( { "osc0" }, { "ptp0", "ptp1" } ), InputError );
}

TEST( Scenario, WhatAFaultTakesIsChecked ) {
   auto const faultError = []( std::string const & fault ) {
      return eventError( R"({"atNs":0,"fault":{"chip":"ptp0",)" + fault + "}}" );
   };
   std::string const at = "s.json: /events/0/fault";
   EXPECT_EQ(
      faultError( R"("kind":"bitStuck","address":1,"mask":1)" ),
      at + "/value: expected a whole number from 0 to 255, found nothing: the key is missing" );
   EXPECT_EQ(
      faultError( R"("kind":"bitStuck","address":1,"mask":1,"value":256)" ),
      at + "/value: expected a whole number from 0 to 255, found 256" );
   EXPECT_EQ(
      faultError( R"("kind":"bitStuck","mask":1,"value":0)" ),
      at + "/address: expected a whole number from 0 to 65535, found nothing: the key is missing" );
   EXPECT_EQ(
      faultError( R"("kind":"bitFlip","address":1,"mask":1,"value":0)" ),
      at + "/value: unknown key, found with 0; known here: \"kind\", \"chip\", \"address\", \"mask\", \"forNs\" or "
           "\"count\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"bitFlip","chip":"osc0","address":12288,"mask":1}})" ),
      at + "/address: expected a whole number from 0 to 0, found 12288" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"bitFlip","chip":"osc0","mask":4294967296}})" ),
      at + "/mask: expected a whole number from 1 to 4294967295, found 4294967296" );
   EXPECT_EQ(
      faultError( R"("kind":"misoStuck","value":2)" ), at + "/value: expected a whole number from 0 to 1, found 2" );
   EXPECT_EQ(
      faultError( R"("kind":"misoStuck")" ),
      at + "/value: expected a whole number from 0 to 1, found nothing: the key is missing" );
   EXPECT_EQ(
      faultError( R"("kind":"spiShift","bits":0)" ), at + "/bits: expected a whole number from 1 to 7, found 0" );
   EXPECT_EQ(
      faultError( R"("kind":"spiShift","bits":8)" ), at + "/bits: expected a whole number from 1 to 7, found 8" );
   EXPECT_EQ(
      faultError( R"("kind":"loseLock","mask":2)" ),
      at + "/mask: expected a mask with the bit of an APLL in register 7: 1, 16, or 17 for both, found 2" );
   EXPECT_EQ(
      faultError( R"("kind":"flapLock","periodNs":10,"lockedNs":10)" ),
      at + "/lockedNs: expected a whole number from 0 to 9, found 10" );
   EXPECT_EQ(
      faultError( R"("kind":"flapLock","periodNs":0,"lockedNs":0)" ),
      at + "/periodNs: expected a whole number from 1 to 18446744073709551615, found 0" );
   EXPECT_EQ(
      faultError( R"("kind":"flapLock","periodNs":10)" ),
      at + "/lockedNs: expected a whole number from 0 to 9, found nothing: the key is missing" );
   EXPECT_EQ(
      faultError( R"("kind":"chipReset","forNs":5)" ),
      at + "/forNs: unknown key, found with 5; known here: \"kind\" or \"chip\"" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"writeLost","chip":"osc0"}})" ),
      at + "/chip: the chip \"osc0\" cannot have the fault \"writeLost\"; expected \"ptp0\" or \"ptp1\"" );
}

TEST( Scenario, AnUnknownFaultListsTheKinds ) {
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"meltdown","chip":"ptp0"}})" ),
      "s.json: /events/0/fault/kind: expected \"spiDead\", \"spiStuckWrite\", \"spiInvalid\", \"spiExtra\", "
      "\"spiShift\", \"spiLate\", \"misoStuck\", \"bitFlip\", \"bitStuck\", \"writeLost\", \"neverLock\", "
      "\"loseLock\", \"flapLock\", \"slowLock\", \"chipReset\", \"resetStuck\", \"noPower\" or "
      "\"hardwareGone\", found \"meltdown\"" );
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

TEST( Scenario, WithoutDifferencesTheHardwareIsAsDescribed ) { EXPECT_FALSE( scenarioOf( "{}" ).built ); }

TEST( Scenario, ReadsHowTheHardwareIsBuilt ) {
   std::optional<SimulatedCard::Parameters> const built = scenarioOf( R"({ "built": {
      "gpos": { "ptp0Reset": { "bit": 5, "activeType": "activeHigh" }, "ptp1Reset": {} },
      "chips": { "osc0": { "offset": 16384 },
                 "ptp0": { "configOffset": 1024, "statusOffset": 1280, "outputFrequencyInHz": 25000000 },
                 "ptp1": { "configOffset": 256, "statusOffset": 512, "spiResponses": 63, "spiCommands": 2 } } } })" )
                                                             .built;
   ASSERT_TRUE( built );
   EXPECT_EQ( built->outputs.at( 0 ).bit, 0u );
   EXPECT_EQ( built->outputs.at( 1 ).offset, 8192u );
   EXPECT_EQ( built->outputs.at( 1 ).bit, 5u );
   EXPECT_EQ( built->outputs.at( 1 ).activeType, Fru::activeHigh_ );
   EXPECT_EQ( built->outputs.at( 2 ).bit, 31u );
   EXPECT_EQ( built->tolvanes.at( 0 ).offset, 16384u );
   SimulatedCard::Max24305 const & ptp0 = built->max24305s.at( 0 );
   EXPECT_EQ( ptp0.configOffset, 1024u );
   EXPECT_EQ( ptp0.statusOffset, 1280u );
   EXPECT_EQ( ptp0.outputFrequencyInHz, 25'000'000u );
   EXPECT_EQ( ptp0.resetGpoName, "ptp0Reset" );
   EXPECT_EQ( ptp0.spiResponses, 0u );
   SimulatedCard::Max24305 const & ptp1 = built->max24305s.at( 1 );
   EXPECT_EQ( ptp1.configOffset, 256u );
   EXPECT_EQ( ptp1.outputFrequencyInHz, 0u );
   EXPECT_FALSE( ptp1.spiResetSupported );
   EXPECT_EQ( ptp1.spiResponses, 63u );
   EXPECT_EQ( ptp1.spiCommands, 2u );
}

std::string builtError( std::string const & built ) { return error( R"({"built":{)" + built + "}}" ); }
std::string chipError( std::string const & chip ) { return builtError( R"("chips":{)" + chip + "}" ); }

TEST( Scenario, WhatIsBuiltIsOnTheCard ) {
   EXPECT_EQ(
      builtError( R"("gpos":{"ptp7Reset":{"bit":1}})" ),
      "s.json: /built/gpos/ptp7Reset: the card has no output \"ptp7Reset\"; expected \"osc0Reset\", \"ptp0Reset\" or "
      "\"ptp1Reset\"" );
   EXPECT_EQ(
      chipError( R"("ptp7":{})" ),
      "s.json: /built/chips/ptp7: the card has no chip \"ptp7\"; expected \"osc0\", \"ptp0\" or \"ptp1\"" );
   EXPECT_EQ(
      builtError( R"("gpo":{})" ),
      "s.json: /built/gpo: unknown key, found with an object; did you mean \"gpos\"?; known here: \"gpos\" or "
      "\"chips\"" );
   EXPECT_EQ(
      builtError( R"("gpos":{"ptp0Reset":{"offset":1}})" ),
      "s.json: /built/gpos/ptp0Reset/offset: unknown key, found with 1; known here: \"bit\" or \"activeType\"" );
   EXPECT_EQ(
      chipError( R"("osc0":{"configOffset":0})" ),
      "s.json: /built/chips/osc0/configOffset: unknown key, found with 0; known here: \"offset\"" );
   EXPECT_EQ(
      chipError( R"("ptp0":{"offset":0})" ),
      "s.json: /built/chips/ptp0/offset: unknown key, found with 0; known here: "
      "\"configOffset\", \"statusOffset\", \"outputFrequencyInHz\", \"spiResponses\" or \"spiCommands\"" );
}

TEST( Scenario, WhatIsBuiltIsChecked ) {
   EXPECT_EQ(
      builtError( R"("gpos":{"ptp0Reset":{"bit":32}})" ),
      "s.json: /built/gpos/ptp0Reset/bit: expected a whole number from 0 to 31, found 32" );
   EXPECT_EQ(
      builtError( R"("gpos":{"ptp0Reset":{"activeType":"low"}})" ),
      "s.json: /built/gpos/ptp0Reset/activeType: expected \"activeHigh\" or \"activeLow\", found \"low\"" );
   EXPECT_EQ(
      chipError( R"("ptp0":{"spiResponses":64})" ),
      "s.json: /built/chips/ptp0/spiResponses: expected a whole number from 0 to 63, found 64" );
   EXPECT_EQ(
      chipError( R"("ptp0":{"spiCommands":64})" ),
      "s.json: /built/chips/ptp0/spiCommands: expected a whole number from 0 to 63, found 64" );
   EXPECT_EQ(
      chipError( R"("ptp0":{"configOffset":258})" ),
      "s.json: /built/chips/ptp0/configOffset: expected an offset that is a multiple of 4, for a register is a 32-bit "
      "word, found 258" );
   EXPECT_EQ(
      chipError( R"("ptp0":{"configOffset":4294967248})" ),
      "s.json: /built/chips/ptp0/configOffset: expected a whole number from 0 to 4294967244, found 4294967248" );
   EXPECT_EQ( chipError( R"("osc0":{"offset":4294967292})" ), "no error" );
}

TEST( Scenario, RegistersOfTheBuiltHardwareBelongToOne ) {
   std::string const expected = "; expected hardware in which each register, and each bit of an output, has one owner";
   EXPECT_EQ(
      chipError( R"("ptp1":{"configOffset":272})" ),
      "s.json: /built: the register at 272 belongs to the chip \"ptp0\" and to the chip \"ptp1\"" + expected );
   EXPECT_EQ(
      chipError( R"("osc0":{"offset":8196})" ),
      "s.json: /built: the register at 8196 belongs to the output \"ptp1Reset\" and to the chip \"osc0\"" + expected );
   EXPECT_EQ(
      builtError( R"("gpos":{"ptp0Reset":{"bit":0}})" ),
      "s.json: /built: bit 0 of the register at 8192 belongs to the output \"osc0Reset\" and to the output "
      "\"ptp0Reset\"" +
         expected );
   EXPECT_EQ( builtError( R"("gpos":{"ptp0Reset":{"bit":0},"osc0Reset":{"bit":1}})" ), "no error" );
}

TEST( Scenario, OnlyASimulatedCardIsBuilt ) {
   CardDescription mapped = card();
   mapped.access = MmapAccess{};
   JsonDocument const file( "s.json", R"({"built":{}})" );
   try {
      readScenario( file.root(), mapped );
      ADD_FAILURE() << "no error";
   } catch ( InputError const & error ) {
      EXPECT_STREQ(
         error.what(), "s.json: /built: expected no hardware as built, since the card's access is not \"simulated\", "
                       "found an object" );
   }
}

TEST( Scenario, UnknownKeysAreErrorsEverywhere ) {
   EXPECT_EQ(
      error( R"({"until":5})" ), "s.json: /until: unknown key, found with 5; did you mean \"untilNs\"?; known here: "
                                 "\"card\", \"built\", \"start\", \"events\" or "
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

// As many members of a list or an object, each with a number in its middle.
std::string many( std::size_t count, char const * before, char const * behind ) {
   std::string all;
   for ( std::size_t i = 0; i < count; ++i )
      all.append( i ? "," : "" ).append( before ).append( std::to_string( i ) ).append( behind );
   return all;
}

TEST( Scenario, ItsPartsHaveLimits ) {
   EXPECT_EQ( eventError( many( 200'001, "", "" ) ), "s.json: /events: expected at most 200000 events, found 200001" );
   EXPECT_EQ(
      error( R"({"start":{"switchoverStage":{)" + many( 20'001, "\"s", "\":true" ) + "}}}" ),
      "s.json: /start/switchoverStage: expected at most 20000 stages, found 20001" );
   EXPECT_EQ(
      eventError( many( 10'001, "{\"atNs\":", R"(,"fault":{"kind":"hardwareGone"}})" ) ),
      "s.json: /events/10000/fault: expected at most 10000 faults, found 10001" );
}

TEST( Scenario, AStageIsCalledByPrintableCharacters ) {
   EXPECT_EQ(
      eventError( R"({"atNs":0,"switchoverStage":{"a\u0007":true}})" ),
      "s.json: /events/0/switchoverStage: expected a name of printable characters, found \"a\\u0007\"" );
}

TEST( Scenario, ATimeAtWhichNothingCanHappenIsAMistake ) {
   EXPECT_EQ( error( R"({"events":[{"atNs":5,"timeSync":1}],"untilNs":5})" ), "no error" );
   EXPECT_EQ(
      error( R"({"events":[{"atNs":6,"timeSync":1}],"untilNs":5})" ),
      "s.json: /events/0/atNs: nothing happens at 6 ns, when the run is over; expected a time up to 5" );
   EXPECT_EQ(
      eventError( R"({"atNs":18446744073709551615,"timeSync":1})" ),
      "s.json: /events/0/atNs: nothing happens at 18446744073709551615 ns, when the run is over; expected a time up to "
      "18446744073709551614" );
   EXPECT_EQ(
      eventError( R"({"atNs":0,"fault":{"kind":"spiDead","chip":"ptp0","forNs":0}})" ),
      "s.json: /events/0/fault/forNs: expected a whole number from 1 to 18446744073709551615, found 0" );
}

}   // namespace
}   // namespace ScenarioFileTests
