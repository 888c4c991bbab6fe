// What the agent tells people: a line with the time of day for every change of state, and on a terminal a transient
// line with the progress of the bring-up under way.
//
//    Journal const journal( styleOf( STDOUT_FILENO ), isatty( STDOUT_FILENO ) );
//    journal.line( "ptp0", "ready" );                                     // 2026-11-21 01:38:13.436  ptp0  ready
//    JournalWatch const watch( card, journal, traceLevel );               // as long as it lives, all changes are told
#pragma once

#include "card/Card.h"
#include "framework/Entity.h"
#include "framework/Log.h"
#include "framework/Trace.h"
#include "report/Style.h"
#include "report/TracesOn.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

class Journal {
 public:
   Journal( Style style, bool onTerminal ) : style_( style ), onTerminal_( onTerminal ) {}

   Style const & style() const { return style_; }
   bool onTerminal() const { return onTerminal_; }

   void line( std::string_view chip, std::string const & text ) const;

   /// Shows the text until the next line; on a terminal only.
   void progressIs( std::string const & text ) const;

 private:
   Style const style_;
   bool const onTerminal_;
};

/// Counts the operations of a programming attempt as they are traced, and shows the count from time to time.
class OperationProgress {
 public:
   explicit OperationProgress( Journal const & journal ) : journal_( journal ) {}

   /// An attempt begins; `operations` are those that are traced: reads and writes. None shows no progress.
   void attemptIs( std::string chip, std::size_t operations );
   void traced( Vor::TraceRecord const & record );

 private:
   Journal const & journal_;
   std::string chip_;
   std::size_t operations_ = 0;
   std::size_t done_ = 0;
   std::chrono::steady_clock::time_point shown_;
};

/// Tells the journal of the card's states and presence, of logged messages, and of traces up to a level.
class JournalWatch {
 public:
   /// Card and journal outlive the watch. One may live at a time.
   JournalWatch( Card const & card, Journal const & journal, std::optional<U32> traceLevel );
   ~JournalWatch();
   JournalWatch( JournalWatch const & ) = delete;
   JournalWatch & operator=( JournalWatch const & ) = delete;

   /// The reset output of that chip is pulsed: an attempt begins.
   void resetPulseIs( std::string const & chip );

 private:
   Card const & card_;
   Journal const & journal_;
   OperationProgress progress_;
   TracesOn const tracesOn_;
   std::vector<Vor::Ptr<Vor::EntityObserver>> observers_;
   Vor::Ptr<Vor::TraceSink> outerTraceSink_;
   Vor::Ptr<Vor::LogSink> outerLogSink_;
};

}   // namespace Host
