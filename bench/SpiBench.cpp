// What one chip register access costs of real time, on the simulated card and on a handle that costs nothing.
#include "sim/SimulatedCard.h"
#include "sm/KivSpiInterface.h"

#include <benchmark/benchmark.h>

namespace {

constexpr U32 base = 256;

// A master that is always done, with a response of 0x5A.
struct Instant final : Fru::HamImpl {
   Instant() : HamImpl( "instant" ) {}
   void read32( U32 address, U32 & value ) override {
      value = address == base + 0x10 ? 0x8000005A : address == base + 0x20 ? reading : 0;
   }
   void write32( U32, U32 value ) override { reading = value >> 12 & 1; }
   U32 reading = 0;
};

struct OnCard final : Fru::HamImpl {
   explicit OnCard( Sim::SimulatedCard & simulated ) : HamImpl( "card" ), card( simulated ) {}
   void read32( U32 address, U32 & value ) override { value = card.read32( address ); }
   void write32( U32 address, U32 value ) override { card.write32( address, value ); }
   Sim::SimulatedCard & card;
};

void accesses( benchmark::State & state, Vor::Ptr<Fru::HamImpl> const & ham ) {
   auto const spi = Hardware::kivSpiInterfaceFactory( base, ham, true );
   if ( !spi->doWrite( 0x100, 0x5A ) || spi->doRead( 0x100 ) != 0x5A ) state.SkipWithError( "the master is not there" );
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( spi->doWrite( 0x100, 0x5A ) );
      benchmark::DoNotOptimize( spi->doRead( 0x100 ) );
   }
   state.SetItemsProcessed( state.iterations() * 2 );
}

void instantMaster( benchmark::State & state ) {
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime( clock );
   accesses( state, new Instant );
}
BENCHMARK( instantMaster );

void simulatedCard( benchmark::State & state ) {
   Vor::Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime( clock );
   Sim::SimulatedCard card( clock, { .max24305s = { { .name = "ptp0", .configOffset = base, .statusOffset = 512 } } } );
   accesses( state, new OnCard( card ) );
}
BENCHMARK( simulatedCard );

}   // namespace
