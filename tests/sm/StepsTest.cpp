// What the machines tell the step sink, between what they do.
#include "sm/Steps.h"

#include "sm/Max24305WithTolvaneInputSm.h"
#include "tests/sm/Max24305Rig.h"
#include "tests/sm/TolvaneRig.h"

#include <sstream>

#include "StepsExample.h"   // made from docs/steps.md

namespace SmTest::Told {
namespace {

using namespace Hardware::Steps;
using Hardware::GateRow;
using Hardware::Max24305WithTolvaneInputSm;
using Hardware::Step;

std::string textOf( std::span<GateRow const> rows ) {
   std::string text;
   for ( GateRow const & row : rows )
      text += ( text.empty() ? "" : ", " ) + row.condition.stdString() + " " + row.value.stdString() +
              ( row.met ? "" : "!" );
   return text;
}

struct TextOf {
   static std::string count( U32 number, U32 of ) { return std::to_string( number ) + "/" + std::to_string( of ); }

   std::string operator()( GateEvaluated const & gate ) const { return "gate " + textOf( gate.rows ); }
   std::string operator()( AttemptBegun const & step ) const { return "attempt " + count( step.number, step.of ); }
   std::string operator()( ResetPulsed const & ) const { return "pulsed"; }
   std::string operator()( CleanedUp const & ) const { return "clean"; }
   std::string operator()( OperationDone const & step ) const {
      static constexpr char const * outcomes[] = { "done", "mismatch", "not sent" };
      auto const [key, type, address, value] = step.operation;
      return "operation " + count( step.place, step.of ) + " " + stringValue( type ).stdString() +
             Vor::format( " 0x%x 0x%x ", address, value ).stdString() +
             ( step.byteRead ? Vor::format( "found 0x%x ", *step.byteRead ).stdString() : "" ) +
             outcomes[static_cast<U32>( step.outcome )];
   }
   std::string operator()( EnableDone const & step ) const {
      return Vor::format( "enable read back 0x%x", step.word ).stdString() + ( step.answers ? "" : "!" );
   }
   std::string operator()( AttemptFailed const & step ) const {
      return "attempt " + count( step.number, step.of ) + " failed at " + std::visit( *this, step.at );
   }
   std::string operator()( ProgrammingEnded const & step ) const {
      return "ended after " + std::to_string( step.attempts ) + ( step.succeeded ? "" : "!" );
   }
   std::string operator()( LockPolled const & step ) const {
      return "poll " + count( step.number, step.of ) + Vor::format( " 0x%x", step.status ).stdString();
   }
   std::string operator()( FrequencyRead const & step ) const {
      return "frequency " + std::to_string( step.frequencyInHz );
   }
   std::string operator()( Published const & step ) const {
      return "published " + stringValue( step.state ).stdString() + " " + stringValue( step.clock ).stdString();
   }
   std::string operator()( TolvanePublished const & step ) const {
      return "published " + stringValue( step.state ).stdString();
   }
};

std::string stepOf( std::string const & text, std::string const & chip = "ptp0" ) {
   return "step " + chip + " " + text;
}
Lines stepsOf( std::vector<std::string> texts, std::string const & chip = "ptp0" ) {
   for ( std::string & text : texts ) text = stepOf( text, chip );
   return texts;
}

class NotingStepSink final : public Hardware::StepSink {
 public:
   explicit NotingStepSink( Diary & diary ) : diary_( diary ) {}
   void step( Vor::Entity const & config, Step const & step ) override {
      diary_.add( stepOf( std::visit( TextOf(), step ), config.name().string().stdString() ) );
   }

