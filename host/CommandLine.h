// The words of the `clockpath` command.
#pragma once

namespace Host {

/// Does what the words ask for and gives the exit code (host/Exit.h). Mistakes are told on standard error.
int commandLine( int argc, char const * const * argv );

}   // namespace Host
