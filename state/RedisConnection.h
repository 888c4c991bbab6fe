// A connection to a Redis server, with the time that each of its steps may take. What goes wrong is told as
// Vor::LogUnavailableException; a connection that has thrown it is done, and is made anew.
#pragma once

#include "framework/Types.h"
#include "state/LogPlace.h"

#include <hiredis/hiredis.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace State {

class RedisReply {
 public:
   explicit RedisReply( void * reply ) : reply_( static_cast<redisReply *>( reply ) ) {}

   bool isNil() const { return reply_->type == REDIS_REPLY_NIL; }
   bool isError() const { return reply_->type == REDIS_REPLY_ERROR; }
   redisReply const & get() const { return *reply_; }

 private:
   struct Free {
      void operator()( redisReply * reply ) const { freeReplyObject( reply ); }
   };
   std::unique_ptr<redisReply, Free> reply_;
};

// What a reply is made of; empty, or 0, where it is of another kind.
std::string_view textOf( redisReply const & reply );
U64 numberOf( redisReply const & reply );
std::span<redisReply * const> partsOf( redisReply const & reply );

class RedisConnection {
 public:
   using Words = std::span<std::string_view const>;

   /// Connects and tells who it is.
   explicit RedisConnection( LogPlace const & place );

   /// What a step may take from now on; a second otherwise.
   void limitIs( int seconds );

   /// The answer, which is no error.
   RedisReply command( Words words );
   RedisReply command( std::initializer_list<std::string_view> words ) {
      return command( Words( words.begin(), words.size() ) );
   }
   /// The answer, also where it is an error.
   RedisReply ask( Words words );
   /// Sends alone; the answer is what received() gives, when fd() is readable and all of it has come.
   void send( std::initializer_list<std::string_view> words );
   std::optional<RedisReply> received();
   int fd() const { return context_->fd; }

 private:
   void append( Words words );
   [[noreturn]] void fail( std::string const & why ) const;

   struct Free {
      void operator()( redisContext * context ) const { redisFree( context ); }
   };
   std::string const server_;   // for messages
   std::unique_ptr<redisContext, Free> context_;
   std::vector<char const *> chars_;
   std::vector<std::size_t> lengths_;
};

}   // namespace State
