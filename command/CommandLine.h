// The words of the `clockpath` command.
#pragma once

namespace Host {

/// Does what the words ask for and gives the exit code (service/Exit.h). Errors are told on standard error.
int commandLine( int argc, char const * const * argv );

}   // namespace Host
