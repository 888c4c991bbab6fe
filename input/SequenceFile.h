// Programming sequences as people write them: one operation a line in the text form of an Op, blank lines and lines
// that begin with '#' skipped.
//
//    # identification
//    Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', 'address': 0, 'value': 36})
//
// An error names file, line and column, what was expected and what stood there.
#pragma once

#include "hardware/Max24305Op.h"

#include <string>
#include <string_view>
#include <vector>

namespace Input {

/// Reads a sequence file; one without any operation is an error. Throws Input::InputError.
std::vector<Hardware::Max24305::Op> readSequence( std::string const & path );

/// The same of a file's content; `name` stands in front of the messages. `lines` gets the line of each operation.
std::vector<Hardware::Max24305::Op>
sequenceOf( std::string const & name, std::string_view content, std::vector<U32> * lines = nullptr );

/// An error within one operation's text.
struct OpError {
   std::size_t column;   ///< from 1
   std::string message;
};

/// Reads one operation that fills the text. Throws OpError.
Hardware::Max24305::Op opOf( std::string_view text );

}   // namespace Input
