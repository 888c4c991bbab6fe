#include "command/AuditCommand.h"

#include "diagnosis/SelfTest.h"
#include "report/Style.h"
#include "service/Exit.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace Host {

int audit( AuditOptions const & options ) {
   CardFiles const files( options );
   OpenCard open( files, "audit" );
   auto const audits = Diagnosis::auditOf( files.card, open.registers(), options.tolerancePpm );
   auto const differ =
      audits.size() - static_cast<std::size_t>( std::ranges::count_if( audits, &Diagnosis::ChipAudit::well ) );
   if ( options.json ) {
      Input::Json chips = Input::Json::array();
      for ( Diagnosis::ChipAudit const & one : audits ) chips.push_back( jsonOf( one ) );
      jsonTell( { { "chips", chips } } );
   } else {
      for ( Diagnosis::ChipAudit const & one : audits )
         for ( std::string const & line : linesOf( one ) ) std::cout << line << '\n';
      std::cout
         << ( differ == 0
                 ? "All is as expected.\n"
                 : std::to_string( differ ) + " of " + std::to_string( audits.size() ) + " chips not as expected.\n" );
   }
   return differ == 0 ? exitReady : exitNotReady;
}

int selfTest( AuditOptions const & options ) {
   CardFiles const files( options );
   std::string const question = "reset all chips of " + files.card.file + ", write test values, leave them in reset\n";
   if ( !options.online && !confirmed( options, "selftest", question ) ) {
      std::cout << "Nothing was written.\n";
      return exitNotReady;
   }
   OpenCard open( files, "selftest" );
   std::vector<Diagnosis::TestResult> results;
   for ( Diagnosis::ChipAudit const & audit : Diagnosis::auditOf( files.card, open.registers(), options.tolerancePpm ) )
      for ( Diagnosis::Point const & point : audit.points() ) results.push_back( { audit.chip, point } );
   if ( !options.online )
      for ( Diagnosis::TestResult const & result : Diagnosis::offlineTest( files.card, open.registers() ) )
         results.push_back( result );
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
      jsonTell( json );
   else
      std::cout << table.text( style )
                << ( options.online ? "" : "The chips are left in reset: each output is active.\n" );
   return passed ? exitReady : exitNotReady;
}

}   // namespace Host
