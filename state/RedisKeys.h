// Where a log stands on its server: see docs/state.md.
#pragma once

#include "framework/AttributeLog.h"
#include "state/RedisConnection.h"

#include <charconv>

namespace State {

struct RedisKeys {
   explicit RedisKeys( std::string const & prefix )
      : writer( prefix + ":writer" ),
        stream( prefix + ":log" ),
        entities( prefix + ":entities" ),
        entity( prefix + ":entity:" ) {}

   std::string const writer;
   std::string const stream;
   std::string const entities;
   std::string const entity;   // a hash's name begins with it
};

/// The id of a turn in the stream.
inline std::string idText( Vor::LogPosition position ) {
   return std::to_string( position.generation ) + '-' + std::to_string( position.number );
}

inline Vor::LogPosition positionIn( std::string_view id ) {
   Vor::LogPosition position;
   char const * const end = id.data() + id.size();
   char const * const dash = std::from_chars( id.data(), end, position.generation ).ptr;
   if ( dash != end ) std::from_chars( dash + 1, end, position.number );
   return position;
}

/// Of the texts that the writer's hash has; 0 where it has none.
inline Vor::LogPosition positionOf( redisReply const & generation, redisReply const & number ) {
   return positionIn( std::string( textOf( generation ) ) + '-' + std::string( textOf( number ) ) );
}

}   // namespace State
