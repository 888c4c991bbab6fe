#include "service/Adoption.h"

#include "card/SimulatedWorld.h"
#include "framework/LogWriter.h"
#include "hal/KivHal.h"
#include "sim/ScenarioRunner.h"
#include "sim/SimulatedHam.h"
#include "tests/input/Cards.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace AdoptionTests {
namespace {

using namespace Host;
using namespace Input;

// What a card's machines do, as far as it can be seen.
struct Seen final : Sim::CardListener {
   void onWrite32( U64, U32, U32 ) override { ++accesses; }
   void onRead32( U64, U32, U32 ) override { ++accesses; }
   void onState( U64, Sim::StateChange const & change ) override {
      states.push_back(
         std::string( change.entity.substr( change.entity.rfind( '/' ) + 1 ) ) + " " + std::string( change.text ) );
   }
   U32 accesses = 0;
   std::vector<std::string> states;
};

// Hardware that outlives its agents, in virtual time.
struct Hardware {
   explicit Hardware( std::string const & description ) : card( clock, simulatedParameters( cardOf( description ) ) ) {}
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::SimulatedCard card;
};

// An agent's card, with its machines once they are made.
class AgentCard {
 public:
   AgentCard( Hardware & hardware, std::string const & description, std::vector<Sim::Action> start = {} )
      : hardware_( hardware ),
        world_(
           hardware.clock, cardOf( description ), { .actions = std::move( start ) },
           [&]( Sim::CardEvents & events ) {
              return Vor::Ptr<Fru::HamImpl>( new Sim::SimulatedHam( "hamImpl", hardware.card, events ) );
           },
           &hardware.card ),
        access_( card().description(), card().hamImpl() ) {
      world_.events().listenerAdd( seen );
   }

   Card const & card() const { return world_.card(); }
   RegisterAccess & access() { return access_; }

   void adopt( Vor::LogBatch const & published ) { adoption_.emplace( card(), published, access_ ); }
   Adoption const & adoption() const { return *adoption_; }
   /// What is not adopted, and why.
   std::string reasons() const {
      std::string all;
      for ( auto const & [chip, why] : adoption_->reasons() )
         if ( !why.empty() ) all += chip + ": " + why + "; ";
      return all;
   }

   /// Makes the machines, of what is adopted as it is, and lets time pass until nothing is left to happen.
   void run() {
      if ( adoption_ ) adoption_->preset();
      seen = {};
      machines_.emplace( card(), adoption_ ? adoption_->tolvanes() : std::set<std::string>() );
      while ( machines_->makeNext() ) {
      }
      pass();
   }
   void pass() {
      Sim::Scenario const nothing;
      Sim::ScenarioRunner( hardware_.clock, world_.events(), {}, nothing ).run();
   }

   Vor::LogBatch published() const {
      Vor::LogWriter writer;
      writer.entityAdd( card().ham() );
      writer.entityAdd( card().tolvaneConfigDir() );
      writer.entityAdd( card().tolvaneStatusDir() );
      writer.entityAdd( card().max24305ConfigDir() );
      writer.entityAdd( card().max24305StatusDir() );
      for ( auto const & [name, status] : card().clockStatuses() ) writer.entityAdd( status );
      Vor::LogBatch all;
      writer.whole( all );
      return all;
   }

   Seen seen;

 private:
   Hardware & hardware_;
   VirtualWorld world_;
   RegisterAccess access_;
   std::optional<Adoption> adoption_;
   std::optional<Machines> machines_;
};

// A card that an agent has brought up and published before it ended.
struct BroughtUp {
   explicit BroughtUp( std::string const & text = wholeCard, std::string const & built = "" )
      : description( text ), hardware( built.empty() ? text : built ) {
      AgentCard agent( hardware, description );
      agent.run();
      EXPECT_TRUE( agent.card().allReady() );
      published = agent.published();
   }
   /// What the next agent does not adopt, and why.
   std::string reasons( std::string const & text, std::vector<Sim::Action> const & start = {} ) {
      AgentCard agent( hardware, text, start );
      agent.adopt( published );
      return agent.reasons();
   }
   std::string reasons() { return reasons( description ); }

