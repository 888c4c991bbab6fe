#include "report/Report.h"

#include "framework/Log.h"
#include "framework/Trace.h"
#include "hal/Max24305Hal.h"
#include "report/ReportText.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

namespace Host {

using namespace Hardware;

// What is known of one chip, and how its steps are told.
struct Report::Chip {
   // When the steps of an attempt were over, as far as it came.
   struct Times {
      std::optional<U64> begunNs;
      std::optional<U64> pulsedNs;
      std::optional<U64> cleanNs;
      std::optional<U64> programmedNs;
      std::optional<U64> endNs;   // ready or failed
   };

   Report & report;
   std::string name;
   bool isTolvane = false;
   std::size_t operations = 0;   // of its sequence
   std::string gate = {};        // as last shown
   std::string state = "uninitialized";
   std::string clock = "notReady";
   U32 attempts = 0;    // of the present bring-up
   U32 operation = 0;   // the last one of the present attempt
   Steps::LockPolled poll = {};
   U64 pollNs = 0;
   bool pollShown = true;
   std::optional<U32> frequencyInHz = {};
   Times steps = {};   // of the last attempt

   U64 nowNs() const { return report.world_.nowNs(); }
   void line( std::string const & what, std::string const & details ) const {
      report.line( nowNs(), name, what, details );
   }

   void told( Steps::GateEvaluated const & evaluated ) {
      std::string text;
      for ( GateRow const & row : evaluated.rows ) {
         std::string const value = ( row.condition + " " + row.value ).stdString();
         text += ( text.empty() ? "" : ", " ) + ( row.met ? value : report.style_.bad( value ) );
      }
      if ( std::exchange( gate, text ) == text ) return;
      line( allMet( evaluated.rows ) ? report.style_.good( "gate open" ) : report.style_.bad( "gate closed" ), text );
   }

   void told( Steps::AttemptBegun const & attempt ) {
      attempts = attempt.number;
      operation = 0;
      steps = {};
      steps.begunNs = nowNs();
      line( fmt::format( "attempt {}", attempt.number ), "reset pulse" );
   }

   void told( Steps::ResetPulsed const & ) { steps.pulsedNs = nowNs(); }
   void told( Steps::CleanedUp const & ) { steps.cleanNs = nowNs(); }
   void told( Steps::OperationDone const & done ) { operation = done.place; }
   void told( Steps::EnableDone const & ) {}

   void told( Steps::AttemptFailed const & failed ) {
      steps.endNs = nowNs();
      line( report.style_.bad( "failed" ), failureText( failed ) );
   }

   void told( Steps::ProgrammingEnded const & ended ) {
      if ( !ended.succeeded || isTolvane ) return;
      steps.programmedNs = nowNs();
      poll = {};
      pollShown = true;
      std::string const took = secondsText( nowNs() - steps.cleanNs.value_or( nowNs() ) );
      line( "programming", fmt::format( "{}/{} operations in {} s", operation, operations, took ) );
   }

   void told( Steps::LockPolled const & polled ) {
      bool const news = polled.number == 1 || polled.status != poll.status;
      poll = polled;
      pollNs = nowNs();
      pollShown = false;
      if ( news ) pollShow( nowNs() );
   }

   void told( Steps::FrequencyRead const & read ) { frequencyInHz = read.frequencyInHz; }

   void told( Steps::Published const & published ) {
      bool const wasLocking = state == "locking";
      clock = stringValue( published.clock ).stdString();
      std::string const now = stringValue( published.state ).stdString();
      if ( std::exchange( state, now ) == now ) return;
      std::string details;
      switch ( published.state ) {
      case Max24305::ready_:
         steps.endNs = nowNs();
         details =
            fmt::format( "after {} {}, output {}", poll.number, poll.number == 1 ? "poll" : "polls", frequencyText() );
         break;
      case Max24305::failed_:
         if ( !wasLocking ) return;   // the attempt has told of itself
         steps.endNs = nowNs();
         details = fmt::format( "no lock after {} polls", poll.number );
         break;
      case Max24305::uninitialized_:
         attempts = 0;
         break;
      default:
         break;
      }
      if ( wasLocking ) pollShow( nowNs() );
      line( stateText( state, report.style_ ), details );
   }

   void told( Steps::TolvanePublished const & published ) {
      state = stringValue( published.state ).stdString();
      if ( published.state == Tolvane::ready_ ) {
         steps.endNs = nowNs();
         std::string const took = secondsText( nowNs() - steps.begunNs.value_or( nowNs() ) );
         line( report.style_.good( state ), took + " s after its reset" );
      } else if ( published.state == Tolvane::uninitialized_ ) {
         attempts = 0;
         line( report.style_.busy( state ), "" );
      }
   }

