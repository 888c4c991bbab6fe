// Writes a log on a thread of its own, so that a server that hangs never delays the card: the loop hands turns over,
// as values, and never waits.
//
//    State::LogThread log( State::openSink( "agent.db" ), generation );
//    pollSet.descriptorAdd( log.descriptor(), [&] { look(); } );
//    if ( log.wantsWhole() ) { writer.whole( batch ); log.whole( batch ); }
//    else log.turn( writer.turn() );
//
// The queue is bounded. When it is full, what waits in it is dropped, and nothing is taken any more until the log can
// be written again; then it wants a whole: readers lose turns, never the state. It begins like that: as soon as the log
// has told where it stands, a whole is wanted. A turn that could not be written is tried again until it can, or until
// another writer has taken over; where the log has lost turns meanwhile, a whole is wanted again.
#pragma once

#include "framework/AttributeLog.h"

#include <memory>
#include <string>
#include <thread>

namespace State {

class LogThread {
 public:
   static constexpr std::size_t usualBytesMax = std::size_t{ 8 } << 20U;

   /// `bytesMax`: of what waits, but for a whole, which is taken alone where it is larger.
   LogThread( std::unique_ptr<Vor::TurnSink> sink, U32 generation, std::size_t bytesMax = usualBytesMax );
   /// Waits for what was handed over, at most a second.
   ~LogThread();
   LogThread( LogThread const & ) = delete;
   LogThread & operator=( LogThread const & ) = delete;

   /// Copies the batch; dropped while a whole is wanted, or will be.
   void turn( Vor::LogBatch const & batch );
   /// Also where none is wanted; dropped before the log has told where it stands.
   void whole( Vor::LogBatch const & batch );

   // What the thread has come to, as it was last:

   bool wantsWhole() const;
   /// Another writer has taken over: nothing is written any more.
   bool stale() const;
   /// Why the log cannot be written; empty while it can.
   std::string trouble() const;
   /// The turn that was handed over last, the one that stands in the log, and the one that outlives a loss.
   Vor::LogPosition handed() const;
   Vor::LogPosition written() const;
   Vor::LogPosition safe() const;
   /// Readable, until it is read, when one of these has changed; of the positions only when the first turn of this
   /// generation stands in the log. See changesTaken.
   int descriptor() const;
   void changesTaken();

 private:
   struct Shared;
   std::shared_ptr<Shared> const shared_;   // with the thread, which outlives this while the log hangs
   std::thread thread_;
};

}   // namespace State
