#include "command/RegisterCommands.h"

#include "card/Machines.h"
#include "card/MmapHam.h"
#include "card/SimulatedWorld.h"
#include "input/InputError.h"
#include "registers/RegisterBook.h"
#include "report/Style.h"
#include "service/Exit.h"
#include "sm/KivSpiInterface.h"

#include <fmt/format.h>

#include <unistd.h>

#include <functional>
#include <iostream>
#include <map>
#include <memory>

namespace Host {

namespace {

/// The card is not there; what() says why.
struct CardAbsent : std::runtime_error {
   using std::runtime_error::runtime_error;
};

// Reads and writes registers of a card, which a simulated one is brought up for.
class RegisterAccess : private Sim::CardListener {
 public:
   explicit RegisterAccess( Input::CardDescription const & card ) {
      if ( auto const * mmap = std::get_if<Input::MmapAccess>( &card.access ) ) {
         Vor::Ptr<MmapHam> const ham = new MmapHam( "hamImpl", mmap->path, mmap->offset, mmap->size );
         ham->poll();
         if ( !ham->hardwarePresent() ) throw CardAbsent( "the card is not there: " + ham->trouble() );
         ham_ = ham;
      } else {
         world_ = std::make_unique<SimulatedWorld>( card, Sim::Scenario{} );
         world_->events().listenerAdd( *this );
         world_->run();
         ham_ = world_->card().hamImpl();
      }
   }

   U32 read( RegisterPlace const & place ) {
      U32 value = 0;
      if ( place.chip )
         value = spi( *place.chip ).doRead( static_cast<U16>( place.address ) );
      else
         ham_->read32( place.address, value );
      return value;
   }
   /// Whether the write was sent.
   bool write( RegisterPlace const & place, U32 value ) {
      if ( place.chip )
         return spi( *place.chip ).doWrite( static_cast<U16>( place.address ), static_cast<U8>( value ) );
      ham_->write32( place.address, value );
      return true;
   }

 private:
   void onUnclaimed( U64, U32 address, Sim::AccessDirection direction ) override {
      std::cerr << "clockpath: warning: " << Sim::unclaimedText( address, direction ) << '\n';
   }

   Hardware::KivSpiInterface & spi( Input::Max24305Description const & chip ) {
      auto & spi = spis_[chip.name];
      if ( !spi ) spi = Hardware::kivSpiInterfaceFactory( chip.configOffset, ham_, chip.spiResetSupported );
      return *spi;
   }

   std::unique_ptr<SimulatedWorld> world_;
   Vor::Ptr<Fru::HamImpl> ham_;
   std::map<std::string, Vor::Ptr<Hardware::KivSpiInterface>> spis_;
};

std::string addressText( RegisterPlace const & place ) {
   return place.chip ? fmt::format( "register 0x{:04x}", place.address ) : fmt::format( "0x{:08x}", place.address );
}

std::string valueText( RegisterPlace const & place, U32 value ) {
   return place.chip ? fmt::format( "0x{:02x}", value ) : fmt::format( "0x{:08x}", value );
}

struct Read {
   RegisterPlace place;
   std::string notRead;   // why not; empty where it is read
};

int readAll( Input::CardDescription const & card, std::vector<Read> const & reads ) {
   if ( std::holds_alternative<Input::SimulatedAccess>( card.access ) ) requireServedInputs( card );
   RegisterAccess access( card );
   Table table( { "Register", "Address", "Value", "Fields" } );
   for ( auto const & [place, notRead] : reads ) {
      if ( !notRead.empty() ) {
         table.rowAdd( { place.name, addressText( place ), "-", "not read: " + notRead } );
         continue;
      }
      U32 const value = access.read( place );
      table.rowAdd( { place.name, addressText( place ), valueText( place, value ), place.fieldsText( value ) } );
   }
   std::cout << table.text( styleOf( STDOUT_FILENO ) );
   return exitReady;
}

// A write that was asked for: of a whole register, or of some of its bits.
struct Write {
   RegisterPlace place;
   std::string field;   // empty: the whole register
   std::string text;
   std::optional<U32> number;

   bool keepsOtherBits() const { return !field.empty() || place.output; }

