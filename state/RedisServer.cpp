#include "state/RedisServer.h"

#include "framework/AttributeLog.h"
#include "state/LogPlace.h"
#include "state/RandomText.h"
#include "state/RedisConnection.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

namespace State {

namespace fs = std::filesystem;

namespace {

constexpr char const * socketName = "/redis.sock";
// What each user needs, and no more.
constexpr char const * viewerCommands =
   "+ping +hmget +hgetall +hget +hkeys +hlen +zrange +zcard +exists +type +xread +xrange +xrevrange +xlen +xinfo"
   " +eval_ro +info +role";
constexpr char const * writerCommands =
   "+ping +hmget +hgetall +hget +hset +hdel +hincrby +del +exists +zadd +zrem +zrange +xadd +xread"
   " +eval_ro +evalsha +script|load +wait +role +info +replicaof";
constexpr int portsTried = 10;
constexpr int portMin = 20000;   // below those that the system gives to whoever asks for any
constexpr int portMax = 32000;
constexpr std::chrono::seconds startLimit{ 10 };

int somePort() {
   std::random_device random;
   return std::uniform_int_distribution( portMin, portMax )( random );
}

// In the child, between fork and exec.
[[noreturn]] void becomeServer( pid_t owner, char const * configuration ) {
   ::prctl( PR_SET_PDEATHSIG, SIGKILL );
   if ( ::getppid() != owner ) ::_exit( 1 );
   sigset_t none;
   sigemptyset( &none );
   ::sigprocmask( SIG_SETMASK, &none, nullptr );
   int const nowhere = ::open( "/dev/null", O_RDWR );
   for ( int fd = 0; fd <= 2; ++fd ) ::dup2( nowhere, fd );
   ::execlp( "redis-server", "redis-server", configuration, nullptr );
   ::_exit( 127 );
}

std::string lastLineOf( std::string const & path ) {
   std::ifstream file( path );
   std::string last;
   for ( std::string line; std::getline( file, line ); )
      if ( !line.empty() ) last = line;
   return last;
}

}   // namespace

RedisServer::RedisServer( std::string folder )
   : folder_( std::move( folder ) ), passwords_{ randomText(), randomText(), randomText() } {
   start( 0 );
}

RedisServer::RedisServer( std::string folder, RedisServer const & other )
   : folder_( std::move( folder ) ), passwords_( other.passwords_ ) {
   start( other.port_ );
}

RedisServer::~RedisServer() { end(); }

std::string RedisServer::place( std::string const & user, std::string const & password ) const {
   return "unix://" + user + ':' + password + '@' + fs::absolute( folder_ ).string() + socketName;
}

void RedisServer::end() {
   if ( process_ < 0 ) return;
   ::kill( process_, SIGKILL );
   ::waitpid( process_, nullptr, 0 );
   process_ = -1;
}

void RedisServer::start( int copied ) {
   end();
   copied_ = copied;
   fs::create_directories( folder_ );
   fs::permissions( folder_, fs::perms::owner_all );
   std::string const configuration = folder_ + "/redis.conf";
   auto const late = std::chrono::steady_clock::now() + startLimit;
   bool const portIsKnown = port_ != 0;
   for ( int tried = 0; tried < portsTried; ++tried ) {
      if ( !portIsKnown ) port_ = somePort();
      writeConfiguration();
      pid_t const owner = ::getpid();
      process_ = ::fork();
      if ( process_ == 0 ) becomeServer( owner, configuration.c_str() );
      int status = 0;
      while ( ::waitpid( process_, &status, WNOHANG ) == 0 ) {
         if ( answers() ) return;
         if ( std::chrono::steady_clock::now() > late ) {
            end();
            throw Vor::LogUnavailableException( "redis-server in " + folder_ + " did not answer in time" );
         }
         std::this_thread::sleep_for( std::chrono::milliseconds( 5 ) );
      }
      process_ = -1;
      if ( WIFEXITED( status ) && WEXITSTATUS( status ) == 127 )
         throw Vor::LogUnavailableException( "redis-server cannot be run: install it (scripts/setup does)" );
      // Else its port is taken, as a rule: another one.
   }
   throw Vor::LogUnavailableException(
      "redis-server in " + folder_ + " ends as it starts: " + lastLineOf( folder_ + "/redis.log" ) );
}

bool RedisServer::answers() const {
   try {
      RedisConnection( logPlace( writer() ) ).command( { "PING" } );
      return true;
   } catch ( Vor::LogUnavailableException const & ) {
      return false;
   }
}

// Every change is in the file before it is acknowledged, and is left to the system to put on the disk: it outlives the
// server, not the machine. A server that came back empty would empty the one that copies it.
void RedisServer::writeConfiguration() const {
   std::string const path = folder_ + "/redis.conf";
   std::ofstream file( path, std::ios::trunc );
   fs::permissions( path, fs::perms::owner_read | fs::perms::owner_write );
   file << "dir " << fs::absolute( folder_ ).string() << "\nlogfile redis.log\n"
        << "bind 127.0.0.1\nport " << port_ << "\nunixsocket redis.sock\nunixsocketperm 700\n"
        << "save \"\"\nappendonly yes\nappendfsync no\n"
        << "repl-diskless-sync-delay 0\nrepl-ping-replica-period 1\nrepl-timeout 5\n"
        // Nobody can be the default user, who has no password; but the server itself is, as it reads its file again.
        << "user default on resetpass ~* &* +@all\n"
        << "user writer on >" << passwords_.writer << " ~clockpath:* resetchannels -@all " << writerCommands << '\n'
        << "user viewer on >" << passwords_.viewer << " %R~clockpath:* resetchannels -@all " << viewerCommands << '\n'
        << "user replica on >" << passwords_.replica << " resetchannels -@all +psync +replconf +ping\n"
        << "masteruser replica\nmasterauth " << passwords_.replica << '\n';
   if ( copied_ != 0 ) file << "replicaof 127.0.0.1 " << copied_ << '\n';
}

}   // namespace State
