// The three logs as one, for tests that hold for each, and batches of a few words.
#pragma once

#include "framework/MemoryLog.h"
#include "state/LogPlace.h"
#include "state/RedisLog.h"
#include "state/RedisServer.h"
#include "state/SqliteLog.h"
#include "tests/input/Files.h"

#include <poll.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace State {

using Vor::LogBatch;
using Vor::LogEntry;
using Vor::LogPosition;
using Vor::LogSource;
using Vor::TurnSink;
using Got = Vor::LogSource::Got;

inline LogEntry created( std::string_view entity, std::string_view type = "T", std::string_view parameters = {} ) {
   return { LogEntry::Kind::create, entity, type, {}, {}, parameters };
}
inline LogEntry changed( std::string_view entity, std::string_view attribute, std::string_view value ) {
   return { LogEntry::Kind::change, entity, {}, attribute, {}, value };
}
inline LogEntry
keyed( std::string_view entity, std::string_view attribute, std::string_view key, std::string_view value ) {
   return { LogEntry::Kind::change, entity, {}, attribute, key, value };
}
inline LogEntry erased( std::string_view entity, std::string_view attribute, std::string_view key ) {
   return { LogEntry::Kind::erase, entity, {}, attribute, key, {} };
}
inline LogEntry removed( std::string_view entity ) { return { LogEntry::Kind::remove, entity, {}, {}, {}, {} }; }

inline LogBatch batchOf( std::vector<LogEntry> const & entries ) {
   LogBatch batch;
   for ( LogEntry const & entry : entries ) batch.entryAdd( entry );
   return batch;
}

/// An entry as a line of text.
inline std::string lineOf( LogEntry const & entry ) {
   static char const * const kinds[] = { "?", "create", "change", "erase", "remove" };
   std::string line = kinds[static_cast<int>( entry.kind )];
   for ( std::string_view const part : { entry.entity, entry.type, entry.attribute, entry.key, entry.value } )
      line += '|' + std::string( part );
   return line;
}

/// The entries of a batch, those that change attributes in the order of their texts: which comes first of them is not
/// the log's to say.
inline std::vector<std::string> linesOf( LogBatch const & batch ) {
   std::vector<std::string> lines;
   std::multiset<std::string> changes;
   for ( LogEntry const & entry : batch )
      if ( entry.kind == LogEntry::Kind::change )
         changes.insert( lineOf( entry ) );
      else
         lines.push_back( lineOf( entry ) );
   lines.insert( lines.end(), changes.begin(), changes.end() );
   return lines;
}

inline std::vector<std::string> snapshotOf( LogSource & source ) {
   LogBatch all;
   source.snapshot( all );
   return linesOf( all );
}

inline bool wakes( LogSource const & source, int ms = 5000 ) {
   pollfd readable{ source.wakeFd(), POLLIN, 0 };
   return ::poll( &readable, 1, ms ) == 1;
}

/// What comes next, waited for.
inline Got awaited( LogSource & source, LogPosition after, LogBatch & into, LogPosition & last ) {
   for ( int i = 0; i < 100; ++i ) {
      Got const got = source.next( after, into, last );
      if ( got != Got::nothing || !wakes( source ) ) return got;
   }
   return Got::nothing;
}

class AnyLog {
 public:
   virtual ~AnyLog() = default;
   virtual std::unique_ptr<TurnSink> sink( U64 turnsMax = 1000 ) = 0;
   virtual std::unique_ptr<LogSource> source() = 0;
};

class AMemoryLog final : public AnyLog {
 public:
   std::unique_ptr<TurnSink> sink( U64 turnsMax ) override {
      struct Handed final : TurnSink {
         explicit Handed( Vor::MemoryLog & log ) : log( log ) {}
         void append( Vor::LogTurn const & turn ) override { log.append( turn ); }
         LogPosition end() override { return log.end(); }
         LogPosition safe() const override { return log.safe(); }
         Vor::MemoryLog & log;
      };
      if ( !log_ ) log_.emplace( turnsMax );
      return std::make_unique<Handed>( *log_ );
   }
   std::unique_ptr<LogSource> source() override { return log_->source(); }

 private:
   std::optional<Vor::MemoryLog> log_;
};

class ASqliteLog final : public AnyLog {
 public:
   std::unique_ptr<TurnSink> sink( U64 turnsMax ) override { return std::make_unique<SqliteLog>( path(), turnsMax ); }
   std::unique_ptr<LogSource> source() override { return std::make_unique<SqliteSource>( path() ); }
   std::string path() const { return folder_.path( "state.db" ); }

 private:
   Input::Folder folder_;
};

class ARedisLog final : public AnyLog {
 public:
   std::unique_ptr<TurnSink> sink( U64 turnsMax ) override {
      return std::make_unique<RedisLog>( logPlace( server_.writer() ), turnsMax );
   }
   std::unique_ptr<LogSource> source() override {
      return std::make_unique<RedisSource>( logPlace( server_.viewer() ) );
   }
   RedisServer & server() { return server_; }

 private:
   Input::Folder folder_;
   RedisServer server_{ folder_.path( "redis" ) };
};

inline std::unique_ptr<AnyLog> anyLog( std::string const & kind ) {
   if ( kind == "Memory" ) return std::make_unique<AMemoryLog>();
   if ( kind == "Sqlite" ) return std::make_unique<ASqliteLog>();
   return std::make_unique<ARedisLog>();
}

}   // namespace State
