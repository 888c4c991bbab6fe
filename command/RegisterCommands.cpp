#include "command/RegisterCommands.h"

#include "card/MmapHam.h"
#include "card/SimulatedWorld.h"
#include "input/InputError.h"
#include "input/Number.h"
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

// A line of the list; without a value, the text says why.
std::vector<std::string> row( RegisterPlace const & place, std::optional<U32> value, std::string const & text ) {
   std::string const shown = value ? fmt::format( "0x{:0{}x}", *value, place.chip ? 2 : 8 ) : "-";
   return { place.name, addressText( place ), shown, text };
}

// Reaches the card, has the registers used and listed, and shows the list. `use` gives whether all could be done.
int listed( Input::CardDescription const & card, std::function<bool( RegisterAccess &, Table & )> const & use ) {
   try {
      RegisterAccess access( card );
      Table table( { "Register", "Address", "Value", "Fields" } );
      bool const done = use( access, table );
      std::cout << table.text( styleOf( STDOUT_FILENO ) );
      return done ? exitReady : exitNotReady;
   } catch ( CardAbsent const & error ) {
      std::cerr << "clockpath: " << error.what() << '\n';
      return exitNotReady;
   }
}

struct Read {
   RegisterPlace place;
   std::string notRead;   // why not; empty where it is read
};

int readAll( Input::CardDescription const & card, std::vector<Read> const & reads ) {
   return listed( card, [&]( RegisterAccess & access, Table & table ) {
      for ( auto const & [place, notRead] : reads ) {
         std::optional<U32> const value = notRead.empty() ? std::optional( access.read( place ) ) : std::nullopt;
         table.rowAdd( row( place, value, value ? place.fieldsText( *value ) : "not read: " + notRead ) );
      }
      return true;
   } );
}

// A write that was asked for: of a whole register, or of some of its bits.
struct Write {
   RegisterPlace place;
   std::string field;   // empty: the whole register
   std::string text;

   bool keepsOtherBits() const { return !field.empty() || place.output; }

   // The value to write to a register that holds `now`. Throws Input::InputError for a text or a field that the
   // register does not take.
   U32 value( U32 now ) const {
      if ( place.output ) {
         if ( text != "active" && text != "inactive" )
            throw Input::InputError( "expected \"active\" or \"inactive\", found \"" + text + "\"" );
         return place.output->driven( now, text == "active" );
      }
      if ( !field.empty() ) return place.withField( now, field, text );
      U32 const maximum = place.chip ? 0xFF : 0xFFFF'FFFF;
      if ( auto const number = Input::numberOf( text, maximum ) ) return *number;
      throw Input::InputError( fmt::format( "expected a number from 0 to 0x{:x}, found \"{}\"", maximum, text ) );
   }
};

// Throws Input::InputError for a value or a field that the register does not take, and where it takes none.
void check( RegisterBook const & book, Write const & write ) {
   write.value( 0 );
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

}   // namespace

int peek( RegisterOptions const & options ) {
   Input::CardDescription const card = Input::readCard( options.card );
   RegisterBook const book( card );
   std::vector<Read> reads;
   for ( std::string const & word : options.words ) {
      reads.push_back( { book.one( word ), "" } );
      book.requireReadable( reads.back().place );
   }
   return readAll( card, reads );
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
   return readAll( card, reads );
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
   return listed( card, [&]( RegisterAccess & access, Table & table ) {
      bool allSent = true;
      for ( Write const & write : writes ) {
         U32 const value = write.value( write.keepsOtherBits() ? access.read( write.place ) : 0 );
         bool const sent = access.write( write.place, value );
         allSent = allSent && sent;
         std::string const fields = write.place.fieldsText( value );
         table.rowAdd( row( write.place, value, sent ? fields : "not sent: the SPI master does not take it" ) );
      }
      return allSent;
   } );
}

}   // namespace Host
