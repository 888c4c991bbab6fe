#include "state/RedisLog.h"

#include "state/RandomText.h"
#include "state/RedisKeys.h"
#include "state/Succession.h"

#include <chrono>
#include <deque>

namespace State {

namespace {

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
   static constexpr std::chrono::milliseconds answerLimit{ 3000 };

   LogPlace const place;
   RedisKeys const keys;
   std::string const turnsMax;
   std::string const mark = randomText();
   std::optional<RedisConnection> writing;
   std::string script;   // its name on the server
   std::vector<std::string_view> words;

   // Of its own: a connection that waits does nothing else meanwhile.
   std::optional<RedisConnection> waiting;
   bool asked = false;
   std::chrono::steady_clock::time_point askedAt;
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
   RedisKeys const & keys = server.keys;
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
      return parts.size() < 2 ? Vor::LogPosition() : positionOf( *parts[0], *parts[1] );
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
      if ( !answer && std::chrono::steady_clock::now() - askedAt > answerLimit )
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
   askedAt = std::chrono::steady_clock::now();
}

void takeOverServer( LogPlace const & place ) { RedisConnection( place ).command( { "REPLICAOF", "NO", "ONE" } ); }

}   // namespace State
