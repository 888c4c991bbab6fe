#include "command/StandardStreams.h"

#include "service/Exit.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

namespace Host {

// The kernel gives the lowest descriptor that is free.
void standardStreamsOpen() {
   int opened = 0;
   do opened = ::open( "/dev/null", O_RDWR );
   while ( opened >= 0 && opened <= STDERR_FILENO );
   if ( opened >= 0 ) ::close( opened );
   std::signal( SIGPIPE, SIG_IGN );
}

int afterOutput( int exitCode ) {
   std::cout.flush();
   if ( std::cout ) return exitCode;
   pollfd output{ STDOUT_FILENO, POLLOUT, 0 };
   bool const readerGone = ::poll( &output, 1, 0 ) > 0 && ( output.revents & POLLERR );
   if ( !readerGone ) std::cerr << "clockpath: standard output cannot be written in full; is there room for it?\n";
   return exitWrongUse;
}

}   // namespace Host
