#include "state/RedisLog.h"

#include "card/Descriptor.h"
#include "state/RedisKeys.h"
#include "state/Succession.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <chrono>
#include <deque>

namespace State {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The writer's generation and number, then each entity's name and hash.
constexpr std::string_view snapshotScript = R"(
   local all = redis.call( 'HMGET', KEYS[1], 'generation', 'number' )
   for _, name in ipairs( redis.call( 'ZRANGE', KEYS[2], 0, -1 ) ) do
      all[#all + 1] = name
      all[#all + 1] = redis.call( 'HGETALL', KEYS[3] .. name )
   end
   return all
)";

constexpr std::string_view typeField = "@type";
constexpr std::string_view collectionField = "@collection";
constexpr std::string_view parametersField = "@parameters";

// Readable when a connection has something, and when a time is over.
class RedisWake {
 public:
   RedisWake() : all_( ::epoll_create1( EPOLL_CLOEXEC ) ), timer_( ::timerfd_create( CLOCK_MONOTONIC, TFD_CLOEXEC ) ) {
      add( timer_.fd() );
      after( milliseconds( 0 ) );
   }

   int fd() const { return all_.fd(); }
   void add( int fd ) const {
      epoll_event event{};
      event.events = EPOLLIN;
      ::epoll_ctl( all_.fd(), EPOLL_CTL_ADD, fd, &event );
   }
   void del( int fd ) const { ::epoll_ctl( all_.fd(), EPOLL_CTL_DEL, fd, nullptr ); }
   void after( milliseconds time ) const {
      auto const seconds = std::chrono::duration_cast<std::chrono::seconds>( time );
      itimerspec next{};
      next.it_value.tv_sec = seconds.count();
      next.it_value.tv_nsec = std::max<long>( 1, std::chrono::nanoseconds( time - seconds ).count() );
      ::timerfd_settime( timer_.fd(), 0, &next, nullptr );
   }

 private:
   Host::Descriptor const all_;
   Host::Descriptor const timer_;
};

// Of each entity its creation, in their order, so that whatever they refer to is there; then their attributes.
void putSnapshot( std::span<redisReply * const> parts, Vor::LogBatch & all ) {
   using Kind = Vor::LogEntry::Kind;
   std::vector<Vor::LogEntry> changes;
   for ( std::size_t i = 2; i + 1 < parts.size(); i += 2 ) {
      Vor::LogEntry created{ Kind::create, textOf( *parts[i] ), {}, {}, {}, {} };
      std::size_t const first = changes.size();
      auto const fields = partsOf( *parts[i + 1] );
      for ( std::size_t f = 0; f + 1 < fields.size(); f += 2 ) {
         std::string_view const field = textOf( *fields[f] );
         std::string_view const value = textOf( *fields[f + 1] );
         if ( field == typeField )
            created.type = value;
         else if ( field == collectionField )
            created.attribute = value;
         else if ( field == parametersField )
            created.value = value;
         else {
            std::size_t const colon = std::min( field.find( ':' ), field.size() );
            std::string_view const key = field.substr( std::min( colon + 1, field.size() ) );
            changes.push_back( { Kind::change, created.entity, {}, field.substr( 0, colon ), key, value } );
         }
      }
      all.entryAdd( created );
      std::ranges::sort(
         changes.begin() + static_cast<std::ptrdiff_t>( first ), changes.end(), {},
         []( auto const & c ) { return std::pair( c.attribute, c.key ); } );
   }
   for ( Vor::LogEntry const & change : changes ) all.entryAdd( change );
}

}   // namespace

struct RedisSource::Stream {
   struct Turn {
      Vor::LogPosition position;
      bool whole;
      std::string batch;
   };

   explicit Stream( LogPlace where ) : place( std::move( where ) ), keys( place.prefix ) {}

   RedisConnection & connect() {
      connection.emplace( place );
      wake.add( connection->fd() );
      return *connection;
   }
   void forget() {
      if ( connection ) wake.del( connection->fd() );
      connection.reset();
      asked = false;
      turns.clear();
   }
   void fetch();
   void take( RedisReply const & reply );

