#include "report/Report.h"

#include "framework/Log.h"
#include "framework/Trace.h"
#include "report/ReportText.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

namespace Host {

using namespace Hardware;

Report::Report( std::ostream & out, Style style, SimulatedWorld & world, std::optional<U32> traceLevel )
   : out_( out ), style_( style ), world_( world ), traceLevel_( traceLevel ) {
   Input::CardDescription const & card = world_.card().description();
   for ( Input::TolvaneDescription const & chip : card.tolvanes ) {
      tracks_.emplace_back().name = chip.name;
      tracks_.back().isTolvane = true;
   }
   for ( Input::Max24305Description const & chip : card.max24305s ) {
      tracks_.emplace_back().name = chip.name;
      tracks_.back().operations = chip.sequence.size();
   }
   for ( Track & track : tracks_ ) {
      trackOf_[track.name] = &track;
      chipWidth_ = std::max( chipWidth_, track.name.size() );
   }
}

void Report::begin( std::string const & title ) {
   started_ = std::chrono::steady_clock::now();
   out_ << style_.strong( title ) << "\n\n" << cardText( world_.card().description(), style_ ) << '\n';
   out_ << style_.quiet( fmt::format( "{:>14}  {}  {}", "seconds", padded( "chip", chipWidth_ ), "what happens" ) )
        << '\n';
   out_.flush();
}

void Report::end() {
   std::chrono::duration<double> const took = std::chrono::steady_clock::now() - started_;
   for ( Track & track : tracks_ )
      if ( track.state == "locking" ) pollsShow( track, track.pollNs );
   out_ << '\n' << statesText() << '\n' << stepsText() << '\n';
   bool const ready = world_.card().allReady();
   out_ << fmt::format(
      "{} {} s of virtual time, simulated in {:.3f} s\n",
      ready ? style_.good( "All chips are ready." ) : style_.bad( "Not every chip is ready." ),
      secondsText( world_.nowNs() ), took.count() );
   out_.flush();
}

void Report::onStep( Vor::Entity const & config, Step const & step ) {
   auto const track = trackOf_.find( config.name().string() );
   if ( track != trackOf_.end() )
      std::visit( [&]( auto const & one ) { told( *track->second, world_.nowNs(), one ); }, step );
}

void Report::told( Track & track, U64 ns, Steps::GateEvaluated const & gate ) {
   std::string text;
   for ( GateRow const & row : gate.rows ) {
      std::string const value = ( row.condition + " " + row.value ).stdString();
      text += ( text.empty() ? "" : ", " ) + ( row.met ? value : style_.bad( value ) );
   }
   if ( text == track.gate ) return;
   track.gate = text;
   line( ns, track.name, allMet( gate.rows ) ? style_.good( "gate open" ) : style_.bad( "gate closed" ), text );
}

void Report::told( Track & track, U64 ns, Steps::AttemptBegun const & attempt ) {
   track.attempts = attempt.number;
   track.operation = 0;
   track.steps = {};
   track.steps.begunNs = ns;
   line( ns, track.name, fmt::format( "attempt {}", attempt.number ), "reset pulse" );
}

void Report::told( Track & track, U64 ns, Steps::ResetPulsed const & ) { track.steps.pulsedNs = ns; }

void Report::told( Track & track, U64 ns, Steps::CleanedUp const & ) { track.steps.cleanNs = ns; }

void Report::told( Track & track, U64, Steps::OperationDone const & done ) { track.operation = done.place; }

void Report::told( Track & track, U64 ns, Steps::AttemptFailed const & failed ) {
   track.steps.endNs = ns;
   line( ns, track.name, style_.bad( "failed" ), failureText( failed ) );
}

void Report::told( Track & track, U64 ns, Steps::ProgrammingEnded const & ended ) {
   if ( !ended.succeeded || track.isTolvane ) return;
   track.steps.programmedNs = ns;
   track.polls = 0;
   line(
      ns, track.name, "programming",
      fmt::format(
         "{}/{} operations in {} s", track.operation, track.operations,
         secondsText( ns - track.steps.cleanNs.value_or( ns ) ) ) );
}

void Report::told( Track & track, U64 ns, Steps::LockPolled const & poll ) {
   track.polls = poll.number;
   track.pollNs = ns;
   bool const news = poll.number == 1 || poll.status != track.pollStatus;
   track.pollStatus = poll.status;
   if ( poll.number == 1 ) track.pollShown = 0;
   if ( news ) pollsShow( track, ns );
}

void Report::told( Track & track, U64, Steps::FrequencyRead const & read ) { track.frequencyInHz = read.frequencyInHz; }

void Report::told( Track & track, U64 ns, Steps::Published const & published ) {
   bool const wasLocking = track.state == "locking";
   track.clock = stringValue( published.clock ).stdString();
   std::string const state = stringValue( published.state ).stdString();
   if ( std::exchange( track.state, state ) == state ) return;
   switch ( published.state ) {
   case Max24305::ready_:
      track.steps.endNs = ns;
      line(
         ns, track.name, style_.good( state ),
         fmt::format(
            "after {} {}, output {}", track.polls, track.polls == 1 ? "poll" : "polls",
            frequencyText( track.frequencyInHz ) ) );
      break;
   case Max24305::failed_:
      if ( !wasLocking ) break;   // the attempt has told of itself
      track.steps.endNs = ns;
      pollsShow( track, ns );
      line( ns, track.name, style_.bad( state ), fmt::format( "no lock after {} polls", track.polls ) );
      break;
   default:
      if ( wasLocking ) pollsShow( track, ns );
      line( ns, track.name, style_.busy( state ), "" );
      if ( published.state == Max24305::uninitialized_ ) track.attempts = 0;
   }
}

void Report::told( Track & track, U64 ns, Steps::TolvanePublished const & published ) {
   track.state = stringValue( published.state ).stdString();
   if ( published.state == Tolvane::ready_ ) {
      track.steps.endNs = ns;
      line(
         ns, track.name, style_.good( track.state ),
         fmt::format( "{} s after its reset", secondsText( ns - track.steps.begunNs.value_or( ns ) ) ) );
   } else if ( published.state == Tolvane::uninitialized_ ) {
      track.attempts = 0;
      line( ns, track.name, style_.busy( track.state ), "" );
   }
}

void Report::pollsShow( Track & track, U64 ns ) {
   if ( track.polls <= track.pollShown ) return;
   track.pollShown = track.polls;
   line( ns, track.name, fmt::format( "lock poll {}", track.polls ), apllText( ApllStatus( track.pollStatus ) ) );
}

void Report::onTrace( U64 ns, Vor::TraceRecord const & record ) {
   if ( !traceLevel_ || record.level > *traceLevel_ ) return;
   line(
      ns, "", style_.quiet( fmt::format( "trace {}", record.level ) ),
      style_.quiet( fmt::format( "{} {}: {}", record.source, record.function, printable( record.text ) ) ) );
}

void Report::onLog( U64 ns, std::string_view id ) {
   std::string event;
   for ( Vor::LogHandle const * handle : Vor::logHandles() )
      if ( handle->id() == Vor::String( id ) ) event = handle->event().stdString();
   line( ns, "", style_.bad( "log" ), std::string( id ) + ": " + event );
}

void Report::onAbort( U64 ns, Vor::AssertionFailure const & failure ) {
   line(
      ns, "", style_.bad( "stopped" ),
      fmt::format( "assertion `{}' failed in {}, line {}", failure.expression, failure.source, failure.line ) );
   out_.flush();
}

void Report::onUnclaimed( U64 ns, U32 address, Sim::AccessDirection direction ) {
   line( ns, "", style_.bad( "warning" ), Sim::unclaimedText( address, direction ) );
}

void Report::onScenario( U64 ns, std::string_view what ) {
   line( ns, "", style_.strong( "scenario" ), std::string( what ) );
}

void Report::line( U64 ns, std::string_view chip, std::string const & what, std::string const & details ) {
   constexpr std::size_t whatWidth = 14;
   std::string text = fmt::format(
      "{:>14}  {}  {}  {}", secondsText( ns ), padded( chip, chipWidth_ ), padded( what, whatWidth ), details );
   text.erase( text.find_last_not_of( ' ' ) + 1 );
   out_ << text << '\n';
}

std::string Report::statesText() const {
   Table table( { "Chip", "Kind", "State", "Clock", "Attempts", "Operations", "Polls", "Output" } );
   for ( Track const & track : tracks_ ) {
      bool const isTolvane = track.isTolvane;
      table.rowAdd(
         { track.name, isTolvane ? "Tolvane" : "MAX24305", stateText( track.state, style_ ),
           isTolvane ? "" : stateText( track.clock, style_ ), std::to_string( track.attempts ),
           isTolvane ? "" : fmt::format( "{}/{}", track.operation, track.operations ),
           isTolvane ? "" : std::to_string( track.polls ),
           track.state == "ready" && !isTolvane ? frequencyText( track.frequencyInHz ) : "" } );
   }
   return table.text( style_ );
}

// Of each chip's last attempt, which is the successful one where the chip is ready. What was cut short has no time.
std::string Report::stepsText() const {
   Table table( { "Seconds", "Reset pulse", "SPI clean-up", "Operations", "Lock", "Total" } );
   using Time = std::optional<U64>;
   auto const span = []( Time from, Time to ) { return from && to ? secondsText( *to - *from ) : std::string( "-" ); };
   for ( Track const & track : tracks_ ) {
      auto const & [begun, pulsed, clean, programmed, end] = track.steps;
      std::string const pulse = span( begun, pulsed );
      std::string const total = span( begun, end );
      if ( track.isTolvane )
         table.rowAdd( { track.name, pulse, "", span( pulsed, end ), "", total } );
      else
         table.rowAdd(
            { track.name, pulse, span( pulsed, clean ), span( clean, programmed ? programmed : end ),
              span( programmed, end ), total } );
   }
   return table.text( style_ );
}

}   // namespace Host
