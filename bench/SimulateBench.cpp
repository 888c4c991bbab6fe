// How long `clockpath simulate` takes for the bring-up of one chip, from its description to the lock: a card with 2,000
// operations (writes, each read back) has to take less than a second of real time.
#include "card/SimulatedWorld.h"
#include "input/CardDescription.h"
#include "input/Json.h"
#include "recording/EventLog.h"
#include "recording/Recorder.h"
#include "report/TracesOn.h"

#include <benchmark/benchmark.h>

#include <optional>
#include <ostream>
#include <streambuf>
#include <string>

namespace {

std::string cardWith( U32 operations ) {
   std::string sequence;
   auto append = [&sequence, key = U32{ 0 }]( char const * type, U32 address, U32 value ) mutable {
      sequence += sequence.empty() ? "" : ",\n";
      sequence += "\"Value('Hardware::Max24305::Op', ** {'key': " + std::to_string( key++ ) + ", 'type': '" + type +
                  "', 'address': " + std::to_string( address ) + ", 'value': " + std::to_string( value ) + "})\"";
   };
   for ( U32 i = 0; i < operations / 2; ++i ) {
      append( "write", 0x100 + i, i & 0xFF );
      append( "read", 0x100 + i, i & 0xFF );
   }
   return R"({ "access": { "kind": "simulated" },
      "gpos": [ { "name": "ptp0Reset", "offset": 8192, "bit": 0 } ],
      "chips": [ { "kind": "max24305", "name": "ptp0", "configOffset": 256, "statusOffset": 512,
                   "resetGpoName": "ptp0Reset", "input": "stuffedClock", "outputFrequencyInHz": 10000000,
                   "spiResetSupported": true, "sequence": [)" +
          sequence + "] } ] }";
}

// Swallows and counts.
class Counting final : public std::streambuf {
 public:
   std::streamsize count() const { return count_; }

 private:
   std::streamsize xsputn( char const *, std::streamsize count ) override {
      count_ += count;
      return count;
   }
   int overflow( int character ) override {
      ++count_;
      return character == traits_type::eof() ? 0 : character;
   }
   std::streamsize count_ = 0;
};

void bringUp( benchmark::State & state ) {
   std::string const text = cardWith( static_cast<U32>( state.range( 0 ) ) );
   bool const logged = state.range( 1 ) != 0;
   Sim::Scenario scenario;
   scenario.untilNs = 200'000'000'000;
   U64 logBytes = 0;
   for ( auto _ : state ) {
      Input::JsonDocument const file( "card.json", text );
      Host::SimulatedWorld world( Input::cardDescription( file.root() ), scenario );
      Counting counting;
      std::ostream stream( &counting );
      {
         std::optional<Recording::EventLog> log;
         std::optional<Recording::Recorder> recorder;
         std::optional<Host::TracesOn> traces;
         if ( logged ) {
            recorder.emplace( log.emplace( stream ), world.events(), world.card() );
            traces.emplace( Vor::traceLevels );
         }
         world.run();
         if ( log ) log->flush();
      }
      if ( !world.card().allReady() ) state.SkipWithError( "the chip did not become ready" );
      logBytes = static_cast<U64>( counting.count() );
   }
   state.counters["logBytes"] = static_cast<double>( logBytes );
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}
BENCHMARK( bringUp )
   ->Name( "simulated bring-up/Ours" )
   ->ArgNames( { "operations", "log" } )
   ->Args( { 2'000, 0 } )
   ->Args( { 2'000, 1 } )
   ->Args( { 20'000, 1 } )
   ->Unit( benchmark::kMillisecond );

}   // namespace
