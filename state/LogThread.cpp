#include "state/LogThread.h"

#include "card/Descriptor.h"
#include "state/Succession.h"

#include <sys/eventfd.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <optional>

namespace State {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds retryAfter{ 200 };   // after trouble
constexpr milliseconds safeAfter{ 20 };     // from a look at what is safe to the next
constexpr milliseconds endsWithin{ 1000 };

}   // namespace

struct LogThread::Shared {
   struct Waiting {
      Vor::LogPosition position;
      bool whole;
      Vor::LogBatch batch;
   };

   Shared( std::unique_ptr<Vor::TurnSink> log, U32 generation, std::size_t most )
      : sink( std::move( log ) ), bytesMax( most ), handed{ generation, 0 } {}

   // On the owner's thread.
   void hand( Vor::LogBatch const & batch, bool whole );
   void drop();

   // On the log's.
   void run();
   bool step();
   void learnEnd();
   bool takeNext();
   void troubleIs( std::string const & text );
   void tell() const { ::eventfd_write( event.fd(), 1 ); }

   std::unique_ptr<Vor::TurnSink> const sink;   // of the log's thread
   std::size_t const bytesMax;
   Host::Descriptor const event{ ::eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK ) };

   // Of the log's thread: what is being written, and whether it is known where the log stands.
   std::optional<Waiting> current;
   bool endKnown = false;

   // Of both; nobody holds it while he waits for the log.
   std::mutex mutex;
   std::condition_variable changed;
   std::deque<Waiting> queue;
   std::size_t bytes = 0;
   bool begun = false;      // the numbers are known
   bool dropped = true;     // turns are missing, so that only a whole can follow
   bool writable = false;   // since then
   bool stale = false;
   std::string trouble;
   Vor::LogPosition handed;
   Vor::LogPosition written;
   Vor::LogPosition safe;
   bool ending = false;      // when the queue is empty
   bool abandoned = false;   // as soon as it can
   bool over = false;
};

void LogThread::Shared::hand( Vor::LogBatch const & batch, bool whole ) {
   std::lock_guard const lock( mutex );
   if ( stale || !begun || ( dropped && !whole ) ) return;
   std::size_t const size = batch.bytes().size();
   if ( bytes + size > bytesMax ) {
      drop();
      changed.notify_all();
      if ( !whole ) return;
   }
   if ( whole ) dropped = false;
   ++handed.number;
   bytes += size;
   queue.push_back( { handed, whole, batch } );
   changed.notify_all();
}

void LogThread::Shared::drop() {
   queue.clear();
   bytes = 0;
   dropped = true;
   writable = false;
}

void LogThread::Shared::run() {
   bool goOn = true;
   while ( goOn ) {
      try {
         goOn = step();
      } catch ( Vor::StaleGenerationException const & error ) {
         std::lock_guard const lock( mutex );
         stale = true;
         trouble = error.what();
         drop();
         tell();
         goOn = false;
      } catch ( std::exception const & error ) {
         endKnown = false;
         troubleIs( error.what() );
         std::unique_lock lock( mutex );
         changed.wait_for( lock, retryAfter, [this] { return abandoned; } );
         goOn = !abandoned;
      }
   }
   std::lock_guard const lock( mutex );
   over = true;
   changed.notify_all();
}

// Whether there is a next one.
bool LogThread::Shared::step() {
   if ( !endKnown ) learnEnd();
   if ( takeNext() ) {
      sink->append( { current->position, current->whole, current->batch } );
      std::lock_guard const lock( mutex );
      bool const first = written.generation != current->position.generation;
      written = current->position;
      current.reset();
      if ( first ) tell();
   }
   Vor::LogPosition const now = sink->safe();
   troubleIs( "" );
   std::unique_lock lock( mutex );
   if ( now <= written ) safe = now;
   if ( dropped && !writable ) {
      writable = true;
      tell();
   }
   auto const isWork = [this] { return !queue.empty() || ( dropped && !writable ) || ending || abandoned; };
   if ( safe == written )
      changed.wait( lock, isWork );
   else
      changed.wait_for( lock, safeAfter, isWork );
   return !abandoned && ( !ending || !queue.empty() );
}

// At the start, and after trouble: the log may have been lost meanwhile, or be another's.
void LogThread::Shared::learnEnd() {
   Vor::LogPosition const end = sink->end();
   std::lock_guard const lock( mutex );
   Vor::LogPosition const own = current ? current->position : written;
   if ( end.generation > handed.generation || ( begun && end > own ) ) throwStale( end, handed );
   if ( !begun && end.generation == handed.generation ) handed.number = end.number;
   begun = true;
   endKnown = true;
   if ( end >= written || ( current && current->whole ) ) return;
   // Its turns are gone. A whole takes their place; its number is one that no reader has seen with them.
   current.reset();
   drop();
}

bool LogThread::Shared::takeNext() {
   std::lock_guard const lock( mutex );
   if ( !current && !queue.empty() ) {
      current.emplace( std::move( queue.front() ) );
      queue.pop_front();
      bytes -= current->batch.bytes().size();
   }
   return current.has_value();
}

void LogThread::Shared::troubleIs( std::string const & text ) {
   std::lock_guard const lock( mutex );
   if ( text == trouble ) return;
   trouble = text;
   tell();
}

LogThread::LogThread( std::unique_ptr<Vor::TurnSink> sink, U32 generation, std::size_t bytesMax )
   : shared_( std::make_shared<Shared>( std::move( sink ), generation, bytesMax ) ) {
   // Signals are the owner's.
   sigset_t all;
   sigset_t before;
   sigfillset( &all );
   pthread_sigmask( SIG_SETMASK, &all, &before );
   thread_ = std::thread( [shared = shared_] { shared->run(); } );
   pthread_sigmask( SIG_SETMASK, &before, nullptr );
}

LogThread::~LogThread() {
   std::unique_lock lock( shared_->mutex );
   shared_->ending = true;
   shared_->changed.notify_all();
   bool const over = shared_->changed.wait_for( lock, endsWithin, [this] { return shared_->over; } );
   shared_->abandoned = true;
   shared_->changed.notify_all();
   lock.unlock();
   if ( over )
      thread_.join();
   else
      thread_.detach();
}

void LogThread::turn( Vor::LogBatch const & batch ) { shared_->hand( batch, false ); }

void LogThread::whole( Vor::LogBatch const & batch ) { shared_->hand( batch, true ); }

bool LogThread::wantsWhole() const {
   std::lock_guard const lock( shared_->mutex );
   return shared_->dropped && shared_->writable;
}

bool LogThread::stale() const {
   std::lock_guard const lock( shared_->mutex );
   return shared_->stale;
}

std::string LogThread::trouble() const {
   std::lock_guard const lock( shared_->mutex );
   return shared_->trouble;
}

Vor::LogPosition LogThread::handed() const {
   std::lock_guard const lock( shared_->mutex );
   return shared_->handed;
}

Vor::LogPosition LogThread::written() const {
   std::lock_guard const lock( shared_->mutex );
   return shared_->written;
}

Vor::LogPosition LogThread::safe() const {
   std::lock_guard const lock( shared_->mutex );
   return shared_->safe;
}

int LogThread::descriptor() const { return shared_->event.fd(); }

void LogThread::changesTaken() {
   eventfd_t changes = 0;
   ::eventfd_read( shared_->event.fd(), &changes );
}

}   // namespace State
