#include "report/ChipTrack.h"

#include <fmt/format.h>

namespace Host {

using Hardware::Max24305::Op;

void ChipTrack::transactionIs( bool write, U16 address, U8 response ) {
   auto const & sequence = max24305->sequence;
   std::size_t at = operation;
   while ( at < sequence.size() && sequence[at].type == Hardware::Max24305::sleep_ ) ++at;
   if ( at == sequence.size() ) return;
   bool const fits = sequence[at].type == ( write ? Hardware::Max24305::write_ : Hardware::Max24305::read_ ) &&
                     static_cast<U16>( sequence[at].address ) == address;
   if ( !fits ) return;
   operation = at + 1;
   answer = write ? std::nullopt : std::optional<U8>( response );
}

Op const * ChipTrack::lastOperation() const { return operation == 0 ? nullptr : &max24305->sequence[operation - 1]; }

std::string ChipTrack::failureText() const {
   if ( tolvane ) return "neither enable nor power good reads back";
   Op const * const last = lastOperation();
   if ( !last ) return "no operation reached the chip";
   std::string const where = fmt::format( "operation {} of {}, ", operation, operations() );
   if ( !answer ) return where + fmt::format( "write 0x{:x} to 0x{:x}: not sent", last->value, last->address );
   std::string const read = where + fmt::format( "read 0x{:x}: expected 0x{:x}", last->address, last->value );
   return *answer == last->value ? read + ", the chip's answer got lost"
                                 : read + fmt::format( ", found 0x{:x}", *answer );
}

}   // namespace Host
