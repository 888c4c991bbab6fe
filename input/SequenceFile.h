// Programming sequences as people write them: one operation a line, blank lines and lines that begin with '#' skipped.
// An operation stands in the text form of an Op or in the short form, which has no key: that is its place, from 0. A
// '#' may end a line of the short form.
//
//    # identification, then a write with its read-back
//    Value('Hardware::Max24305::Op', ** {'key': 0, 'type': 'read', 'address': 0, 'value': 36})
//    write 0x10 0x3c
//    read 0x10 0x3c      # what must be read
//    sleep 1ms           # in ns, us, ms or s
//
// Register tools export lists instead, lines such as `0x0010,0x3C`, which listOf makes a sequence of.
//
// An error names file, line and column, what was expected and what stood there; all errors of a file are raised at
// once (input/InputError.h).
#pragma once

#include "hardware/Max24305Op.h"

#include <string>
#include <string_view>
#include <vector>

namespace Input {

using Sequence = std::vector<Hardware::Max24305::Op>;

/// Reads a sequence file; one without any operation is an error. Throws Input::InputError.
Sequence readSequence( std::string const & path );

/// The same of a file's content; `name` stands in front of the messages. `lines`, where given, gets the line of each
/// operation, from 1.
Sequence sequenceOf( std::string const & name, std::string_view content, std::vector<U32> * lines = nullptr );

/// The writes that a list of registers stands for. A line holds a register and its value, both hexadecimal with 0x or
/// without, and ',', ';' or blanks between them; '#' begins a comment. Throws Input::InputError.
Sequence listOf( std::string const & name, std::string_view content );

/// The sequence with a read of what was written behind each write; keys are places.
Sequence withReadBacks( Sequence const & sequence );

/// The short form; the text form of an operation that has none, which an unknown one is. Keys are left out.
std::string shortText( Hardware::Max24305::Op const & op );

/// An error within one operation's text.
struct OpError {
   std::size_t column;   ///< from 1
   std::string message;
};

/// Reads one operation that fills the text; `key` is that of one in the short form. Throws OpError.
Hardware::Max24305::Op opOf( std::string_view text, U32 key );

}   // namespace Input
