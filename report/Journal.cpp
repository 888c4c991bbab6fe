#include "report/Journal.h"

#include "report/ReportText.h"
#include "sim/CardEvents.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ostream>

namespace Host {

std::string timeOfDay() {
   auto const now = std::chrono::system_clock::now();
   auto const ms = std::chrono::duration_cast<std::chrono::milliseconds>( now.time_since_epoch() ).count() % 1000;
   return fmt::format(
      "{:%Y-%m-%d %H:%M:%S}.{:03}", fmt::localtime( std::chrono::system_clock::to_time_t( now ) ), ms );
}

Journal::Journal(
   std::ostream & out, Style style, bool onTerminal, Sim::CardEvents & events, Card const & card,
   std::optional<U32> traceLevel, std::optional<std::string> const & system )
   : out_( out ),
     system_( system ? std::optional<SystemJournal>( std::in_place, *system ) : std::nullopt ),
     style_( style ),
     onTerminal_( onTerminal ),
     events_( events ),
     card_( card ),
     chipWidth_( chipWidthOf( card.description() ) ),
     narrator_(
        card.description(), { .traceLevel = traceLevel }, [this]( JournalLine const & line ) { tell( line ); } ),
     stream_( [this]( Recording::Event const & event ) { take( event ); } ),
     recorder_( stream_, events, card ) {
   events.listenerAdd( *this );
}

Journal::~Journal() {
   events_.listenerDel( *this );
   events_.listenerDel( stream_ );
}

void Journal::begin() const { out_ << cardText( card_.description(), style_ ) << std::endl; }

void Journal::onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) {
   tell( { ns, "", "warning", Sim::unclaimedText( address, direction ), Tone::bad_ } );
}

void Journal::take( Recording::Event const & event ) {
   auto const * const input = std::get_if<Recording::InputChange>( &event.what );
   cardGone_ = input && input->what == "hardwarePresent" && input->value == 0;
   narrator_.take( event );
   cardGone_ = false;
   auto const * const told = std::get_if<Recording::Step>( &event.what );
   if ( !told || !onTerminal_ ) return;
   if ( auto const * done = std::get_if<Hardware::Steps::OperationDone>( &told->step ) )
      progressIs( fmt::format( "{}: {} of {} operations", told->chip, done->place, done->of ) );
   else if ( auto const * polled = std::get_if<Hardware::Steps::LockPolled>( &told->step ) )
      progressIs( fmt::format( "{}: lock poll {} of at most {}", told->chip, polled->number, polled->of ) );
}

// Until the next line.
void Journal::progressIs( std::string const & text ) {
   constexpr std::chrono::milliseconds showPeriod( 50 );
   auto const now = std::chrono::steady_clock::now();
   if ( now - progressShown_ < showPeriod ) return;
   progressShown_ = now;
   out_ << eraseLine << style_.quiet( text ) << std::flush;
}

void Journal::text( std::string const & lines ) const {
   if ( system_ && system_->tell( { .message = lines, .priority = Priority::warning_, .chip = "", .event = "cause" } ) )
      return;
   out_ << ( onTerminal_ ? eraseLine : "" ) << lines << std::flush;
}

void Journal::tell( JournalLine const & line ) const {
   if ( system_ && system_->tell( entryOf( line, cardGone_ ) ) ) return;
   out_ << ( onTerminal_ ? eraseLine : "" ) << lineText( style_.quiet( timeOfDay() ), chipWidth_, line, style_ )
        << std::endl;
}

}   // namespace Host
