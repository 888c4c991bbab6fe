#include "hardware/Max24305Op.h"

#include "framework/Describe.h"

#include <ostream>

namespace Hardware::Max24305 {

Op::Op( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end ) {
   Vor::needString( pos, end, "Value('Hardware::Max24305::Op', ** {" );
   Vor::needString( pos, end, "'key': " );
   key = Vor::deserializeAttr( pos, end, "key" );
   Vor::needString( pos, end, ", 'type': " );
   try {
      type = sequenceToValue( pos, end, static_cast<OpType *>( nullptr ) );
   } catch ( Vor::RangeException const & error ) {
      Vor::rethrowFromDeserializeAttr( error, "type" );
   }
   Vor::needString( pos, end, ", 'address': " );
   address = Vor::deserializeAttr( pos, end, "address" );
   Vor::needString( pos, end, ", 'value': " );
   value = Vor::deserializeAttr( pos, end, "value" );
   Vor::needString( pos, end, "})" );
}

Vor::String valueToStrep( Op const & op ) {
   return Vor::format(
      "Value('Hardware::Max24305::Op', ** {'key': %s, 'type': %s, 'address': %s, 'value': %s})",
      valueToStrep( op.key ).charPtr(), valueToStrep( op.type ).charPtr(), valueToStrep( op.address ).charPtr(),
      valueToStrep( op.value ).charPtr() );
}

std::ostream & operator<<( std::ostream & out, Op const & op ) { return out << valueToStrep( op ); }

Vor::Type const & Op::staticType() { return Vor::typeOf<Op, "Hardware::Max24305::Op">(); }

}   // namespace Hardware::Max24305
