// The log of one machine: an SQLite file, written by one process and read by any number.
//
//    State::SqliteLog log( "agent.db" );
//    State::SqliteSource reader( "agent.db" );      // in another process, as a rule
//
// A turn is a transaction: it outlives its process as soon as append returns, and the machine, up to the last
// seconds. The file holds the entities as they are and the last turns; FILE.readers beside it the doorbells of those
// who wait (state/Doorbell.h). docs/state.md names the tables. Each object is used by one thread at a time.
#pragma once

#include "framework/AttributeLog.h"

#include <memory>
#include <string>

namespace State {

class SqliteLog final : public Vor::TurnSink {
 public:
   static constexpr U64 usualTurnsMax = 1000;

   /// Makes the file where there is none. Throws Input::InputError for one that is no state log, or of another release,
   /// and Vor::LogUnavailableException.
   explicit SqliteLog( std::string const & path, U64 turnsMax = usualTurnsMax );
   ~SqliteLog() override;

   void append( Vor::LogTurn const & turn ) override;
   Vor::LogPosition end() override;
   Vor::LogPosition safe() const override { return safe_; }

 private:
   struct Statements;

   void apply( Vor::LogEntry const & entry );
   void clear();

   std::unique_ptr<Statements> const do_;
   U64 const turnsMax_;
   Vor::LogPosition safe_;
   Vor::LogPosition tried_;   // of the turn that could not be appended last
};

class SqliteSource final : public Vor::LogSource {
 public:
   /// Throws as SqliteLog does; unavailable is also a log that nobody has written yet.
   explicit SqliteSource( std::string const & path );
   ~SqliteSource() override;

   Vor::LogPosition snapshot( Vor::LogBatch & all ) override;
   Got next( Vor::LogPosition after, Vor::LogBatch & into, Vor::LogPosition & last ) override;
   int wakeFd() const override;

 private:
   struct Statements;

   std::unique_ptr<Statements> const do_;
};

}   // namespace State
