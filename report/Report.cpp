#include "report/Report.h"

#include "card/Gate.h"
#include "framework/Log.h"
#include "framework/Trace.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"
#include "report/ReportText.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

namespace Host {

using Phase = ChipTrack::Phase;

Report::Report( std::ostream & out, Style style, SimulatedWorld & world, std::optional<U32> traceLevel )
   : out_( out ), style_( style ), world_( world ), traceLevel_( traceLevel ) {
   Card const & card = world_.card();
   for ( Input::TolvaneDescription const & chip : card.description().tolvanes ) {
      ChipTrack & track = tracks_.emplace_back();
      track.name = chip.name;
      track.resetGpoName = chip.resetGpoName;
      track.tolvane = &chip;
   }
   for ( Input::Max24305Description const & chip : card.description().max24305s ) {
      ChipTrack & track = tracks_.emplace_back();
      track.name = chip.name;
      track.resetGpoName = chip.resetGpoName;
      track.max24305 = &chip;
   }
   for ( ChipTrack const & track : tracks_ ) chipWidth_ = std::max( chipWidth_, track.name.size() );

   auto const watch = [this]( Vor::Ptr<Vor::Entity const> const & entity ) {
      watches_.push_back( new GateWatch( entity, *this ) );
   };
   watch( card.hamImpl() );
   watch( card.timeSync() );
   watch( card.redundancy() );
   for ( Input::GpoDescription const & gpo : card.description().gpos ) watch( card.gpo( gpo.name ) );
   for ( auto const & [name, status] : card.tolvaneStatusDir()->tolvane() ) watch( status );
   for ( auto const & [name, config] : card.max24305ConfigDir()->max24305() ) watch( config );
}

Report::~Report() {
   for ( auto const & watch : watches_ ) watch->notifierIs( Vor::Ptr<Vor::PtrInterface const>() );
}

void Report::begin( std::string const & title ) {
   started_ = std::chrono::steady_clock::now();
   out_ << style_.strong( title ) << "\n\n" << cardText() << '\n';
   out_ << style_.quiet( fmt::format( "{:>14}  {}  {}", "seconds", padded( "chip", chipWidth_ ), "what happens" ) )
        << '\n';
   gatesLook();
   out_.flush();
}

void Report::end() {
   std::chrono::duration<double> const took = std::chrono::steady_clock::now() - started_;
   for ( ChipTrack & track : tracks_ ) {
      attemptEnd( track );
      pollsShow( track, track.lastNs );
   }
   out_ << '\n' << statesText() << '\n' << stepsText() << '\n';
   bool const ready = world_.card().allReady();
   out_ << fmt::format(
      "{} {} s of virtual time, simulated in {:.3f} s\n",
      ready ? style_.good( "All chips are ready." ) : style_.bad( "Not every chip is ready." ),
      secondsText( world_.nowNs() ), took.count() );
   out_.flush();
}

void Report::onWrite32( U64 ns, U32 address, U32 value ) {
   using namespace Hardware;
   SpiCommandFifo closing;
   closing.csEndIs( 1 );
   for ( ChipTrack & track : tracks_ ) {
      if ( !track.max24305 || track.phase != Phase::cleanUp_ ) continue;
      U32 const base = track.max24305->configOffset;
      bool const closes = address == base + SpiCommandFifo::address() && value == closing.value();
      if ( !closes && address != base + SpiReset::address() ) continue;
      track.lastNs = ns;
      cleanUpSleep_ = &track;
   }
}

void Report::onRead32( U64 ns, U32 address, U32 value ) {
   using namespace Hardware;
   for ( ChipTrack & track : tracks_ ) {
      U32 const accessed = track.max24305 ? track.max24305->configOffset + SpiCtrl::address()
                                          : track.tolvane->offset + TolvaneEnable::address();
      if ( address == accessed ) {
         pulseClaim( track );
         track.lastNs = ns;
         if ( track.phase == Phase::pulse_ ) {
            track.phase = Phase::cleanUp_;
            track.accessNs = track.operationsNs = ns;
         }
      }
      if (
         track.max24305 && track.phase == Phase::lock_ &&
         address == track.max24305->statusOffset + Max24305Status::address() )
         track.frequencyInHz = Max24305Status( value ).frequencyInHz();
   }
}

void Report::onGpo( U64 ns, std::string_view name, bool active ) {
   if ( !active ) return;
   auto const uses = [&]( ChipTrack const & track ) { return track.resetGpoName == name; };
   auto const users = std::count_if( tracks_.begin(), tracks_.end(), uses );
   for ( ChipTrack & track : tracks_ ) {
      if ( !uses( track ) ) continue;
      track.pulsePending = true;
      track.pulseNs = ns;
      // Where chips share an output, whose turn it is shows with the first access.
      if ( users == 1 ) pulseClaim( track );
   }
}

void Report::onSleep( U64 ns, U64 forNs ) {
   if ( cleanUpSleep_ ) cleanUpSleep_->operationsNs = ns + forNs;
   cleanUpSleep_ = nullptr;
}

void Report::onSpi( U64 ns, std::string_view chip, std::array<U8, 4> const & bytes, U8 response ) {
   ChipTrack * const track = trackOf( chip );
   if ( !track || !track->max24305 ) return;
   U16 const address = static_cast<U16>( bytes[1] << 8 | bytes[2] );
   track->lastNs = ns;
   if ( track->phase == Phase::lock_ ) {
      if ( address != Hardware::ApllStatus::address() ) return;
      ++track->polls;
      if ( track->polls == 1 || response != track->pollStatus )
         line(
            ns, track->name, fmt::format( "lock poll {}", track->polls ),
            apllText( Hardware::ApllStatus( response ) ) );
      track->pollStatus = response;
      return;
   }
   if ( track->phase == Phase::cleanUp_ ) track->phase = Phase::operations_;
   if ( track->phase == Phase::operations_ ) track->transactionIs( bytes[0] == 2, address, response );
}

void Report::onState( U64 ns, Sim::StateChange const & change ) {
   std::string const name( change.entity.substr( change.entity.rfind( '/' ) + 1 ) );
   std::string const state = change.text.empty() ? std::to_string( change.value ) : std::string( change.text );
   if ( change.entity.find( "/clockStatus/" ) != std::string_view::npos ) {
      for ( ChipTrack & track : tracks_ )
         if ( track.max24305 && track.max24305->clockStatus == name ) track.clock = state;
      return;
   }
   ChipTrack * const track = trackOf( name );
   if ( !track ) return;
   pulseClaim( *track );
   track->lastNs = ns;
   if ( track->tolvane )
      tolvaneStateIs( *track, ns, state );
   else
      max24305StateIs( *track, ns, state );
   track->state = state;
}

void Report::onTrace( U64 ns, Vor::TraceRecord const & record ) {
   if ( !traceLevel_ || record.level > *traceLevel_ ) return;
   line(
      ns, "", style_.quiet( fmt::format( "trace {}", record.level ) ),
      style_.quiet( fmt::format( "{} {}: {}", record.source, record.function, printable( record.text ) ) ) );
}

void Report::onLog( U64 ns, std::string_view id ) {
   for ( ChipTrack & track : tracks_ ) attemptEnd( track );
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

void Report::gatesLook() {
   for ( ChipTrack & track : tracks_ ) {
      Gate const gate = gateOf( world_.card(), track.name );
      std::string text;
      for ( GateCondition const & condition : gate.conditions ) {
         std::string const value = condition.name + " " + condition.value;
         text += ( text.empty() ? "" : ", " ) + ( condition.met ? value : style_.bad( value ) );
      }
      if ( text == track.gate ) continue;
      track.gate = text;
      line( world_.nowNs(), track.name, gate.open() ? style_.good( "gate open" ) : style_.bad( "gate closed" ), text );
   }
}

void Report::pulseClaim( ChipTrack & track ) {
   if ( !track.pulsePending ) return;
   attemptEnd( track );
   track.pulsePending = false;
   track.attemptOpen = true;
   track.phase = Phase::pulse_;
   track.operation = 0;
   track.answer.reset();
   track.accessNs = track.operationsNs = track.lockNs = track.endNs = 0;
   ++track.attempts;
   line( track.pulseNs, track.name, fmt::format( "attempt {}", track.attempts ), "reset pulse" );
}

// Called when an attempt is known to be over without success: the machine publishes a failure only the first time.
void Report::attemptEnd( ChipTrack & track ) {
   if ( !track.attemptOpen ) return;
   track.attemptOpen = false;
   track.phase = Phase::idle_;
   track.endNs = track.lastNs;
   line( track.lastNs, track.name, style_.bad( "failed" ), track.failureText() );
}

void Report::pollsShow( ChipTrack & track, U64 ns ) {
   if ( track.phase != Phase::lock_ || track.polls < 2 ) return;
   line(
      ns, track.name, fmt::format( "lock poll {}", track.polls ),
      apllText( Hardware::ApllStatus( track.pollStatus ) ) );
}

void Report::tolvaneStateIs( ChipTrack & track, U64 ns, std::string const & state ) {
   if ( state == "ready" ) {
      track.attemptOpen = false;
      track.phase = Phase::idle_;
      track.endNs = ns;
      line(
         ns, track.name, style_.good( state ),
         fmt::format( "{} s after its reset", secondsText( ns - track.pulseNs ) ) );
   } else if ( state == "failed" ) {
      attemptEnd( track );
   } else {
      track.attempts = 0;
      line( ns, track.name, style_.busy( state ), "" );
   }
}

void Report::max24305StateIs( ChipTrack & track, U64 ns, std::string const & state ) {
   if ( state == "locking" ) {
      track.attemptOpen = false;
      track.phase = Phase::lock_;
      track.operation = track.operations();
      track.polls = 0;
      track.lockNs = ns;
      line(
         ns, track.name, "programming",
         fmt::format(
            "{}/{} operations in {} s", track.operations(), track.operations(),
            secondsText( ns - track.operationsNs ) ) );
      line( ns, track.name, style_.busy( state ), "" );
      return;
   }
   if ( state == "ready" ) {
      line(
         ns, track.name, style_.good( state ),
         fmt::format(
            "after {} {}, output {}", track.polls, track.polls == 1 ? "poll" : "polls",
            frequencyText( track.frequencyInHz ) ) );
   } else if ( state == "failed" && track.phase == Phase::lock_ ) {
      pollsShow( track, ns );
      line( ns, track.name, style_.bad( state ), fmt::format( "no lock after {} polls", track.polls ) );
   } else if ( state == "failed" ) {
      attemptEnd( track );
   } else {
      if ( track.phase == Phase::lock_ ) pollsShow( track, ns );
      track.attempts = 0;
      line( ns, track.name, style_.busy( state ), "" );
   }
   track.endNs = ns;
   track.phase = Phase::idle_;
}

ChipTrack * Report::trackOf( std::string_view chip ) {
   auto const found =
      std::find_if( tracks_.begin(), tracks_.end(), [&]( ChipTrack const & track ) { return track.name == chip; } );
   return found == tracks_.end() ? nullptr : &*found;
}

std::string Report::cardText() const { return Host::cardText( world_.card().description(), style_ ); }

std::string Report::statesText() const {
   Table table( { "Chip", "Kind", "State", "Clock", "Attempts", "Operations", "Polls", "Output" } );
   for ( ChipTrack const & track : tracks_ ) {
      bool const isTolvane = track.tolvane;
      table.rowAdd(
         { track.name, isTolvane ? "Tolvane" : "MAX24305", stateText( track.state, style_ ),
           isTolvane ? "" : ( track.clock.empty() ? "notReady" : stateText( track.clock, style_ ) ),
           std::to_string( track.attempts ),
           isTolvane ? "" : fmt::format( "{}/{}", track.operation, track.operations() ),
           isTolvane ? "" : std::to_string( track.polls ),
           track.state == "ready" && !isTolvane ? frequencyText( track.frequencyInHz ) : "" } );
   }
   return table.text( style_ );
}

// Of each chip's last attempt, which is the successful one where the chip is ready.
std::string Report::stepsText() const {
   Table table( { "Seconds", "Reset pulse", "SPI clean-up", "Operations", "Lock", "Total" } );
   auto const span = []( U64 from, U64 to ) {
      return from > 0 && to >= from ? secondsText( to - from ) : std::string( "-" );
   };
   for ( ChipTrack const & track : tracks_ ) {
      bool const pulsed = track.accessNs > 0;
      std::string const pulse = pulsed ? secondsText( track.accessNs - track.pulseNs ) : "-";
      std::string const total = track.endNs > 0 ? secondsText( track.endNs - track.pulseNs ) : "-";
      if ( track.tolvane )
         table.rowAdd( { track.name, pulse, "", span( track.accessNs, track.endNs ), "", total } );
      else
         table.rowAdd(
            { track.name, pulse, span( track.accessNs, track.operationsNs ),
              span( track.operationsNs, track.lockNs > 0 ? track.lockNs : track.endNs ),
              span( track.lockNs, track.endNs ), total } );
   }
   return table.text( style_ );
}

}   // namespace Host