   // The server answers at least this often, so that a lost one shows.
   static constexpr std::string_view blockMs = "1000";
   static constexpr milliseconds answerLimit{ 2500 };
   static constexpr milliseconds retry{ 250 };
   static constexpr int snapshotSeconds = 5;   // of hundreds of thousands of values

   LogPlace const place;
   RedisKeys const keys;
   RedisWake const wake;
   std::optional<RedisConnection> connection;
   Vor::LogPosition at;   // what follows it comes first in `turns`, or was asked for
   std::deque<Turn> turns;
   bool asked = false;
   Clock::time_point askedAt;
};

RedisSource::RedisSource( LogPlace place ) : stream_( std::make_unique<Stream>( std::move( place ) ) ) {}

RedisSource::~RedisSource() = default;

int RedisSource::wakeFd() const { return stream_->wake.fd(); }

Vor::LogPosition RedisSource::snapshot( Vor::LogBatch & all ) {
   Stream & stream = *stream_;
   RedisKeys const & keys = stream.keys;
   all.clear();
   stream.forget();
   try {
      RedisConnection & connection = stream.connect();
      connection.limitIs( Stream::snapshotSeconds );
      RedisReply const reply =
         connection.command( { "EVAL_RO", snapshotScript, "3", keys.writer, keys.entities, keys.entity } );
      stream.forget();
      stream.wake.after( milliseconds( 0 ) );
      auto const parts = partsOf( reply.get() );
      if ( parts.size() < 2 ) return {};
      putSnapshot( parts, all );
      return positionOf( *parts[0], *parts[1] );
   } catch ( Vor::LogUnavailableException const & ) {
      stream.forget();
      stream.wake.after( Stream::retry );
      throw;
   }
}

void RedisSource::Stream::take( RedisReply const & reply ) {
   // One stream, its name and its entries; each an id, and fields with their values.
   auto const streams = partsOf( reply.get() );
   if ( streams.empty() || partsOf( *streams[0] ).size() != 2 ) return;
   for ( redisReply const * const entry : partsOf( *partsOf( *streams[0] )[1] ) ) {
      auto const parts = partsOf( *entry );
      if ( parts.size() != 2 || partsOf( *parts[1] ).size() < 4 )
         throw Vor::LogFormatException( "the stream " + keys.stream + " has an entry that is no turn" );
      auto const fields = partsOf( *parts[1] );
      turns.push_back(
         { positionIn( textOf( *parts[0] ) ), textOf( *fields[1] ) == "1", std::string( textOf( *fields[3] ) ) } );
   }
}

void RedisSource::Stream::fetch() {
   std::string const id = idText( at );
   if ( !connection ) {
      take( connect().command( { "XREAD", "COUNT", "100", "STREAMS", keys.stream, id } ) );
   } else if ( asked ) {
      std::optional<RedisReply> const reply = connection->received();
      if ( !reply && Clock::now() - askedAt > answerLimit )
         throw Vor::LogUnavailableException( "the log server does not answer" );
      if ( !reply ) return;
      asked = false;
      take( *reply );
   }
   if ( !turns.empty() ) return;
   connection->send( { "XREAD", "COUNT", "100", "BLOCK", blockMs, "STREAMS", keys.stream, id } );
   asked = true;
   askedAt = Clock::now();
   wake.after( answerLimit + milliseconds( 1 ) );
}

Vor::LogSource::Got RedisSource::next( Vor::LogPosition after, Vor::LogBatch & into, Vor::LogPosition & last ) {
   Stream & stream = *stream_;
   if ( after != stream.at ) stream.forget();
   stream.at = after;
   try {
      if ( stream.turns.empty() ) stream.fetch();
   } catch ( Vor::LogUnavailableException const & ) {
      stream.forget();
      stream.wake.after( Stream::retry );
      throw;
   }
   if ( stream.turns.empty() ) return Got::nothing;
   Stream::Turn const & turn = stream.turns.front();
   Got const got = gotAfter( after, turn.position, turn.whole );
   // The next call may have more at once.
   stream.wake.after( milliseconds( 0 ) );
   if ( got != Got::turn ) return got;
   into.bytesIs( turn.batch );
   last = stream.at = turn.position;
   stream.turns.pop_front();
   return got;
}

}   // namespace State
