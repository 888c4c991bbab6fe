#include "sim/OutputRegister.h"

#include <algorithm>

namespace Sim {

OutputRegister::Output const * OutputRegister::output( std::string_view name ) const {
   auto const found =
      std::find_if( outputs_.begin(), outputs_.end(), [name]( Output const & output ) { return output.name == name; } );
   return found == outputs_.end() ? nullptr : &*found;
}

bool OutputRegister::lineAdd( std::string_view outputName, ResetLine & line ) {
   for ( Output & output : outputs_ ) {
      if ( output.name != outputName ) continue;
      output.lines.push_back( &line );
      line.drivenIs( output.bit.active( value_ ) );
      return true;
   }
   return false;
}

Hal::Registers OutputRegister::registers() const {
   static constexpr Hal::RegisterDeclaration one;   // its bits are the outputs
   return { &one, 1 };
}

void OutputRegister::write( U32, U32 value ) {
   value_ = value;
   for ( Output const & output : outputs_ ) {
      for ( ResetLine * line : output.lines ) line->drivenIs( output.bit.active( value_ ) );
   }
}

}   // namespace Sim
