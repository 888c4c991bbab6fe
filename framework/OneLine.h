// Text made fit for one line of a terminal or a file.
#pragma once

#include "framework/Text.h"

namespace Vor {

/// The text with its control characters and backslashes escaped, in the way of C: \n, \t, \x02.
String oneLine( std::string_view text );

}   // namespace Vor