   // The value to write to a register that holds `now`. Throws Input::InputError.
   U32 value( U32 now ) const {
      if ( place.output ) return place.output->driven( now, text == "active" );
      return field.empty() ? *number : place.withField( now, field, text );
   }
};

// Throws Input::InputError for a value or a field that the register does not take, and where it takes none.
void check( RegisterBook const & book, Write & write ) {
   if ( write.place.output ) {
      if ( write.text != "active" && write.text != "inactive" )
         throw Input::InputError( "expected \"active\" or \"inactive\", found \"" + write.text + "\"" );
   } else if ( !write.field.empty() ) {
      write.value( 0 );
   } else {
      U32 const maximum = write.place.chip ? 0xFF : 0xFFFF'FFFF;
      write.number = numberOf( write.text, maximum );
      if ( !write.number )
         throw Input::InputError(
            fmt::format( "expected a number from 0 to 0x{:x}, found \"{}\"", maximum, write.text ) );
   }
   book.requireWritable( write.place );
   if ( write.keepsOtherBits() && !Hal::readable( write.place.access ) )
      throw Input::InputError(
         "a field cannot be written alone, since the other bits of \"" + write.place.name +
         "\" cannot be read; expected \"" + write.place.name + "=NUMBER\"" );
}

Write writeOf( RegisterBook const & book, std::string const & word ) {
   std::size_t const equals = word.find( '=' );
   if ( equals == std::string::npos ) throw Input::InputError( "expected REGISTER=VALUE, found \"" + word + "\"" );
   Write write;
   write.place = book.one( word.substr( 0, equals ), &write.field );
   write.text = word.substr( equals + 1 );
   try {
      check( book, write );
   } catch ( Input::InputError const & error ) {
      throw Input::InputError( word + ": " + error.what() );
   }
   return write;
}

bool confirmed( std::vector<Write> const & writes, std::string const & card ) {
   if ( ::isatty( STDIN_FILENO ) != 1 )
      throw Input::InputError(
         "poke changes the hardware of " + card + ": expected --yes, since nobody can be asked here" );
   for ( Write const & write : writes )
      std::cout << "write " << write.text << " to " << write.place.name
                << ( write.field.empty() ? "" : ", field " + write.field ) << " (" << addressText( write.place )
                << ")\n";
   std::cout << "Go on? [y/N] " << std::flush;
   std::string answer;
   std::getline( std::cin, answer );
   return answer == "y" || answer == "Y" || answer == "yes";
}

int guarded( std::function<int()> const & work ) {
   try {
      return work();
   } catch ( CardAbsent const & error ) {
      std::cerr << "clockpath: " << error.what() << '\n';
      return exitNotReady;
   }
}

}   // namespace

int peek( RegisterOptions const & options ) {
   Input::CardDescription const card = Input::readCard( options.card );
   RegisterBook const book( card );
   std::vector<Read> reads;
   for ( std::string const & word : options.words ) {
      reads.push_back( { book.one( word ), "" } );
      book.requireReadable( reads.back().place );
   }
   return guarded( [&] { return readAll( card, reads ); } );
}

int dump( RegisterOptions const & options ) {
   Input::CardDescription const card = Input::readCard( options.card );
   RegisterBook const book( card );
   std::vector<Read> reads;
   auto const add = [&]( RegisterPlace const & place, bool named ) {
      char const * const notRead = place.access == Hal::writeOnly_             ? "it can only be written"
                                   : place.access == Hal::readTakes_ && !named ? "reading takes an entry out"
                                                                               : "";
      reads.push_back( { place, notRead } );
   };
   for ( std::string const & word : options.words )
      for ( RegisterPlace const & place : book.named( word ) ) add( place, place.name == word );
   if ( options.words.empty() )
      for ( RegisterPlace const & place : book.all() ) add( place, false );
   return guarded( [&] { return readAll( card, reads ); } );
}

int poke( RegisterOptions const & options ) {
   Input::CardDescription const card = Input::readCard( options.card );
   RegisterBook const book( card );
   std::vector<Write> writes;
   for ( std::string const & word : options.words ) writes.push_back( writeOf( book, word ) );
   if ( !options.yes && !confirmed( writes, options.card ) ) {
      std::cout << "Nothing was written.\n";
      return exitNotReady;
   }
   return guarded( [&] {
      RegisterAccess access( card );
      Table table( { "Register", "Address", "Value", "Fields" } );
      bool allSent = true;
      for ( Write const & write : writes ) {
         U32 const value = write.value( write.keepsOtherBits() ? access.read( write.place ) : 0 );
         bool const sent = access.write( write.place, value );
         allSent = allSent && sent;
         table.rowAdd(
            { write.place.name, addressText( write.place ), valueText( write.place, value ),
              sent ? write.place.fieldsText( value ) : "not sent: the SPI master does not take it" } );
      }
      std::cout << table.text( styleOf( STDOUT_FILENO ) );
      return allSent ? exitReady : exitNotReady;
   } );
}

}   // namespace Host
