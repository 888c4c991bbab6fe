#include "command/CheckCommand.h"

#include "command/OpenCard.h"
#include "diagnosis/FileCheck.h"
#include "input/Json.h"
#include "report/ReportText.h"
#include "report/Style.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <unistd.h>

#include <iostream>

namespace Host {

namespace {

std::string countText( std::size_t count, std::string const & what ) {
   return fmt::format( "{} {}{}", count, what, count == 1 ? "" : "s" );
}

void tell( Diagnosis::FileCheck const & check ) {
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
   jsonTell( json );
}

}   // namespace

int check( CheckOptions const & options ) {
   Diagnosis::FileCheck const check = Diagnosis::checkFile( options.file );
   ( options.json ? tellAsJson : tell )( check );
   if ( !check.mistakes.empty() ) return exitWrongUse;
   return options.strict && !check.warnings.empty() ? exitNotReady : exitReady;
}

void warningsTell( Input::CardDescription const & card, std::string const & file, bool unknownRefused ) {
   auto const warnings = Diagnosis::warningsOf( card );
   for ( auto const & [name, place, text] : warnings ) {
      if ( name != Diagnosis::unknownOperation ) continue;
      if ( unknownRefused ) throw Input::InputError( place + ": " + text );
      std::cerr << "clockpath: warning: " << place << ": " << text << '\n';
   }
   if ( warnings.empty() ) return;
   std::cerr << "clockpath: " << countText( warnings.size(), "warning" ) << ": clockpath check " << file
             << ( warnings.size() == 1 ? " shows it\n" : " shows them\n" );
}

}   // namespace Host
