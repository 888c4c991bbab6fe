#include "state/RedisLog.h"

#include "card/Descriptor.h"
#include "state/RedisConnection.h"
#include "state/Succession.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <deque>
#include <random>

namespace State {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// A turn. The keys: writer, stream, names of the entities in order of creation, what a hash's name begins with. The
// words: generation, number, whole, the writer's mark, length of the stream, batch; then the changes, each as its kind,
// the entity, and what that kind takes. The writer's mark tells a turn that is tried again from another's. What may
// follow is said by Vor::mayFollow, too.
constexpr std::string_view appendScript = R"(
   local writer, stream, entities, entity = unpack( KEYS )
   local generation, number, whole = tonumber( ARGV[1] ), tonumber( ARGV[2] ), ARGV[3] == '1'
   local id = ARGV[1] .. '-' .. ARGV[2]
   local last = redis.call( 'HMGET', writer, 'generation', 'number', 'mark' )
   local lastId = ( last[1] or '0' ) .. '-' .. ( last[2] or '0' )
   if id == lastId and last[3] == ARGV[4] then return id end
   local lastGeneration, lastNumber = tonumber( last[1] or 0 ), tonumber( last[2] or 0 )
   local sameGeneration = generation == lastGeneration
   local follows = sameGeneration and number == lastNumber + 1 and lastNumber > 0
   if whole then follows = generation > lastGeneration or ( sameGeneration and number > lastNumber ) end
   if not follows then return redis.error_reply( 'STALE ' .. lastId ) end

   redis.call( 'XADD', stream, 'MAXLEN', '~', ARGV[5], id, 'whole', ARGV[3], 'batch', ARGV[6] )
   redis.call( 'HSET', writer, 'generation', ARGV[1], 'number', ARGV[2], 'mark', ARGV[4] )
   if whole then
      for _, name in ipairs( redis.call( 'ZRANGE', entities, 0, -1 ) ) do redis.call( 'DEL', entity .. name ) end
      redis.call( 'DEL', entities )
   end
   local at = 7
   while ARGV[at] do
      local kind, name = ARGV[at], ARGV[at + 1]
      local key = entity .. name
      if kind == 'create' then
         redis.call( 'DEL', key )
         redis.call( 'HSET', key, '@type', ARGV[at + 2], '@collection', ARGV[at + 3], '@parameters', ARGV[at + 4] )
         redis.call( 'ZADD', entities, redis.call( 'HINCRBY', writer, 'places', 1 ), name )
         at = at + 5
      elseif kind == 'change' then
         local past = at + 3 + 2 * ARGV[at + 2]
         if redis.call( 'EXISTS', key ) == 1 then redis.call( 'HSET', key, unpack( ARGV, at + 3, past - 1 ) ) end
         at = past
      elseif kind == 'erase' then
         redis.call( 'HDEL', key, ARGV[at + 2] )
         at = at + 3
      else
         redis.call( 'DEL', key )
         redis.call( 'ZREM', entities, name )
         at = at + 2
      end
   end
   return id
)";

// The server's language takes a few thousand words in one command.
constexpr std::size_t changesMax = 1000;

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

struct Keys {
   explicit Keys( std::string const & prefix )
      : writer( prefix + ":writer" ),
        stream( prefix + ":log" ),
        entities( prefix + ":entities" ),
        entity( prefix + ":entity:" ) {}

   std::string const writer;
   std::string const stream;
   std::string const entities;
   std::string const entity;
};

U64 numberIn( std::string_view text ) {
   U64 number = 0;
   std::from_chars( text.data(), text.data() + text.size(), number );
   return number;
}

std::string idText( Vor::LogPosition position ) {
   return std::to_string( position.generation ) + '-' + std::to_string( position.number );
}

Vor::LogPosition positionIn( std::string_view id ) {
   std::size_t const dash = std::min( id.find( '-' ), id.size() );
   return {
      static_cast<U32>( numberIn( id.substr( 0, dash ) ) ), numberIn( id.substr( std::min( dash + 1, id.size() ) ) ) };
}

