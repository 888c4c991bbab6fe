#include "report/Report.h"

#include "card/SimulatedWorld.h"
#include "recording/EventStream.h"
#include "recording/Recorder.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace Host;
using namespace Input;

// A report of a simulated card.
struct Account {
   explicit Account( std::string const & card, Sim::Scenario const & scenario = {} )
      : world( cardOf( card ), scenario ) {
      world.events().listenerAdd( report );
   }

   SimulatedWorld world;
   std::ostringstream out;
   Report report{ out, Style( false ), world.card().description(), { .inputs = false } };
   Recording::EventStream stream{ [this]( Recording::Event const & event ) { report.take( event ); } };
   Recording::Recorder const recorder{ stream, world.events(), world.card() };
};

// What the report says of a scenario.
std::string reported( std::string const & card, Sim::Scenario const & scenario ) {
   Account account( card, scenario );
   account.report.begin( "title" );
   account.world.run();
   account.report.end();
   std::string const text = account.out.str();
   std::istringstream lines( text );
   for ( std::string line; std::getline( lines, line ); ) EXPECT_LE( line.size(), lineWidth ) << line;
   return text;
}

std::string const singleCard = R"({
   "access": { "kind": "simulated" },
   "gpos": [ { "name": "reset", "offset": 8192, "bit": 0 } ],
   "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512, "resetGpoName": "reset",
                "input": "stuffedClock", "outputFrequencyInHz": 10000000, "spiResetSupported": false, "sequence": )" +
                               shortSequence + " } ] }";

std::string const cardHead = R"(title

Card card.json, simulated, SPI at 10000000 Hz, generation 0, slot 0
Chip  Kind      Registers               Reset output                    Input         Ops  Clock
ptp0  MAX24305  SPI 0x100, meter 0x200  reset 0x2000 bit 0, activeHigh  stuffedClock  3    ptp0

   seconds  chip      what happens
)";

std::string const gateOpen = "ptp0      gate open       hardware present, sequence handed over, reset output usable,\n"
                             "                                      time sync enabling\n";

// A pulse takes 0.8 s, the clean-up 0.5 s, an operation and a lock poll 4 us: 3.2 us on the bus, seen at the next poll
// of 1 us.
TEST( Report, TellsABringUpFromTheGateToTheOutput ) {
   EXPECT_EQ(
      reported( singleCard, {} ),
      cardHead + "     0.000  " + gateOpen + R"(     0.000  ptp0      attempt 1       reset pulse
     1.300  ptp0      programming     3/3 operations in 0.000012 s
     1.300  ptp0      locking
     1.300  ptp0      lock poll 1     APLL status 0x00: APLL 1 not locked, APLL 2 not locked
     4.300  ptp0      lock poll 4     APLL status 0x11: APLL 1 locked, APLL 2 locked
     4.300  ptp0      ready           after 4 polls, output 10000000 Hz
     4.300  ptp0      clock ready

Chip  Kind      State  Clock  Attempts  Operations  Polls  Output
ptp0  MAX24305  ready  ready  1         3/3         4      10000000 Hz

Seconds  Reset pulse  SPI clean-up  Operations  Lock   Total
ptp0     0.800        0.500         0.000012    3.000  4.300
)" );
}

Sim::Scenario faultAtStart( Sim::Fault const & fault ) {
   Sim::Scenario scenario;
   scenario.events.push_back( { 0, { { .key = "fault", .name = "ptp0", .fault = fault } } } );
   return scenario;
}

bool has( std::string const & text, std::string const & piece ) { return text.find( piece ) != std::string::npos; }

TEST( Report, TellsFailedAttemptsAndTheirReason ) {
   std::string const text = reported(
      singleCard, faultAtStart( { .kind = Sim::FaultKind::bitFlip_, .address = 16, .mask = 1, .count = 1 } ) );
   EXPECT_TRUE( has(
      text, "     0.000            scenario        fault bitFlip at ptp0, register 16 mask 1, once\n"
            "     0.000  " +
               gateOpen +
               "     0.000  ptp0      attempt 1       reset pulse\n"
               "     1.300  ptp0      failed          operation 3 of 3, card.json: /chips/0/sequence/2,\n"
               "                                      read 0x10: expected 0x3c, found 0x3d; FIFOs 3/0, 2/0, 1/0, 0/1\n"
               "     1.300  ptp0      clock failed\n"
               "     2.300  ptp0      attempt 2       reset pulse\n"
               "     3.600  ptp0      programming     3/3 operations in 0.000012 s\n" ) )
      << text;
   EXPECT_TRUE( has( text, "ptp0  MAX24305  ready  ready  2         3/3         4      10000000 Hz\n" ) ) << text;
}

