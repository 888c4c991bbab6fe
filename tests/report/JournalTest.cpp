#include "report/Journal.h"

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
using Hardware::Max24305::State;
using Clock = Hardware::Kiv::ClockStatus;

constexpr char vorSource[] = "JournalTest";

// A card whose machines are not made: the steps are told by hand, as a machine tells them.
class JournalTest : public ::testing::Test {
 protected:
   template<class Config> struct Machine {
      Vor::Ptr<Config> config() const { return config_; }
      Vor::Ptr<Config> config_;
   };

   explicit JournalTest( bool onTerminal = false )
      : journal( new Journal( out, Style( false ), onTerminal, world.card(), 1 ) ) {
      world.events().listenerAdd( *journal );
   }

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
   Vor::Ptr<Journal> journal;
};

TEST_F( JournalTest, TellsWhenAChipIsReset ) {
   EXPECT_EQ( max24305( "ptp0", AttemptBegun{ 1, 10 } ), "TIME  ptp0      reset pulse\n" );
   EXPECT_EQ( tolvane( AttemptBegun{ 2, 5 } ), "TIME  osc0      reset pulse\n" );
}

TEST_F( JournalTest, TellsEachStateOnceAndOfTheTwoRecordsTheOneThatChanged ) {
   EXPECT_EQ( max24305( "ptp0", Published{ State::uninitialized_, Clock::notReady_ } ), "" );
   EXPECT_EQ( max24305( "ptp0", Published{ State::locking_, Clock::notReady_ } ), "TIME  ptp0      locking\n" );
   EXPECT_EQ( max24305( "ptp0", Published{ State::ready_, Clock::notReady_ } ), "TIME  ptp0      ready\n" );
   EXPECT_EQ( max24305( "ptp0", Published{ State::ready_, Clock::ready_ } ), "TIME  ptp0      clock ready\n" );
   EXPECT_EQ( max24305( "ptp0", Published{ State::ready_, Clock::ready_ } ), "" );
   EXPECT_EQ(
      max24305( "ptp1", Published{ State::failed_, Clock::failed_ } ), "TIME  ptp1      failed\n"
                                                                       "TIME  ptp1      clock failed\n" );
   EXPECT_EQ(
      max24305( "ptp0", Published{ State::uninitialized_, Clock::notReady_ } ), "TIME  ptp0      uninitialized\n"
                                                                                "TIME  ptp0      clock notReady\n" );
}

TEST_F( JournalTest, TellsTheStatesOfATolvane ) {
   EXPECT_EQ( tolvane( TolvanePublished{ Hardware::Tolvane::ready_ } ), "TIME  osc0      ready\n" );
   EXPECT_EQ( tolvane( TolvanePublished{ Hardware::Tolvane::ready_ } ), "" );
   EXPECT_EQ( tolvane( TolvanePublished{ Hardware::Tolvane::failed_ } ), "TIME  osc0      failed\n" );
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
   EXPECT_EQ( max24305( "ptp0", LockPolled{ 1, 101, 0x11 } ), "" );
}

class JournalOnATerminalTest : public JournalTest {
 protected:
   JournalOnATerminalTest() : JournalTest( true ) {}
};

TEST_F( JournalOnATerminalTest, ShowsProgressUntilTheNextLineAndNotTooOften ) {
   EXPECT_EQ( max24305( "ptp0", operation( 7 ) ), "\r\033[Kptp0: 7 of 431 operations" );
   EXPECT_EQ( max24305( "ptp0", operation( 8 ) ), "" );
   EXPECT_EQ( max24305( "ptp0", AttemptBegun{ 2, 10 } ), "\r\033[KTIME  ptp0      reset pulse\n" );
}

TEST_F( JournalTest, TellsOfTheCardAsItGoesAndComes ) {
   world.card().hamImpl()->hardwarePresentIs( false );
   EXPECT_EQ( told(), "TIME            hardware absent\n" );
   world.card().hamImpl()->hardwarePresentIs( true );
   EXPECT_EQ( told(), "TIME            hardware present\n" );
}

TEST_F( JournalTest, TellsOfLoggedMessagesWarningsAndTracesUpToItsLevel ) {
   Vor::log( "MAX24305_INIT_FAILED", nullptr, 0 );
   std::string const logged = told();
   EXPECT_TRUE(
      logged.starts_with( "TIME            MAX24305_INIT_FAILED: Initialization of the Max24305 chip has failed. " ) )
      << logged;
   EXPECT_TRUE( logged.ends_with( Vor::String( Vor::CallSupportIfPersists ).stdString() + "\n" ) ) << logged;

   world.card().hamImpl()->write32( 0x4000, 1 );
   EXPECT_EQ( told(), "TIME            warning: write to 0x4000, where the card has no register: it is lost\n" );

   std::string const facility = "Hardware::Max24305Sm";
   Vor::String const text( "Read count = \x02" );
   journal->onTrace( 0, { facility.c_str(), 1, vorSource, "doRead", 42, text } );
   EXPECT_EQ( told(), "TIME            trace 1 JournalTest doRead: Read count = \\x02\n" );
   journal->onTrace( 0, { facility.c_str(), 2, vorSource, "doRead", 42, text } );
   EXPECT_EQ( told(), "" );
}

TEST_F( JournalTest, TracesAreOnAsLongAsItLives ) {
   static Vor::TraceHandle const handle( "JournalTest" );
   Vor::Ptr<Journal> listening = new Journal( out, Style( false ), false, world.card(), 3 );
   EXPECT_TRUE( handle.isEnabled( 0 ) && handle.isEnabled( 3 ) );
   EXPECT_FALSE( handle.isEnabled( 4 ) );
   listening = nullptr;
   EXPECT_FALSE( handle.isEnabled( 3 ) );
}

}   // namespace
