#include "command/ExplainCommand.h"

#include "command/OpenCard.h"
#include "diagnosis/Cause.h"
#include "recording/Reader.h"
#include "service/Exit.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace Host {

int explain( ExplainOptions const & options ) {
   Recording::Reader reader( options.file );
   Diagnosis::Story story( reader.header() );
   while ( std::optional<Recording::Event> const event = reader.next() ) story.take( *event );
   std::vector<Diagnosis::Cause> const causes = Diagnosis::causesOf( story );
   if ( options.json )
      jsonTell( Diagnosis::causesJson( causes ) );
   else
      std::cout << Diagnosis::causesText( causes, styleOf( STDOUT_FILENO ) );
   if ( !reader.cutOff().empty() ) std::cerr << "clockpath: warning: " << reader.cutOff() << '\n';
   return Diagnosis::stands( causes, options.strict ) ? exitNotReady : exitReady;
}

}   // namespace Host
