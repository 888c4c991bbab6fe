#include "report/ReportText.h"

#include <fmt/format.h>

#include <algorithm>

namespace Host {

std::string secondsText( U64 ns ) {
   if ( ns == 0 || ns >= 1'000'000 ) return momentText( ns );
   return ns >= 1'000 ? fmt::format( "0.{:06}", ns / 1'000 ) : fmt::format( "0.{:09}", ns );
}

std::string momentText( U64 ns ) {
   U64 const ms = ns / 1'000'000;
   return fmt::format( "{}.{:03}", ms / 1'000, ms % 1'000 );
}

Tone toneOfState( std::string_view state ) {
   if ( state == "ready" ) return Tone::good_;
   return state == "failed" ? Tone::bad_ : Tone::busy_;
}

std::string jsonText( Input::Json const & json, int indent ) {
   // A file's name, or what stands in it, need not be UTF-8.
   return json.dump( indent, ' ', false, Input::Json::error_handler_t::replace ) + "\n";
}

std::string cardText( Input::CardDescription const & card, Style const & style ) {
   std::string head = "Card " + card.file + ", ";
   if ( auto const * simulated = std::get_if<Input::SimulatedAccess>( &card.access ) )
      head += fmt::format(
         "simulated{}, SPI at {} Hz", simulated->socket.empty() ? "" : " behind " + simulated->socket,
         simulated->spiClockInHz );
   else
      head += "registers in " + std::get<Input::MmapAccess>( card.access ).path;
   head += fmt::format( ", generation {}, slot {}", card.genId, card.slotId );
   std::string text;
   for ( std::string const & row : wrapped( head, lineWidth ) ) text += row + "\n";

   auto const output = [&]( std::string const & name ) {
      Input::GpoDescription const & gpo = *card.gpo( name );
      return fmt::format(
         "{} 0x{:x} bit {}, {}", name, gpo.offset, gpo.bit, stringValue( gpo.activeType ).stdString() );
   };
   Table table( { "Chip", "Kind", "Registers", "Reset output", "Input", "Ops", "Clock" } );
   for ( Input::TolvaneDescription const & chip : card.tolvanes )
      table.rowAdd(
         { chip.name, "Tolvane", fmt::format( "enable 0x{:x}", chip.offset ), output( chip.resetGpoName ) } );
   for ( Input::Max24305Description const & chip : card.max24305s )
      table.rowAdd(
         { chip.name, "MAX24305", fmt::format( "SPI 0x{:x}, meter 0x{:x}", chip.configOffset, chip.statusOffset ),
           output( chip.resetGpoName ),
           stringValue( chip.input ).stdString() + ( chip.tolvane.empty() ? "" : " " + chip.tolvane ),
           std::to_string( chip.sequence.size() ), chip.clockStatus } );
   return text + table.text( style );
}

std::size_t chipWidthOf( Input::CardDescription const & card ) {
   std::size_t width = 8;
   for ( auto const & chip : card.tolvanes ) width = std::max( width, chip.name.size() );
   for ( auto const & chip : card.max24305s ) width = std::max( { width, chip.name.size(), chip.clockStatus.size() } );
   return width;
}

std::string lineText( std::string const & time, std::size_t chipWidth, JournalLine const & line, Style const & style ) {
   constexpr std::size_t whatWidth = 14;
   std::string text = time + "  " + padded( line.chip, chipWidth ) + "  ";
   if ( !line.what.empty() ) text += padded( style.painted( line.tone, line.what ), whatWidth ) + "  ";
   std::size_t const column = shownWidth( text );
   std::string const indent = "\n" + std::string( column, ' ' );
   std::string_view before;
   for ( std::string const & row : wrapped( line.details, std::max( lineWidth, column + whatWidth ) - column ) ) {
      text += before;
      text += line.tone == Tone::quiet_ ? style.quiet( row ) : row;
      before = indent;
   }
   text.erase( text.find_last_not_of( ' ' ) + 1 );
   return text;
}

}   // namespace Host
