// Writes a log on a thread of its own, so that a server that hangs never delays the card: the loop hands turns over,
// as values, and never waits.
//
//    State::LogThread log( State::openSink( "agent.db" ), generation );
//    pollSet.descriptorAdd( log.descriptor(), [&] { look(); } );
//    if ( log.wantsWhole() ) { writer.whole( batch ); log.whole( batch ); }
//    else log.turn( writer.turn() );
//
// The queue is bounded. When it is full, what waits in it is dropped, and nothing is taken any more until the log can
// be written again; then it wants a whole: readers lose turns, never the state. A turn that could not be written is
// tried again until it can, or until another writer has taken over.
#pragma once

#include "framework/AttributeLog.h"

#include <memory>
#include <string>

namespace State {

class LogThread {
 public:
   static constexpr std::size_t usualBytesMax = std::size_t{ 8 } << 20U;

   /// Wants a whole from the start. `bytesMax`: of what waits.
   LogThread( std::unique_ptr<Vor::TurnSink> sink, U32 generation, std::size_t bytesMax = usualBytesMax );
   /// Waits for what was handed over, at most a second.
   ~LogThread();
   LogThread( LogThread const & ) = delete;
   LogThread & operator=( LogThread const & ) = delete;

   /// Copies the batch; dropped while a whole is wanted.
   void turn( Vor::LogBatch const & batch );
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
   /// Readable, until it is read, when one of these has changed but for the positions; see changesTaken.
   int descriptor() const;
   void changesTaken();

 private:
   struct Shared;
   std::unique_ptr<Shared> const shared_;
};

}   // namespace State