   void pollShow( U64 ns ) {
      if ( std::exchange( pollShown, true ) ) return;
      ApllStatus const status( poll.status );
      auto const locked = []( bool is ) { return is ? "locked" : "not locked"; };
      report.line(
         ns, name, fmt::format( "lock poll {}", poll.number ),
         fmt::format(
            "APLL status 0x{:02x}: APLL 1 {}, APLL 2 {}", status.value(), locked( status.apll1Locked() ),
            locked( status.apll2Locked() ) ) );
   }

   std::string frequencyText() const { return frequencyInHz ? fmt::format( "{} Hz", *frequencyInHz ) : "unknown"; }

   std::vector<std::string> stateRow() const {
      std::string const tries = std::to_string( attempts );
      if ( isTolvane ) return { name, "Tolvane", stateText( state, report.style_ ), "", tries };
      return {
         name,
         "MAX24305",
         stateText( state, report.style_ ),
         stateText( clock, report.style_ ),
         tries,
         fmt::format( "{}/{}", operation, operations ),
         std::to_string( poll.number ),
         state == "ready" ? frequencyText() : "" };
   }

   // Of the last attempt, which is the successful one where the chip is ready. What was cut short has no time.
   std::vector<std::string> stepsRow() const {
      using Time = std::optional<U64>;
      auto const span = []( Time from, Time to ) { return from && to ? secondsText( *to - *from ) : "-"; };
      auto const & [begun, pulsed, clean, programmed, end] = steps;
      std::string const pulse = span( begun, pulsed );
      std::string const total = span( begun, end );
      if ( isTolvane ) return { name, pulse, "", span( pulsed, end ), "", total };
      return {
         name, pulse, span( pulsed, clean ), span( clean, programmed ? programmed : end ), span( programmed, end ),
         total };
   }
};

Report::Report( std::ostream & out, Style style, SimulatedWorld & world, std::optional<U32> traceLevel )
   : out_( out ), style_( style ), world_( world ), traceLevel_( traceLevel ) {
   Input::CardDescription const & card = world_.card().description();
   for ( Input::TolvaneDescription const & chip : card.tolvanes )
      chips_.push_back( { .report = *this, .name = chip.name, .isTolvane = true } );
   for ( Input::Max24305Description const & chip : card.max24305s )
      chips_.push_back( { .report = *this, .name = chip.name, .operations = chip.sequence.size() } );
   for ( Chip & chip : chips_ ) {
      chipOf_[chip.name] = &chip;
      chipWidth_ = std::max( chipWidth_, chip.name.size() );
   }
}

Report::~Report() = default;

void Report::begin( std::string const & title ) {
   started_ = std::chrono::steady_clock::now();
   out_ << style_.strong( title ) << "\n\n" << cardText( world_.card().description(), style_ ) << '\n';
   out_ << style_.quiet( fmt::format( "{:>14}  {}  {}", "seconds", padded( "chip", chipWidth_ ), "what happens" ) )
        << '\n';
   out_.flush();
}

void Report::end() {
   std::chrono::duration<double> const took = std::chrono::steady_clock::now() - started_;
   Table states( { "Chip", "Kind", "State", "Clock", "Attempts", "Operations", "Polls", "Output" } );
   Table steps( { "Seconds", "Reset pulse", "SPI clean-up", "Operations", "Lock", "Total" } );
   for ( Chip & chip : chips_ ) {
      if ( chip.state == "locking" ) chip.pollShow( chip.pollNs );
      states.rowAdd( chip.stateRow() );
      steps.rowAdd( chip.stepsRow() );
   }
   out_ << '\n' << states.text( style_ ) << '\n' << steps.text( style_ ) << '\n';
   bool const ready = world_.card().allReady();
   out_ << fmt::format(
      "{} {} s of virtual time, simulated in {:.3f} s\n",
      ready ? style_.good( "All chips are ready." ) : style_.bad( "Not every chip is ready." ),
      secondsText( world_.nowNs() ), took.count() );
   out_.flush();
}

void Report::onStep( Vor::Entity const & config, Step const & step ) {
   auto const chip = chipOf_.find( config.name().string() );
   if ( chip != chipOf_.end() ) std::visit( [&]( auto const & one ) { chip->second->told( one ); }, step );
}

void Report::onTrace( U64 ns, Vor::TraceRecord const & record ) {
   if ( !traceLevel_ || record.level > *traceLevel_ ) return;
   line(
      ns, "", style_.quiet( fmt::format( "trace {}", record.level ) ),
      style_.quiet( fmt::format( "{} {}: {}", record.source, record.function, printable( record.text ) ) ) );
}

void Report::onLog( U64 ns, Vor::LogRecord const & record ) {
   line( ns, "", style_.bad( "log" ), ( record.id + ": " + record.event ).stdString() );
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

}   // namespace Host
