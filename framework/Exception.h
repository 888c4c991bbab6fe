// The framework's errors: misuse of the data model. Each is made from the message that `what()` gives.
#pragma once

#include "framework/Text.h"

#include <exception>

namespace Vor {

class Exception : public std::exception {
 public:
   explicit Exception( String message ) : message_( std::move( message ) ) {}
   char const * what() const noexcept override { return message_.charPtr(); }
   String const & message() const { return message_; }

 private:
   String message_;
};

/// A value outside its range: an unknown enumerator, an index space used up.
struct RangeException : Exception {
   using Exception::Exception;
};
/// A text that lacks what its form requires.
struct ParseException : Exception {
   using Exception::Exception;
};
/// A part of a text form that is no value of its attribute; the message names the attribute.
struct DeserializeException : ParseException {
   using ParseException::ParseException;
};
/// A name that is taken by an entity made from other parameters.
struct NameInUseException : Exception {
   using Exception::Exception;
};
/// A name that nothing has.
struct NameNotFoundException : Exception {
   using Exception::Exception;
};
struct NoImplementationException : Exception {
   using Exception::Exception;
};
/// A reflection operation that the attribute does not offer.
struct OperationNotSupportedException : Exception {
   using Exception::Exception;
};
/// A hash asked of a type that has none.
struct UnhashableTypeException : Exception {
   using Exception::Exception;
};

[[noreturn]] inline void throwNameInUseException( String const & message ) { throw NameInUseException( message ); }

}   // namespace Vor
