// The state log from end to end: entities change in this process, a mirror in another follows. A file, or a server that
// is a third process.
//
//    changes through KIND    100 entities change, a turn; 200 turns until the mirror has the last: per change
//    a change through KIND   one entity changes, and the mirror has it
#include "framework/LogWriter.h"
#include "framework/Mirror.h"
#include "service/AgentStatus.h"
#include "state/OpenLog.h"
#include "state/RedisServer.h"

#include <benchmark/benchmark.h>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Vor::LogPosition;
using Vor::LogSource;

// A mirror in a process of its own, which tells each position that it has come to.
class MirrorProcess {
 public:
   explicit MirrorProcess( std::string const & where ) {
      std::array<int, 2> ends{};
      if ( ::pipe( ends.data() ) != 0 ) throw std::runtime_error( "no pipe" );
      process_ = ::fork();
      if ( process_ == 0 ) follow( where, ends[1] );
      ::close( ends[1] );
      told_ = ends[0];
   }
   ~MirrorProcess() {
      ::kill( process_, SIGKILL );
      ::waitpid( process_, nullptr, 0 );
      ::close( told_ );
   }
   MirrorProcess( MirrorProcess const & ) = delete;
   MirrorProcess & operator=( MirrorProcess const & ) = delete;

   void waitFor( U64 number ) {
      for ( U64 reached = 0; reached < number; )
         if ( ::read( told_, &reached, sizeof reached ) != sizeof reached )
            throw std::runtime_error( "the mirror ended" );
   }

 private:
   [[noreturn]] static void follow( std::string const & where, int told ) {
      std::unique_ptr<LogSource> const source = State::openSource( where );
      Vor::Mirror mirror( []( Vor::String const & ) {} );
      Vor::LogBatch batch;
      LogPosition at = source->snapshot( batch );
      mirror.snapshotIs( batch );
      for ( ;; ) {
         if ( ::write( told, &at.number, sizeof at.number ) != sizeof at.number ) ::_exit( 1 );
         pollfd readable{ source->wakeFd(), POLLIN, 0 };
         ::poll( &readable, 1, -1 );
         LogSource::Got got = LogSource::Got::turn;
         while ( ( got = source->next( at, batch, at ) ) == LogSource::Got::turn ) mirror.turn( batch );
         if ( got == LogSource::Got::gap ) ::_exit( 2 );
      }
   }

   pid_t process_ = -1;
   int told_ = -1;
};

// A folder, with a server in it where one is asked for.
class Place {
 public:
   explicit Place( bool redis ) {
      std::string pattern = "/tmp/clockpathXXXXXX";
      folder_ = ::mkdtemp( pattern.data() );
      if ( redis ) server_ = std::make_unique<State::RedisServer>( folder_ + "/redis" );
   }
   ~Place() {
      server_.reset();
      std::filesystem::remove_all( folder_ );
   }
   Place( Place const & ) = delete;
   Place & operator=( Place const & ) = delete;

   std::string where() const { return server_ ? server_->writer() : folder_ + "/state.db"; }

 private:
   std::string folder_;
   std::unique_ptr<State::RedisServer> server_;
};

void changes( benchmark::State & state, bool redis, U32 turns, U32 changesATurn ) {
   Place const place( redis );
   std::unique_ptr<Vor::TurnSink> const sink = State::openSink( place.where() );
   Vor::LogWriter writer;
   std::vector<Vor::Ptr<Host::ChipProgress>> chips;
   for ( U32 i = 0; i < changesATurn; ++i ) {
      chips.push_back( Host::chipProgressFactory( "chip" + std::to_string( i ) ) );
      writer.entityAdd( chips.back() );
   }
   LogPosition at{ 1, 1 };
   sink->append( { at, true, writer.turn() } );
   writer.turnDone();
   MirrorProcess mirror( place.where() );
   mirror.waitFor( 1 );
   for ( auto _ : state ) {
      for ( U32 turn = 0; turn < turns; ++turn ) {
         ++at.number;
         for ( auto const & chip : chips ) chip->pollIs( static_cast<U32>( at.number ) );
         sink->append( { at, false, writer.turn() } );
         writer.turnDone();
      }
      mirror.waitFor( at.number );
   }
   double const all = static_cast<double>( state.iterations() ) * turns * changesATurn;
   state.counters["changes/s"] = benchmark::Counter( all, benchmark::Counter::kIsRate );
}

void manyThroughSqlite( benchmark::State & state ) { changes( state, false, 200, 100 ); }
void manyThroughRedis( benchmark::State & state ) { changes( state, true, 200, 100 ); }
void oneThroughSqlite( benchmark::State & state ) { changes( state, false, 1, 1 ); }
void oneThroughRedis( benchmark::State & state ) { changes( state, true, 1, 1 ); }
BENCHMARK( manyThroughSqlite )
   ->Name( "20,000 changes into a mirror/SQLite" )
   ->UseRealTime()
   ->Unit( benchmark::kMillisecond );
BENCHMARK( manyThroughRedis )
   ->Name( "20,000 changes into a mirror/Redis" )
   ->UseRealTime()
   ->Unit( benchmark::kMillisecond );
BENCHMARK( oneThroughSqlite )->Name( "a change into a mirror/SQLite" )->UseRealTime()->Unit( benchmark::kMicrosecond );
BENCHMARK( oneThroughRedis )->Name( "a change into a mirror/Redis" )->UseRealTime()->Unit( benchmark::kMicrosecond );

}   // namespace
