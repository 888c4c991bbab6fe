#include "sim/OutputRegister.h"

#include <algorithm>
#include <array>

namespace Sim {

OutputRegister::Output const * OutputRegister::output( std::string_view name ) const {
   auto const found =
      std::find_if( outputs_.begin(), outputs_.end(), [name]( Output const & output ) { return output.name == name; } );
   return found == outputs_.end() ? nullptr : &*found;
}

OutputRegister::Output const * OutputRegister::output( U32 bit ) const {
   auto const found = std::find_if(
      outputs_.begin(), outputs_.end(), [bit]( Output const & output ) { return output.bit.bit == bit; } );
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

std::span<U32 const> OutputRegister::addresses() const {
   static constexpr std::array<U32, 1> all = { 0 };
   return all;
}

void OutputRegister::write( U32, U32 value ) {
   value_ = value;
   for ( Output const & output : outputs_ ) {
      for ( ResetLine * line : output.lines ) line->drivenIs( output.bit.active( value_ ) );
   }
}

}   // namespace Sim
