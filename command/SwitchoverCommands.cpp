#include "command/SwitchoverCommands.h"

#include "card/Descriptor.h"
#include "input/CardDescription.h"
#include "input/InputError.h"
#include "recording/Reader.h"
#include "report/Style.h"
#include "service/ControlSocket.h"
#include "service/Exit.h"
#include "state/OpenLog.h"
#include "state/RedisServer.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

namespace Host {

namespace {

using Clock = std::chrono::steady_clock;

Input::Json roleRequest( std::string const & role, std::optional<U32> generation ) {
   Input::Json request{ { "do", "role" }, { "role", role } };
   if ( generation ) request["generation"] = *generation;
   return request;
}

}   // namespace

int role( RoleOptions const & options ) {
   Input::Json const done =
      askAgent( options.socket, roleRequest( options.role, options.generation ), []( std::string const & what ) {
         std::cerr << "waiting: the agent is busy with " << what << '\n';
      } );
   std::cout << "the agent is " << done.value( "role", options.role );
   if ( done.contains( "generation" ) ) std::cout << ", generation " << done["generation"];
   std::cout << '\n';
   return exitReady;
}

namespace {

// A folder that goes with the demonstration.
class DemoFolder {
 public:
   DemoFolder() {
      std::string name = ( std::filesystem::temp_directory_path() / "clockpath-XXXXXX" ).string();
      if ( !::mkdtemp( name.data() ) ) throw Input::InputError( name + ": a folder cannot be made there" );
      path_ = name;
   }
   ~DemoFolder() {
      std::error_code error;
      std::filesystem::remove_all( path_, error );
   }
   DemoFolder( DemoFolder const & ) = delete;
   DemoFolder & operator=( DemoFolder const & ) = delete;
   std::string file( std::string const & name ) const { return ( path_ / name ).string(); }

 private:
   std::filesystem::path path_;
};

// This program again, with other words; what it says goes to a file. It ends with the demonstration.
class DemoProcess {
 public:
   DemoProcess( std::vector<std::string> words, std::string output ) : output_( std::move( output ) ) {
      words.insert( words.begin(), "clockpath" );
      std::vector<char *> argv;
      argv.reserve( words.size() + 1 );
      for ( std::string & word : words ) argv.push_back( word.data() );
      argv.push_back( nullptr );
      std::cout.flush();
      pid_ = ::fork();
      if ( pid_ == 0 ) {
         Descriptor const file( ::open( output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600 ) );
         ::dup2( file.fd(), STDOUT_FILENO );
         ::dup2( file.fd(), STDERR_FILENO );
         ::execv( "/proc/self/exe", argv.data() );
         ::_exit( exitWrongUse );
      }
      if ( pid_ < 0 ) throw std::runtime_error( "no process can be made" );
   }
   ~DemoProcess() { end( SIGKILL ); }
   DemoProcess( DemoProcess const & ) = delete;
   DemoProcess & operator=( DemoProcess const & ) = delete;

   pid_t pid() const { return pid_; }
   void end( int signal ) {
      if ( pid_ <= 0 ) return;
      ::kill( pid_, signal );
      ::waitpid( pid_, nullptr, 0 );
      pid_ = -1;
   }
   bool runs() const { return pid_ > 0 && ::waitpid( pid_, nullptr, WNOHANG ) == 0; }

   /// Waits until its output has the text. Throws where it ends before, or that takes too long.
   void awaits( std::string const & text ) const {
      Clock::time_point const latest = Clock::now() + std::chrono::seconds( 60 );
      while ( said().find( text ) == std::string::npos ) {
         if ( Clock::now() > latest || !runs() )
            throw std::runtime_error( "expected \"" + text + "\", found:\n" + said() );
         std::this_thread::sleep_for( std::chrono::milliseconds( 2 ) );
      }
   }
   std::string said() const {
      std::ifstream file( output_ );
      return { std::istreambuf_iterator<char>( file ), {} };
   }

