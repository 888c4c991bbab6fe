#include "report/Narrator.h"

#include "framework/Log.h"
#include "hal/Max24305Hal.h"
#include "report/FifoPolls.h"
#include "report/ReportText.h"
#include "sim/Scenario.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace Host {

using namespace Hardware;

namespace {

std::string inputText( Recording::InputChange const & change ) {
   for ( Sim::ActionType const & type : Sim::actionTypes() )
      if ( type.key == change.what )
         return type.text( { .key = change.what, .name = change.of, .value = change.value } );
   return fmt::format( "{} {} {}", change.what, change.of, change.value );
}

// The unmet rows first, so that a closed gate says at once what it waits for.
std::string rowsText( Gate const & rows ) {
   auto const those = [&]( bool met ) {
      std::string text;
      for ( GateRow const & row : rows )
         if ( row.met == met )
            text += ( text.empty() ? "" : ", " ) + row.condition.stdString() + " " + row.value.stdString();
      return text;
   };
   if ( allMet( rows ) ) return those( true );
   return "not met: " + those( false ) + ( those( true ).empty() ? "" : "; met: " + those( true ) );
}

// A message that is declared in this process is told in its words.
std::string messageText( std::string const & id ) {
   for ( Vor::LogHandle const * handle : Vor::logHandles() )
      if ( handle->id().stdString() == id )
         return ( handle->id() + ": " + handle->event() + " " + handle->cause() + " " + handle->recommendedAction() )
            .stdString();
   return id;
}

// What a chip reads that did not answer, and a register may as well hold.
constexpr U8 noAnswer = 0xFF;

// "read 0x10: expected 0x3c, found 0x3d".
std::string operationText( Steps::OperationDone const & done ) {
   auto const [key, type, address, value] = done.operation;
   if ( done.byteRead )
      return fmt::format(
         "read 0x{:x}: expected 0x{:x}, found 0x{:x}{}", address, value, *done.byteRead,
         *done.byteRead == noAnswer ? " or no answer" : "" );
   if ( type == Max24305::OpType::sleep_ ) return "sleep " + secondsText( value ) + " s";
   return fmt::format(
      "write 0x{:x} to 0x{:x}{}", value, address, done.outcome == Steps::Outcome::writeNotSent_ ? ": not sent" : "" );
}

// What polls read of the counts of the command and the response FIFO, behind other text: "; FIFOs 2/0, 0/1"; "" of
// none.
std::string fifoText( std::vector<SpiCtrl> const & polls ) {
   std::string text;
   for ( auto poll = polls.begin(); poll != polls.end(); ) {
      auto const next =
         std::find_if( poll, polls.end(), [&]( auto const & other ) { return other.value() != poll->value(); } );
      text += fmt::format( "{}{}/{}", text.empty() ? "; FIFOs " : ", ", poll->writeFifoCount(), poll->readFifoCount() );
      if ( next - poll > 1 ) text += fmt::format( " {} times", next - poll );
      poll = next;
   }
   return text;
}

// The text with control characters as escapes: "\x02".
std::string printable( std::string_view text ) {
   std::string result;
   for ( char const c : text ) {
      auto const byte = static_cast<unsigned char>( c );
      result += byte < 0x20 || byte == 0x7F ? fmt::format( "\\x{:02x}", byte ) : std::string( 1, c );
   }
   return result;
}

JournalLine attemptLine( std::string const & chip, U32 number, U64 ns ) {
   return { ns, chip, fmt::format( "attempt {}", number ), "reset pulse", Tone::plain_ };
}

using FailedAt = decltype( Steps::AttemptFailed::at );

bool isAlike( FailedAt const & one, FailedAt const & other ) {
   auto const * const operation = std::get_if<Steps::OperationDone>( &one );
   auto const * const otherOperation = std::get_if<Steps::OperationDone>( &other );
   if ( !operation || !otherOperation ) return one.index() == other.index();
   return operation->place == otherOperation->place && operation->byteRead == otherOperation->byteRead;
}

}   // namespace

// What is known of one chip, and how its steps are told.
class Narrator::Chip : public ChipStanding {
 public:
   Chip( Narrator & narrator, Input::TolvaneDescription const & chip )
      : ChipStanding{ .name = chip.name, .isTolvane = true }, narrator_( narrator ) {}
   Chip( Narrator & narrator, Input::Max24305Description const & chip )
      : ChipStanding{ .name = chip.name, .operations = chip.sequence.size() },
        polls( chip ),
        narrator_( narrator ),
        description_( chip ) {}

