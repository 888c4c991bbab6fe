// One operation of a programming sequence: a register read that is checked, a register write, or a pause.
//
//    Value('Hardware::Max24305::Op', ** {'key': 5, 'type': 'write', 'address': 0, 'value': 60})
#pragma once

#include "framework/Attributes.h"
#include "hardware/Max24305Types.h"

namespace Hardware::Max24305 {

class Op {
 public:
   Op() = default;
   Op( U32 opKey, OpType opType, U32 opAddress, U32 opValue )
      : key( opKey ), type( opType ), address( opAddress ), value( opValue ) {}
   /// Reads the text form. Throws ParseException where a literal is missing, DeserializeException naming the attribute
   /// where a value is none; `pos` then stands where the form broke off.
   Op( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end );

   U32 key = 0;   ///< the operation's identifier within its sequence
   OpType type = unknownOp_;
   U32 address = 0;   ///< the chip register of a read or a write; the low 16 bits are sent
   U32 value = 0;     ///< the byte to write, the byte a read expects, the nanoseconds of a pause

   friend bool operator==( Op const &, Op const & ) = default;

   static Vor::Type const & staticType();
   using Attributes = Vor::Attributes<
      Vor::Member<"key", &Op::key>, Vor::Member<"type", &Op::type>, Vor::Member<"address", &Op::address>,
      Vor::Member<"value", &Op::value>>;
};

Vor::String valueToStrep( Op const & op );
std::ostream & operator<<( std::ostream & out, Op const & op );

}   // namespace Hardware::Max24305
