// Text forms ("streps"): how values print inside other values' texts, and the steps by which texts are read back.
//
// A number stands as decimal digits, a bool as `true` or `false`; a string, a name or an enumerator stands in single
// quotes with backslash escapes. What is printed is read back as the same value.
//
// A reading step takes `pos` and `end`, requires exactly its form (no blanks are skipped), and moves `pos` behind it.
// A step that fails throws and leaves `pos` where its form was expected, so that a tool can name the column.
//
//    Vor::needString( pos, end, "'key': " );
//    U32 key = Vor::deserializeAttr( pos, end, "key" );
#pragma once

#include "framework/Exception.h"
#include "framework/Text.h"

#include <concepts>

namespace Vor {

template<std::unsigned_integral T>
requires( !std::same_as<T, bool> ) String valueToStrep( T value ) { return std::to_string( value ); }
String valueToStrep( double value );
template<std::same_as<bool> T> String valueToStrep( T value ) { return value ? "true" : "false"; }
String valueToStrep( String const & value );
String valueToStrep( Name const & value );

/// Requires `literal`. Throws ParseException.
void needString( String::IteratorConst & pos, String::IteratorConst const & end, char const * literal );

/// Reads an unsigned 32-bit decimal number. Throws DeserializeException naming the attribute.
U32 deserializeAttr( String::IteratorConst & pos, String::IteratorConst const & end, char const * attributeName );

/// Reads a text in single quotes. Throws ParseException.
String quotedText( String::IteratorConst & pos, String::IteratorConst const & end );

/// Raises a range error again as a DeserializeException that names the attribute.
[[noreturn]] void rethrowFromDeserializeAttr( RangeException const & error, char const * attributeName );

/// What stands at `pos`, shortened and quoted, for messages: "'abc...'" or "the end of the text".
String foundText( String::IteratorConst const & pos, String::IteratorConst const & end );

}   // namespace Vor
