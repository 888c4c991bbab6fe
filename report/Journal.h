// What the agent tells people as it happens: the lines of a Narrator, each with the time of day, warnings and its own
// words; on a terminal also a transient line with the progress of the bring-up under way. Where the system's journal
// has the output, it gets entries with fields in place of lines (report/SystemJournal.h).
//
//    Journal journal( std::cout, styleOf( STDOUT_FILENO ), onTerminal, events, card, {} );
//    journal.line( "waiting for the card" );          // 2026-11-21 01:38:13.436            waiting for the card
#pragma once

#include "card/Card.h"
#include "recording/EventStream.h"
#include "recording/Recorder.h"
#include "report/Narrator.h"
#include "report/Style.h"
#include "report/SystemJournal.h"

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>

namespace Host {

/// "2026-11-21 01:38:13.436", now.
std::string timeOfDay();

class Journal final : private Sim::CardListener {
   static constexpr char eraseLine[] = "\r\033[K";

 public:
   /// Shows traces up to `traceLevel`, of those that are on (report/TracesOn.h); none without. The card is configured,
   /// and its machines are not made yet; all outlive the journal. `system`: the socket of the system's journal, where
   /// that has what goes to `out`.
   Journal(
      std::ostream & out, Style style, bool onTerminal, Sim::CardEvents & events, Card const & card,
      std::optional<U32> traceLevel, std::optional<std::string> const & system = std::nullopt );
   ~Journal() override;

   Style const & style() const { return style_; }
   void begin() const;
   /// Lines that have their own form: a cause, and what belongs to it.
   void text( std::string const & lines ) const;
   void line( std::string const & text, Tone tone = Tone::plain_ ) const { tell( { 0, "", "", text, tone } ); }

 private:
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;
   void take( Recording::Event const & event );
   void progressIs( std::string const & text );
   void tell( JournalLine const & line ) const;

   std::ostream & out_;
   std::optional<SystemJournal> const system_;
   Style const style_;
   bool const onTerminal_;
   Sim::CardEvents & events_;
   Card const & card_;
   std::size_t const chipWidth_;
   Narrator narrator_;
   Recording::EventStream stream_;
   Recording::Recorder const recorder_;
   std::chrono::steady_clock::time_point progressShown_;
   bool cardGone_ = false;   // by the event that is told
};

}   // namespace Host
