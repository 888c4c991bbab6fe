// What the registers of a chip cost of real time: a byte written and read back through the SPI interface, on a handle
// that costs nothing and on the simulated card. The limit makes the same accesses and sleeps, and checks nothing.
#include "sim/SimulatedCard.h"
#include "sm/KivSpiInterface.h"
#include "util/Utils.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

using Vor::Ptr;

constexpr U32 base = 256;

// A master that is always done, with a response of 0x5A.
struct Instant : Fru::HamImpl {
   Instant() : HamImpl( "instant" ) {}
   void read32( U32 address, U32 & value ) override {
      value = address == base + 0x10 ? 0x8000005A : address == base + 0x20 ? reading : 0;
   }
   void write32( U32, U32 value ) override { reading = value >> 12 & 1; }
   U32 reading = 0;
};

/// Keeps what was accessed.
struct Noting final : Instant {
   struct Access {
      bool write;
      U32 address;
      U32 value;
   };
   void read32( U32 address, U32 & value ) override {
      accesses.push_back( { false, address, 0 } );
      Instant::read32( address, value );
   }
   void write32( U32 address, U32 value ) override {
      accesses.push_back( { true, address, value } );
      Instant::write32( address, value );
   }
   std::vector<Access> accesses;
};

struct OnCard final : Fru::HamImpl {
   explicit OnCard( Sim::SimulatedCard & simulated ) : HamImpl( "card" ), card( simulated ) {}
   void read32( U32 address, U32 & value ) override { value = card.read32( address ); }
   void write32( U32 address, U32 value ) override { card.write32( address, value ); }
   Sim::SimulatedCard & card;
};

bool writeAndRead( Hardware::KivSpiInterface & spi ) {
   return spi.doWrite( 0x100, 0x5A ) && spi.doRead( 0x100 ) == 0x5A;
}

void through( benchmark::State & state, Ptr<Fru::HamImpl> const & ham ) {
   auto const spi = Hardware::kivSpiInterfaceFactory( base, ham, true );
   for ( auto _ : state )
      if ( !writeAndRead( *spi ) ) state.SkipWithError( "the master is not there" );
}

void ours( benchmark::State & state ) {
   Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime( clock );
   through( state, new Instant );
}
BENCHMARK( ours )->Name( "SPI write and read/Ours" );

void limit( benchmark::State & state ) {
   Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime( clock );
   Ptr<Noting> const noting = new Noting;
   writeAndRead( *Hardware::kivSpiInterfaceFactory( base, noting, true ) );
   Ptr<Fru::HamImpl> const ham = new Instant;
   for ( auto _ : state ) {
      for ( auto const & access : noting->accesses ) {
         U32 value = 0;
         if ( access.write )
            ham->write32( access.address, access.value );
         else
            ham->read32( access.address, value );
         benchmark::DoNotOptimize( value );
      }
      Hardware::nsleep( 1000 );   // after each of the two transfers
      Hardware::nsleep( 1000 );
   }
}
BENCHMARK( limit )->Name( "SPI write and read/Limit" );

void simulated( benchmark::State & state ) {
   Ptr<Sim::VirtualClock> const clock = new Sim::VirtualClock;
   Sim::VirtualTime const virtualTime( clock );
   Sim::SimulatedCard card( clock, { .max24305s = { { .name = "ptp0", .configOffset = base, .statusOffset = 512 } } } );
   through( state, new OnCard( card ) );
}
BENCHMARK( simulated )->Name( "SPI write and read/on the simulated card" );

}   // namespace
