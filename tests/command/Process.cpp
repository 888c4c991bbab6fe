#include "tests/command/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

extern char ** environ;

namespace Host {

Process::Process( std::vector<std::string> const & words, std::string const & input ) {
   int output[2];
   int errors[2];
   if ( ::pipe2( output, O_CLOEXEC ) != 0 || ::pipe2( errors, O_CLOEXEC ) != 0 ) throw std::runtime_error( "pipe2" );
   posix_spawn_file_actions_t actions;
   ::posix_spawn_file_actions_init( &actions );
   ::posix_spawn_file_actions_addopen( &actions, STDIN_FILENO, input.c_str(), O_RDWR | O_NOCTTY, 0 );
   ::posix_spawn_file_actions_adddup2( &actions, output[1], STDOUT_FILENO );
   ::posix_spawn_file_actions_adddup2( &actions, errors[1], STDERR_FILENO );
   std::vector<std::string> all{ CLOCKPATH_COMMAND };
   all.insert( all.end(), words.begin(), words.end() );
   std::vector<char *> arguments;
   for ( std::string & word : all ) arguments.push_back( word.data() );
   arguments.push_back( nullptr );
   int const error = ::posix_spawn( &pid_, CLOCKPATH_COMMAND, &actions, nullptr, arguments.data(), environ );
   ::posix_spawn_file_actions_destroy( &actions );
   ::close( output[1] );
   ::close( errors[1] );
   outputEnd_ = output[0];
   errorsEnd_ = errors[0];
   if ( error != 0 ) throw std::runtime_error( "cannot start " CLOCKPATH_COMMAND );
}

Process::~Process() {
   if ( pid_ > 0 ) {
      ::kill( pid_, SIGKILL );
      ::waitpid( pid_, nullptr, 0 );
   }
   for ( int const end : { outputEnd_, errorsEnd_ } )
      if ( end >= 0 ) ::close( end );
}

bool Process::outputHas( std::string const & text, std::size_t times ) {
   for ( std::size_t from = 0; times > 0; ) {
      std::size_t const found = output_.find( text, from );
      if ( found != std::string::npos ) {
         from = found + text.size();
         --times;
      } else if ( outputEnd_ < 0 || !readMore( outputEnd_, output_ ) )
         return false;
   }
   return true;
}

// One that has ended gets none: its number, -1, would mean every process of the machine.
void Process::signal( int number ) const {
   if ( pid_ > 0 ) ::kill( pid_, number );
}

void Process::readerGoes() {
   ::close( outputEnd_ );
   outputEnd_ = -1;
}

int Process::result() {
   // Both at once, so that neither pipe fills up while the other is read.
   while ( outputEnd_ >= 0 || errorsEnd_ >= 0 ) {
      pollfd look[2] = { { outputEnd_, POLLIN, 0 }, { errorsEnd_, POLLIN, 0 } };
      ::poll( look, 2, -1 );
      if ( outputEnd_ >= 0 && look[0].revents != 0 ) readMore( outputEnd_, output_ );
      if ( errorsEnd_ >= 0 && look[1].revents != 0 ) readMore( errorsEnd_, errors_ );
   }
   int status = 0;
   ::waitpid( pid_, &status, 0 );
   pid_ = -1;
   return WIFEXITED( status ) ? WEXITSTATUS( status ) : -WTERMSIG( status );
}

bool Process::readMore( int & descriptor, std::string & text ) {
   char buffer[65536];
   ssize_t const count = ::read( descriptor, buffer, sizeof buffer );
   if ( count > 0 ) {
      text.append( buffer, static_cast<std::size_t>( count ) );
      return true;
   }
   ::close( descriptor );
   descriptor = -1;
   return false;
}

Ran run( std::vector<std::string> const & words ) {
   Process process( words );
   int const result = process.result();
   return { result, process.output(), process.errors() };
}

}   // namespace Host
