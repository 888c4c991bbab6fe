#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

using namespace Host;
using namespace Input;

class RegisterCommandsTest : public ::testing::Test {
 protected:
   Folder const folder;
   std::string const simulated = folder.file( "simulated.json", wholeCard );
   std::string const mapped = folder.file(
      "mapped.json",
      with( wholeCard, R"({ "kind": "simulated" })", R"({ "kind": "mmap", "path": "space", "size": 16384 })" ) );
   void hardwareArrives() const { folder.file( "space", std::string( 16384, '\0' ) ); }
};

TEST_F( RegisterCommandsTest, PeekBringsASimulatedCardUpAndDecodes ) {
   Ran const ran = run( { "peek", simulated, "ptp0:7", "ptp0.max24305Status", "0x3000", "ptp0Reset", "ptp0:0x10" } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ(
      ran.output, "Register             Address          Value       Fields\n"
                  "ptp0:7               register 0x0007  0x11        apll2Locked true, apll1Locked true\n"
                  "ptp0.max24305Status  0x00000200       0x00989680  frequencyInHz 10000000\n"
                  "0x3000               0x00003000       0x00000003  enable true, powerGood true\n"
                  "ptp0Reset            0x00002000       0x00000002  bit 1 is 1, inactive\n"
                  "ptp0:0x10            register 0x0010  0x3c\n" );
   EXPECT_EQ( ran.errors, "" );
}

TEST_F( RegisterCommandsTest, DumpListsAChipAndLeavesTheFifoAlone ) {
   Ran const ran = run( { "dump", simulated, "ptp1" } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ(
      ran.output, "Register              Address          Value       Fields\n"
                  "ptp1.spiCommandFifo   0x00000400       -           not read: it can only be written\n"
                  "ptp1.spiResponseFifo  0x00000410       -           not read: reading takes an entry out\n"
                  "ptp1.spiCtrl          0x00000420       0x00000000  writeFifoCount 0, readFifoCount 0\n"
                  "ptp1.spiReset         0x00000430       0x00000000  reset 0\n"
                  "ptp1.max24305Status   0x00000500       0x00000000  frequencyInHz 0\n"
                  "ptp1.apllStatus       register 0x0007  0x11        apll2Locked true, apll1Locked true\n" );
   Ran const all = run( { "dump", simulated } );
   EXPECT_EQ( all.result, 0 );
   EXPECT_EQ( std::count( all.output.begin(), all.output.end(), '\n' ), 17 );
   EXPECT_EQ( all.errors, "" );
}

TEST_F( RegisterCommandsTest, DumpReadsTheResponseFifoWhenItIsNamed ) {
   Ran const ran = run( { "dump", simulated, "ptp1.spiResponseFifo", "0x410", "ptp1.spiCommandFifo" } );
   EXPECT_EQ(
      ran.output, "Register              Address     Value       Fields\n"
                  "ptp1.spiResponseFifo  0x00000410  0x00000000  dataValid false, data 0\n"
                  "0x410                 0x00000410  0x00000000  dataValid false, data 0\n"
                  "ptp1.spiCommandFifo   0x00000400  -           not read: it can only be written\n" );
}

TEST_F( RegisterCommandsTest, WhereASimulatedCardHasNoRegisterAWarningSaysSo ) {
   Ran const peeked = run( { "peek", simulated, "0x4000", "0x4000", "0x2000" } );
   EXPECT_EQ( peeked.result, 0 );
   EXPECT_EQ( peeked.errors, "clockpath: warning: read of 0x4000, where the card has no register: it gives 0\n" );
   Ran const poked = run( { "poke", "--yes", simulated, "0x4000=1" } );
   EXPECT_EQ( poked.result, 0 );
   EXPECT_EQ( poked.errors, "clockpath: warning: write to 0x4000, where the card has no register: it is lost\n" );
}

TEST_F( RegisterCommandsTest, WhatIgnoresWritesIsNotPokedAndWhatSaysNothingIsNotPeeked ) {
   hardwareArrives();
   auto const error = [&]( std::vector<std::string> const & words ) {
      Ran const ran = run( words );
      EXPECT_EQ( ran.result, 2 );
      EXPECT_EQ( ran.output, "" );
      return ran.errors.substr( 0, ran.errors.find( " a register that can" ) );
   };
   EXPECT_EQ(
      error( { "poke", "--yes", mapped, "0x3ffc=1", "ptp1.spiCtrl=5" } ),
      "clockpath: ptp1.spiCtrl=5: \"ptp1.spiCtrl\" can only be read: it ignores writes; expected" );
   EXPECT_EQ(
      error( { "poke", "--yes", mapped, "ptp1.spiCtrl.readFifoCount=5" } ),
      "clockpath: ptp1.spiCtrl.readFifoCount=5: \"ptp1.spiCtrl\" can only be read: it ignores writes; expected" );
   EXPECT_EQ(
      error( { "poke", "--yes", mapped, "ptp0:7=5" } ),
      "clockpath: ptp0:7=5: \"ptp0:7\" can only be read: it ignores writes; expected" );
   EXPECT_EQ(
      error( { "poke", "--yes", mapped, "osc0.tolvaneEnable.powerGood=1" } ),
      "clockpath: osc0.tolvaneEnable.powerGood=1: the field \"powerGood\" can only be read; expected \"enable\"\n" );
   EXPECT_EQ(
      error( { "poke", "--yes", mapped, "ptp0.spiCommandFifo.csEnd=1" } ),
      "clockpath: ptp0.spiCommandFifo.csEnd=1: a field cannot be written alone, since the other bits of "
      "\"ptp0.spiCommandFifo\" cannot be read; expected \"ptp0.spiCommandFifo=NUMBER\"\n" );
   EXPECT_EQ(
      error( { "peek", mapped, "0x100" } ),
      "clockpath: \"0x100\" can only be written: a read of it says nothing; expected" );
   EXPECT_EQ( folder.content( "space" ), std::string( 16384, '\0' ) );
}

TEST_F( RegisterCommandsTest, PokeWantsToBeSureWhereNobodyCanBeAsked ) {
   hardwareArrives();
   Ran const ran = run( { "poke", mapped, "0x3000=1" } );
   EXPECT_EQ( ran.result, 2 );
   EXPECT_EQ(
      ran.errors,
      "clockpath: poke changes the hardware of " + mapped + ": expected --yes, since nobody can be asked here\n" );
   EXPECT_EQ( folder.content( "space" ), std::string( 16384, '\0' ) );
}

TEST_F( RegisterCommandsTest, PokeAsksOnATerminal ) {
   hardwareArrives();
   for ( auto const & [answer, result] : std::vector<std::pair<std::string, int>>{ { "n\n", 1 }, { "y\n", 0 } } ) {
      int const terminal = ::posix_openpt( O_RDWR | O_NOCTTY );
      if ( terminal < 0 || ::grantpt( terminal ) != 0 || ::unlockpt( terminal ) != 0 )
         GTEST_SKIP() << "no pseudo-terminal can be had: " << std::strerror( errno );
      Process poke( { "poke", mapped, "osc0.tolvaneEnable.enable=1" }, ::ptsname( terminal ) );
      EXPECT_TRUE( poke.outputHas( "write 1 to osc0.tolvaneEnable, field enable (0x00003000)\n"
                                   "Go on? [y/N] " ) );
      EXPECT_EQ( ::write( terminal, answer.data(), answer.size() ), static_cast<ssize_t>( answer.size() ) );
      EXPECT_EQ( poke.result(), result );
      EXPECT_EQ( folder.content( "space" )[0x3000], result == 0 ? '\x02' : '\0' );
      ::close( terminal );
   }
}

TEST_F( RegisterCommandsTest, PokeWritesRegistersFieldsAndOutputs ) {
   hardwareArrives();
   Ran const ran = run(
      { "poke", "--yes", mapped, "0x3ffc=0x12345678", "osc0.tolvaneEnable=1", "osc0.tolvaneEnable.enable=true",
        "ptp0Reset=inactive", "ptp1Reset=active" } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ(
      ran.output, "Register            Address     Value       Fields\n"
                  "0x3ffc              0x00003ffc  0x12345678\n"
                  "osc0.tolvaneEnable  0x00003000  0x00000001  enable false, powerGood true\n"
                  "osc0.tolvaneEnable  0x00003000  0x00000003  enable true, powerGood true\n"
                  "ptp0Reset           0x00002000  0x00000002  bit 1 is 1, inactive\n"
                  "ptp1Reset           0x00002004  0x80000000  bit 31 is 1, active\n" );
   std::string const space = folder.content( "space" );
   EXPECT_EQ( space.substr( 0x3FFC ), "\x78\x56\x34\x12" );
   EXPECT_EQ( space[0x3000], '\x03' );
   EXPECT_EQ( space[0x2000], '\x02' );
   EXPECT_EQ( space[0x2007], '\x80' );
}

TEST_F( RegisterCommandsTest, PokeReachesAChipOverSpi ) {
   Ran const ran = run( { "poke", "--yes", simulated, "ptp0:0x10=0x5a" } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ(
      ran.output, "Register   Address          Value  Fields\n"
                  "ptp0:0x10  register 0x0010  0x5a\n" );
}

TEST_F( RegisterCommandsTest, AnSpiMasterThatDoesNotTakeAWriteGivesOne ) {
   // Plain memory in the place of the master: its fill never goes back to 0.
   std::string space( 16384, '\0' );
   space[0x122] = 1;
   folder.file( "space", space );
   Ran const ran = run( { "poke", "--yes", mapped, "ptp0:0x10=0x5a" } );
   EXPECT_EQ( ran.result, 1 );
   EXPECT_NE( ran.output.find( "not sent: the SPI master does not take it" ), std::string::npos ) << ran.output;
   Ran const peeked = run( { "peek", mapped, "ptp0:0x10" } );
   EXPECT_EQ( peeked.result, 1 );
   EXPECT_EQ(
      peeked.output, "Register   Address          Value  Fields\n"
                     "ptp0:0x10  register 0x0010  -      no answer\n" );
}

TEST_F( RegisterCommandsTest, PeekTakesRanges ) {
   EXPECT_EQ( run( { "peek", simulated, "0x100-0x100" } ).result, 2 );   // one alone was meant itself
   Ran const ranges = run( { "peek", simulated, "ptp0:0x2f-0x30", "0x100-0x104" } );
   EXPECT_EQ( ranges.result, 0 );
   EXPECT_EQ(
      ranges.output, "Register   Address          Value       Fields\n"
                     "ptp0:0x2f  register 0x002f  0x00\n"
                     "ptp0:0x30  register 0x0030  0x5e\n"
                     "0x100      0x00000100       -           not read: it can only be written\n"
                     "0x104      0x00000104       0x00000000\n" );
}

TEST_F( RegisterCommandsTest, PokeReadsBackAndSaysWhatStandsThere ) {
   Ran const ran =
      run( { "poke", "--yes", simulated, "ptp0:0x30=1", "osc0.tolvaneEnable=2", "ptp0.spiCommandFifo=0" } );
   EXPECT_EQ( ran.result, 0 );
   EXPECT_EQ(
      ran.output,
      "Register             Address          Value       Fields\n"
      "ptp0:0x30            register 0x0030  0x5e        written 0x01\n"
      "osc0.tolvaneEnable   0x00003000       0x00000003  enable true, powerGood true; written 0x00000002\n"
      "ptp0.spiCommandFifo  0x00000100       0x00000000  csEnd false, recordResponse false, dataToWrite 0\n" );
}

TEST_F( RegisterCommandsTest, AfterAScenarioItsCardIsLookedAtAsItThenStands ) {
   std::string const scenario = folder.file( "s.json", R"({ "card": "simulated.json", "events": [
                     { "atNs": 30000000000, "fault": { "kind": "bitFlip", "chip": "ptp0", "address": 16, "mask": 1 } },
                     { "atNs": 30000000000, "fault": { "kind": "spiDead", "chip": "ptp1" } } ],
                     "untilNs": 40000000000 })" );
   Ran const peeked = run( { "peek", "--after", scenario, "ptp0:0x10", "ptp1:0x10" } );
   EXPECT_EQ( peeked.result, 1 );
   EXPECT_EQ(
      peeked.output, "Register   Address          Value  Fields\n"
                     "ptp0:0x10  register 0x0010  0x3d\n"
                     "ptp1:0x10  register 0x0010  -      no answer\n" );
   EXPECT_EQ( run( { "dump", "--after", scenario, "ptp0" } ).result, 0 );
   EXPECT_EQ( run( { "dump", "--after", scenario } ).result, 1 );
   Ran const poked = run( { "poke", "--yes", "--after", scenario, "ptp0:0x10=2", "ptp1:0x10=2" } );
   EXPECT_EQ( poked.result, 1 );
   EXPECT_EQ(
      poked.output, "Register   Address          Value  Fields\n"
                    "ptp0:0x10  register 0x0010  0x03   written 0x02\n"
                    "ptp1:0x10  register 0x0010  -      no answer; written 0x02\n" );
}

TEST_F( RegisterCommandsTest, TellTheSameToPrograms ) {
   Ran const peeked = run( { "peek", "--json", simulated, "osc0Reset", "ptp0:7" } );
   EXPECT_EQ( peeked.result, 0 );
   EXPECT_EQ(
      Json::parse( peeked.output ).at( "registers" ).dump(),
      R"([{"register":"osc0Reset","address":8192,"value":2,"text":"bit 0 is 0, inactive","done":true},)"
      R"({"register":"ptp0:7","address":7,"chip":"ptp0","value":17,)"
      R"("text":"apll2Locked true, apll1Locked true","done":true}])" );
   Ran const poked = run( { "poke", "--json", "--yes", simulated, "ptp0:0x30=1" } );
   EXPECT_EQ(
      Json::parse( poked.output ).at( "registers" ).dump(),
      R"([{"register":"ptp0:0x30","address":48,"chip":"ptp0","written":1,"value":94,"text":"written 0x01",)"
      R"("done":true}])" );
   Json const dumped = Json::parse( run( { "dump", "--json", simulated, "ptp0" } ).output ).at( "registers" );
   EXPECT_EQ( dumped.size(), 6u );
   EXPECT_EQ( dumped.at( 0 ).at( "value" ), nullptr );
}

// peek and audit ask the agent, which answers between two turns.
TEST_F( RegisterCommandsTest, ACardThatSomebodyUsesIsLeftAlone ) {
   hardwareArrives();
   Process agent( { "agent", mapped } );
   ASSERT_TRUE( agent.outputHas( "osc0" ) );
   std::string const error = "clockpath: the card is in use by agent, process " + std::to_string( agent.pid() ) + " (" +
                             folder.path( "space.lock" ) + "); stop it, or try again when it has ended\n";
   std::string const before = folder.content( "space" );
   for ( std::vector<std::string> const & words : std::vector<std::vector<std::string>>{
            { "poke", "--yes", mapped, "0x3ffc=1" },
            { "dump", mapped },
            { "selftest", "--yes", mapped },
            { "agent", mapped } } ) {
      Ran const ran = run( words );
      EXPECT_EQ( ran.result, 1 ) << words[0];
      EXPECT_EQ( ran.output, "" ) << words[0];
      EXPECT_EQ( ran.errors, error ) << words[0];
   }
   EXPECT_EQ( folder.content( "space" ).substr( 0x3FFC ), before.substr( 0x3FFC ) );
   agent.signal( SIGKILL );
   agent.result();
   EXPECT_EQ( run( { "peek", mapped, "0x3000" } ).result, 0 );
}

TEST_F( RegisterCommandsTest, ACardThatIsNotThereGivesOne ) {
   for ( std::string const command : { "peek", "dump" } ) {
      Ran const ran = run( { command, mapped, "ptp0.spiCtrl" } );
      EXPECT_EQ( ran.result, 1 );
      EXPECT_EQ(
         ran.errors, "clockpath: the card is not there: " + folder.path( "space" ) + ": No such file or directory\n" );
   }
}

TEST_F( RegisterCommandsTest, WrongWordsGiveTwo ) {
   auto const error = [&]( std::vector<std::string> const & words ) {
      Ran const ran = run( words );
      EXPECT_EQ( ran.result, 2 );
      EXPECT_EQ( ran.output, "" );
      return ran.errors;
   };
   EXPECT_EQ(
      error( { "peek", simulated, "0x3" } ),
      "clockpath: \"0x3\" is no register of " + simulated + "; expected an address that is a multiple of 4\n" );
   EXPECT_EQ(
      error( { "poke", "--yes", simulated, "0x3000" } ), "clockpath: expected REGISTER=VALUE, found \"0x3000\"\n" );
   EXPECT_EQ(
      error( { "poke", "--yes", simulated, "ptp0:7=256" } ),
      "clockpath: ptp0:7=256: expected a number from 0 to 0xff, found \"256\"\n" );
   EXPECT_EQ(
      error( { "poke", "--yes", simulated, "ptp0Reset=1" } ),
      "clockpath: ptp0Reset=1: expected \"active\" or \"inactive\", found \"1\"\n" );
   EXPECT_EQ(
      error( { "poke", "--yes", simulated, "osc0.tolvaneEnable.on=1" } ),
      "clockpath: osc0.tolvaneEnable.on=1: there is no field \"on\"; expected \"enable\" or \"powerGood\"\n" );
}

}   // namespace