std::string newMark() {
   std::random_device random;
   std::array<char, 20> text{};
   std::snprintf( text.data(), text.size(), "%08x%08x", random(), random() );
   return text.data();
}

// The words of a turn's changes. Texts that are made for it stay in place while more are added.
class ChangeWords {
 public:
   explicit ChangeWords( std::vector<std::string_view> & words ) : words_( words ) {}

   void add( Vor::LogEntry const & entry ) {
      using Kind = Vor::LogEntry::Kind;
      if ( entry.kind == Kind::change ) {
         change( entry );
         return;
      }
      close();
      switch ( entry.kind ) {
      case Kind::create:
         put( { "create", entry.entity, entry.type, entry.attribute, entry.value } );
         break;
      case Kind::erase:
         put( { "erase", entry.entity, field( entry ) } );
         break;
      default:
         put( { "remove", entry.entity } );
         break;
      }
   }
   // To be called after the last one.
   void close() {
      if ( changes_ != 0 ) words_[countAt_] = made( std::to_string( changes_ ) );
      changes_ = 0;
   }

 private:
   // Changes of one entity that follow each other go as one.
   void change( Vor::LogEntry const & entry ) {
      if ( changes_ == 0 || changes_ == changesMax || words_[countAt_ - 1] != entry.entity ) {
         close();
         put( { "change", entry.entity, "" } );
         countAt_ = words_.size() - 1;
      }
      put( { field( entry ), entry.value } );
      ++changes_;
   }
   // Attributes have no colon in their names.
   std::string_view field( Vor::LogEntry const & entry ) {
      if ( entry.key.empty() ) return entry.attribute;
      return made( std::string( entry.attribute ) + ':' + std::string( entry.key ) );
   }
   void put( std::initializer_list<std::string_view> words ) { words_.insert( words_.end(), words ); }
   std::string_view made( std::string text ) { return made_.emplace_back( std::move( text ) ); }

   std::vector<std::string_view> & words_;
   std::deque<std::string> made_;
   std::size_t countAt_ = 0;
   std::size_t changes_ = 0;
};

}   // namespace

struct RedisLog::Server {
   Server( LogPlace where, U64 turns )
      : place( std::move( where ) ), keys( place.prefix ), turnsMax( std::to_string( turns ) ) {}

   RedisConnection & writer() {
      if ( !writing ) {
         writing.emplace( place );
         script = textOf( writing->command( { "SCRIPT", "LOAD", appendScript } ).get() );
      }
      return *writing;
   }

   void lookForSafe();
   bool hasSecondServer();

   // As long as a second server that is well may take at its worst.
   static constexpr std::string_view waitMs = "2000";
   static constexpr milliseconds answerLimit{ 3000 };

   LogPlace const place;
   Keys const keys;
   std::string const turnsMax;
   std::string const mark = newMark();
   std::optional<RedisConnection> writing;
   std::string script;   // its name on the server
   std::vector<std::string_view> words;

   // Of its own: a connection that waits does nothing else meanwhile.
   std::optional<RedisConnection> waiting;
   bool asked = false;
   Clock::time_point askedAt;
   bool secondSeen = false;
   Vor::LogPosition appended;
   Vor::LogPosition askedFor;
   Vor::LogPosition safe;
};

RedisLog::RedisLog( LogPlace place, U64 turnsMax )
   : server_( std::make_unique<Server>( std::move( place ), turnsMax ) ) {}

RedisLog::~RedisLog() = default;

