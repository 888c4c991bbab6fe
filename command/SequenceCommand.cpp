#include "command/SequenceCommand.h"

#include "input/Json.h"
#include "input/SequenceFile.h"
#include "report/Style.h"
#include "service/Exit.h"

#include <fmt/format.h>

#include <unistd.h>

#include <iostream>
#include <map>
#include <optional>

namespace Host {

namespace {

// What two sequences leave in a register; nothing where one does not write it.
using Left = std::pair<std::optional<U8>, std::optional<U8>>;

using Registers = std::map<U16, Left>;

void leave( Registers & registers, Input::Sequence const & sequence, std::optional<U8> Left::*side ) {
   for ( Hardware::Max24305::Op const & op : sequence )
      if ( op.type == Hardware::Max24305::write_ )
         registers[static_cast<U16>( op.address )].*side = static_cast<U8>( op.value );
}

int compare( Input::Sequence const & sequence, SequenceOptions const & options ) {
   Registers registers;
   leave( registers, sequence, &Left::first );
   leave( registers, Input::readSequence( options.compareWith ), &Left::second );
   Table table( { "Register", options.file, options.compareWith } );
   auto const text = []( std::optional<U8> value ) { return value ? fmt::format( "0x{:02x}", *value ) : "-"; };
   std::size_t different = 0;
   for ( auto const & [address, left] : registers ) {
      if ( left.first == left.second ) continue;
      ++different;
      table.rowAdd( { fmt::format( "0x{:04x}", address ), text( left.first ), text( left.second ) } );
   }
   if ( different == 0 ) {
      std::cout << "Both leave the same in " << registers.size() << " registers.\n";
      return exitReady;
   }
   std::cout << table.text( styleOf( STDOUT_FILENO ) ) << different << " of " << registers.size()
             << " registers differ.\n";
   return exitNotReady;
}

}   // namespace

int sequence( SequenceOptions const & options ) {
   std::string const content = Input::readFile( options.file );
   Input::Sequence sequence =
      options.list ? Input::listOf( options.file, content ) : Input::sequenceOf( options.file, content );
   if ( options.readBack ) sequence = Input::withReadBacks( sequence );
   if ( !options.compareWith.empty() ) return compare( sequence, options );
   for ( Hardware::Max24305::Op const & op : sequence )
      std::cout << ( options.textForm ? valueToStrep( op ).stdString() : Input::shortText( op ) ) << '\n';
   return exitReady;
}

}   // namespace Host
