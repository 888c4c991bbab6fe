// How the rules behind diagnosis/Cause.h are made: rows of tables. A row has the function that tells from the evidence
// whether the rule applies, and the texts of the cause, in which "{name}" stands for a fact: one that holds for the
// chip, or one that the function found. The first row of a table that applies names the chip's cause.
//
//    bool oneBit( Attempts & e, Facts & facts );
//    { "oneBit", oneBit, "register {register}: bit {bit} is sometimes wrong: {mismatch}",
//      "check the SPI lines: levels, edges, ground", "the reset, the reference" }
#pragma once

#include "diagnosis/Cause.h"

#include <map>
#include <span>

namespace Diagnosis {

/// What the texts of a rule may name. "seen" is the evidence, lines of their own; "rule" the rule's name.
using Facts = std::map<std::string, std::string>;

/// One chip's trouble: a bring-up that failed or hangs, or a ready chip that is not well.
struct Case {
   Story const & story;
   ChipStory const & chip;
   BringUp const & bringUp;
   U64 sinceNs = 0;
   ChipAudit const * look = nullptr;   ///< what its hardware says now; null where nobody looked

   /// The facts that hold whatever the trouble: {chip}, {reset}, {selftest} and so on.
   Facts facts() const;
   /// The other MAX24305s of the card.
   std::vector<ChipStory const *> others() const;
   /// Advice where a mistake in the wiring looks the same: "or the reset outputs of ptp0 and ptp1 are exchanged".
   std::string exchangedText( std::string_view what ) const;
};

template<class Evidence> struct Rule {
   std::string_view name;
   bool ( *applies )( Evidence & evidence, Facts & facts );
   std::string_view what;
   std::string_view todo;   ///< lines
   std::string_view ruledOut{};
};

/// The text with the facts in their places.
std::string filledIn( std::string_view text, Facts const & facts );
/// Its lines.
std::vector<std::string> linesOf( std::string const & text );

/// Evidence is a Case with more to it.
template<class Evidence> std::optional<Cause> firstOf( std::span<Rule<Evidence> const> rules, Evidence evidence ) {
   for ( Rule<Evidence> const & rule : rules ) {
      Facts facts = evidence.facts();
      facts["rule"] = rule.name;
      if ( !rule.applies( evidence, facts ) ) continue;
      return Cause{
         .rule = rule.name,
         .chip = evidence.chip.name,
         .what = filledIn( rule.what, facts ),
         .sinceNs = evidence.sinceNs,
         .todo = linesOf( filledIn( rule.todo, facts ) ),
         .seen = linesOf( facts["seen"] ),
         .ruledOut = std::string( rule.ruledOut ) };
   }
   return {};
}

// The tables; each function gives the first cause of one.

std::optional<Cause> attemptCause( Case const & trouble );   ///< attempts failed
std::optional<Cause> lockCause( Case const & trouble );      ///< a MAX24305 is programmed, and has not locked
std::optional<Cause> readyCause( Case const & trouble );     ///< it is published ready
std::optional<Cause> readyWarning( Case const & trouble );   ///< the same, where there is no cause

/// A row of its gate that is not met.
Cause gateCause( ChipStory const & chip, GateRow const & row );
/// The assertion that stopped the process.
Cause assertionCause( Story const & story );
/// The card is gone; or was, for that time.
std::optional<Cause> cardCause( Story const & story, std::span<ChipAudit const> looks );
Cause absenceCause( U64 sinceNs );

/// Whether the operations, all done, had bytes of the chip that neither a low nor a high line gives.
bool provesBus( std::span<Hardware::Max24305::Op const> operations );
/// "1 operation", "2 operations"
std::string countText( std::size_t count, std::string_view thing );

}   // namespace Diagnosis
