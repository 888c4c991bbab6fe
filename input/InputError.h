// An error in what a user wrote: a file, a word of the command. `what()` says where it is, what was expected and what
// stood there; the command prints it and exits with 2.
#pragma once

#include <stdexcept>

namespace Input {

class InputError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

}   // namespace Input
