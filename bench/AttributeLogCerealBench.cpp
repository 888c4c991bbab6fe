// The same changes, encoded and decoded by cereal.
#include <benchmark/benchmark.h>

#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>

#include <cstdint>
#include <sstream>
#include <string>

namespace {

constexpr int changesOfATurn = 64;

struct Change {
   std::uint8_t kind = 2;
   std::string entity = "/hardware/max24305/status/ptp0";
   std::string attribute = "state";
   std::uint32_t value = 0;
   template<class Archive> void serialize( Archive & archive ) { archive( kind, entity, attribute, value ); }
};

void recordCereal( benchmark::State & state ) {
   std::ostringstream bytes;
   cereal::BinaryOutputArchive archive( bytes );
   Change change;
   int count = 0;
   for ( auto _ : state ) {
      change.value ^= 1U;
      archive( change );
      if ( ++count < changesOfATurn ) continue;
      bytes.seekp( 0 );   // keeps its room
      count = 0;
   }
   benchmark::DoNotOptimize( bytes.view() );
}
BENCHMARK( recordCereal )->Name( "record/cereal" );

void applyCereal( benchmark::State & state ) {
   std::ostringstream written;
   cereal::BinaryOutputArchive archive( written );
   Change change;
   for ( int i = 0; i < changesOfATurn; ++i ) archive( change );
   std::istringstream bytes( written.str() );
   cereal::BinaryInputArchive from( bytes );
   for ( auto _ : state ) {
      bytes.seekg( 0 );
      for ( int i = 0; i < changesOfATurn; ++i ) {
         from( change );
         benchmark::DoNotOptimize( change );
      }
   }
}
BENCHMARK( applyCereal )->Name( "apply/cereal" );

}   // namespace
