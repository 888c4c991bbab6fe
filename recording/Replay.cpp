#include "recording/Replay.h"

#include "card/VirtualWorld.h"
#include "framework/ActivityManager.h"
#include "input/InputError.h"
#include "recording/EventLog.h"
#include "recording/Fields.h"
#include "recording/Reader.h"
#include "recording/Recorder.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace Recording {

namespace {

// A line without its time, which stands first.
std::string_view withoutTime( std::string_view line ) {
   return line.substr( std::min( line.find( ',' ), line.size() ) );
}

Sim::Action actionOf( InputChange const & input ) {
   return { .key = input.what, .name = input.of, .value = input.value };
}

Sim::StartState startOf( Header const & header ) {
   Sim::StartState start;
   for ( InputChange const & input : header.start )
      if ( input.what == "simulationVmid" )
         start.simulationVmid = input.value;
      else if ( input.what != adoptedInput )
         start.actions.push_back( actionOf( input ) );
   return start;
}

std::set<std::string> adoptedOf( Header const & header ) {
   std::set<std::string> chips;
   for ( InputChange const & input : header.start )
      if ( input.what == adoptedInput && input.value != 0 ) chips.insert( input.of );
   return chips;
}

std::string textOf( Step const & step, Input::CardDescription const & card ) {
   auto const * const done = std::get_if<Hardware::Steps::OperationDone>( &step.step );
   if ( !done ) return fmt::format( "the step {} of {}", stepNames[step.step.index()], step.chip );
   std::string const operation = fmt::format( "operation {} of {}", done->place, step.chip );
   Input::Max24305Description const * const chip = card.max24305( step.chip );
   if ( !chip || done->place == 0 || done->place > chip->sequenceLines.size() ) return operation;
   return fmt::format( "{} ({}:{})", operation, chip->sequenceFile, chip->sequenceLines[done->place - 1] );
}

class Replay final : private Sim::CardListener {
 public:
   Replay( std::string const & path, std::ostream & out )
      : path_( path ),
        reader_( path ),
        real_( !reader_.cardHeader().began.empty() ),
        out_( out ),
        world_(
           clock_, header().card, startOf( header() ),
           [this]( Sim::CardEvents & events ) {
              return Vor::Ptr<Fru::HamImpl>( new RecordedAnswers( events, *this ) );
           },
           nullptr, adoptedOf( header() ) ),
        recorder_( log_, world_.events(), world_.card() ) {
      world_.events().listenerAdd( *this );   // behind the log
      out_ << told();
      advance();
   }

   Replayed run() {
      Replayed replayed;
      try {
         while ( next_ ) step();
      } catch ( Difference & difference ) {
         replayed.difference = std::move( difference );
         replayed.difference->during = nextStep();
      } catch ( EndedEarly const & ) {
         replayed.cutOff = fmt::format( "{}:{}: the recording ends within a bring-up", path_, line_ );
      }
      replayed.lines = line_;
      if ( !reader_.cutOff().empty() ) replayed.cutOff = reader_.cutOff();
      return replayed;
   }

 private:
   struct EndedEarly {};

   // The handle of the recorded card.
   struct RecordedAnswers final : Fru::HamImpl {
      RecordedAnswers( Sim::CardEvents & events, Replay & replay )
         : HamImpl( "hamImpl" ), events( events ), replay( replay ) {}
      void read32( U32 address, U32 & value ) override {
         replay.compare();
         auto const * const read = replay.next_ ? std::get_if<Read32>( &replay.next_->what ) : nullptr;
         value = read && read->address == address ? read->value : 0;
         events.tell( &Sim::CardListener::onRead32, address, value );
      }
      void write32( U32 address, U32 value ) override {
         replay.compare();
         events.tell( &Sim::CardListener::onWrite32, address, value );
      }
      Sim::CardEvents & events;
      Replay & replay;
   };

   Header const & header() const { return reader_.header(); }

   // The process ends with it, unless the recording says otherwise.
   void onAbort( U64, Vor::AssertionFailure const & ) override {
      compare();
      out_.flush();
   }

   // What the agent's loop does next.
   void step() {
      std::size_t const line = next_->line;
      auto const * const input = std::get_if<InputChange>( &next_->what );
      if ( input && ( real_ || next_->ns <= clock_->nowNs() ) ) {
         Sim::actionApply( actionOf( *input ), world_.targets() );
         compare();
         if ( next_ && next_->line == line ) fail();
      } else if ( world_.machines().makeNext() )
         compare();
      else
         turn();
   }

