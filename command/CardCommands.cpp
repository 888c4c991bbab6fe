#include "command/CardCommands.h"

#include "command/OpenCard.h"
#include "command/StateCommands.h"
#include "diagnosis/SelfTest.h"
#include "input/Number.h"
#include "registers/RegisterReading.h"
#include "report/ReportText.h"
#include "report/Style.h"
#include "service/ControlSocket.h"
#include "service/Exit.h"
#include "service/UsualPlaces.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

// Asks on the terminal whether `command` may do `what`. Throws Input::InputError where nobody can be asked.
bool confirmed( CardOptions const & options, std::string const & command, std::string const & what ) {
   if ( options.yes ) return true;
   if ( ::isatty( STDIN_FILENO ) != 1 )
      throw Input::InputError(
         command + " changes the hardware of " + ( options.after.empty() ? options.card : options.after ) +
         ": expected --yes, since nobody can be asked here" );
   std::cout << what << "Go on? [y/N] " << std::flush;
   std::string answer;
   std::getline( std::cin, answer );
   if ( answer == "y" || answer == "Y" || answer == "yes" ) return true;
   std::cout << "Nothing was written.\n";
   return false;
}

std::string addressText( RegisterPlace const & place ) {
   return place.chip ? fmt::format( "register 0x{:04x}", place.address ) : fmt::format( "0x{:08x}", place.address );
}

std::string valueText( RegisterPlace const & place, U32 value ) {
   return fmt::format( "0x{:0{}x}", value, place.chip ? 2 : 8 );
}

int tell( std::vector<RegisterReading> const & lines, bool json ) {
   Table table( { "Register", "Address", "Value", "Fields" } );
   Input::Json list = Input::Json::array();
   bool done = true;
   for ( RegisterReading const & line : lines ) {
      RegisterPlace const & place = line.place;
      done = done && line.done;
      std::string const value = line.value ? valueText( place, *line.value ) : "-";
      table.rowAdd( { place.name, addressText( place ), value, line.text } );
      list.push_back( jsonOf( line ) );
   }
   if ( json )
      std::cout << jsonText( { { "registers", list } } );
   else
      std::cout << table.text( styleOf( STDOUT_FILENO ) );
   return done ? exitReady : exitNotReady;
}

// What the agent says who has the card; nothing where no agent looks after it.
std::optional<Input::Json>
askedOfAgent( CardOptions const & options, CardFiles const & files, Input::Json const & request ) {
   std::string const socket = usualSocketPath( files.card );
   if ( !options.after.empty() || !agentListens( socket ) ) return std::nullopt;
   return askAgent( socket, request, &waitingTell );
}

int readAll(
   CardOptions const & options, CardFiles const & files, char const * user, std::vector<RegisterReading> lines ) {
   OpenCard open( files, user );
   for ( RegisterReading & line : lines ) line.readIfAsked( open.registers() );
   return tell( lines, options.json );
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
void requireTaken( RegisterBook const & book, Write const & write ) {
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
      requireTaken( book, write );
   } catch ( Input::InputError const & error ) {
      throw Input::InputError( word + ": " + error.what() );
   }
   return write;
}

std::string textOf( std::vector<Write> const & writes ) {
   std::string text;
   for ( Write const & write : writes )
      text += fmt::format(
         "write {} to {}{} ({})\n", write.text, write.place.name, write.field.empty() ? "" : ", field " + write.field,
         addressText( write.place ) );
   return text;
}

// Writes, and reads back where that says something and changes nothing.
RegisterReading done( Write const & write, RegisterAccess & access ) {
   RegisterPlace const & place = write.place;
   std::optional<U32> const before = write.keepsOtherBits() ? access.read( place ) : 0;
   if ( !before ) return { .place = place, .text = "no answer: not written", .done = false };
   U32 const value = write.value( *before );
   RegisterReading line{ .place = place, .value = value, .text = place.fieldsText( value ), .written = value };
   if ( !access.write( place, value ) ) {
      line.text = "not sent: the SPI master does not take it";
      line.done = false;
   } else if ( place.access == Hal::readWrite_ ) {
      line.read( access );
      if ( line.value != value )
         line.text += ( line.text.empty() ? "written " : "; written " ) + valueText( place, value );
   }
   return line;
}

}   // namespace

int peek( CardOptions const & options ) {
   CardFiles const files( options.card, options.after );
   RegisterBook const book( files.card );
   std::vector<RegisterReading> lines = readingsOf( book, options.words );
   auto const answer = askedOfAgent( options, files, { { "do", "peek" }, { "registers", options.words } } );
   if ( !answer ) return readAll( options, files, "peek", lines );
   lines.clear();
   for ( Input::Json const & one : answer->at( "registers" ) ) lines.push_back( readingOf( one, files.card ) );
   return tell( lines, options.json );
}

