// All that can be said of a file that people write, a card description, a scenario or a sequence, and of those that it
// names: its mistakes, what looks wrong in it (diagnosis/Warnings.h), and how long its chips take to come up.
//
//    Diagnosis::FileCheck const check = Diagnosis::checkFile( "card.json" );
//    for ( std::string const & mistake : check.mistakes ) std::cout << mistake << '\n';
#pragma once

#include "diagnosis/Warnings.h"

#include <string>
#include <utility>
#include <vector>

namespace Diagnosis {

/// From the first reset of a chip to its final state.
struct BringUpTime {
   U64 bestNs = 0;    ///< the first attempt succeeds, and the first poll finds the lock
   U64 worstNs = 0;   ///< all attempts but the last fail at the end of the sequence, and no poll finds the lock
};

struct FileCheck {
   std::vector<std::string> mistakes;   ///< with place, what was expected, what stood there
   std::vector<Warning> warnings;
   /// By chip, in the card's order; of a sequence alone, by its file. Without those that have an unknown operation.
   std::vector<std::pair<std::string, BringUpTime>> bringUpTimes;
};

/// Throws nothing for what stands in the file. No Host::SimulatedWorld lives meanwhile.
FileCheck checkFile( std::string const & path );

}   // namespace Diagnosis
