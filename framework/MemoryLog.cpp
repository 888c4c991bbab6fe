#include "framework/MemoryLog.h"

#include "framework/LogState.h"

#include <deque>
#include <mutex>
#include <set>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Vor {

namespace {

void throwUnlessNext( LogTurn const & turn, LogPosition end ) {
   if ( !mayFollow( end, turn ) )
      throw StaleGenerationException(
         "the log stands at " + positionText( end ) + ": turn " + positionText( turn.position ) + " does not follow" );
}

}   // namespace

struct MemoryLog::Shared {
   struct Kept {
      LogPosition position;
      LogBatch batch;
   };

   explicit Shared( std::size_t max ) : turnsMax( max ) {}

   std::mutex mutex;
   std::size_t const turnsMax;
   std::size_t bytes = 0;   // of the turns
   LogPosition end;
   std::deque<Kept> turns;   // each follows the one before it
   LogState state;
   std::set<int> doorbells;
};

namespace {

// Of what is kept for readers, beside the state.
constexpr std::size_t keptBytesMax = LogBatch::bytesMax;

}   // namespace

class MemoryLog::Source final : public LogSource {
 public:
   explicit Source( std::shared_ptr<Shared> shared )
      : shared_( std::move( shared ) ), wakeFd_( ::eventfd( 0, EFD_NONBLOCK | EFD_CLOEXEC ) ) {
      std::lock_guard const lock( shared_->mutex );
      if ( wakeFd_ < 0 ) throw LogUnavailableException( "no descriptor is left to wait on" );
      shared_->doorbells.insert( wakeFd_ );
   }
   ~Source() override {
      {
         std::lock_guard const lock( shared_->mutex );
         shared_->doorbells.erase( wakeFd_ );
      }
      ::close( wakeFd_ );
   }
   Source( Source const & ) = delete;
   Source & operator=( Source const & ) = delete;

   LogPosition snapshot( LogBatch & all ) override {
      std::lock_guard const lock( shared_->mutex );
      shared_->state.snapshot( all );
      return shared_->end;
   }

   Got next( LogPosition after, LogBatch & into, LogPosition & last ) override {
      std::lock_guard const lock( shared_->mutex );
      if ( after == shared_->end ) {
         U64 rung = 0;
         if ( ::read( wakeFd_, &rung, sizeof rung ) < 0 ) return Got::nothing;   // nobody had rung
         return Got::nothing;
      }
      auto const & turns = shared_->turns;
      LogPosition const wanted{ after.generation, after.number + 1 };
      if ( turns.empty() || wanted < turns.front().position || turns.back().position < wanted ) return Got::gap;
      Shared::Kept const & kept = turns[wanted.number - turns.front().position.number];
      into = kept.batch;
      last = wanted;
      return Got::turn;
   }

   int wakeFd() const override { return wakeFd_; }

 private:
   std::shared_ptr<Shared> const shared_;
   int const wakeFd_;
};

MemoryLog::MemoryLog( std::size_t turnsMax ) : shared_( std::make_shared<Shared>( turnsMax ) ) {}

MemoryLog::~MemoryLog() = default;

void MemoryLog::append( LogTurn const & turn ) {
   std::lock_guard const lock( shared_->mutex );
   throwUnlessNext( turn, shared_->end );
   auto & turns = shared_->turns;
   if ( turn.whole ) {
      turns.clear();
      shared_->bytes = 0;
   } else {
      turns.push_back( { turn.position, turn.batch } );
      shared_->bytes += turn.batch.bytes().size();
   }
   while ( turns.size() > shared_->turnsMax || shared_->bytes > keptBytesMax ) {
      shared_->bytes -= turns.front().batch.bytes().size();
      turns.pop_front();
   }
   shared_->state.turnIs( turn );
   shared_->end = turn.position;
   for ( int const doorbell : shared_->doorbells ) {
      U64 const one = 1;
      // Full only where it has been rung and not been answered.
      if ( ::write( doorbell, &one, sizeof one ) < 0 ) continue;
   }
}

LogPosition MemoryLog::end() {
   std::lock_guard const lock( shared_->mutex );
   return shared_->end;
}

LogPosition MemoryLog::safe() const {
   std::lock_guard const lock( shared_->mutex );
   return shared_->end;
}

std::unique_ptr<LogSource> MemoryLog::source() { return std::make_unique<Source>( shared_ ); }

}   // namespace Vor