   void gate( U64 ns, Gate const & rows ) {
      std::string const text = rowsText( rows );
      if ( std::exchange( gate_, text ) == text ) return;
      bool const open = allMet( rows );
      line( ns, open ? "gate open" : "gate closed", text, open ? Tone::good_ : Tone::bad_ );
   }

   void step( U64 ns, Step const & step ) {
      std::vector<SpiCtrl> fifoPolls = polls.taken();
      if ( std::holds_alternative<Steps::OperationDone>( step ) ) fifoPolls_ = std::move( fifoPolls );
      std::visit( [&]( auto const & values ) { told( ns, values ); }, step );
   }

   bool isLocking() const { return state == "locking"; }

   void pollShow() {
      if ( std::exchange( pollShown_, true ) ) return;
      ApllStatus const status( poll.status );
      auto const locked = []( bool is ) { return is ? "locked" : "not locked"; };
      line(
         pollNs_, fmt::format( "lock poll {}", poll.number ),
         fmt::format(
            "APLL status 0x{:02x}: APLL 1 {}, APLL 2 {}{}", status.value(), locked( status.apll1Locked() ),
            locked( status.apll2Locked() ), poll.status == noAnswer ? ", or no answer" : "" ),
         Tone::plain_ );
   }

   FifoPolls polls;

 private:
   void line( U64 ns, std::string what, std::string details, Tone tone ) {
      narrator_.line( { ns, name, std::move( what ), std::move( details ), tone } );
   }

   // With its place in the sequence's file, and what its polls read.
   std::string operationText( Steps::OperationDone const & done ) const {
      bool const known = done.place - 1 < description_.sequence.size();
      std::string const place = known ? description_.placeOf( done.place - 1 ) + ", " : "";
      return place + Host::operationText( done ) + fifoText( fifoPolls_ );
   }

   void told( U64, Steps::GateEvaluated const & ) {}   // an event of its own

   void told( U64 ns, Steps::AttemptBegun const & attempt ) {
      attempts = attempt.number;
      operation = 0;
      times = {};
      times.begunNs = ns;
      if ( narrator_.options_.sumUp && attempt.number > 1 )
         narrator_.underWay_ = Attempts{ name, attempt.number, attempt.number, ns, ns };
      else
         narrator_.line( attemptLine( name, attempt.number, ns ) );
   }

   void told( U64 ns, Steps::ResetPulsed const & ) { times.pulsedNs = ns; }
   void told( U64 ns, Steps::CleanedUp const & ) { operationNs_ = times.cleanNs.emplace( ns ); }

   void told( U64 ns, Steps::OperationDone const & done ) {
      operation = done.place;
      U64 const took = ns - std::exchange( operationNs_, ns );
      if ( narrator_.options_.operations )
         line(
            ns, fmt::format( "operation {}", done.place ), operationText( done ) + "; " + secondsText( took ) + " s",
            Tone::plain_ );
   }

   void told( U64, Steps::EnableDone const & ) {}

   void told( U64 ns, Steps::AttemptFailed const & failed ) {
      times.endNs = ns;
      std::optional<FailedAt> const before = std::exchange( failedAt_, failed.at );
      if ( narrator_.underWay_ && before && isAlike( *before, failed.at ) ) {
         if ( !narrator_.alike_ ) narrator_.alike_ = narrator_.underWay_;
         narrator_.alike_->last = failed.number;
         narrator_.alike_->untilNs = ns;
         narrator_.underWay_.reset();
         return;
      }
      auto const * const done = std::get_if<Steps::OperationDone>( &failed.at );
      line(
         ns, "failed",
         done ? fmt::format( "operation {} of {}, ", done->place, done->of ) + operationText( *done )
              : "neither enable nor power good reads back",
         Tone::bad_ );
   }

   void told( U64 ns, Steps::ProgrammingEnded const & ended ) {
      if ( !ended.succeeded || isTolvane ) return;
      times.programmedNs = ns;
      poll = {};
      pollShown_ = true;
      std::string const took = secondsText( ns - times.cleanNs.value_or( ns ) );
      line( ns, "programming", fmt::format( "{}/{} operations in {} s", operation, operations, took ), Tone::plain_ );
   }

   void told( U64 ns, Steps::LockPolled const & polled ) {
      bool const news = polled.number == 1 || polled.status != poll.status;
      poll = polled;
      pollNs_ = ns;
      pollShown_ = false;
      if ( news ) pollShow();
   }

   void told( U64, Steps::FrequencyRead const & read ) { frequencyInHz = read.frequencyInHz; }

