// The wire form of values in the attribute log, little-endian, derived from their types:
//
//    unsigned integers of up to 32 bits, enumerators          4 bytes, whatever their width
//    64-bit integers, numbers with a fraction                 8 bytes
//    bool                                                     1 byte, 0 or 1
//    strings and names                                        4 bytes of length, then the text
//    references to entities                                   as a text: the full name, empty for none
//    a value of its own kind that is one number in all        that number: a register its 32 bits, an id its number
//    any other value type                                     the members of its attribute list, in order
//
// A reader refuses what is cut off, longer than the value, or out of its type's range.
#pragma once

#include "framework/AttributeLog.h"
#include "framework/Enumeration.h"

#include <functional>

namespace Vor {

class Entity;

/// Finds the entity of a full name; empty where there is none.
using EntityOfName = std::function<Ptr<Entity>( std::string_view fullName )>;

/// Takes values off a wire form, one after the other. Throws LogFormatException.
class WireReader {
 public:
   WireReader( std::string_view bytes, EntityOfName const & entities ) : bytes_( bytes ), entities_( &entities ) {}

   U32 u32();
   U64 u64();
   U8 u8();
   std::string_view text();
   Ptr<Entity> reference();
   /// Everything has been taken. Throws LogFormatException.
   void requireEnd() const;

 private:
   std::string_view take( std::size_t count );

   std::string_view bytes_;
   std::size_t at_ = 0;
   EntityOfName const * entities_;
};

}   // namespace Vor
