// Why a clock does not come up, or is not as it should be: the causes that the evidence of a recording names, the most
// upstream first.
//
//    Cause: ptp0: register 0x12a: no operation writes it before operation 27 (ptp0.ops:35) reads it back, since 1.340 s
//      do     correct ptp0.ops:25: operation 17 writes that value, 0x5d, to 0x32a, which nothing reads
//      seen   10 of 10 attempts stopped there, always 0x00; the 26 operations before it are right
//      not    the bus, the reset, the reference
//
// Each rule is a row of one of the tables in diagnosis/*Rules.cpp, as diagnosis/Rule.h says, and a paragraph of
// docs/diagnosis.md. Nothing is told where all is well.
#pragma once

#include "diagnosis/Audit.h"
#include "diagnosis/Story.h"
#include "input/Json.h"
#include "report/Style.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Diagnosis {

enum class Weight {
   cause_,     ///< why something is wrong now
   warning_,   ///< all is well, but not as it should be
   earlier_,   ///< it was wrong before, and is well now
};

struct Cause {
   Weight weight = Weight::cause_;
   std::string_view rule{};   ///< its name
   std::string chip{};        ///< several with commas between them; "card" for all
   std::string what{};        ///< on one line
   U64 sinceNs = 0;
   std::optional<U64> untilNs{};      ///< of what is over
   std::vector<std::string> todo{};   ///< what to look at or to correct; where two causes fit, what tells them apart
   std::vector<std::string> seen{};   ///< the evidence
   std::string ruledOut{};            ///< what the evidence speaks against
};

/// The causes first, then the warnings, then what was wrong earlier; each from the card to the chips that depend on
/// others. `looks` is what the hardware of chips says now, where somebody looked.
std::vector<Cause> causesOf( Story const & story, std::span<ChipAudit const> looks = {} );

/// Whether there is a cause, or in strict cases a warning.
bool stands( std::vector<Cause> const & causes, bool strict );

/// As people read it; empty where there is no cause.
std::string causesText( std::vector<Cause> const & causes, Host::Style const & style );
Input::Json causesJson( std::vector<Cause> const & causes );

}   // namespace Diagnosis
