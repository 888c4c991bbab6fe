#include "hal/Reg32.h"

#include "framework/Describe.h"

#include <ostream>

namespace Hal {

namespace {

U16 bitNumber( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end, char const * attributeName ) {
   U32 const number = Vor::deserializeAttr( pos, end, attributeName );
   if ( number > 0xFFFF )
      Vor::rethrowFromDeserializeAttr(
         Vor::RangeException( "expected a number up to 65535, found " + Vor::valueToStrep( number ) ), attributeName );
   return static_cast<U16>( number );
}

}   // namespace

Vor::EnumType const & enumType( Access ) {
   static constexpr Vor::Enumerator enumerators[] = {
      { readWrite_, "readWrite" },
      { readOnly_, "readOnly" },
      { writeOnly_, "writeOnly" },
      { readTakes_, "readTakes" } };
   static constinit Vor::EnumType const type( "Hal::Access", enumerators );
   return type;
}

BitRange::BitRange( Vor::String::IteratorConst & pos, Vor::String::IteratorConst const & end ) {
   Vor::needString( pos, end, "BitRange(" );
   from = bitNumber( pos, end, "from" );
   Vor::needString( pos, end, ", " );
   to = bitNumber( pos, end, "to" );
   Vor::needString( pos, end, ")" );
}

Vor::String valueToStrep( BitRange const & range ) { return Vor::format( "BitRange(%u, %u)", range.from, range.to ); }

void Reg32::bitsDel( BitRange ) { throw Vor::NoImplementationException( "Unexpected Reg32::bitsDel call" ); }

Vor::String valueToStrep( Reg32 const & reg ) { return Vor::valueToStrep( reg.value() ); }

std::ostream & operator<<( std::ostream & out, Reg32 const & reg ) { return out << valueToStrep( reg ); }

Vor::Type const & Reg32::staticType() { return Vor::typeOf<Reg32, "Hal::Reg32">(); }

}   // namespace Hal
