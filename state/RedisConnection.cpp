#include "state/RedisConnection.h"

#include "framework/AttributeLog.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/time.h>

#include <csignal>
#include <ctime>

namespace State {

namespace {

constexpr int stepSeconds = 1;
constexpr timeval stepLimit{ stepSeconds, 0 };

std::string serverText( LogPlace const & place ) {
   return place.socket.empty() ? place.host + ':' + std::to_string( place.port ) : place.socket;
}

redisContext * connected( LogPlace const & place ) {
   return place.socket.empty() ? redisConnectWithTimeout( place.host.c_str(), place.port, stepLimit )
                               : redisConnectUnixWithTimeout( place.socket.c_str(), stepLimit );
}

// A server that went is an error like another, and no signal that ends the process.
class PipeSignalHeld {
 public:
   PipeSignalHeld() {
      sigemptyset( &pipe_ );
      sigaddset( &pipe_, SIGPIPE );
      pthread_sigmask( SIG_BLOCK, &pipe_, &before_ );
   }
   ~PipeSignalHeld() {
      if ( sigismember( &before_, SIGPIPE ) != 0 ) return;
      timespec const now{};
      sigtimedwait( &pipe_, nullptr, &now );
      pthread_sigmask( SIG_SETMASK, &before_, nullptr );
   }
   PipeSignalHeld( PipeSignalHeld const & ) = delete;
   PipeSignalHeld & operator=( PipeSignalHeld const & ) = delete;

 private:
   sigset_t pipe_{};
   sigset_t before_{};
};

}   // namespace

std::string_view textOf( redisReply const & reply ) {
   return reply.str == nullptr ? std::string_view() : std::string_view( reply.str, reply.len );
}

U64 numberOf( redisReply const & reply ) {
   return reply.type == REDIS_REPLY_INTEGER ? static_cast<U64>( reply.integer ) : 0;
}

std::span<redisReply * const> partsOf( redisReply const & reply ) {
   if ( reply.type != REDIS_REPLY_ARRAY ) return {};
   return { reply.element, reply.elements };
}

RedisConnection::RedisConnection( LogPlace const & place )
   : server_( serverText( place ) ), context_( connected( place ) ) {
   if ( !context_ || context_->err != 0 )
      fail( context_ ? static_cast<char const *>( context_->errstr ) : "no memory" );
   ::fcntl( fd(), F_SETFD, FD_CLOEXEC );
   limitIs( stepSeconds );
   if ( !place.user.empty() )
      command( { "AUTH", place.user, place.password } );
   else if ( !place.password.empty() )
      command( { "AUTH", place.password } );
}

void RedisConnection::limitIs( int seconds ) { redisSetTimeout( context_.get(), { seconds, 0 } ); }

RedisReply RedisConnection::command( Words words ) {
   RedisReply reply = ask( words );
   if ( reply.isError() ) fail( std::string( textOf( reply.get() ) ) );
   return reply;
}

RedisReply RedisConnection::ask( Words words ) {
   append( words );
   PipeSignalHeld const held;
   void * reply = nullptr;
   if ( redisGetReply( context_.get(), &reply ) != REDIS_OK )
      fail( context_->err == REDIS_ERR_IO && errno == EAGAIN ? "no answer in time" : context_->errstr );
   return RedisReply( reply );
}

void RedisConnection::send( std::initializer_list<std::string_view> words ) {
   append( Words( words.begin(), words.size() ) );
   PipeSignalHeld const held;
   for ( int done = 0; done == 0; )
      if ( redisBufferWrite( context_.get(), &done ) != REDIS_OK ) fail( context_->errstr );
}

std::optional<RedisReply> RedisConnection::received() {
   pollfd readable{ fd(), POLLIN, 0 };
   if ( ::poll( &readable, 1, 0 ) == 0 ) return std::nullopt;
   void * reply = nullptr;
   if ( redisBufferRead( context_.get() ) != REDIS_OK || redisGetReplyFromReader( context_.get(), &reply ) != REDIS_OK )
      fail( context_->errstr );
   if ( reply == nullptr ) return std::nullopt;
   RedisReply answer( reply );
   if ( answer.isError() ) fail( std::string( textOf( answer.get() ) ) );
   return answer;
}

void RedisConnection::append( Words words ) {
   chars_.clear();
   lengths_.clear();
   for ( std::string_view const word : words ) {
      chars_.push_back( word.empty() ? "" : word.data() );
      lengths_.push_back( word.size() );
   }
   int const count = static_cast<int>( words.size() );
   if ( redisAppendCommandArgv( context_.get(), count, chars_.data(), lengths_.data() ) != REDIS_OK )
      fail( context_->errstr );
}

void RedisConnection::fail( std::string const & why ) const {
   throw Vor::LogUnavailableException( "the log server at " + server_ + ": " + why );
}

}   // namespace State
