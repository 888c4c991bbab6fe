#include "diagnosis/Waveform.h"

#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"

#include <fmt/ostream.h>

#include <algorithm>
#include <deque>
#include <map>
#include <optional>

namespace Diagnosis {

namespace {

using Hardware::SpiCommandFifo;
using Hardware::SpiReset;
using Hardware::SpiResponseFifo;

// All wires, by name, and what happens on them, in any order of time.
class Wires {
 public:
   /// A wire that is not there yet is made, and was `before` until then.
   void change( U64 ns, std::string const & name, char value, char before = 'x' ) {
      changes_.push_back( { ns, &wires_.try_emplace( name, Wire{ before, "" } ).first->second, value } );
   }
   void change( U64 ns, std::string const & name, bool high, char before ) {
      change( ns, name, high ? '1' : '0', before );
   }

   void write( std::ostream & out ) {
      out << "$scope module card $end\n";   // not every reader keeps scopes: names are whole
      for ( std::size_t number = 0; auto & [name, wire] : wires_ ) {
         wire.id = fmt::format( "{:x}", number++ );
         fmt::print( out, "$var wire 1 {} {} $end\n", wire.id, name );
      }
      out << "$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n";
      for ( auto const & [name, wire] : wires_ ) fmt::print( out, "{}{}\n", wire.value, wire.id );
      out << "$end\n";
      std::ranges::stable_sort( changes_, {}, &Change::ns );
      U64 nowNs = 0;
      for ( auto const & [ns, wire, value] : changes_ ) {
         if ( std::exchange( wire->value, value ) == value ) continue;
         if ( std::exchange( nowNs, ns ) != ns ) fmt::print( out, "#{}\n", ns );
         fmt::print( out, "{}{}\n", value, wire->id );
      }
      fmt::print( out, "#{}\n", nowNs + 1'000 );   // the last change lasts for a while
   }

 private:
   struct Wire {
      char value;
      std::string id;   // in the file
   };
   struct Change {
      U64 ns;
      Wire * wire;
      char value;
   };
   std::map<std::string, Wire> wires_;
   std::vector<Change> changes_;
};

// The bus of one MAX24305. Its bytes come from the transactions that the simulated chip saw where there are any, else
// from the words that went through the FIFOs of the SPI master, each sent as soon as it is there and the bus is free.
class Bus {
 public:
   Bus( Input::Max24305Description const & chip, U64 clockInHz )
      : chip_( chip.name ),
        base_( chip.configOffset ),
        byteNs_( std::max<U64>( 16, 8'000'000'000 / std::max<U64>( clockInHz, 1 ) ) ) {}

   void take( U64 ns, Recording::Write32 const & write ) {
      if ( write.address == base_ + SpiCommandFifo::address() ) {
         SpiCommandFifo const word( write.value );
         if ( word.recordResponse() ) unanswered_.push_back( words_.size() );
         bytePushed( words_, ns, word.dataToWrite(), {}, word.csEnd() );
      } else if ( write.address == base_ + SpiReset::address() && SpiReset( write.value ).reset() ) {
         std::erase_if( words_, [&]( Byte const & byte ) { return at( byte, 16 ) > ns; } );
         if ( !words_.empty() ) words_.back().last = true;
         unanswered_.clear();
      }
   }
   void take( U64, Recording::Read32 const & read ) {
      SpiResponseFifo const response( read.value );
      if ( read.address != base_ + SpiResponseFifo::address() || !response.dataValid() || unanswered_.empty() ) return;
      words_[unanswered_.front()].miso = response.data();
      unanswered_.pop_front();
   }
   /// It is told of as its data byte is out.
   void take( U64 ns, Recording::Spi const & spi ) {
      if ( spi.chip != chip_ ) return;
      U64 const beginNs = ns - std::min( ns, spi.bytes.size() * byteNs_ );
      for ( U8 const address : std::span( spi.bytes ).first( 3 ) ) bytePushed( seen_, beginNs, address, {}, false );
      bytePushed( seen_, beginNs, spi.bytes.back(), spi.response, true );
   }
   void take( U64, auto const & ) {}

   void draw( Wires & wires ) const {
      for ( Byte const & byte : seen_.empty() ? words_ : seen_ ) {
         wires.change( byte.beginNs, chip_ + ".cs_n", false, '1' );
         for ( U32 bit = 0; bit < 8; ++bit ) {
            auto const bitOf = [bit]( U8 value ) { return ( value << bit & 0x80 ) ? '1' : '0'; };
            wires.change( at( byte, 2 * bit ), chip_ + ".mosi", bitOf( byte.mosi ) );
            wires.change( at( byte, 2 * bit ), chip_ + ".miso", byte.miso ? bitOf( *byte.miso ) : 'x' );
            wires.change( at( byte, 2 * bit + 1 ), chip_ + ".sclk", true, '0' );
            wires.change( at( byte, 2 * bit + 2 ), chip_ + ".sclk", false, '0' );
         }
         if ( byte.last ) wires.change( at( byte, 16 ), chip_ + ".cs_n", true, '1' );
      }
   }

 private:
   struct Byte {
      U64 beginNs = 0;
      U8 mosi = 0;
      std::optional<U8> miso;
      bool last = false;   // of its transaction
   };

   U64 at( Byte const & byte, U32 halfBits ) const { return byte.beginNs + byteNs_ * halfBits / 16; }

   // Chip select is seen to be released for a bit's time.
   void bytePushed( std::vector<Byte> & bytes, U64 ns, U8 mosi, std::optional<U8> miso, bool last ) const {
      U64 const freeNs = bytes.empty() ? 0 : at( bytes.back(), bytes.back().last ? 18 : 16 );
      bytes.push_back( { std::max( ns, freeNs ), mosi, miso, last } );
   }

   std::string const chip_;
   U32 const base_;
   U64 const byteNs_;
   std::vector<Byte> words_;
   std::vector<Byte> seen_;
   std::deque<std::size_t> unanswered_;   // of words_, whose answers are still to be read
};

// What is no bus.
struct Signals {
   void take( U64 ns, Recording::Gpo const & output ) { wires.change( ns, output.name, output.active, 'x' ); }
   void take( U64 ns, Recording::State const & state ) {
      std::string const chip = state.entity.substr( state.entity.rfind( '/' ) + 1 );
      std::string const sort = state.entity.find( "/clockStatus/" ) == std::string::npos ? ".state." : ".clock.";
      std::string & last = states[chip + sort];
      if ( !last.empty() ) wires.change( ns, last, false, '0' );
      last = chip + sort + state.value;
      wires.change( ns, last, true, '0' );
   }
   void take( U64 ns, Recording::Step const & step ) {
      auto const * const polled = std::get_if<Hardware::Steps::LockPolled>( &step.step );
      if ( !polled ) return;
      Hardware::ApllStatus const status( polled->status );
      wires.change( ns, step.chip + ".apll1Locked", status.apll1Locked(), 'x' );
      wires.change( ns, step.chip + ".apll2Locked", status.apll2Locked(), 'x' );
   }
   void take( U64, auto const & ) {}

   Wires & wires;
   std::map<std::string, std::string> states{};   // the wires of the present ones
};

}   // namespace

void writeWaveform( Recording::Reader & recording, std::ostream & out ) {
   Recording::Header const & header = recording.cardHeader();
   auto const * const simulated = std::get_if<Input::SimulatedAccess>( &header.card.access );
   Wires wires;
   Signals signals{ wires };
   std::vector<Bus> buses;
   for ( auto const & chip : header.card.max24305s )
      buses.emplace_back( chip, simulated ? simulated->spiClockInHz : Sim::defaultSpiClockInHz );
   while ( std::optional<Recording::Event> const event = recording.next() )
      std::visit(
         [&]( auto const & what ) {
            signals.take( event->ns, what );
            for ( Bus & bus : buses ) bus.take( event->ns, what );
         },
         event->what );
   for ( Bus const & bus : buses ) bus.draw( wires );

   if ( !header.began.empty() ) fmt::print( out, "$date {} $end\n", header.began );
   fmt::print( out, "$version clockpath {} $end\n", header.program );
   out << "$comment The edges of the SPI buses are reconstructed from words and transactions: mode 0, most\n"
          "significant bit first, at the clock of the card's description. MISO is x where nothing tells it. $end\n"
          "$timescale 1 ns $end\n";
   wires.write( out );
}

}   // namespace Diagnosis
