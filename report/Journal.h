// What the agent tells people: a line with the time of day for every change of state, for the card as it comes and
// goes, for logged messages, warnings and traces; on a terminal also a transient line with the progress of the bring-up
// under way.
//
//    Vor::Ptr<Journal> const journal = new Journal( std::cout, styleOf( STDOUT_FILENO ), onTerminal, card, {} );
//    events.listenerAdd( *journal );
//    journal->line( "ptp0", "ready" );                                    // 2026-11-21 01:38:13.436  ptp0  ready
#pragma once

#include "card/Card.h"
#include "card/StepListener.h"
#include "framework/Entity.h"
#include "report/Style.h"
#include "report/TracesOn.h"
#include "sim/CardListener.h"

#include <chrono>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace Host {

class Journal final : public Vor::EntityObserver, public Sim::CardListener, private StepListener {
 public:
   /// Shows traces up to `traceLevel`, none without. Stream and card outlive the journal.
   Journal( std::ostream & out, Style style, bool onTerminal, Card const & card, std::optional<U32> traceLevel );

   void begin() const;
   void line( std::string_view chip, std::string const & text ) const;

   void onTrace( U64 ns, Vor::TraceRecord const & record ) override;
   void onLog( U64 ns, Vor::LogRecord const & record ) override;
   void onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) override;

 private:
   void onAttribute( Vor::Entity const & entity, Vor::Attribute const & attribute, Vor::Value const & value ) override;
   void onStep( Vor::Entity const & config, Hardware::Step const & step ) override;
   void stateIs( std::string const & name, std::string const & label, Vor::String const & state );
   void progressIs( std::string const & chip, Hardware::Steps::OperationDone const & done );

   std::ostream & out_;
   Style const style_;
   bool const onTerminal_;
   Card const & card_;
   std::optional<U32> const traceLevel_;
   TracesOn const tracesOn_;
   std::map<std::string, Vor::String> states_;   // as last told, by label and name
   std::chrono::steady_clock::time_point progressShown_;
};

}   // namespace Host
