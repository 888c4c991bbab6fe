// Rules for what stands outside a chip: a closed gate, a card that is gone, an assertion.

#include "diagnosis/Rule.h"

#include <fmt/format.h>

#include <algorithm>

namespace Diagnosis {

namespace {

struct Unmet {
   std::string_view rule;
   std::string_view condition;
   std::string_view what;   ///< {}: the row's value
   std::string_view todo;
};

// Rows that are called by a Tolvane's name are the last one's.
constexpr Unmet unmetRows[] = {
   { "sequenceMissing", "sequence", "waits for its sequence, which is {}", "hand it over: set opsToDoValid" },
   { "resetOutputMissing", "reset output", "waits for its reset output, which is {}",
     "see why the platform gives the output no access handle" },
   { "timeSyncDisabled", "time sync", "waits for time synchronisation, which is {}",
     "start the PTP daemon; the agent takes --time-sync N" },
   { "switchoverPending", "switchover", "waits for the switchover: {}",
     "see why the supervisors' switchover does not come to DovraWritable" },
   { "redundancyMissing", "redundancy", "waits for the redundancy status, which is {}", "see the host's wiring" },
   { "tolvanePending", "", "waits for its Tolvane, which is {}", "look at the Tolvane's own bring-up" } };

struct Assertion {
   std::string_view expression;
   std::string_view what;
   std::string_view todo;
};

constexpr Assertion assertions[] = {
   { "timeSyncStatus()->state() != PtpTimeSync::OperationalState::disabled_",
     "time synchronisation was disabled while the chip was brought up", "keep it in service until the chip is ready" },
   { "redundancyStatus()->mode() != Redundancy::active_ || status()->state() == Max24305::ready_",
     "time synchronisation runs on an active supervisor although the chip is not ready",
     "let the chips come up before the supervisor is active, or time synchronisation runs" },
   { "redundancyStatus()->mode() != Redundancy::active_ || pllStatus()->state() == Hardware::Kiv::ClockStatus::ready_",
     "time synchronisation runs on an active supervisor although the clock status is not ready",
     "see who else writes that clock status" } };

}   // namespace

std::string timeText( U64 ns ) {
   constexpr U64 nsPerMs = 1'000'000;
   return fmt::format( "{}.{:03} s", ns / nsPerMs / 1000, ns / nsPerMs % 1000 );
}

Cause gateCause( ChipStory const & chip, GateRow const & row ) {
   auto const * const unmet = std::ranges::find_if(
      unmetRows, [&]( Unmet const & one ) { return one.condition == row.condition || one.condition.empty(); } );
   return {
      .rule = unmet->rule,
      .chip = chip.name,
      .what = fmt::format( fmt::runtime( unmet->what ), row.value ),
      .sinceNs = row.sinceNs,
      .todo = { std::string( unmet->todo ) } };
}

Cause assertionCause( Story const & story ) {
   Recording::Abort const & abort = *story.abort();
   Cause cause{
      .rule = "assertion", .chip = story.atWork().empty() ? "card" : story.atWork(), .sinceNs = story.lastNs() };
   auto const * const known = std::ranges::find( assertions, abort.expression, &Assertion::expression );
   if ( abort.expression == "0" ) {
      ChipStory const & chip = story.chip( story.atWork() );
      auto const & sequence = chip.max24305->sequence;
      auto const unknown =
         std::ranges::find( sequence, Hardware::Max24305::unknownOp_, &Hardware::Max24305::Op::type ) -
         sequence.begin();
      std::string const operation = chip.max24305->operationText( static_cast<std::size_t>( unknown ) );
      cause.what = fmt::format( "the process stopped: {} is of no known type (unknownOp)", operation );
      cause.todo = { "correct it to a read, write or sleep" };
   } else if ( known != std::end( assertions ) ) {
      cause.what = fmt::format( "the process stopped: {}", known->what );
      cause.todo = { std::string( known->todo ) };
   } else {
      cause.what = fmt::format( "the process stopped: `{}' does not hold, in {}", abort.expression, abort.function );
      cause.todo = { "see the host's wiring: what the machine is made with must be complete" };
   }
   cause.seen = { fmt::format( "assertion `{}' in {}, line {}", abort.expression, abort.source, abort.line ) };
   return cause;
}

Cause absenceCause( Absence const & absence ) {
   return {
      .rule = "cardGone",
      .chip = "card",
      .what = "the card was gone: its hardware was not present",
      .sinceNs = absence.fromNs,
      .todo = { "check the card's seat, supply and FPGA" },
      .ruledOut = "the chips: nothing of the card answers" };
}

std::optional<Cause> cardCause( Story const & story, std::span<ChipAudit const> looks ) {
   bool const absent = !story.absences().empty() && !story.absences().back().toNs;
   bool const silent = !looks.empty() && std::ranges::all_of( looks, &ChipAudit::cardGone );
   if ( !absent && !silent && !story.allOnesNs() ) return {};
   U64 const onesNs = story.allOnesNs().value_or( story.lastNs() );
   Cause cause = absenceCause( absent ? story.absences().back() : Absence{ onesNs } );
   cause.what =
      absent ? "the card is gone: its hardware is not present" : "the card is gone: every read gives 0xffffffff";
   if ( absent && story.allOnesNs() ) cause.seen = { "every read gives 0xffffffff since " + timeText( onesNs ) };
   return cause;
}

}   // namespace Diagnosis
