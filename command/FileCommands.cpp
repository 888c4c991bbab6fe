#include "command/FileCommands.h"

#include "diagnosis/FileCheck.h"
#include "input/Json.h"
#include "input/SequenceFile.h"
#include "report/ReportText.h"
#include "report/Style.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <unistd.h>

#include <iostream>
#include <map>

namespace Host {

namespace {

std::string countText( std::size_t count, std::string const & what ) {
   return fmt::format( "{} {}{}", count, what, count == 1 ? "" : "s" );
}

void tellAsText( Diagnosis::FileCheck const & check ) {
   for ( std::string const & mistake : check.mistakes ) std::cout << "mistake: " << mistake << '\n';
   for ( auto const & [name, place, text] : check.warnings )
      std::cout << "warning: " << place << ": " << text << " [" << name << "]\n";
   if ( !check.bringUpTimes.empty() ) {
      Table table( { "Bring-up", "Best", "Worst" } );
      for ( auto const & [chip, time] : check.bringUpTimes )
         table.rowAdd( { chip, secondsText( time.bestNs ) + " s", secondsText( time.worstNs ) + " s" } );
      std::cout << table.text( styleOf( STDOUT_FILENO ) );
   }
   std::cout << countText( check.mistakes.size(), "mistake" ) << ", " << countText( check.warnings.size(), "warning" )
             << ".\n";
}

void tellAsJson( Diagnosis::FileCheck const & check ) {
   Input::Json json{ { "mistakes", check.mistakes }, { "warnings", Input::Json::array() } };
   for ( auto const & [name, place, text] : check.warnings )
      json["warnings"].push_back( { { "check", name }, { "place", place }, { "text", text } } );
   json["bringUpTimes"] = Input::Json::array();
   for ( auto const & [chip, time] : check.bringUpTimes )
      json["bringUpTimes"].push_back( { { "chip", chip }, { "bestNs", time.bestNs }, { "worstNs", time.worstNs } } );
   std::cout << jsonText( json );
}

// What a sequence leaves in the registers that it writes.
std::map<U16, std::string> leftBy( Input::Sequence const & sequence ) {
   std::map<U16, std::string> registers;
   for ( Hardware::Max24305::Op const & op : sequence )
      if ( op.type == Hardware::Max24305::write_ )
         registers[static_cast<U16>( op.address )] = fmt::format( "0x{:02x}", op.value & 0xFF );
   return registers;
}

int compare( Input::Sequence const & sequence, FileOptions const & options ) {
   auto one = leftBy( sequence );
   auto other = leftBy( Input::readSequence( options.compareWith ) );
   for ( auto const & [address, value] : one ) other.try_emplace( address, "-" );
   for ( auto const & [address, value] : other ) one.try_emplace( address, "-" );
   Table table( { "Register", options.file, options.compareWith } );
   std::size_t different = 0;
   for ( auto const & [address, value] : one ) {
      if ( value == other[address] ) continue;
      ++different;
      table.rowAdd( { fmt::format( "0x{:04x}", address ), value, other[address] } );
   }
   if ( different == 0 ) {
      std::cout << "Both leave the same in " << one.size() << " registers.\n";
      return exitReady;
   }
   std::cout << table.text( styleOf( STDOUT_FILENO ) ) << different << " of " << one.size() << " registers differ.\n";
   return exitNotReady;
}

}   // namespace

int check( FileOptions const & options ) {
   Diagnosis::FileCheck const check = Diagnosis::checkFile( options.file );
   ( options.json ? tellAsJson : tellAsText )( check );
   if ( !check.mistakes.empty() ) return exitWrongUse;
   return options.strict && !check.warnings.empty() ? exitNotReady : exitReady;
}

void warningsTell( Input::CardDescription const & card, std::string const & file, bool unknownRefused ) {
   auto const warnings = Diagnosis::warningsOf( card );
   for ( auto const & [name, place, text] : warnings ) {
      if ( name != Diagnosis::unknownOperation ) continue;
      if ( unknownRefused ) throw Input::InputError( fmt::format( "{}: {}", place, text ) );
      std::cerr << "clockpath: warning: " << place << ": " << text << '\n';
   }
   if ( warnings.empty() ) return;
   std::cerr << "clockpath: " << countText( warnings.size(), "warning" ) << ": clockpath check " << file
             << ( warnings.size() == 1 ? " shows it\n" : " shows them\n" );
}

int sequence( FileOptions const & options ) {
   Input::Sequence sequence = options.list ? Input::listOf( options.file, Input::readFile( options.file ) )
                                           : Input::readSequence( options.file );
   if ( options.readBack ) sequence = Input::withReadBacks( sequence );
   if ( !options.compareWith.empty() ) return compare( sequence, options );
   for ( Hardware::Max24305::Op const & op : sequence )
      std::cout << ( options.textForm ? valueToStrep( op ).stdString() : Input::shortText( op ) ) << '\n';
   return exitReady;
}

}   // namespace Host
