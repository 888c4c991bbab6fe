#include "command/PageCommand.h"

#include "diagnosis/Cause.h"
#include "diagnosis/Page.h"
#include "report/History.h"
#include "service/Exit.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace Host {

int page( RecordingOptions const & options ) {
   std::string const path = outOf( options, ".html" );
   Recording::Reader reader( options.file );
   Diagnosis::Story story( reader.header() );
   Input::Json const history = historyOf( reader, [&]( Recording::Event const & event ) { story.take( event ); } );
   std::string const cause = Diagnosis::causesText( Diagnosis::causesOf( story ), Style( false ) );
   std::string const html = Diagnosis::page( history, cause );
   errno = 0;
   std::ofstream file( path, std::ios::binary );
   file << html << std::flush;
   if ( !file )
      throw Input::InputError( path + ": the page cannot be written: " + std::strerror( errno ? errno : EIO ) );
   std::cout << path << '\n';
   return exitReady;
}

}   // namespace Host
