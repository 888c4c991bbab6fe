// `clockpath check`: what is wrong in files alone, before anything is brought up by them.
#pragma once

#include "diagnosis/Warnings.h"

#include <string>
#include <vector>

namespace Host {

struct CheckOptions {
   std::string file;      ///< path of a card description, a scenario or a sequence
   bool strict = false;   ///< warnings count for the exit code
   bool json = false;     ///< for programs
};

/// Gives the exit code: 2 for mistakes; 1 for warnings, when they count; else 0.
int check( CheckOptions const & options );

/// Says on standard error how many warnings there are of a file, and how they are shown; nothing where there is none.
void warningCountTell( std::vector<Diagnosis::Warning> const & warnings, std::string const & file );

/// The unknown operations among the warnings, as messages with their places.
std::vector<std::string> unknownOperations( std::vector<Diagnosis::Warning> const & warnings );

}   // namespace Host