 private:
   Diary & diary_;
};

template<class World> class WithSteps : public World {
 protected:
   WithSteps() : outer( Hardware::stepSinkIs( new NotingStepSink( this->diary ) ) ) { this->diary.take(); }
   ~WithSteps() override { Hardware::stepSinkIs( outer ); }

   Lines takeSteps() {
      Lines steps = this->diary.of( { "step" } );
      this->diary.take();
      return steps;
   }

   Vor::Ptr<Hardware::StepSink> const outer;
};
class Max24305StepsTest : public WithSteps<Max24305World> {};
class TolvaneStepsTest : public WithSteps<TolvaneWorld> {};

std::string const openGate = "gate hardware present, sequence handed over, reset output usable, time sync acquiring";
std::string const closedGate = "gate hardware absent!, sequence handed over, reset output usable, time sync acquiring";

TEST_F( Max24305StepsTest, ABringUpIsToldStepByStep ) {
   opsAre( { { 2, 0x10, 0x3c }, { 1, 0x10, 0x3c }, { 3, 0, 7'000 } } );
   chip->readsAre( 7, { 0x01 } );
   auto const machine = stuffedClockMachine();
   Lines const pulse = { gpo( true ), sleep( 300'000'000 ), gpo( false ), sleep( 500'000'000 ) };
   Lines const cleanUp = { spiClose,           sleep( 500'000'000 ), spiReset( 1 ),
                           sleep( 5'000'000 ), spiReset( 0 ),        sleep( 5'000'000 ) };
   Lines const expected = stepsOf( { openGate, "attempt 1/10" } ) + pulse + stepsOf( { "pulsed" } ) + cleanUp +
                          stepsOf( { "clean" } ) +
                          Lines{
                             chipWrite( 0x10, 0x3c ),
                             stepOf( "operation 1/3 write 0x10 0x3c done" ),
                             chipRead( 0x10, 0x3c ),
                             stepOf( "operation 2/3 read 0x10 0x3c found 0x3c done" ),
                             sleep( 7'000 ),
                             stepOf( "operation 3/3 sleep 0x0 0x1b58 done" ),
                             stepOf( "ended after 1" ),
                             stepOf( "published locking notReady" ),
                             told( "status", "locking" ) };
   EXPECT_EQ( takeDeeds(), expected );
   rig.turn();
   EXPECT_EQ( takeDeeds(), ( Lines{ chipRead( 7, 1 ), stepOf( "poll 1/101 0x1" ) } ) );
   chip->readIs( 7, 0x11 );
   rig.turn();
   EXPECT_EQ(
      takeDeeds(), ( Lines{
                      chipRead( 7, 0x11 ), stepOf( "poll 2/101 0x11" ), frequencyRead, stepOf( "frequency 10000000" ),
                      stepOf( "published ready notReady" ), told( "status", "ready" ),
                      stepOf( "published ready ready" ), told( "clock", "ready" ) } ) );
   chip->hardwarePresentIs( false );
   EXPECT_EQ(
      takeDeeds(),
      ( Lines{
         stepOf( closedGate ), stepOf( "published uninitialized ready" ), told( "status", "uninitialized" ),
         stepOf( "published uninitialized notReady" ), told( "clock", "notReady" ) } ) );
   machine->handleEnvironmentChanges();
   EXPECT_EQ( takeDeeds(), Lines{ stepOf( closedGate ) } );
}

TEST_F( Max24305StepsTest, AFailedAttemptTellsWhereAndWhy ) {
   opsAre( { { 1, 0x10, 0x3c }, { 1, 0x11, 1 } } );
   chip->readsAre( 0x10, { 0x3c, 0x3d, 0x3c } );
   chip->readsAre( 0x11, { 0, 1 } );
   auto const machine = stuffedClockMachine();
   Lines const deeds = takeDeeds();
   std::string const first = "operation 2/2 read 0x11 0x1 found 0x0 mismatch";
   Lines const expected = {
      chipRead( 0x11, 0 ),
      stepOf( first ),
      stepOf( "published failed notReady" ),
      told( "status", "failed" ),
      stepOf( "attempt 1/10 failed at " + first ),
      stepOf( "published failed failed" ),
      told( "clock", "failed" ),
      sleep( 1'000'000'000 ),
      stepOf( "attempt 2/10" ) };
   EXPECT_NE( std::search( deeds.begin(), deeds.end(), expected.begin(), expected.end() ), deeds.end() );
   // The records say "failed" already, so that this one comes alone.
   std::string const second = "operation 1/2 read 0x10 0x3c found 0x3d mismatch";
   Lines const again = { stepOf( second ), stepOf( "attempt 2/10 failed at " + second ), sleep( 1'000'000'000 ) };
   EXPECT_NE( std::search( deeds.begin(), deeds.end(), again.begin(), again.end() ), deeds.end() );
   EXPECT_EQ( deeds[deeds.size() - 3], stepOf( "ended after 3" ) );
}

TEST_F( Max24305StepsTest, AWriteThatIsNotSentIsToldApart ) {
   opsAre( { { 2, 0x10, 0x3c } } );
   chip->stuckWritesAre( 1 );
   auto const machine = stuffedClockMachine();
   Lines const steps = takeSteps();
   EXPECT_EQ( steps[4], stepOf( "operation 1/1 write 0x10 0x3c not sent" ) );
   EXPECT_EQ( steps[6], stepOf( "attempt 1/10 failed at operation 1/1 write 0x10 0x3c not sent" ) );
}

TEST_F( Max24305StepsTest, TheEndOfTheLastAttemptIsToldBeforeItIsLogged ) {
   opsAre( { { 1, 0x10, 1 } } );
   chip->readIs( 0x10, 0 );
   auto const machine = stuffedClockMachine();
   Lines const deeds = takeDeeds();
   EXPECT_EQ( std::count( deeds.begin(), deeds.end(), stepOf( "attempt 10/10" ) ), 1 );
   ASSERT_GE( deeds.size(), 3u );
   EXPECT_EQ(
      Lines( deeds.end() - 3, deeds.end() ),
      ( Lines{ sleep( 1'000'000'000 ), stepOf( "ended after 10!" ), initFailed } ) );
}

TEST_F( Max24305StepsTest, TheLastPollIsKnownByItsNumber ) {
   auto const machine = stuffedClockMachine();
   rig.turns();
   Lines const deeds = takeDeeds();
   EXPECT_EQ( std::count( deeds.begin(), deeds.end(), stepOf( "poll 100/101 0x0" ) ), 1 );
   EXPECT_EQ(
      Lines( deeds.end() - 6, deeds.end() ),
      ( Lines{
         stepOf( "poll 101/101 0x0" ), initFailed, stepOf( "published failed notReady" ), told( "status", "failed" ),
         stepOf( "published failed failed" ), told( "clock", "failed" ) } ) );
}

TEST_F( Max24305StepsTest, ASinkChangesNothing ) {
   opsAre( { { 1, 0x10, 1 } } );
   chip->readIs( 0x10, 1 );
   Lines with;
   for ( std::string & line : ( readyMachine(), stuffedClockMachine(), rig.turns(), diary.take() ) )
      if ( !line.starts_with( "step" ) ) with.push_back( std::move( line ) );
   status->stateIs( Hardware::Max24305::uninitialized_ );
   pllStatus->stateIs( ClockStatus::notReady_ );
   Hardware::stepSinkIs( nullptr );
   readyMachine();
   stuffedClockMachine();
   rig.turns();
   EXPECT_EQ( diary.take(), with );
}

TEST_F( Max24305StepsTest, AMachineWithoutItsConfigurationTellsNothing ) {
   auto const machine = stuffedClockMachine();
   machine->configDel();
   takeSteps();
   EXPECT_TRUE( rig.turn() );
   EXPECT_EQ( takeDeeds(), Lines{ chipRead( 7, 0 ) } );
}

TEST_F( Max24305StepsTest, TheGateOfEachMachineIsAskedForInAllItsStates ) {
   auto const machine = stuffedClockMachine();
   redundancy->modeIs( Redundancy::switchover_ );
   diary.take();
   std::string const ready = "hardware present, sequence handed over, reset output usable, time sync acquiring";
   EXPECT_EQ( textOf( machine->gate() ), ready + ", switchover not DovraWritable!" );
   machine->hasNotificationActiveIs( false );
   redundancy->switchoverStageIs( "DovraWritable", true );
   EXPECT_EQ( textOf( machine->gate() ), ready + ", switchover DovraWritable" );
   EXPECT_TRUE( Hardware::allMet( machine->gate() ) );
   redundancy->modeIs( Redundancy::standby_ );
   chip->hardwarePresentIs( false );
   config->opsToDoValidIs( false );
   gpoReset->hamIs( nullptr );
   timeSync->stateIs( PtpTimeSync::disabled_ );
   auto const gate = machine->gate();
   EXPECT_EQ(
      textOf( gate ),
      "hardware absent!, sequence not handed over!, reset output without handle!, time sync disabled!" );
   std::vector<std::string> traces;
   for ( GateRow const & row : gate ) traces.emplace_back( row.trace );
   EXPECT_EQ(
      traces, ( std::vector<std::string>{
                 " Kiv hardware not present", " Invalid programming sequence.", " Gpo ham not available yet",
                 " TimeSync not enabled" } ) );
   Rig::simulationVmidIs( "" );
   EXPECT_EQ( machine->gate()[2].value, "not needed" );
   EXPECT_EQ( diary.take(), Lines{} );
}

TEST_F( Max24305StepsTest, AVariantIsKnownByItsRowThroughTheBase ) {
   auto const tolvane =
      Hardware::Tolvane::statusFactory( "osc0", Fru::GenerationId( 1 ), Hardware::Tolvane::timeSync_ );
   Vor::Ptr<Max24305Sm> const machine = Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
      redundancy, config, status, pllStatus, timeSync, gpoReset, tolvane );
   EXPECT_EQ(
      takeSteps(),
      Lines{ stepOf( "gate hardware present, sequence handed over, osc0 uninitialized!, time sync acquiring" ) } );
   EXPECT_EQ(
      textOf( machine->gate() ), "hardware present, sequence handed over, osc0 uninitialized!, time sync acquiring" );
   EXPECT_STREQ( machine->gate()[2].trace, " Tolvane does not exist or its not ready." );
}

TEST_F( Max24305StepsTest, WiringThatIsMissingIsARowToAHost ) {
   auto const machine = Max24305Sm::Max24305SmIs( nullptr, nullptr, nullptr, nullptr, nullptr, nullptr );
   EXPECT_EQ(
      textOf( machine->gate() ),
      "hardware missing!, sequence missing!, reset output missing!, time sync missing!, redundancy missing!" );
   auto const fed = Max24305WithTolvaneInputSm::Max24305WithTolvaneInputSmIs(
      redundancy, config, status, pllStatus, timeSync, gpoReset,
      Hardware::Tolvane::statusFactory( "osc0", Fru::GenerationId( 1 ), Hardware::Tolvane::timeSync_ ) );
   fed->tolvaneStatusDel();
   EXPECT_EQ( textOf( fed->gate() ), "hardware present, sequence handed over, tolvane missing!, time sync acquiring" );
}

TEST_F( TolvaneStepsTest, ABringUpIsToldStepByStep ) {
   answersAre( { 4, 4, 0, 3 } );
   auto const made = machine();
   std::string const osc0 = "osc0";
   auto const step = [&]( std::string const & text ) { return stepOf( text, osc0 ); };
   Lines deeds;
   for ( std::string & line : diary.take() )
      if ( !line.starts_with( "trace" ) ) deeds.push_back( std::move( line ) );
   Lines const pulse = { gpo( true ), sleep( 100'000'000 ), gpo( false ), sleep( 200'000'000 ), step( "pulsed" ) };
   Lines const expected = stepsOf( { "gate hardware present, reset output usable", "attempt 1/5" }, osc0 ) + pulse +
                          Lines{ read32( tolvaneOffset, 4 ),
                                 write32( tolvaneOffset, 6 ),
                                 sleep( 500'000'000 ),
                                 read32( tolvaneOffset, 4 ),
                                 step( "enable read back 0x4!" ),
                                 step( "attempt 1/5 failed at enable read back 0x4!" ),
                                 step( "published failed" ),
                                 told( "tolvane", "failed" ),
                                 step( "attempt 2/5" ) } +
                          pulse +
                          Lines{ read32( tolvaneOffset, 0 ), write32( tolvaneOffset, 2 ),    sleep( 500'000'000 ),
                                 read32( tolvaneOffset, 3 ), step( "enable read back 0x3" ), step( "ended after 2" ),
                                 step( "published ready" ),  told( "tolvane", "ready" ) };
   EXPECT_EQ( deeds, expected );
}

TEST_F( TolvaneStepsTest, FiveAttemptsEndIt ) {
   answersAre( { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 } );
   auto const made = machine();
   EXPECT_EQ(
      Lines( diary.lines().end() - 2, diary.lines().end() ),
      ( Lines{ stepOf( "ended after 5!", "osc0" ), initFailedLog } ) );
   gpoReset->hamIs( nullptr );
   EXPECT_EQ( diary.lines().back(), told( "tolvane", "uninitialized" ) );
   EXPECT_EQ( textOf( made->gate() ), "hardware present, reset output without handle!" );
   EXPECT_EQ( made->gate().front().trace, nullptr );
   made->setClearGpoDel();
   made->hamImplDel();
   EXPECT_EQ( textOf( made->gate() ), "hardware missing!, reset output missing!" );
}

// Who watches the record may sleep: the change was told before.
TEST_F( TolvaneStepsTest, AChangeIsToldBeforeThoseWhoWatchTheRecordHearOfIt ) {
   statusWatch->action = [this] { rig.clock->nowNsIs( rig.clock->nowNs() + 1'000'000'000 ); };
   answersAre( { 0, 3 } );
   auto const made = machine();
   Lines const lines = diary.take();
   EXPECT_EQ(
      Lines( lines.end() - 3, lines.end() ),
      ( Lines{ stepOf( "ended after 1", "osc0" ), stepOf( "published ready", "osc0" ), told( "tolvane", "ready" ) } ) );
}

TEST( Steps, TheProcessHasOneSink ) {
   struct Sink final : Hardware::StepSink {
      void step( Vor::Entity const &, Step const & ) override {}
   };
   Vor::Ptr<Hardware::StepSink> const one = new Sink;
   EXPECT_FALSE( Hardware::stepsTold() );
   EXPECT_FALSE( Hardware::stepSinkIs( one ) );
   EXPECT_TRUE( Hardware::stepsTold() );
   EXPECT_EQ( Hardware::stepSinkIs( nullptr ), one );
   EXPECT_FALSE( Hardware::stepsTold() );
}

TEST_F( Max24305World, TheExampleOfTheDocumentShowsProgress ) {
   opsAre( { { 1, 0x10, 1 } } );
   chip->readsAre( 0x10, { 0, 1 } );
   std::ostringstream out;
   Hardware::stepSinkIs( new Progress( out ) );
   auto const machine = stuffedClockMachine();
   Hardware::stepSinkIs( nullptr );
   EXPECT_EQ(
      out.str(),
      "ptp0: attempt 1 of 10\nptp0: 1 of 1 operations\nptp0: failed, clock notReady\nptp0: attempt 1 failed\n"
      "ptp0: failed, clock failed\nptp0: attempt 2 of 10\nptp0: 1 of 1 operations\nptp0: locking, clock failed\n" );
}

}   // namespace
}   // namespace SmTest::Told
