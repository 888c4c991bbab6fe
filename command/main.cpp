#include "command/CommandLine.h"

int main( int argc, char ** argv ) { return Host::commandLine( argc, argv ); }
