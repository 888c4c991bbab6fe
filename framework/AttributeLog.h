// The attribute log: the entities of a process as others can read them - a second process that takes over, tools that
// look inside, collectors. A log holds the state of its entities as it is now, and the turns that led there.
//
// One writer at a time. It gathers the changes of a turn of its loop into a batch (framework/LogWriter.h) and appends
// them as one turn, which a reader gets whole or not at all. A turn's position is the writer's generation, which
// whoever decides who is active has given it, and a number that counts from 1 without holes. The first turn of a
// generation is a whole one: it does not add to what stood there but replaces it; a writer may write further whole
// turns. One of those needs none of the turns before it, so it may leave numbers out: of turns that never came into the
// log, or that the log has lost.
//
// A reader takes a snapshot, and from its position on the turns that follow. Where it cannot have every one of them -
// they are kept for a bounded time, and a whole turn is none that it could add - it is told of the gap, and takes a
// snapshot again (framework/Mirror.h).
//
//    sink.append( { { 3, 17 }, false, batch } );
//
//    LogBatch batch;
//    LogPosition at = source.snapshot( batch );
//    while ( source.next( at, batch, at ) == LogSource::Got::turn ) mirror.turn( batch );
//
// In a log an entity's id is its full name. Values are in wire form (framework/Wire.h); what stands where is in
// docs/attribute-log.md.
#pragma once

#include "framework/Exception.h"
#include "framework/Types.h"

#include <compare>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Vor {

/// Where a log stands. { 0, 0 } stands before everything.
struct LogPosition {
   U32 generation = 0;
   U64 number = 0;
   friend bool operator==( LogPosition const &, LogPosition const & ) = default;
   friend std::strong_ordering operator<=>( LogPosition const & left, LogPosition const & right ) {
      return std::pair( left.generation, left.number ) <=> std::pair( right.generation, right.number );
   }
};

/// "3-17".
String positionText( LogPosition position );

/// The versions of batches that are read; writers write the last. It changes with the layout of a batch, not with the
/// types that are in it.
inline constexpr U32 logFormatVersion = 1;

/// What a batch or a value says cannot be read; what() names the place and the cause.
class LogFormatException : public Exception {
   using Exception::Exception;
};

/// Another writer of a higher generation has begun, or one of this generation: this one is done.
class StaleGenerationException : public Exception {
   using Exception::Exception;
};

/// The log cannot be written or read now; the same may be tried again.
class LogUnavailableException : public Exception {
   using Exception::Exception;
};

struct LogEntry {
   enum class Kind : U8 {
      create = 1,   ///< an entity, with the values of its constructor parameters
      change = 2,   ///< an attribute has this value, or a key of a collection
      erase = 3,    ///< a key of a collection has gone
      remove = 4,   ///< an entity has gone
   };

   Kind kind = Kind::change;
   std::string_view entity{};      ///< its full name
   std::string_view type{};        ///< of `create`: the name in the registry
   std::string_view attribute{};   ///< of `create`: the parent's collection that holds it, empty where none does
   std::string_view key{};         ///< wire form; empty where the attribute is no collection
   /// Wire form. Of `create` two numbers that tell how the writer has the type (Type::Operations), and then the values
   /// of the parameters, one behind the other.
   std::string_view value{};

   friend bool operator==( LogEntry const &, LogEntry const & ) = default;
};

/// Entries, one behind the other, as the bytes that travel. Keeps its room when it is cleared.
class LogBatch {
 public:
   /// Longer ones are refused: of a batch, in bytes.
   static constexpr std::size_t bytesMax = std::size_t{ 64 } << 20U;

   LogBatch() { clear(); }
   /// Throws LogFormatException, and leaves the batch as it was, for bytes that are none: cut off, too long, with an
   /// entry that is malformed, or of a format that this release does not know.
   void bytesIs( std::string_view bytes );
   std::string_view bytes() const { return bytes_; }

   void clear();
   bool empty() const { return count_ == 0; }
   std::size_t count() const { return count_; }
   void entryAdd( LogEntry const & entry );
   /// Adds an entry in parts: its value is what is put into the text given, until entryEnd.
   std::string & entryBegin( LogEntry const & entry );
   void entryEnd();
   /// The bytes of an entry up to its value, which is empty: for who adds entries of one head again and again.
   static std::string headOf( LogEntry const & entry );
   std::string & entryBegin( std::string_view head );
   /// Adds the entries of another.
   void batchAdd( LogBatch const & other );

   class Iterator {
    public:
      Iterator( std::string_view rest ) : rest_( rest ) { read(); }
      LogEntry const & operator*() const { return entry_; }
      LogEntry const * operator->() const { return &entry_; }
      Iterator & operator++() {
         read();
         return *this;
      }
      bool operator==( std::nullptr_t ) const { return over_; }

    private:
      void read();
      std::string_view rest_;
      LogEntry entry_;
      bool over_ = false;
   };
   /// The texts of an entry live as long as the batch is not changed.
   Iterator begin() const;
   std::nullptr_t end() const { return nullptr; }

 private:
   void headPut();

   std::string bytes_;
   std::size_t count_ = 0;
   std::size_t entryAt_ = 0;   // of one that is being added
   std::size_t valueAt_ = 0;   // its last text
};

struct LogTurn {
   LogPosition position;
   bool whole = false;   ///< the state from here on, in place of what stood there
   LogBatch const & batch;
};

/// Whether the turn may come next in a log that stands at `end`. What may not is another writer's, or is behind one.
inline bool mayFollow( LogPosition end, LogTurn const & turn ) {
   LogPosition const next{ end.generation, end.number + 1 };
   return turn.whole ? turn.position > end : turn.position == next && end.number != 0;
}

class TurnSink {
 public:
   virtual ~TurnSink() = default;

   /// The turn stands in the log, for every reader, when this returns; or else not at all. Throws
   /// StaleGenerationException where it may not follow end(), and LogUnavailableException, after which it may have come
   /// into the log all the same: the same turn appended again by the same sink stands there once.
   virtual void append( LogTurn const & turn ) = 0;
   /// The last turn there is; { 0, 0 } in a new log. A restarted writer goes on behind it. Throws
   /// LogUnavailableException.
   virtual LogPosition end() = 0;
   /// The last turn that outlives whatever the log is to outlive; what append has returned from may be behind it.
   virtual LogPosition safe() const = 0;
};

class LogSource {
 public:
   virtual ~LogSource() = default;

   enum class Got { turn, nothing, gap };

   /// One consistent cut - the creations of all entities, parents and what they refer to first, then the values of
   /// all - and where it stands. Throws LogUnavailableException, LogFormatException.
   virtual LogPosition snapshot( LogBatch & all ) = 0;
   /// The turn that follows `after`; `into` and `last` are as they were where there is none. Throws as snapshot.
   virtual Got next( LogPosition after, LogBatch & into, LogPosition & last ) = 0;
   /// Readable when next() may have something. -1 where the log cannot be reached.
   virtual int wakeFd() const = 0;
};

}   // namespace Vor
