#include "command/JournalCommand.h"

#include "report/History.h"
#include "report/Report.h"
#include "service/Exit.h"

#include <unistd.h>

#include <iostream>

namespace Host {

int journal( JournalOptions const & options ) {
   Recording::Reader reader( options.file );
   if ( options.json ) {
      // A file's name, or what stands in it, need not be UTF-8.
      std::cout << historyOf( reader ).dump( -1, ' ', false, Input::Json::error_handler_t::replace ) << '\n';
      return exitReady;
   }
   Recording::Header const & header = reader.header();
   Report report(
      std::cout, styleOf( STDOUT_FILENO ), header.card,
      { .operations = options.operations, .sumUp = !options.operations } );
   report.begin(
      options.file + ", recorded by clockpath " + header.program +
      ( header.began.empty() ? ", in virtual time" : ", from " + header.began ) );
   while ( std::optional<Recording::Event> const event = reader.next() ) report.take( *event );
   report.end();
   if ( reader.skipped() > 0 )
      std::cout << "Lines of kinds that this program does not know: " << reader.skipped() << '\n';
   if ( !reader.cutOff().empty() )
      for ( std::string const & row : wrapped( reader.cutOff(), lineWidth ) ) std::cout << row << '\n';
   return exitReady;
}

}   // namespace Host