int dump( CardOptions const & options ) {
   CardFiles const files( options.card, options.after );
   RegisterBook const book( files.card );
   std::vector<RegisterReading> lines;
   for ( std::string const & word : options.words )
      for ( RegisterPlace const & place : book.named( word ) )
         lines.push_back( readingOf( place, place.name == word ) );
   if ( options.words.empty() )
      for ( RegisterPlace const & place : book.all() ) lines.push_back( readingOf( place, false ) );
   return readAll( options, files, "dump", lines );
}

int poke( CardOptions const & options ) {
   CardFiles const files( options.card, options.after );
   RegisterBook const book( files.card );
   std::vector<Write> writes;
   for ( std::string const & word : options.words ) writes.push_back( writeOf( book, word ) );
   if ( !confirmed( options, "poke", textOf( writes ) ) ) return exitNotReady;
   OpenCard open( files, "poke" );
   std::vector<RegisterReading> lines;
   lines.reserve( writes.size() );
   for ( Write const & write : writes ) lines.push_back( done( write, open.registers() ) );
   return tell( lines, options.json );
}

int audit( CardOptions const & options ) {
   CardFiles const files( options.card, options.after );
   Input::Json chips = Input::Json::array();
   std::vector<std::string> lines;
   if (
      auto const answer =
         askedOfAgent( options, files, { { "do", "audit" }, { "tolerancePpm", options.tolerancePpm } } ) ) {
      chips = answer->at( "chips" );
      lines = answer->at( "lines" ).get<std::vector<std::string>>();
   } else {
      OpenCard open( files, "audit" );
      for ( auto const & one : Diagnosis::auditOf( files.card, open.registers(), options.tolerancePpm ) ) {
         chips.push_back( jsonOf( one ) );
         for ( std::string const & line : linesOf( one ) ) lines.push_back( line );
      }
   }
   auto const differ =
      std::ranges::count_if( chips, []( Input::Json const & chip ) { return chip.at( "well" ) != true; } );
   if ( options.json )
      std::cout << jsonText( { { "chips", chips } } );
   else {
      for ( std::string const & line : lines ) std::cout << line << '\n';
      std::cout
         << ( differ == 0
                 ? "All is as expected.\n"
                 : std::to_string( differ ) + " of " + std::to_string( chips.size() ) + " chips not as expected.\n" );
   }
   return differ == 0 ? exitReady : exitNotReady;
}

namespace {

// A line of a terminal that does not stay.
void progressTell( std::string const & what ) {
   constexpr char eraseLine[] = "\r\033[K";
   if ( ::isatty( STDERR_FILENO ) == 1 ) std::cerr << eraseLine << what << '\r' << std::flush;
}

}   // namespace

int selfTest( CardOptions const & options ) {
   CardFiles const files( options.card, options.after );
   std::string const question = "reset all chips of " + files.card.file + ", write test values, leave them in reset\n";
   if ( !options.online && !confirmed( options, "selftest", question ) ) return exitNotReady;
   OpenCard open( files, "selftest" );
   std::vector<Diagnosis::TestResult> results;
   for ( Diagnosis::ChipAudit const & audit : Diagnosis::auditOf( files.card, open.registers(), options.tolerancePpm ) )
      for ( Diagnosis::Point const & point : audit.points() ) results.push_back( { audit.chip, point } );
   if ( !options.online )
      for ( Diagnosis::TestResult const & result :
            Diagnosis::offlineTest( files.card, open.registers(), &progressTell ) )
         results.push_back( result );
   progressTell( "" );
   Style const style = styleOf( STDOUT_FILENO );
   Table table( { "Chip", "Test", "Result", "Found" } );
   Input::Json json{ { "tests", Input::Json::array() }, { "leftInReset", !options.online } };
   bool passed = true;
   for ( auto const & [chip, point] : results ) {
      passed = passed && point.well;
      json["tests"].push_back(
         { { "chip", chip }, { "test", point.name }, { "passed", point.well }, { "text", point.text } } );
      table.rowAdd(
         { chip, std::string( point.name ), point.well ? style.good( "pass" ) : style.bad( "FAIL" ), point.text } );
   }
   if ( options.json )
      std::cout << jsonText( json );
   else
      std::cout << table.text( style )
                << ( options.online ? "" : "The chips are left in reset: each output is active.\n" );
   return passed ? exitReady : exitNotReady;
}

}   // namespace Host