 private:
   std::string const output_;
   pid_t pid_ = -1;
};

// The description, with its hardware in a process of its own behind that socket.
void writeWithSocket( Input::CardDescription const & card, std::string const & socket, std::string const & path ) {
   Input::Json json = Input::Json::parse( card.json );
   json["access"]["socket"] = socket;
   std::filesystem::path const folder = std::filesystem::absolute( card.file ).parent_path();
   for ( Input::Json & chip : json["chips"] )
      if ( chip.contains( "sequence" ) && chip["sequence"].is_string() )
         chip["sequence"] = ( folder / chip["sequence"].get<std::string>() ).string();
   std::ofstream( path ) << json.dump( 3 ) << '\n';
}

// How often outputs were driven to their active level: each puts a chip into reset.
std::size_t resetsIn( std::string const & events ) {
   std::size_t resets = 0;
   Recording::Reader reader( events );
   while ( auto const event = reader.next() )
      if ( auto const * const gpo = std::get_if<Recording::Gpo>( &event->what ) ) resets += gpo->active ? 1 : 0;
   return resets;
}

}   // namespace

int demoSwitchover( SwitchoverDemoOptions const & options ) {
   Input::CardDescription const card = Input::readCard( options.card );
   Input::requireSimulated( card );
   DemoFolder const folder;
   std::string const description = folder.file( "card.json" );
   writeWithSocket( card, folder.file( "card.sock" ), description );
   Clock::time_point began = Clock::now();
   auto const tell = [&]( std::string const & text ) {
      std::cout << fmt::format( "{:9.3f} s  {}\n", std::chrono::duration<double>( Clock::now() - began ).count(), text )
                << std::flush;
   };

   tell( "a card, and two supervisors with a server each: B's follows A's" );
   std::string const events = folder.file( "hardware.events" );
   DemoProcess hardware( { "hardware", description, "--events", events }, folder.file( "hardware.out" ) );
   hardware.awaits( "\n" );
   State::RedisServer serverA( folder.file( "a" ) );
   State::RedisServer serverB( folder.file( "b" ), serverA );
   auto const agent = [&]( std::string const & name, State::RedisServer const & server, std::string const & role ) {
      return std::vector<std::string>{
         "agent", description, "--state", server.writer(), "--socket", folder.file( name + ".sock" ), "--role", role };
   };
   DemoProcess a( agent( "a", serverA, "active" ), folder.file( "a.out" ) );
   DemoProcess b( agent( "b", serverB, "standby" ), folder.file( "b.out" ) );
   tell( "A is active and brings the chips up; B mirrors it" );
   a.awaits( "serves as the active supervisor" );
   std::size_t const resets = resetsIn( events );
   tell( "all chips are ready: A serves" );

   Input::Json const safe =
      askAgent( folder.file( "a.sock" ), { { "do", "position" } }, []( std::string const & ) {} ).at( "safe" );
   tell( fmt::format(
      "A counts its state up to turn {}-{} as safe: B's server has it", safe.at( 0 ).get<U32>(),
      safe.at( 1 ).get<U64>() ) );

   a.end( SIGKILL );
   serverA.end();
   began = Clock::now();
   tell( "A is killed, and its server with it" );
   std::this_thread::sleep_for( std::chrono::milliseconds( options.detectionMs ) );
   tell( fmt::format( "A was silent for {} ms: B is told to take over", options.detectionMs ) );
   askAgent( folder.file( "b.sock" ), roleRequest( "active", {} ), []( std::string const & ) {} );
   b.awaits( "takes over" );
   tell( "B takes over" );
   b.awaits( "serves as the active supervisor" );
   tell( "B serves" );
   std::size_t const more = resetsIn( events ) - resets;
   tell(
      more == 0 ? "no chip was reset: the clocks ran on" : fmt::format( "{} resets: clocks were interrupted", more ) );
   std::cout << "\nWhat B said:\n" << b.said();
   return more == 0 ? exitReady : exitNotReady;
}

}   // namespace Host
