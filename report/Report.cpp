#include "report/Report.h"

#include "report/ReportText.h"

#include <fmt/format.h>

#include <ostream>

namespace Host {

namespace {

std::vector<std::string> stateRow( ChipStanding const & chip, Style const & style ) {
   std::string const tries = std::to_string( chip.attempts );
   if ( chip.isTolvane )
      return { chip.name, "Tolvane", style.painted( toneOfState( chip.state ), chip.state ), "", tries };
   std::string const output = chip.frequencyInHz ? fmt::format( "{} Hz", *chip.frequencyInHz ) : "unknown";
   return {
      chip.name,
      "MAX24305",
      style.painted( toneOfState( chip.state ), chip.state ),
      style.painted( toneOfState( chip.clock ), chip.clock ),
      tries,
      fmt::format( "{}/{}", chip.operation, chip.operations ),
      std::to_string( chip.poll.number ),
      chip.state == "ready" ? output : "" };
}

// Of the last attempt, which is the successful one where the chip is ready. What was cut short has no time.
std::vector<std::string> timesRow( ChipStanding const & chip ) {
   using Time = std::optional<U64>;
   auto const span = []( Time from, Time to ) { return from && to ? secondsText( *to - *from ) : "-"; };
   auto const & [begun, pulsed, clean, programmed, end] = chip.times;
   std::string const pulse = span( begun, pulsed );
   std::string const total = span( begun, end );
   if ( chip.isTolvane ) return { chip.name, pulse, "", span( pulsed, end ), "", total };
   return {
      chip.name, pulse, span( pulsed, clean ), span( clean, programmed ? programmed : end ), span( programmed, end ),
      total };
}

constexpr std::size_t timeWidth = 10;

}   // namespace

Report::Report( std::ostream & out, Style style, Input::CardDescription const & card, NarratorOptions options )
   : out_( out ),
     style_( style ),
     card_( card ),
     chipWidth_( chipWidthOf( card ) ),
     narrator_( card, options, [this]( JournalLine const & line ) { tell( line ); } ) {}

void Report::begin( std::string const & title ) {
   for ( std::string const & row : wrapped( title, lineWidth ) ) out_ << style_.strong( row ) << '\n';
   out_ << '\n'
        << cardText( card_, style_ ) << '\n'
        << style_.quiet( fmt::format( "{:>{}}  {}  what happens", "seconds", timeWidth, padded( "chip", chipWidth_ ) ) )
        << std::endl;
}

void Report::take( Recording::Event const & event ) {
   narrator_.take( event );
   if ( std::holds_alternative<Recording::Abort>( event.what ) ) out_.flush();   // the process ends
}

void Report::end() {
   narrator_.end();
   Table states( { "Chip", "Kind", "State", "Clock", "Attempts", "Operations", "Polls", "Output" } );
   Table times( { "Seconds", "Reset pulse", "SPI clean-up", "Operations", "Lock", "Total" } );
   for ( ChipStanding const & chip : narrator_.standing() ) {
      states.rowAdd( stateRow( chip, style_ ) );
      times.rowAdd( timesRow( chip ) );
   }
   out_ << '\n' << states.text( style_ ) << '\n' << times.text( style_ ) << std::flush;
}

void Report::onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) {
   tell( { ns, "", "warning", Sim::unclaimedText( address, direction ), Tone::bad_ } );
}

void Report::onScenario( U64 ns, std::string_view what ) {
   tell( { ns, "", "scenario", std::string( what ), Tone::strong_ } );
}

void Report::tell( JournalLine const & line ) {
   out_ << lineText( fmt::format( "{:>{}}", momentText( line.ns ), timeWidth ), chipWidth_, line, style_ ) << '\n';
}

}   // namespace Host