void RedisLog::append( Vor::LogTurn const & turn ) {
   Server & server = *server_;
   Keys const & keys = server.keys;
   std::string const generation = std::to_string( turn.position.generation );
   std::string const number = std::to_string( turn.position.number );
   try {
      RedisConnection & writer = server.writer();
      std::vector<std::string_view> & words = server.words;
      // Nobody adds a whole turn to what he has: that it was one is enough.
      words = {
         "EVALSHA",
         server.script,
         "4",
         keys.writer,
         keys.stream,
         keys.entities,
         keys.entity,
         generation,
         number,
         turn.whole ? "1" : "0",
         server.mark,
         server.turnsMax,
         turn.whole ? std::string_view() : turn.batch.bytes() };
      ChangeWords changes( words );
      for ( Vor::LogEntry const & entry : turn.batch ) changes.add( entry );
      changes.close();
      RedisReply const reply = writer.ask( words );
      std::string_view const text = textOf( reply.get() );
      if ( reply.isError() ) {
         if ( text.starts_with( "STALE " ) ) throwStale( positionIn( text.substr( 6 ) ), turn.position );
         if ( text.find( "equal or smaller" ) != std::string_view::npos ) throwStale( end(), turn.position );
         throw Vor::LogUnavailableException( "the log server took no turn: " + std::string( text ) );
      }
      server.appended = turn.position;
   } catch ( Vor::LogUnavailableException const & ) {
      server.writing.reset();
      throw;
   }
}

Vor::LogPosition RedisLog::end() {
   try {
      RedisReply const reply = server_->writer().command( { "HMGET", server_->keys.writer, "generation", "number" } );
      auto const parts = partsOf( reply.get() );
      if ( parts.size() != 2 ) return {};
      return { static_cast<U32>( numberIn( textOf( *parts[0] ) ) ), numberIn( textOf( *parts[1] ) ) };
   } catch ( Vor::LogUnavailableException const & ) {
      server_->writing.reset();
      throw;
   }
}

Vor::LogPosition RedisLog::safe() const {
   try {
      server_->lookForSafe();
   } catch ( Vor::LogUnavailableException const & ) {
      server_->waiting.reset();
      server_->asked = false;
   }
   return server_->safe;
}

bool RedisLog::Server::hasSecondServer() {
   RedisReply const role = waiting->command( { "ROLE" } );
   auto const parts = partsOf( role.get() );
   if ( parts.size() < 3 || textOf( *parts[0] ) != "master" )
      throw Vor::LogUnavailableException( "the log server copies another" );
   return !partsOf( *parts[2] ).empty();
}

void RedisLog::Server::lookForSafe() {
   if ( asked ) {
      std::optional<RedisReply> const answer = waiting->received();
      if ( !answer && Clock::now() - askedAt > answerLimit )
         throw Vor::LogUnavailableException( "the log server does not answer" );
      if ( !answer ) return;
      asked = false;
      if ( numberOf( answer->get() ) > 0 ) safe = askedFor;
   }
   if ( safe == appended ) return;
   if ( !waiting ) waiting.emplace( place );
   secondSeen = secondSeen || hasSecondServer();
   if ( !secondSeen ) {
      safe = appended;
      return;
   }
   // To wait means: for what this connection has written. What it writes here comes behind every turn so far.
   askedFor = appended;
   waiting->command( { "HSET", keys.writer, "asked", idText( askedFor ) } );
   waiting->send( { "WAIT", "1", waitMs } );
   asked = true;
   askedAt = Clock::now();
}

namespace {

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

   LogPlace const place;
   Keys const keys;
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
   Keys const & keys = stream.keys;
   all.clear();
   stream.forget();
   try {
      RedisReply const reply =
         stream.connect().command( { "EVAL_RO", snapshotScript, "3", keys.writer, keys.entities, keys.entity } );
      stream.forget();
      stream.wake.after( milliseconds( 0 ) );
      auto const parts = partsOf( reply.get() );
      if ( parts.size() < 2 ) return {};
      putSnapshot( parts, all );
      return { static_cast<U32>( numberIn( textOf( *parts[0] ) ) ), numberIn( textOf( *parts[1] ) ) };
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

void takeOverServer( LogPlace const & place ) { RedisConnection( place ).command( { "REPLICAOF", "NO", "ONE" } ); }

}   // namespace State