std::size_t count( std::string const & text, std::string const & piece ) {
   std::size_t found = 0;
   for ( std::size_t at = text.find( piece ); at != std::string::npos; at = text.find( piece, at + 1 ) ) ++found;
   return found;
}

TEST( Report, TellsEachOfTenFailedAttempts ) {
   std::string const dead = reported( singleCard, faultAtStart( { .kind = Sim::FaultKind::spiDead_ } ) );
   EXPECT_TRUE( has( dead, "attempt 10      reset pulse\n" ) ) << dead;
   EXPECT_FALSE( has( dead, "attempt 11" ) );
   std::string const failed =
      "failed          operation 1 of 3, card.json: /chips/0/sequence/0,\n"
      "                                      read 0x30: expected 0x5e, found 0xff or no answer;\n"
      "                                      FIFOs 3/0, 2/0, 1/0, 0/0 7 times\n";
   EXPECT_EQ( count( dead, failed ), 10u ) << dead;
   EXPECT_TRUE( has( dead, "log             MAX24305_INIT_FAILED: Initialization of the Max24305 chip has\n" ) )
      << dead;
   EXPECT_TRUE( has( dead, "ptp0  MAX24305  failed  failed  10        1/3         0\n" ) ) << dead;
   EXPECT_TRUE( has( dead, "ptp0     0.800        0.500         0.000010    -     1.300\n" ) ) << dead;
}

TEST( Report, TellsALockThatNeverComes ) {
   std::string const text = reported( singleCard, faultAtStart( { .kind = Sim::FaultKind::neverLock_ } ) );
   EXPECT_TRUE( has(
      text, "   101.300  ptp0      lock poll 101   APLL status 0x00: APLL 1 not locked, APLL 2 not locked\n"
            "   101.300  ptp0      failed          no lock after 101 polls\n"
            "   101.300  ptp0      clock failed\n" ) )
      << text;
   EXPECT_TRUE( has( text, "ptp0     0.800        0.500         0.000012    100.000  101.300\n" ) ) << text;
   EXPECT_TRUE( has( text, "ptp0  MAX24305  failed  failed  1         3/3         101\n" ) ) << text;
}

TEST( Report, TellsTheGatesAsTheyCloseAndOpen ) {
   Sim::Scenario scenario;
   scenario.start.actions = { { .key = "timeSync", .value = 0 }, { .key = "gpoHam", .name = "ptp0", .value = false } };
   scenario.events.push_back(
      { 1, { { .key = "timeSync", .value = 1 }, { .key = "gpoHam", .name = "ptp0", .value = true } } } );
   std::string const text = reported( singleCard, scenario );
   EXPECT_TRUE( has(
      text, "gate closed     not met: reset output without handle, time sync disabled;\n"
            "                                      met: hardware present, sequence handed over\n"
            "     0.000            scenario        time-sync state 1\n"
            "     0.000  ptp0      gate closed     not met: reset output without handle;\n"
            "                                      met: hardware present, sequence handed over,\n"
            "                                      time sync enabling\n"
            "     0.000            scenario        reset output of ptp0 has its handle\n"
            "     0.000  " +
               gateOpen ) )
      << text;
}

TEST( Report, TellsTheTolvaneAndTheChipItFeeds ) {
   std::string const text = reported( wholeCard, {} );
   EXPECT_TRUE( has(
      text, "     0.000  osc0      attempt 1       reset pulse\n"
            "     0.800  osc0      ready           0.800 s after its reset\n"
            "     0.800  ptp0      gate open       hardware present, sequence handed over, osc0 ready,\n"
            "                                      time sync enabling\n" ) )
      << text;
   EXPECT_TRUE( has( text, "osc0  Tolvane   ready         1\n" ) ) << text;
   EXPECT_TRUE( has( text, "osc0     0.300                      0.500              0.800\n" ) ) << text;
}

