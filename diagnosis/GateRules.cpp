// Rules for what stands outside a chip: a closed gate, a card that is gone, an assertion.

#include "diagnosis/Rule.h"
#include "report/ReportText.h"

#include <fmt/format.h>

#include <algorithm>

namespace Diagnosis {

namespace {

struct Row {
   std::string_view rule;
   std::string_view of;   ///< a gate's condition, or an assertion's expression
   std::string_view what;
   std::string_view todo;
};

// Rows that are called by a Tolvane's name are the last one's.
constexpr Row unmetRows[] = {
   { "sequenceMissing", "sequence", "waits for its sequence, which is {value}", "hand it over: set opsToDoValid" },
   { "resetOutputMissing", "reset output", "waits for its reset output, which is {value}",
     "see why the platform gives the output no access handle" },
   { "timeSyncDisabled", "time sync", "waits for time synchronisation, which is {value}",
     "start the PTP daemon; the agent takes --time-sync N" },
   { "switchoverPending", "switchover", "waits for the switchover: {value}",
     "see why the supervisors' switchover does not come to DovraWritable" },
   { "redundancyMissing", "redundancy", "waits for the redundancy status, which is {value}", "see the host's wiring" },
   { "tolvanePending", "", "waits for its Tolvane, which is {value}", "look at the Tolvane's own bring-up" } };

constexpr Row assertions[] = {
   { "assertion", "timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_",
     "time synchronisation was disabled while the chip was brought up", "keep it in service until the chip is ready" },
   { "assertion", "redundancyStatus()->mode() != Redundancy::active_ || status()->state() == Max24305::ready_",
     "time synchronisation runs on an active supervisor although the chip is not ready",
     "let the chips come up before the supervisor is active, or time synchronisation runs" },
   { "assertion",
     "redundancyStatus()->mode() != Redundancy::active_ || pllStatus()->state() == Hardware::Kiv::ClockStatus::ready_",
     "time synchronisation runs on an active supervisor although the clock status is not ready",
     "see who else writes that clock status" },
   { "assertion", "0", "{operation} is of no known type (unknownOp)", "correct it to a read, write or sleep" },
   { "assertion", "", "`{expression}' does not hold, in {function}",
     "see the host's wiring: what the machine is made with must be complete" } };

Cause causeOfRow( std::span<Row const> rows, std::string_view of, Facts const & facts ) {
   auto const row = std::ranges::find_if( rows, [&]( Row const & one ) { return one.of == of || one.of.empty(); } );
   return { .rule = row->rule, .what = filledIn( row->what, facts ), .todo = { std::string( row->todo ) } };
}

}   // namespace

Cause gateCause( ChipStory const & chip, GateRow const & row ) {
   Cause cause = causeOfRow( unmetRows, row.condition, { { "value", row.value } } );
   cause.chip = chip.name;
   cause.sinceNs = row.sinceNs;
   return cause;
}

Cause assertionCause( Story const & story ) {
   Recording::Abort const & abort = *story.abort();
   Facts facts{ { "expression", abort.expression }, { "function", abort.function }, { "operation", "an operation" } };
   // The end of a long recording may not have whose machine it was.
   if ( auto const * const max24305 = story.card().max24305( story.atWork() ); max24305 && abort.expression == "0" ) {
      auto const & sequence = max24305->sequence;
      auto const unknown = std::ranges::find( sequence, Hardware::Max24305::unknownOp_, &Hardware::Max24305::Op::type );
      if ( unknown != sequence.end() )
         facts["operation"] = max24305->operationText( static_cast<std::size_t>( unknown - sequence.begin() ) );
   }
   Cause cause = causeOfRow( assertions, abort.expression, facts );
   cause.what = "the process stopped: " + cause.what;
   cause.chip = story.atWork().empty() ? "card" : story.atWork();
   cause.sinceNs = story.lastNs();
   cause.seen = { fmt::format( "assertion `{}' in {}, line {}", abort.expression, abort.source, abort.line ) };
   return cause;
}

Cause absenceCause( U64 sinceNs ) {
   return {
      .rule = "cardGone",
      .chip = "card",
      .what = "the card was gone: its hardware was not present",
      .sinceNs = sinceNs,
      .todo = { "check the card's seat, supply and FPGA" },
      .ruledOut = "the chips: nothing of the card answers" };
}

std::optional<Cause> cardCause( Story const & story, std::span<ChipAudit const> looks ) {
   bool const absent = !story.absences().empty() && !story.absences().back().backNs;
   bool const silent = !looks.empty() && std::ranges::all_of( looks, &ChipAudit::cardGone );
   if ( !absent && !silent && !story.allOnesNs() ) return {};
   U64 const onesNs = story.allOnesNs().value_or( story.lastNs() );
   Cause cause = absenceCause( absent ? story.absences().back().row.sinceNs : onesNs );
   cause.what =
      absent ? "the card is gone: its hardware is not present" : "the card is gone: every read gives 0xffffffff";
   if ( absent && story.allOnesNs() )
      cause.seen = { fmt::format( "every read gives 0xffffffff since {} s", Host::momentText( onesNs ) ) };
   return cause;
}

}   // namespace Diagnosis
