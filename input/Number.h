// Numbers as people write registers: "8192" or "0x2000".
#pragma once

#include "framework/Types.h"

#include <charconv>
#include <concepts>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>

namespace Input {

/// The number of a text, hexadecimal with 0x and else of the base; nothing for any other text or above `maximum`.
template<std::unsigned_integral Number = U32>
std::optional<Number> numberOf(
   std::string_view text, std::type_identity_t<Number> maximum = std::numeric_limits<Number>::max(), int base = 10 ) {
   bool const hex = text.starts_with( "0x" ) || text.starts_with( "0X" );
   if ( hex ) text.remove_prefix( 2 );
   Number value = 0;
   auto const [end, error] = std::from_chars( text.data(), text.data() + text.size(), value, hex ? 16 : base );
   if ( error != std::errc() || end != text.data() + text.size() || value > maximum ) return std::nullopt;
   return value;
}

}   // namespace Input