std::string chipOf( std::string const & name, U32 offset, std::string const & resetGpo, std::string const & sequence ) {
   return R"({ "kind": "max24305", "name": ")" + name + R"(", "configOffset": )" + std::to_string( offset ) +
          R"(, "statusOffset": )" + std::to_string( offset + 256 ) + R"(, "resetGpoName": ")" + resetGpo +
          R"(", "input": "stuffedClock", "outputFrequencyInHz": 10000000, "spiResetSupported": false, "sequence": )" +
          sequence + " }";
}

// The lines of the account that are about that chip, without the chip and without the blanks between the columns.
std::string linesOf( std::string const & text, std::string const & chip ) {
   std::istringstream in( text );
   std::string found;
   for ( std::string line; std::getline( in, line ); ) {
      std::size_t const at = line.find( "  " + chip + "  " );
      if ( at == std::string::npos || line.find( "gate" ) != std::string::npos ) continue;
      std::string const what = line.substr( line.find_first_not_of( ' ', at + 2 + chip.size() ) );
      found += line.substr( 0, at ) + " " + what.substr( 0, what.find( "  " ) ) + "\n";
   }
   return found;
}

// Each pulse for one of the two resets the other as well, whose lock takes the longer.
TEST( Report, TellsTwoChipsThatShareAResetOutputApart ) {
   std::string const bad =
      R"x([ "Value('Hardware::Max24305::Op', ** {'key': 1, 'type': 'read', 'address': 48, 'value': 1})" ])x";
   std::string const text = reported(
      R"({ "access": { "kind": "simulated" }, "gpos": [ { "name": "reset", "offset": 8192, "bit": 0 } ], "chips": [ )" +
         chipOf( "ptp0", 256, "reset", shortSequence ) + ", " + chipOf( "ptp1", 1024, "reset", bad ) + " ] }",
      {} );
   EXPECT_EQ(
      linesOf( text, "ptp0" ), "     0.000 attempt 1\n"
                               "     1.300 programming\n"
                               "     1.300 locking\n"
                               "    24.300 lock poll 1\n"
                               "    25.300 lock poll 2\n"
                               "    25.300 ready\n"
                               "    25.300 clock ready\n" )
      << text;
   std::string failures;
   for ( U32 attempt = 1; attempt <= 10; ++attempt ) {
      U64 const ns = 1'300'012'000 + ( attempt - 1 ) * U64{ 2'300'004'000 };
      auto const seconds = []( U64 at ) {
         return Vor::format( "%10.3f", static_cast<double>( at ) / 1e9 ).stdString();
      };
      failures +=
         seconds( ns ) + " attempt " + std::to_string( attempt ) + "\n" + seconds( ns + 1'300'004'000 ) + " failed\n";
      if ( attempt == 1 ) failures += seconds( ns + 1'300'004'000 ) + " clock failed\n";
   }
   EXPECT_EQ( linesOf( text, "ptp1" ), failures ) << text;
   EXPECT_TRUE( has( text, "ptp0  MAX24305  ready   ready   1         3/3         2      10000000 Hz\n" ) ) << text;
   EXPECT_TRUE( has( text, "ptp1  MAX24305  failed  failed  10        1/1         0\n" ) ) << text;
}

// Time synchronisation goes off long after the lock, and comes back only for so long that the next lock is cut short.
TEST( Report, CountsStepsUpToTheirOwnEndAlone ) {
   Sim::Scenario scenario;
   scenario.events.push_back( { 50'000'000'000, { { .key = "timeSync", .value = 0 } } } );
   scenario.untilNs = 60'000'000'000;
   std::string const lost = reported( singleCard, scenario );
   EXPECT_TRUE( has( lost, "ptp0  MAX24305  uninitialized  notReady" ) ) << lost;
   EXPECT_TRUE( has( lost, "ptp0     0.800        0.500         0.000012    3.000  4.300\n" ) ) << lost;

   scenario.events.push_back( { 52'000'000'000, { { .key = "timeSync", .value = 1 } } } );
   scenario.events.push_back( { 54'500'000'000, { { .key = "timeSync", .value = 0 } } } );
   std::string const cut = reported( singleCard, scenario );
   EXPECT_TRUE( has( cut, "    54.500  ptp0      uninitialized\n" ) ) << cut;
   EXPECT_TRUE( has( cut, "ptp0     0.800        0.500         0.000012    -     -\n" ) ) << cut;
}

TEST( Report, TellsTheLastPollOfALockThatIsUnderWayAtTheEnd ) {
   Sim::Scenario scenario;
   scenario.untilNs = 3'500'000'000;
   std::string const text = reported( singleCard, scenario );
   EXPECT_TRUE( has( text, "     3.300  ptp0      lock poll 3     APLL status 0x00" ) ) << text;
   EXPECT_TRUE( has( text, "ptp0  MAX24305  locking  notReady  1         3/3         3\n" ) ) << text;
   EXPECT_TRUE( has( text, "ptp0     0.800        0.500         0.000012    -     -\n" ) ) << text;
}

TEST( Report, AChipThatLostItsHardwareHasTheStepsOfItsBringUpAndNoAttempts ) {
   Sim::Scenario scenario;
   scenario.events.push_back( { 50'000'000'000, { { .key = "hardwarePresent", .value = 0 } } } );
   scenario.untilNs = 60'000'000'000;
   std::string const text = reported( wholeCard, scenario );
   EXPECT_TRUE( has( text, "    50.000  osc0      uninitialized\n" ) ) << text;
   EXPECT_TRUE( has( text, "osc0  Tolvane   uninitialized            0\n" ) ) << text;
   EXPECT_TRUE( has( text, "ptp0  MAX24305  uninitialized  notReady  0         3/3         3\n" ) ) << text;
   EXPECT_TRUE( has( text, "osc0     0.300                      0.500              0.800\n" ) ) << text;
}

// A card whose machines are not made: the steps are told by hand, as a machine tells them.
class ReportByHand : public ::testing::Test {
 protected:
   struct Machine {
      Vor::Ptr<Hardware::Max24305::Config> config() const { return config_; }
      Vor::Ptr<Hardware::Max24305::Config> config_;
   };
   // What the report says of a step of ptp0.
   std::string told( auto const & step ) {
      Hardware::tellStep( Machine{ account.world.card().max24305ConfigDir()->max24305( "ptp0" ) }, step );
      return std::exchange( account.out, std::ostringstream() ).str();
   }
   std::string ended() {
      account.report.end();
      return std::exchange( account.out, std::ostringstream() ).str();
   }

   Account account{ singleCard };
};

TEST_F( ReportByHand, AGateIsToldAgainOnlyWhenItsRowsChange ) {
   Hardware::GateRow rows[] = { { "hardware", "present", true }, { "time sync", "disabled", false } };
   std::string const closed =
      "     0.000  ptp0      gate closed     not met: time sync disabled; met: hardware present\n";
   EXPECT_EQ( told( Hardware::Steps::GateEvaluated{ rows } ), closed );
   EXPECT_EQ( told( Hardware::Steps::GateEvaluated{ rows } ), "" );
   rows[1] = { "time sync", "enabling", true };
   EXPECT_EQ(
      told( Hardware::Steps::GateEvaluated{ rows } ),
      "     0.000  ptp0      gate open       hardware present, time sync enabling\n" );
}

TEST_F( ReportByHand, PollsAreThoseSinceTheLastProgramming ) {
   using Hardware::Max24305::State;
   using Output = Hardware::Kiv::ClockStatus;
   told( Hardware::Steps::Published{ State::locking_, Output::notReady_ } );
   EXPECT_NE( told( Hardware::Steps::LockPolled{ 1, 101, 0 } ), "" );
   EXPECT_EQ( told( Hardware::Steps::LockPolled{ 2, 101, 0 } ), "" );
   told( Hardware::Steps::ProgrammingEnded{ 1, true } );
   std::string const text = ended();
   EXPECT_FALSE( has( text, "lock poll" ) ) << text;
   EXPECT_TRUE( has( text, "ptp0  MAX24305  locking  notReady  0         0/3         0\n" ) ) << text;
}

// The step sink is the process's: the report gives it back.
TEST( Report, HearsNoStepsOnceItHasGone ) {
   reported( singleCard, {} );
   EXPECT_FALSE( Hardware::stepsTold() );
}

TEST( Report, WarnsOfAnAccessWhereTheCardHasNoRegister ) {
   Account account( singleCard );
   account.world.card().hamImpl()->write32( 0x4000, 1 );
   EXPECT_EQ(
      account.out.str(),
      "     0.000            warning         write to 0x4000, where the card has no register: it is lost\n" );
}

}   // namespace
