#include "report/Journal.h"

#include "report/ReportText.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <iostream>

namespace Host {

namespace {

constexpr char eraseLine[] = "\r\033[K";

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
   TraceLine( Journal const & journal, std::optional<U32> level ) : journal_( journal ), level_( level ) {}
   void trace( Vor::TraceRecord const & record ) override {
      if ( level_ && record.level <= *level_ )
         journal_.line(
            "", journal_.style().quiet( fmt::format(
                   "trace {} {} {}: {}", record.level, record.source, record.function, printable( record.text ) ) ) );
   }

 private:
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

JournalWatch::JournalWatch( Card const & card, Journal const & journal, std::optional<U32> traceLevel )
   : card_( card ),
     journal_( journal ),
     tracesOn_( traceLevel ? *traceLevel + 1 : 0 ),
     presence_( new PresenceLine( card.hamImpl(), journal_ ) ),
     outerTraceSink_( Vor::traceSinkIs( new TraceLine( journal_, traceLevel ) ) ),
     outerLogSink_( Vor::logSinkIs( new LogLine( journal_ ) ) ) {}

JournalWatch::~JournalWatch() {
   Vor::traceSinkIs( outerTraceSink_ );
   Vor::logSinkIs( outerLogSink_ );
}

void JournalWatch::onStep( Vor::Entity const & config, Hardware::Step const & step ) {
   using namespace Hardware::Steps;
   std::string const & chip = config.name().string().stdString();
   if ( std::holds_alternative<AttemptBegun>( step ) ) {
      journal_.line( chip, "reset pulse" );
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
void JournalWatch::stateIs( std::string const & name, std::string const & label, Vor::String const & state ) {
   Vor::String & told = states_.try_emplace( label + name, label.empty() ? "uninitialized" : "notReady" ).first->second;
   if ( told == state ) return;
   told = state;
   journal_.line( name, label + stateText( state.stdString(), journal_.style() ) );
}

void JournalWatch::progressIs( std::string const & chip, Hardware::Steps::OperationDone const & done ) {
   constexpr std::chrono::milliseconds showPeriod( 50 );
   auto const now = std::chrono::steady_clock::now();
   if ( now - progressShown_ < showPeriod ) return;
   progressShown_ = now;
   journal_.progressIs( fmt::format( "{}: {} of {} operations", chip, done.place, done.of ) );
}

}   // namespace Host
