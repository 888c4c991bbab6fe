// A handle for tests that counts the accesses: each read gives the address and, in bits 16 to 31, how many there were
// before.
#pragma once

#include "platform/Ham.h"

namespace Host {

class CountedHam final : public Fru::HamImpl {
 public:
   CountedHam() : HamImpl( "counted" ) { hardwarePresentIs( true ); }
   void read32( U32 address, U32 & value ) override { value = address | accesses++ << 16; }
   void write32( U32, U32 ) override { ++accesses; }

   U32 accesses = 0;
};

}   // namespace Host