   void told( U64 ns, Steps::Published const & published ) {
      stateIs( ns, stringValue( published.state ).stdString() );
      std::string const now = stringValue( published.clock ).stdString();
      if ( std::exchange( clock, now ) == now ) return;
      narrator_.line( { ns, description_.clockStatus, "clock " + now, "", toneOfState( now ) } );
   }

   void told( U64 ns, Steps::TolvanePublished const & published ) {
      stateIs( ns, stringValue( published.state ).stdString() );
   }

   void stateIs( U64 ns, std::string const & now ) {
      bool const wasLocking = isLocking();
      if ( std::exchange( state, now ) == now ) return;
      if ( wasLocking ) pollShow();
      if ( now == "failed" && !wasLocking ) return;   // the attempt has told of itself
      std::string details;
      if ( now == "ready" ) details = readyText( ns );
      if ( now == "failed" ) details = fmt::format( "no lock after {} polls", poll.number );
      if ( now == "ready" || now == "failed" ) times.endNs = ns;
      if ( now == "uninitialized" ) attempts = 0;
      line( ns, now, details, toneOfState( now ) );
   }

   std::string readyText( U64 ns ) const {
      if ( isTolvane ) return secondsText( ns - times.begunNs.value_or( ns ) ) + " s after its reset";
      std::string const output = frequencyInHz ? fmt::format( "{} Hz", *frequencyInHz ) : "unknown";
      return fmt::format( "after {} {}, output {}", poll.number, poll.number == 1 ? "poll" : "polls", output );
   }

   Narrator & narrator_;
   Input::Max24305Description const description_;   // empty of a Tolvane
   std::string gate_;                               // as last shown
   U64 pollNs_ = 0;
   bool pollShown_ = true;
   U64 operationNs_ = 0;              // since when the present one lasts
   std::vector<SpiCtrl> fifoPolls_;   // of the last operation
   std::optional<FailedAt> failedAt_;
};

Narrator::Narrator( Input::CardDescription const & card, NarratorOptions options, Take take )
   : options_( options ), take_( std::move( take ) ) {
   chips_.reserve( card.tolvanes.size() + card.max24305s.size() );
   for ( auto const & chip : card.tolvanes ) chips_.emplace_back( *this, chip );
   for ( auto const & chip : card.max24305s ) chips_.emplace_back( *this, chip );
}

Narrator::~Narrator() = default;

void Narrator::take( Recording::Event const & event ) {
   U64 const ns = event.ns;
   handTo( chips_, event );
   if ( auto const * input = std::get_if<Recording::InputChange>( &event.what ); input && options_.inputs )
      line( { ns, "", "input", inputText( *input ), Tone::strong_ } );
   else if ( auto const * log = std::get_if<Recording::Log>( &event.what ) )
      line( { ns, "", "log", messageText( log->id ), Tone::bad_ } );
   else if ( auto const * abort = std::get_if<Recording::Abort>( &event.what ) )
      line(
         { ns, "", "stopped",
           fmt::format( "assertion `{}' failed in {}, line {}", abort->expression, abort->source, abort->line ),
           Tone::bad_ } );
   else if ( auto const * trace = std::get_if<Recording::Trace>( &event.what );
             trace && options_.traceLevel && trace->level <= *options_.traceLevel )
      line(
         { ns, "", fmt::format( "trace {}", trace->level ),
           fmt::format( "{} {}: {}", trace->source, trace->function, printable( trace->text ) ), Tone::quiet_ } );
}

void Narrator::end() {
   keptBackTell();
   for ( Chip & chip : chips_ )
      if ( chip.isLocking() ) chip.pollShow();
}

std::vector<ChipStanding> Narrator::standing() const { return { chips_.begin(), chips_.end() }; }

void Narrator::line( JournalLine const & line ) {
   keptBackTell();
   take_( line );
}

void Narrator::keptBackTell() {
   if ( auto const alike = std::exchange( alike_, std::nullopt ) ) {
      std::string const same = fmt::format( "the same, {} s", secondsText( alike->untilNs - alike->sinceNs ) );
      JournalLine line{ alike->sinceNs, alike->chip, fmt::format( "attempt {}", alike->first ), same, Tone::bad_ };
      if ( alike->first != alike->last ) {
         line.what = "attempts";
         line.details = fmt::format( "{} to {}: {}", alike->first, alike->last, same );
      }
      take_( line );
   }
   if ( auto const attempt = std::exchange( underWay_, std::nullopt ) )
      take_( attemptLine( attempt->chip, attempt->first, attempt->sinceNs ) );
}

}   // namespace Host
