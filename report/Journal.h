// What the agent tells people as it happens: the lines of a Narrator, each with the time of day, warnings and its own
// words; on a terminal also a transient line with the progress of the bring-up under way.
//
//    Journal journal( std::cout, styleOf( STDOUT_FILENO ), onTerminal, events, card, {} );
//    journal.line( "waiting for the card" );          // 2026-11-21 01:38:13.436            waiting for the card
#pragma once

#include "card/Card.h"
#include "recording/EventStream.h"
#include "recording/Recorder.h"
#include "report/Narrator.h"
#include "report/Style.h"

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
   /// and its machines are not made yet; all outlive the journal.
   Journal(
      std::ostream & out, Style style, bool onTerminal, Sim::CardEvents & events, Card const & card,
      std::optional<U32> traceLevel );

   Style const & style() const { return style_; }
   void begin() const;
   /// Lines that have their own form.
   void text( std::string const & lines ) const { out_ << ( onTerminal_ ? eraseLine : "" ) << lines << std::flush; }
   void line( std::string const & text ) const { tell( { 0, "", "", text, Tone::plain_ } ); }

 private:
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;
   void take( Recording::Event const & event );
   void progressIs( std::string const & text );
   void tell( JournalLine const & line ) const;

   std::ostream & out_;
   Style const style_;
   bool const onTerminal_;
   Card const & card_;
   std::size_t const chipWidth_;
   Narrator narrator_;
   Recording::EventStream stream_;
   Recording::Recorder const recorder_;
   std::chrono::steady_clock::time_point progressShown_;
};

}   // namespace Host
