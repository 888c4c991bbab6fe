// The standard streams of the command, whoever started it.
//
//    int main() {
//       Host::standardStreamsOpen();
//       std::cout << "...";
//       return Host::afterOutput( exitReady );
//    }
#pragma once

namespace Host {

/// First of all in main: a descriptor 0 to 2 that is closed is opened on /dev/null, so that no file that is opened
/// later gets what is meant for standard output. A reader that goes away does not end the process.
void standardStreamsOpen();

/// Last of all: the exit code, or exitWrongUse where standard output could not be written in full, which is told.
/// A reader that has gone has seen what it wanted, and nothing is told of it.
int afterOutput( int exitCode );

}   // namespace Host
