#include "command/SequenceCommand.h"

#include "input/Json.h"
#include "input/SequenceFile.h"
#include "report/Style.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <unistd.h>

#include <iostream>
#include <map>

namespace Host {

namespace {

// What a sequence leaves in the registers that it writes.
std::map<U16, std::string> leftBy( Input::Sequence const & sequence ) {
   std::map<U16, std::string> registers;
   for ( Hardware::Max24305::Op const & op : sequence )
      if ( op.type == Hardware::Max24305::write_ )
         registers[static_cast<U16>( op.address )] = fmt::format( "0x{:02x}", op.value & 0xFF );
   return registers;
}

int compare( Input::Sequence const & sequence, SequenceOptions const & options ) {
   auto one = leftBy( sequence );
   auto other = leftBy( Input::readSequence( options.compareWith ) );
   for ( auto const & [address, value] : one ) other.try_emplace( address, "-" );
   for ( auto const & [address, value] : other ) one.try_emplace( address, "-" );
   Table table( { "Register", options.file, options.compareWith } );
   std::size_t different = 0;
   for ( auto const & [address, value] : one ) {
      if ( value == other[address] ) continue;
      ++different;
      table.rowAdd( { fmt::format( "0x{:04x}", address ), value, other[address] } );
   }
   if ( different == 0 ) {
      std::cout << "Both leave the same in " << one.size() << " registers.\n";
      return exitReady;
   }
   std::cout << table.text( styleOf( STDOUT_FILENO ) ) << different << " of " << one.size() << " registers differ.\n";
   return exitNotReady;
}

}   // namespace

int sequence( SequenceOptions const & options ) {
   Input::Sequence sequence = options.list ? Input::listOf( options.file, Input::readFile( options.file ) )
                                           : Input::readSequence( options.file );
   if ( options.readBack ) sequence = Input::withReadBacks( sequence );
   if ( !options.compareWith.empty() ) return compare( sequence, options );
   for ( Hardware::Max24305::Op const & op : sequence )
      std::cout << ( options.textForm ? valueToStrep( op ).stdString() : Input::shortText( op ) ) << '\n';
   return exitReady;
}

}   // namespace Host
