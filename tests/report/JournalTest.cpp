#include "report/Journal.h"
#include "report/TracesOn.h"

#include "card/SimulatedWorld.h"
#include "framework/Log.h"
#include "framework/Trace.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace {

using namespace Host;
using namespace Hardware::Steps;
using ChipState = Hardware::Max24305::State;
using Clock = Hardware::Kiv::ClockStatus;

constexpr char vorSource[] = "JournalTest";

// A card whose machines are not made: the steps are told by hand, as a machine tells them.
class JournalTest : public ::testing::Test {
 protected:
   template<class Config> struct Machine {
      Vor::Ptr<Config> config() const { return config_; }
      Vor::Ptr<Config> config_;
   };

   explicit JournalTest( bool onTerminal = false ) : onTerminal( onTerminal ) {}

   std::string max24305( std::string const & chip, auto const & step ) {
      Hardware::tellStep(
         Machine<Hardware::Max24305::Config>{ world.card().max24305ConfigDir()->max24305( chip ) }, step );
      return told();
   }
   std::string tolvane( auto const & step ) {
      Hardware::tellStep(
         Machine<Hardware::Tolvane::Config>{ world.card().tolvaneConfigDir()->tolvane( "osc0" ) }, step );
      return told();
   }
   // What the journal said since, without the times of day.
   std::string told() {
      static std::regex const timeOfDay( R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})" );
      return std::regex_replace( std::exchange( out, std::ostringstream() ).str(), timeOfDay, "TIME" );
   }

   SimulatedWorld world{ Input::cardOf( Input::wholeCard ), {} };
   std::ostringstream out;
   bool const onTerminal;
   Journal journal{ out, Style( false ), onTerminal, world.events(), world.card(), 1 };
};

TEST_F( JournalTest, TellsWhatANarratorTells ) {
   EXPECT_EQ( max24305( "ptp0", AttemptBegun{ 1, 10 } ), "TIME  ptp0      attempt 1       reset pulse\n" );
   EXPECT_EQ( tolvane( AttemptBegun{ 2, 5 } ), "TIME  osc0      attempt 2       reset pulse\n" );
   EXPECT_EQ( max24305( "ptp0", Published{ ChipState::locking_, Clock::notReady_ } ), "TIME  ptp0      locking\n" );
   EXPECT_EQ(
      max24305( "ptp0", LockPolled{ 1, 101, 0x11 } ),
      "TIME  ptp0      lock poll 1     APLL status 0x11: APLL 1 locked, APLL 2 locked\n" );
}

// Where a chip waits for time synchronisation, nothing else would ever be told.
TEST_F( JournalTest, TellsWhatAGateWaitsFor ) {
   Hardware::GateRow const rows[] = { { "hardware", "present", true }, { "time sync", "disabled", false } };
   EXPECT_EQ(
      max24305( "ptp0", GateEvaluated{ rows } ), "TIME  ptp0      gate closed     not met: time sync disabled;\n" +
                                                    std::string( 51, ' ' ) + "met: hardware present\n" );
}

OperationDone operation( U32 place ) {
   OperationDone done;
   done.place = place;
   done.of = 431;
   return done;
}

TEST_F( JournalTest, HasNoLineForWhatHappensBetweenTheStates ) {
   EXPECT_EQ( max24305( "ptp0", ResetPulsed{} ), "" );
   EXPECT_EQ( max24305( "ptp0", CleanedUp{} ), "" );
   EXPECT_EQ( max24305( "ptp0", operation( 7 ) ), "" );
}

class JournalOnATerminalTest : public JournalTest {
 protected:
   JournalOnATerminalTest() : JournalTest( true ) {}
};

TEST_F( JournalOnATerminalTest, ShowsProgressUntilTheNextLineAndNotTooOften ) {
   EXPECT_EQ( max24305( "ptp0", operation( 7 ) ), "\r\033[Kptp0: 7 of 431 operations" );
   EXPECT_EQ( max24305( "ptp0", operation( 8 ) ), "" );
   EXPECT_EQ( max24305( "ptp0", AttemptBegun{ 2, 10 } ), "\r\033[KTIME  ptp0      attempt 2       reset pulse\n" );
}

TEST_F( JournalOnATerminalTest, ShowsThePollsOfALongLock ) {
   Published const locking{ ChipState::locking_, Clock::notReady_ };
   EXPECT_EQ( max24305( "ptp0", locking ), "\r\033[KTIME  ptp0      locking\n" );
   EXPECT_TRUE( max24305( "ptp0", LockPolled{ 1, 101, 0 } ).ends_with( "\r\033[Kptp0: lock poll 1 of at most 101" ) );
}

TEST_F( JournalTest, TellsOfTheCardAsItGoesAndComes ) {
   world.card().hamImpl()->hardwarePresentIs( false );
   EXPECT_EQ( told(), "TIME            input           hardware not present\n" );
   world.card().hamImpl()->hardwarePresentIs( true );
   EXPECT_EQ( told(), "TIME            input           hardware present\n" );
}

TEST_F( JournalTest, TellsWordsOfTheAgentItself ) {
   journal.line( "waiting for the card" );
   EXPECT_EQ( told(), "TIME            waiting for the card\n" );
}

// A line with its details on rows below, as one row.
std::string unwrapped( std::string const & text ) { return std::regex_replace( text, std::regex( "\n {40,}" ), " " ); }

TEST_F( JournalTest, TellsOfLoggedMessagesWarningsAndTracesUpToItsLevel ) {
   Vor::log( "MAX24305_INIT_FAILED", nullptr, 0 );
   std::string const logged = unwrapped( told() );
   EXPECT_TRUE( logged.starts_with(
      "TIME            log             MAX24305_INIT_FAILED: Initialization of the Max24305 chip has failed. " ) )
      << logged;
   EXPECT_TRUE( logged.ends_with( Vor::String( Vor::CallSupportIfPersists ).stdString() + "\n" ) ) << logged;

   world.card().hamImpl()->write32( 0x4000, 1 );
   EXPECT_EQ(
      unwrapped( told() ),
      "TIME            warning         write to 0x4000, where the card has no register: it is lost\n" );

   std::string const facility = "Hardware::Max24305Sm";
   Vor::String const text( "Read count = \x02" );
   auto const trace = [&]( U32 level ) {
      Vor::TraceRecord const record{ facility.c_str(), level, vorSource, "doRead", 42, text };
      world.events().tell( &Sim::CardListener::onTrace, record );
      return told();
   };
   EXPECT_EQ( trace( 1 ), "TIME            trace 1         JournalTest doRead: Read count = \\x02\n" );
   EXPECT_EQ( trace( 2 ), "" );
}

TEST( TracesOnTest, TracesAreOnAsLongAsItLives ) {
   static Vor::TraceHandle const handle( "JournalTest" );
   std::optional<TracesOn> listening( std::in_place, 4U );
   EXPECT_TRUE( handle.isEnabled( 0 ) && handle.isEnabled( 3 ) );
   EXPECT_FALSE( handle.isEnabled( 4 ) );
   listening.reset();
   EXPECT_FALSE( handle.isEnabled( 3 ) );
}

}   // namespace
