// How rules of diagnosis/Cause.h are made: each is a small function that looks at one chip's trouble and names its
// cause, or nothing, and stands as a row in a table. The first row of a table that names a cause is the chip's.
#pragma once

#include "diagnosis/Cause.h"

#include <span>

namespace Diagnosis {

/// One chip's trouble: a bring-up that failed or hangs, or a ready chip that is not well.
struct Case {
   Story const & story;
   ChipStory const & chip;
   BringUp const & bringUp;
};

/// Rule and chip are filled in by whoever walks the table.
using Finding = std::optional<Cause>;

struct Rule {
   std::string_view name;
   Finding ( *find )( Case const & trouble );
};

std::span<Rule const> tolvaneRules();   ///< a Tolvane whose attempts failed
std::span<Rule const> readyTolvaneRules();
std::span<Rule const> attemptRules();   ///< a MAX24305 whose last attempt failed
std::span<Rule const> lockRules();      ///< one that is programmed, and has not locked
std::span<Rule const> readyRules();     ///< one that is published ready

/// The first cause of a table, with its rule and chip filled in.
Finding firstOf( std::span<Rule const> rules, Case const & trouble );

/// "clockpath audit card.json": the command that shows more, or tells two causes apart.
std::string commandText( Case const & trouble, std::string_view command );
/// "1 operation", "2 operations"
std::string countText( std::size_t count, std::string_view thing );
/// "1.340 s"
std::string timeText( U64 ns );
/// The rule that a row of a gate is not met, as a cause.
Cause gateCause( ChipStory const & chip, GateRow const & row );
/// What an assertion says, in plain words.
Cause assertionCause( Story const & story );
/// The card is gone, or reads all ones.
Finding cardCause( Story const & story );
Cause absenceCause( Absence const & absence );
/// The names of those that have no table of functions: gates, card, assertion.
std::vector<std::string_view> ruleNamesOfGates();

}   // namespace Diagnosis
