// What the agent tells people: a line with the time of day for every change of state, and on a terminal a transient
// line with the progress of the bring-up under way.
//
//    Journal const journal( styleOf( STDOUT_FILENO ), isatty( STDOUT_FILENO ) );
//    journal.line( "ptp0", "ready" );                                     // 2026-11-21 01:38:13.436  ptp0  ready
//    JournalWatch const watch( card, journal, traceLevel );               // as long as it lives, all changes are told
#pragma once

#include "card/Card.h"
#include "card/StepListener.h"
#include "framework/Entity.h"
#include "framework/Log.h"
#include "framework/Trace.h"
#include "report/Style.h"
#include "report/TracesOn.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

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

/// Tells the journal of the machines' steps, of the card's presence, of logged messages, and of traces up to a level.
class JournalWatch final : private StepListener {
 public:
   /// Card and journal outlive the watch. One may live at a time.
   JournalWatch( Card const & card, Journal const & journal, std::optional<U32> traceLevel );
   ~JournalWatch();

 private:
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void stateIs( std::string const & name, std::string const & label, Vor::String const & state );
   void progressIs( std::string const & chip, Hardware::Steps::OperationDone const & done );

   Card const & card_;
   Journal const & journal_;
   TracesOn const tracesOn_;
   std::map<std::string, Vor::String> states_;   // as last told, by label and name
   std::chrono::steady_clock::time_point progressShown_;
   Vor::Ptr<Vor::EntityObserver> presence_;
   Vor::Ptr<Vor::TraceSink> outerTraceSink_;
   Vor::Ptr<Vor::LogSink> outerLogSink_;
};

}   // namespace Host