   // A turn of the timers; where nothing came of it, the clock moves to what is due next.
   void turn() {
      std::size_t const line = next_->line;
      Vor::activityManager().turn();
      compare();
      turnsInVain_ = next_ && next_->line == line ? turnsInVain_ + 1 : 0;
      if ( turnsInVain_ == 0 ) return;
      U64 const latest = next_->ns + ( real_ ? timersMissNs : 0 );
      if ( clock_->nowNs() >= latest || turnsInVain_ == turnsInVainMax ) fail();
      double const timer = Vor::activityManager().nextTime();
      U64 const due = Sim::VirtualClock::nsOf( timer );
      clock_->nowNsIs( std::min( due, latest ) );
      if ( due <= latest ) clock_->nowIs( timer );
   }

   // What the library has told since the last time must be what comes next in the recording.
   void compare() {
      std::istringstream lines( told() );
      for ( std::string line; std::getline( lines, line ); ) {
         if ( !next_ ) {
            // That of a real card is written as things happen, and may end with any of them.
            if ( real_ || !reader_.cutOff().empty() ) throw EndedEarly();
            throw Difference{ line_ + 1, "", line, "" };
         }
         if ( comparable( line ) != comparable( reader_.text() ) ) fail( line );
         out_ << line << '\n';
         line_ = next_->line;
         if ( real_ ) clock_->nowNsIs( next_->ns );
         if ( auto const * const sleep = std::get_if<Sleep>( &next_->what ) ) asleepUntilNs_ = next_->ns + sleep->forNs;
         advance();
      }
   }

   std::string told() {
      log_.flush();
      std::string text = told_.str();
      told_.str( "" );
      return text;
   }

   std::string_view comparable( std::string_view line ) const { return real_ ? withoutTime( line ) : line; }

   // On to the next line that a machine gave, or an input.
   void advance() {
      for ( bool aside = false; ( next_ = reader_.next() ); line_ = next_->line ) {
         if ( auto const * const bracket = std::get_if<Aside>( &next_->what ) )
            aside = bracket->begins;
         else if ( auto const * const dropped = std::get_if<Dropped>( &next_->what ) )
            throw Input::InputError( fmt::format(
               "{}:{}: {} lines of the recording are gone here; expected a whole one to replay", path_, next_->line,
               dropped->lines ) );
         else if ( !aside && !std::holds_alternative<Spi>( next_->what ) && !isRestOfSleep() )
            return;
         else if ( !aside && !real_ )
            out_ << reader_.text() << '\n';
      }
   }

   // A real sleep that a signal interrupts is asked for again, for the rest of it.
   bool isRestOfSleep() const {
      return real_ && next_->ns < asleepUntilNs_ && std::holds_alternative<Sleep>( next_->what );
   }

   // Without a line, the library does nothing more by itself.
   [[noreturn]] void fail( std::string const & now = {} ) const {
      throw Difference{ next_->line, std::string( reader_.text() ), now, "" };
   }

   std::string nextStep() {
      for ( ; next_; next_ = reader_.next() )
         if ( auto const * const step = std::get_if<Step>( &next_->what ) ) return textOf( *step, header().card );
      return "";
   }

   // A real timer is due when its machine was done, not when the clock here followed the last line before that.
   static constexpr U64 timersMissNs = 1'000'000'000;
   static constexpr U32 turnsInVainMax = 100'000;

   std::string const path_;
   Reader reader_;
   bool const real_;
   std::ostream & out_;
   std::optional<Event> next_;   // to come in the recording
   std::size_t line_ = 1;        // of the recording, the last one that is alike or passed over
   U64 asleepUntilNs_ = 0;
   U32 turnsInVain_ = 0;
   std::ostringstream told_;
   EventLog log_{ told_ };
   Vor::Ptr<Sim::VirtualClock> const clock_ = new Sim::VirtualClock;
   Host::VirtualWorld world_;
   Recorder const recorder_;
};

}   // namespace

Replayed replay( std::string const & path, std::ostream & events ) {
   try {
      return Replay( path, events ).run();
   } catch ( std::invalid_argument const & error ) {
      throw Input::InputError( path + ": " + error.what() );
   }
}

bool hasTraces( std::string const & path ) {
   Reader reader( path );
   while ( std::optional<Event> const event = reader.next() )
      if ( std::holds_alternative<Trace>( event->what ) ) return true;
   return false;
}

}   // namespace Recording
