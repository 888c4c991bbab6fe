#include "report/Journal.h"

#include "framework/Log.h"
#include "framework/Trace.h"
#include "report/ReportText.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ostream>

namespace Host {

constexpr char eraseLine[] = "\r\033[K";

Journal::Journal( std::ostream & out, Style style, bool onTerminal, Card const & card, std::optional<U32> traceLevel )
   : out_( out ),
     style_( style ),
     onTerminal_( onTerminal ),
     card_( card ),
     traceLevel_( traceLevel ),
     tracesOn_( traceLevel ? *traceLevel + 1 : 0 ) {
   vorAttach( card.hamImpl() );
}

void Journal::begin() const { out_ << cardText( card_.description(), style_ ) << std::endl; }

void Journal::line( std::string_view chip, std::string const & text ) const {
   auto const now = std::chrono::system_clock::now();
   auto const ms = std::chrono::duration_cast<std::chrono::milliseconds>( now.time_since_epoch() ).count() % 1000;
   out_ << ( onTerminal_ ? eraseLine : "" )
        << style_.quiet( fmt::format(
              "{:%Y-%m-%d %H:%M:%S}.{:03}", fmt::localtime( std::chrono::system_clock::to_time_t( now ) ), ms ) )
        << "  " << padded( chip, 8 ) << "  " << text << std::endl;
}

void Journal::onTrace( U64, Vor::TraceRecord const & record ) {
   if ( !traceLevel_ || record.level > *traceLevel_ ) return;
   line(
      "", style_.quiet( fmt::format(
             "trace {} {} {}: {}", record.level, record.source, record.function, printable( record.text ) ) ) );
}

void Journal::onLog( U64, Vor::LogRecord const & record ) {
   Vor::String const told = record.event + " " + record.cause + " " + record.recommendedAction;
   line( "", style_.bad( record.id ) + ": " + told.stdString() );
}

void Journal::onUnclaimed( U64, U32 address, Sim::AccessDirection direction ) {
   line( "", style_.bad( "warning" ) + ": " + Sim::unclaimedText( address, direction ) );
}

void Journal::onAttribute( Vor::Entity const &, Vor::Attribute const & attribute, Vor::Value const & ) {
   if ( attribute.name != "hardwarePresent" ) return;
   line( "", card_.hamImpl()->hardwarePresent() ? style_.good( "hardware present" ) : style_.bad( "hardware absent" ) );
}

void Journal::onStep( Vor::Entity const & config, Hardware::Step const & step ) {
   using namespace Hardware::Steps;
   std::string const & chip = config.name().string().stdString();
   if ( std::holds_alternative<AttemptBegun>( step ) ) {
      line( chip, "reset pulse" );
   } else if ( auto const * done = std::get_if<OperationDone>( &step ) ) {
      progressIs( chip, *done );
   } else if ( auto const * tolvane = std::get_if<TolvanePublished>( &step ) ) {
      stateIs( chip, "", stringValue( tolvane->state ) );
   } else if ( auto const * published = std::get_if<Published>( &step ) ) {
      stateIs( chip, "", stringValue( published->state ) );
      stateIs( card_.clockStatusOf( chip )->name().string().stdString(), "clock ", stringValue( published->clock ) );
   }
}

// A step tells the states of both records of a chip, of which one has changed.
void Journal::stateIs( std::string const & name, std::string const & label, Vor::String const & state ) {
   Vor::String & told = states_.try_emplace( label + name, label.empty() ? "uninitialized" : "notReady" ).first->second;
   if ( told == state ) return;
   told = state;
   line( name, label + stateText( state.stdString(), style_ ) );
}

// On a terminal, until the next line.
void Journal::progressIs( std::string const & chip, Hardware::Steps::OperationDone const & done ) {
   constexpr std::chrono::milliseconds showPeriod( 50 );
   auto const now = std::chrono::steady_clock::now();
   if ( !onTerminal_ || now - progressShown_ < showPeriod ) return;
   progressShown_ = now;
   std::string const text = fmt::format( "{}: {} of {} operations", chip, done.place, done.of );
   out_ << eraseLine << style_.quiet( text ) << std::flush;
}

}   // namespace Host
