#include "command/AgentCommand.h"

namespace Host {

int agent( std::string const & card, AgentOptions const & options ) {
   Input::CardDescription const description = Input::readCard( card );
   requireServedInputs( description );
   return Agent( description, options ).run();
}

}   // namespace Host
