// Agents that are killed and started again, on hardware that outlives them.
#include "framework/Wire.h"
#include "hardware/TolvaneTypes.h"
#include "platform/ClockStatus.h"
#include "recording/Reader.h"
#include "state/OpenLog.h"
#include "tests/command/Process.h"
#include "tests/input/Cards.h"
#include "tests/input/Files.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <random>
#include <thread>

namespace RestartTests {
namespace {

using namespace Host;
using namespace Input;

constexpr U8 readInstruction = 3;

// A Tolvane that feeds a MAX24305; both are up after some three seconds.
std::string const twoChips = R"({
   "access": { "kind": "simulated", "lockAfterNs": 1000000, "socket": "card.sock" },
   "gpos": [ { "name": "osc0Reset", "offset": 8192, "bit": 0 }, { "name": "ptp0Reset", "offset": 8192, "bit": 1 } ],
   "chips": [ { "kind": "tolvane", "name": "osc0", "offset": 12288, "resetGpoName": "osc0Reset" },
              { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                "resetGpoName": "ptp0Reset", "input": "tolvane", "outputFrequencyInHz": 10000000,
                "spiResetSupported": true, "sequence": )" +
                             shortSequence + " } ] }";

class Restarted {
 public:
   Restarted()
      : card_( folder_.file( "card.json", twoChips ) ),
        hardware_( { "hardware", card_, "--events", folder_.path( "hardware.events" ) } ) {
      EXPECT_TRUE( hardware_.outputHas( "until SIGINT or SIGTERM\n" ) );
   }

   std::string path( std::string const & file ) const { return folder_.path( file ); }
   std::vector<std::string> agent() const {
      return { "agent", card_, "--state", folder_.path( "state.db" ), "--socket", folder_.path( "agent.sock" ) };
   }

   /// Whether that entity was published in this state.
   bool published( std::string const & entity, U32 state ) const {
      Vor::LogBatch all;
      try {
         State::openSource( folder_.path( "state.db" ) )->snapshot( all );
      } catch ( Vor::LogUnavailableException const & ) {   // killed before there was one
         return false;
      }
      Vor::EntityOfName const nobody;
      for ( Vor::LogEntry const & entry : all )
         if ( entry.kind == Vor::LogEntry::Kind::change && entry.entity == entity && entry.attribute == "state" )
            return Vor::WireReader( entry.value, nobody ).u32() == state;
      return false;
   }

   /// What the hardware has seen until now.
   std::vector<Recording::Event> seen() const {
      std::vector<Recording::Event> events;
      Recording::Reader reader( folder_.path( "hardware.events" ) );
      while ( std::optional<Recording::Event> event = reader.next() ) events.push_back( std::move( *event ) );
      return events;
   }

 private:
   Folder const folder_;
   std::string const card_;
   Process hardware_;
};

std::size_t changesOf( std::string const & output, std::vector<Recording::Event> const & events, std::size_t from ) {
   return static_cast<std::size_t>( std::count_if(
      events.begin() + static_cast<std::ptrdiff_t>( from ), events.end(), [&]( Recording::Event const & event ) {
         auto const * gpo = std::get_if<Recording::Gpo>( &event.what );
         return gpo && gpo->name == output;
      } ) );
}

std::size_t writesIn( std::vector<Recording::Event> const & events, std::size_t from ) {
   return static_cast<std::size_t>( std::count_if(
      events.begin() + static_cast<std::ptrdiff_t>( from ), events.end(), []( Recording::Event const & event ) {
         auto const * spi = std::get_if<Recording::Spi>( &event.what );
         return spi && spi->bytes[0] != readInstruction;
      } ) );
}

// Kills an agent after that time, and starts it again. Gives whether the MAX24305 ran on.
bool ranOn( std::chrono::milliseconds instant ) {
   Restarted card;
   {
      Process agent( card.agent() );
      std::this_thread::sleep_for( instant );
      agent.signal( SIGKILL );
      agent.result();
   }
   bool const oscillator = card.published( "/hardware/tolvane/status/osc0", Hardware::Tolvane::ready_ );
   bool const clock = card.published( "/hardware/kiv/clockStatus/ptp0", Hardware::Kiv::ClockStatus::ready_ );
   std::size_t const before = card.seen().size();
   std::vector<std::string> recorded = card.agent();
   recorded.insert( recorded.end(), { "--events", card.path( "agent.events" ) } );
   Process again( recorded );
   EXPECT_TRUE( again.outputHas( clock ? "ptp0: adopted as it runs" : "ptp0      clock ready" ) ) << again.output();
   again.signal( SIGTERM );
   EXPECT_EQ( again.result(), 0 ) << again.output() << again.errors();
   std::vector<Recording::Event> const seen = card.seen();
   EXPECT_EQ( changesOf( "osc0Reset", seen, before ) == 0, oscillator );
   EXPECT_EQ( changesOf( "ptp0Reset", seen, before ) == 0, clock );
   EXPECT_EQ( writesIn( seen, before ) == 0, clock );
   // Its recording says what ran before, and is replayed and explained like any.
   for ( char const * const command : { "replay", "explain" } ) {
      Ran const read = run( { command, card.path( "agent.events" ) } );
      EXPECT_EQ( read.result, 0 ) << command << ": " << read.output << read.errors;
   }
   return clock;
}

TEST( Restart, WhereverAnAgentIsKilledAClockThatWasReadyHasNoGap ) {
   U32 const seed = std::random_device()();
   SCOPED_TRACE( "seed " + std::to_string( seed ) );
   std::mt19937 random( seed );
   // Inside the bring-up and behind it; side by side, since they mostly sleep.
   std::vector<std::chrono::milliseconds> instants{ std::chrono::milliseconds( 6'000 ) };
   for ( int kill = 0; kill < 7; ++kill ) instants.emplace_back( std::uniform_int_distribution( 0, 4'000 )( random ) );
   std::atomic<std::size_t> ran = 0;
   std::vector<std::thread> threads;
   for ( auto const instant : instants )
      threads.emplace_back( [&ran, instant] {
         SCOPED_TRACE( "killed after " + std::to_string( instant.count() ) + " ms" );
         ran += ranOn( instant ) ? 1 : 0;
      } );
   for ( std::thread & thread : threads ) thread.join();
   EXPECT_GT( ran, 0u );
}

}   // namespace
}   // namespace RestartTests
