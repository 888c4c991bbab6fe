// Fixed-width unsigned integers, named as the data sheets name them, and the signed one that counts use.
#pragma once

#include <cstdint>

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S32 = std::int32_t;
