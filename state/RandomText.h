// A text that nobody else has and nobody guesses: for names, marks and passwords.
#pragma once

#include "framework/Text.h"

#include <random>
#include <string>

namespace State {

inline std::string randomText() {
   std::random_device random;
   return Vor::format( "%08x%08x%08x%08x", random(), random(), random(), random() ).stdString();
}

}   // namespace State
