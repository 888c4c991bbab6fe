#include "report/ReportText.h"

#include <fmt/format.h>

namespace Host {

std::string secondsText( U64 ns ) {
   constexpr U64 nsPerSecond = 1'000'000'000;
   return fmt::format( "{}.{:09}", ns / nsPerSecond, ns % nsPerSecond );
}

std::string failureText( Hardware::Steps::AttemptFailed const & failed ) {
   auto const * const done = std::get_if<Hardware::Steps::OperationDone>( &failed.at );
   if ( !done ) return "neither enable nor power good reads back";
   std::string const where = fmt::format( "operation {} of {}, ", done->place, done->of );
   auto const [key, type, address, value] = done->operation;
   if ( !done->byteRead ) return where + fmt::format( "write 0x{:x} to 0x{:x}: not sent", value, address );
   constexpr U8 noAnswer = 0xFF;
   return where + fmt::format(
                     "read 0x{:x}: expected 0x{:x}, found 0x{:x}{}", address, value, *done->byteRead,
                     *done->byteRead == noAnswer ? " or no answer" : "" );
}

std::string stateText( std::string const & state, Style const & style ) {
   if ( state == "ready" ) return style.good( state );
   return state == "failed" ? style.bad( state ) : style.busy( state );
}

std::string printable( std::string_view text ) {
   std::string result;
   for ( char const c : text ) {
      auto const byte = static_cast<unsigned char>( c );
      result += byte < 0x20 || byte == 0x7F ? fmt::format( "\\x{:02x}", byte ) : std::string( 1, c );
   }
   return result;
}

std::string cardText( Input::CardDescription const & card, Style const & style ) {
   std::string text = "Card " + card.file + ", ";
   if ( auto const * simulated = std::get_if<Input::SimulatedAccess>( &card.access ) )
      text += fmt::format( "simulated, SPI at {} Hz", simulated->spiClockInHz );
   else
      text += "registers in " + std::get<Input::MmapAccess>( card.access ).path;
   text += fmt::format( ", generation {}, slot {}\n", card.genId, card.slotId );

   auto const output = [&]( std::string const & name ) {
      Input::GpoDescription const & gpo = *card.gpo( name );
      return fmt::format(
         "{} at 0x{:x} bit {}, {}", name, gpo.offset, gpo.bit, stringValue( gpo.activeType ).stdString() );
   };
   Table table( { "Chip", "Kind", "Registers", "Reset output", "Input", "Operations", "Clock status" } );
   for ( Input::TolvaneDescription const & chip : card.tolvanes )
      table.rowAdd(
         { chip.name, "Tolvane", fmt::format( "enable 0x{:x}", chip.offset ), output( chip.resetGpoName ) } );
   for ( Input::Max24305Description const & chip : card.max24305s )
      table.rowAdd(
         { chip.name, "MAX24305", fmt::format( "SPI 0x{:x}, frequency 0x{:x}", chip.configOffset, chip.statusOffset ),
           output( chip.resetGpoName ),
           stringValue( chip.input ).stdString() + ( chip.tolvane.empty() ? "" : " " + chip.tolvane ),
           std::to_string( chip.sequence.size() ), chip.clockStatus } );
   return text + table.text( style );
}

}   // namespace Host
