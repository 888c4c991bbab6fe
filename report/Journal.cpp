#include "report/Journal.h"

#include "report/ReportText.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

// The level of the traces that tell each operation.
constexpr U32 operationTraceLevel = 1;

constexpr char eraseLine[] = "\r\033[K";

template<class Status> class StateLine final : public Vor::EntityObserver {
 public:
   StateLine( Vor::Ptr<Status const> const & status, std::string label, Journal const & journal )
      : label_( std::move( label ) ), journal_( journal ) {
      vorAttach( status );
   }
   void onAttribute( Vor::Entity const & entity, Vor::Attribute const & attribute, Vor::Value const & ) override {
      if ( attribute.name != "state" ) return;
      std::string const state = stringValue( static_cast<Status const &>( entity ).state() ).stdString();
      journal_.line( entity.name().string().stdString(), label_ + stateText( state, journal_.style() ) );
   }

 private:
   std::string const label_;
   Journal const & journal_;
};

class PresenceLine final : public Vor::EntityObserver {
 public:
   PresenceLine( Vor::Ptr<Fru::HamImpl const> const & ham, Journal const & journal ) : journal_( journal ) {
      vorAttach( ham );
   }
   void onAttribute( Vor::Entity const & entity, Vor::Attribute const & attribute, Vor::Value const & ) override {
      if ( attribute.name != "hardwarePresent" ) return;
      bool const present = static_cast<Fru::HamImpl const &>( entity ).hardwarePresent();
      journal_.line(
         "", present ? journal_.style().good( "hardware present" ) : journal_.style().bad( "hardware absent" ) );
   }

 private:
   Journal const & journal_;
};

class TraceLine final : public Vor::TraceSink {
 public:
   TraceLine( OperationProgress & progress, Journal const & journal, std::optional<U32> level )
      : progress_( progress ), journal_( journal ), level_( level ) {}
   void trace( Vor::TraceRecord const & record ) override {
      if ( level_ && record.level <= *level_ )
         journal_.line(
            "", journal_.style().quiet( fmt::format(
                   "trace {} {} {}: {}", record.level, record.source, record.function, printable( record.text ) ) ) );
      progress_.traced( record );
   }

 private:
   OperationProgress & progress_;
   Journal const & journal_;
   std::optional<U32> const level_;
};

class LogLine final : public Vor::LogSink {
 public:
   explicit LogLine( Journal const & journal ) : journal_( journal ) {}
   void log( Vor::LogRecord const & record ) override {
      journal_.line(
         "", fmt::format(
                "{}: {} {} {}", journal_.style().bad( record.id ), record.event.stdString(), record.cause.stdString(),
                record.recommendedAction.stdString() ) );
   }

 private:
   Journal const & journal_;
};

U32 tracedLevels( Journal const & journal, std::optional<U32> shownLevel ) {
   U32 const shown = shownLevel ? *shownLevel + 1 : 0;
   return journal.onTerminal() ? std::max( shown, operationTraceLevel + 1 ) : shown;
}

}   // namespace

void Journal::line( std::string_view chip, std::string const & text ) const {
   auto const now = std::chrono::system_clock::now();
   auto const ms = std::chrono::duration_cast<std::chrono::milliseconds>( now.time_since_epoch() ).count() % 1000;
   std::cout << ( onTerminal_ ? eraseLine : "" )
             << style_.quiet( fmt::format(
                   "{:%Y-%m-%d %H:%M:%S}.{:03}", fmt::localtime( std::chrono::system_clock::to_time_t( now ) ), ms ) )
             << "  " << padded( chip, 8 ) << "  " << text << std::endl;
}

void Journal::progressIs( std::string const & text ) const {
   if ( onTerminal_ ) std::cout << eraseLine << style_.quiet( text ) << std::flush;
}

void OperationProgress::attemptIs( std::string chip, std::size_t operations ) {
   chip_ = std::move( chip );
   operations_ = operations;
   done_ = 0;
}

void OperationProgress::traced( Vor::TraceRecord const & record ) {
   constexpr std::chrono::milliseconds showPeriod( 50 );
   std::string_view const text = record.text;
   if ( operations_ == 0 || !( text.starts_with( "Write " ) || text.starts_with( "Verify Read " ) ) ) return;
   ++done_;
   auto const now = std::chrono::steady_clock::now();
   if ( now - shown_ < showPeriod ) return;
   shown_ = now;
   journal_.progressIs( fmt::format( "{}: {} of {} reads and writes", chip_, done_, operations_ ) );
}

JournalWatch::JournalWatch( Card const & card, Journal const & journal, std::optional<U32> traceLevel )
   : card_( card ), journal_( journal ), progress_( journal ), tracesOn_( tracedLevels( journal, traceLevel ) ) {
   observers_.push_back( new PresenceLine( card.hamImpl(), journal_ ) );
   for ( auto const & [name, status] : card.tolvaneStatusDir()->tolvane() )
      observers_.push_back( new StateLine<Hardware::Tolvane::Status>( status, "", journal_ ) );
   for ( auto const & [name, status] : card.max24305StatusDir()->max24305() )
      observers_.push_back( new StateLine<Hardware::Max24305::Status>( status, "", journal_ ) );
   for ( auto const & [name, status] : card.clockStatuses() )
      observers_.push_back( new StateLine<Hardware::Kiv::ClockStatus>( status, "clock ", journal_ ) );
   outerTraceSink_ = Vor::traceSinkIs( new TraceLine( progress_, journal_, traceLevel ) );
   outerLogSink_ = Vor::logSinkIs( new LogLine( journal_ ) );
}

JournalWatch::~JournalWatch() {
   for ( auto const & observer : observers_ ) observer->notifierIs( Vor::Ptr<Vor::PtrInterface const>() );
   Vor::traceSinkIs( outerTraceSink_ );
   Vor::logSinkIs( outerLogSink_ );
}

void JournalWatch::resetPulseIs( std::string const & chip ) {
   journal_.line( chip, "reset pulse" );
   Input::Max24305Description const * const max24305 = card_.description().max24305( chip );
   auto const traced = []( Hardware::Max24305::Op const & op ) { return op.type != Hardware::Max24305::sleep_; };
   std::size_t const operations =
      max24305
         ? static_cast<std::size_t>( std::count_if( max24305->sequence.begin(), max24305->sequence.end(), traced ) )
         : 0;
   progress_.attemptIs( chip, operations );
}

}   // namespace Host