   std::string const description;
   Hardware hardware;
   Vor::LogBatch published;
};

// The short sequence reads no status; with it, ptp1 has an identification too.
std::string const bothInOrder = with(
   wholeCard, R"("spiResetSupported": false, "sequence": [])",
   R"("spiResetSupported": false, "sequence": )" + shortSequence );

TEST( Adoption, OfAllThatRunsMakesNoAccessAndNoChange ) {
   for ( U32 const mode : { 3, 4, 5 } )
      for ( U32 const timeSync : { 1, 2, 3, 4, 5 } ) {
         SCOPED_TRACE( "time sync " + std::to_string( timeSync ) + ", mode " + std::to_string( mode ) );
         BroughtUp before;
         AgentCard agent(
            before.hardware, before.description,
            { { .key = "timeSync", .value = timeSync }, { .key = "redundancyMode", .value = mode } } );
         agent.adopt( before.published );
         EXPECT_EQ( agent.reasons(), "" );
         agent.run();
         EXPECT_EQ( agent.seen.accesses, 0u );
         EXPECT_TRUE( agent.seen.states.empty() );
         EXPECT_TRUE( agent.card().allReady() );
         EXPECT_EQ( agent.card().clockStatusOf( "ptp0" )->state(), ::Hardware::Kiv::ClockStatus::ready_ );
         // The log is writable after a take-over, and time synchronisation goes on.
         agent.card().redundancy()->switchoverStageIs( "DovraWritable", true );
         agent.card().redundancy()->modeIs( Redundancy::active_ );
         agent.card().timeSync()->stateIs( PtpTimeSync::locked_ );
         agent.pass();
         EXPECT_EQ( agent.seen.accesses, 0u );
      }
}

TEST( Adoption, OfTheNextAgentsStandsOnWhatTheLastOnePublished ) {
   BroughtUp before;
   for ( int times = 0; times < 3; ++times ) {
      AgentCard agent( before.hardware, before.description );
      agent.adopt( before.published );
      EXPECT_EQ( agent.reasons(), "" );
      agent.run();
      before.published = agent.published();
   }
}

TEST( Adoption, NothingIsAdoptedThatWasNotPublished ) {
   BroughtUp before;
   before.published.clear();
   EXPECT_EQ(
      before.reasons(), "osc0: nothing was published; ptp0: nothing was published; ptp1: nothing was published; " );
   AgentCard agent( before.hardware, before.description );
   agent.adopt( before.published );
   agent.run();
   EXPECT_GT( agent.seen.accesses, 0u );
   EXPECT_TRUE( agent.card().allReady() );
}

TEST( Adoption, OnlyWhatWasPublishedReadyIsAdopted ) {
   using namespace ::Hardware;
   BroughtUp before;
   AgentCard agent( before.hardware, before.description );
   auto const published = [&]( auto const & change ) {
      agent.adopt( before.published );
      agent.adoption().preset();
      change( agent.card() );
      agent.adopt( agent.published() );
      return agent.reasons();
   };
   EXPECT_EQ( published( []( auto & ) {} ), "" );
   EXPECT_EQ(
      published( []( auto & card ) { card.max24305StatusDir()->max24305( "ptp1" )->stateIs( Max24305::locking_ ); } ),
      "ptp1: it was published as locking; " );
   EXPECT_EQ(
      published( []( auto & card ) { card.clockStatusOf( "ptp1" )->stateIs( Kiv::ClockStatus::failed_ ); } ),
      "ptp1: its clock was published as failed; " );
   EXPECT_EQ(
      published( []( auto & card ) { card.tolvaneStatusDir()->tolvane( "osc0" )->stateIs( Tolvane::failed_ ); } ),
      "osc0: it was published as failed; ptp0: osc0, which feeds it, is brought up; " );
   // A Tolvane that runs goes on while its MAX24305 is brought up again.
   EXPECT_EQ(
      published( []( auto & card ) { card.max24305StatusDir()->max24305( "ptp0" )->stateIs( Max24305::locking_ ); } ),
      "ptp0: it was published as locking; " );
}

TEST( Adoption, NothingIsAdoptedThatWasConfiguredOtherwise ) {
   BroughtUp before;
   std::string const all = "it was configured otherwise; ";
   EXPECT_EQ(
      before.reasons( with( wholeCard, R"("genId": 7)", R"("genId": 8)" ) ),
      "osc0: " + all + "ptp0: " + all + "ptp1: " + all );
   EXPECT_EQ(
      before.reasons( with( wholeCard, R"("outputFrequencyInHz": 10000000)", R"("outputFrequencyInHz": 0)" ) ),
      "ptp0: " + all );
   std::string const changed = with( wholeCard, "'address': 16, 'value': 60", "'address': 16, 'value': 61" );
   EXPECT_EQ( before.reasons( changed ), "ptp0: " + all );
   EXPECT_EQ(
      before.reasons( with(
         wholeCard, R"("spiResetSupported": false, "sequence": [])",
         R"("spiResetSupported": false, "sequence": )" + shortSequence ) ),
      "ptp1: " + all );
}

TEST( Adoption, NothingIsAdoptedThatItsGateWouldTakeDown ) {
   BroughtUp before;
   EXPECT_EQ(
      before.reasons( wholeCard, { { .key = "timeSync", .value = 0 } } ),
      "ptp0: time synchronisation is disabled; ptp1: time synchronisation is disabled; " );
   EXPECT_EQ(
      before.reasons( wholeCard, { { .key = "hardwarePresent", .value = 0 } } ),
      "osc0: the card is not present; ptp0: the card is not present; ptp1: the card is not present; " );
   EXPECT_EQ(
      before.reasons( wholeCard, { { .key = "opsToDoValid", .name = "ptp1", .value = 0 } } ),
      "ptp1: its sequence is not handed over; " );
   EXPECT_EQ(
      before.reasons( wholeCard, { { .key = "gpoHam", .name = "osc0", .value = 0 } } ),
      "osc0: its reset output cannot be driven; ptp0: osc0, which feeds it, is brought up; " );
}

TEST( Adoption, NothingIsAdoptedThatTheHardwareShowsOtherwise ) {
   struct Case {
      std::function<void( AgentCard & )> change;
      std::string reasons;
   };
   auto const & ptp0 = []( AgentCard & agent ) -> Max24305Description const & {
      return *agent.card().description().max24305( "ptp0" );
   };
   for ( auto const & [change, reasons] : std::vector<Case>{
            { [&]( AgentCard & agent ) { agent.access().writeByte( ptp0( agent ), 16, 61 ); },
              "ptp0: registers: 0 of 1 as expected: 0x0010  expected 0x3c, found 0x3d, bit 0: operation 3 "
              "(card.json: /chips/0/sequence/2); " },
            { []( AgentCard & agent ) { agent.access().writeWord( 12288, 0 ); },
              "osc0: enable: 0x00000000: enable false, powerGood false; ptp0: osc0, which feeds it, is brought up; " },
            { []( AgentCard & agent ) { agent.access().writeWord( 8196, 0x8000'0000 ); },
              "ptp1: bus: all ones: nothing drives the bus; see the chip's reset, its power and its wiring; " },
         } ) {
      BroughtUp before;
      AgentCard agent( before.hardware, before.description );
      change( agent );
      agent.adopt( before.published );
      EXPECT_EQ( agent.reasons(), reasons );
   }
}

TEST( Adoption, FaultsOfTheHardwareAreSeen ) {
   struct Case {
      std::string chip;
      Sim::Fault fault;
      std::string reasons;
   };
   for ( auto const & [chip, fault, reasons] : std::vector<Case>{
            { "ptp1", { .kind = Sim::FaultKind::bitFlip_, .address = 48, .mask = 2 }, "ptp1: identification: 0 of 1" },
            { "ptp0", { .kind = Sim::FaultKind::loseLock_ }, "ptp0: lock: 0x00: APLL1 not locked" },
            { "ptp0", { .kind = Sim::FaultKind::spiDead_ }, "ptp0: bus: no answer; " },
            { "", { .kind = Sim::FaultKind::hardwareGone_ }, "osc0: bus: no answer; ptp0: osc0, which feeds it, " },
         } ) {
      BroughtUp before( bothInOrder );
      before.hardware.card.faultBegin( chip, fault );
      EXPECT_EQ( before.reasons().substr( 0, reasons.size() ), reasons );
   }
}

TEST( Adoption, ChecksTheFrequencyThatIsWanted ) {
   std::string const built =
      with( wholeCard, R"("outputFrequencyInHz": 10000000)", R"("outputFrequencyInHz": 9000000)" );
   BroughtUp before( wholeCard, built );
   EXPECT_EQ( before.reasons(), "ptp0: frequency: 9000000 Hz, expected 10000000 Hz within 1001 Hz; " );
   std::string const unchecked = with( wholeCard, R"("outputFrequencyInHz": 10000000)", R"("outputFrequencyInHz": 0)" );
   EXPECT_EQ( BroughtUp( unchecked, built ).reasons(), "" );
}

TEST( Adoption, ChipsThatShareSomethingAreAdoptedTogetherOrNotAtAll ) {
   struct Case {
      std::string piece;
      std::string other;
      std::string tie;
   };
   for ( auto const & [piece, other, tie] : std::vector<Case>{
            { R"("role": "unknown")", R"("clockStatus": "ptp0")", "shares the clock status ptp0" },
            { R"("input": "stuffedClock")", R"("input": "tolvane")", "shares the Tolvane osc0" },
         } ) {
      BroughtUp before( with( wholeCard, piece, other ) );
      EXPECT_EQ( before.reasons(), "" ) << tie;
      before.hardware.card.faultBegin( "ptp0", { .kind = Sim::FaultKind::bitFlip_, .address = 48, .mask = 2 } );
      std::string const reasons = before.reasons();
      EXPECT_TRUE( reasons.ends_with( "ptp1: ptp0, with which it " + tie + ", is brought up; " ) ) << reasons;
      EXPECT_FALSE( reasons.starts_with( "osc0" ) ) << reasons;
   }
   // The bring-up of the second has reset the first.
   BroughtUp oneReset( with( wholeCard, R"("resetGpoName": "ptp1Reset")", R"("resetGpoName": "ptp0Reset")" ) );
   std::string const reasons = oneReset.reasons();
   EXPECT_TRUE( reasons.starts_with( "ptp0: registers: 0 of 1 as expected" ) ) << reasons;
   EXPECT_TRUE( reasons.ends_with( "ptp1: ptp0, with which it shares the reset output ptp0Reset, is brought up; " ) )
      << reasons;
}

// A killed agent leaves a part of a transaction, and answers that nobody took.
TEST( Adoption, CleansWhatAKilledAgentLeftInTheSpiMasters ) {
   BroughtUp before;
   U32 const fifo = 256 + ::Hardware::SpiCommandFifo::address();
   ::Hardware::SpiCommandFifo command;
   command.csEndIs( 1 );
   command.recordResponseIs( 1 );
   {
      AgentCard killed( before.hardware, before.description );
      for ( int entry = 0; entry < 3; ++entry ) killed.access().writeWord( fifo, command.value() );
      killed.access().writeWord( fifo, 3 );   // an instruction without its address
   }
   EXPECT_EQ( before.reasons(), "" );
}

// A Tolvane without a machine gets one as the card goes, before another machine sees that.
TEST( Adoption, AnAdoptedTolvaneIsLookedAfterFromTheLossOfItsCardOn ) {
   struct Case {
      std::function<void( Card const &, bool )> is;
      std::string what;
   };
   for ( auto const & [is, what] : std::vector<Case>{
            { []( Card const &card, bool there ) { card.hamImpl()->hardwarePresentIs( there ); }, "card" },
            { []( Card const &card, bool there ) {
                card.resetGpoOf( "osc0" )->hamIs( there ? card.ham() : Vor::Ptr<Fru::Ham>() );
             },
              "output" } } ) {
      SCOPED_TRACE( what );
      BroughtUp before;
      AgentCard agent( before.hardware, before.description );
      agent.adopt( before.published );
      agent.run();
      for ( bool const first : { true, false } ) {   // and then with the machine that is there now
         agent.seen = {};
         is( agent.card(), false );
         EXPECT_EQ( agent.seen.accesses, 0u );
         EXPECT_EQ( agent.card().tolvaneStatusDir()->tolvane( "osc0" )->state(), ::Hardware::Tolvane::uninitialized_ );
         EXPECT_EQ(
            agent.card().max24305StatusDir()->max24305( "ptp0" )->state(), ::Hardware::Max24305::uninitialized_ );
         bool const foremost = agent.seen.states.at( 0 ) == "osc0 uninitialized";
         EXPECT_TRUE( foremost || !first );
         is( agent.card(), true );
         EXPECT_EQ( agent.card().tolvaneStatusDir()->tolvane( "osc0" )->state(), ::Hardware::Tolvane::ready_ );
         EXPECT_GT( agent.seen.accesses, 0u );
         agent.pass();
         EXPECT_TRUE( agent.card().allReady() );
      }
   }
}

}   // namespace
}   // namespace AdoptionTests
