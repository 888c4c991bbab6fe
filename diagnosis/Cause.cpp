#include "diagnosis/Cause.h"

#include "diagnosis/Rule.h"
#include "report/ReportText.h"

#include <fmt/args.h>
#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace Diagnosis {

namespace {

// A chip is given time to lock; before that it is not said to have trouble.
constexpr std::size_t pollsBeforeTrouble = 10;

class Investigation {
 public:
   Investigation( Story const & story, std::span<ChipAudit const> looks ) : story_( story ), looks_( looks ) {}

   std::vector<Cause> causes() {
      std::optional<Cause> const gone = cardCause( story_, looks_ );
      if ( gone ) add( {}, *gone );
      for ( Absence const & absence : story_.absences() )
         if ( absence.toNs ) addEarlier( absenceCause( absence ), *absence.toNs );
      for ( ChipStory const & chip : story_.chips() ) {
         if ( !gone ) present( chip );
         past( chip );
      }
      if ( story_.abort() ) stopped( assertionCause( story_ ) );
      std::ranges::stable_sort( found_, {}, &Cause::weight );
      return std::move( found_ );
   }

 private:
   // What is wrong with the chip now.
   void present( ChipStory const & chip ) {
      if ( chip.ready() ) {
         if ( !chip.last() ) return;
         auto const look = std::ranges::find( looks_, chip.name, &ChipAudit::chip );
         Case const ready{ story_, chip, *chip.last(), chip.stateNs, look == looks_.end() ? nullptr : &*look };
         std::optional<Cause> const cause = chip.max24305 ? readyCause( ready ) : readyTolvaneCause( ready );
         bool const lockLost = cause && cause->rule == "lockLost";   // for want of its reference
         if ( !lockLost || !blamed( chip.max24305->tolvane, chip ) ) add( {}, cause );
         retries( chip, *chip.last() );
         return;
      }
      bool closed = false;
      for ( GateRow const & row : chip.gate ) {
         if ( row.met ) continue;
         closed = true;
         if ( !blamed( row.condition, chip ) ) add( {}, gateCause( chip, row ) );
      }
      if ( closed || !chip.last() ) return;
      // Without a reference the chip cannot lock.
      bool const locking = chip.last()->programmedNs.has_value();
      if ( !locking || !blamed( chip.max24305->tolvane, chip ) ) add( {}, causeOf( chip, *chip.last() ) );
   }

   // What brought the process down may be what the chip's own trouble has led to.
   void stopped( Cause assertion ) {
      if ( Cause * own = causeOfChip( assertion.chip ) )
         own->seen.push_back( "in the end " + assertion.what );
      else
         found_.insert( found_.begin(), std::move( assertion ) );
   }

   Cause * causeOfChip( std::string_view chip ) {
      auto const cause = std::ranges::find_if(
         found_, [&]( Cause const & one ) { return one.weight == Weight::cause_ && one.chip == chip; } );
      return cause == found_.end() ? nullptr : &*cause;
   }

   // A chip that waits for a Tolvane whose own trouble is told already.
   bool blamed( std::string const & tolvane, ChipStory const & chip ) {
      Cause * const cause = causeOfChip( tolvane );
      if ( cause ) cause->seen.push_back( chip.name + " waits for it" );
      return cause;
   }

   std::optional<Cause> causeOf( ChipStory const & chip, BringUp const & bringUp ) const {
      if ( bringUp.readyNs ) return {};
      Case const trouble{ story_, chip, bringUp };
      if ( !chip.max24305 ) return tolvaneCause( trouble );
      if ( !bringUp.programmedNs ) return attemptCause( trouble );
      bool const waitsLong = bringUp.failedNs || bringUp.polls.size() >= pollsBeforeTrouble;
      return waitsLong ? lockCause( trouble ) : std::nullopt;
   }

   // Attempts that failed before the one that succeeded.
   void retries( ChipStory const & chip, BringUp const & bringUp ) {
      if ( bringUp.failed() == 0 ) return;
      Case const trouble{ story_, chip, bringUp };
      std::optional<Cause> warning = chip.max24305 ? attemptCause( trouble ) : tolvaneCause( trouble );
      if ( !warning ) return;
      warning->what = fmt::format( "ready after {} attempts: {}", bringUp.attempts.size(), warning->what );
      add( Weight::warning_, std::move( warning ) );
   }

   // What was wrong with the chip before its present bring-up, and is over.
   void past( ChipStory const & chip ) {
      for ( std::size_t i = 0; i + 1 < chip.bringUps.size(); ++i )
         addEarlier( causeOf( chip, chip.bringUps[i] ), chip.bringUps[i + 1].attempts.front().beganNs );
      // What the card or a Tolvane had, is told of them.
      for ( auto const & [row, backNs] : chip.losses )
         if ( backNs && row.condition != "hardware" && !story_.card().tolvane( row.condition ) )
            addEarlier( gateCause( chip, row ), *backNs );
   }

   void addEarlier( std::optional<Cause> cause, U64 untilNs ) {
      if ( cause ) cause->untilNs = untilNs;
      add( Weight::earlier_, std::move( cause ) );
   }

   // One trouble of several chips is one cause; what stands already is not told of an earlier time.
   void add( std::optional<Weight> weight, std::optional<Cause> cause ) {
      if ( !cause ) return;
      if ( weight ) cause->weight = *weight;
      for ( Cause & other : found_ ) {
         if ( other.rule != cause->rule || other.what != cause->what ) continue;
         if ( other.weight == cause->weight && cause->weight == Weight::cause_ ) other.chip += ", " + cause->chip;
         return;
      }
      found_.push_back( std::move( *cause ) );
   }

   Story const & story_;
   std::span<ChipAudit const> const looks_;
   std::vector<Cause> found_;
};

constexpr std::string_view weightTexts[] = { "Cause", "Warning", "Earlier" };
constexpr std::string_view weightNames[] = { "cause", "warning", "earlier" };

std::string_view of( std::string_view const ( &texts )[3], Weight weight ) {
   return texts[static_cast<std::size_t>( weight )];
}

constexpr std::size_t rowWidth = 91;   // beside its name

std::string painted( Host::Style const & style, Weight weight, std::string const & text ) {
   if ( weight == Weight::cause_ ) return style.bad( text );
   return weight == Weight::warning_ ? style.busy( text ) : style.quiet( text );
}

}   // namespace

Facts Case::facts() const {
   Facts facts{ { "chip", chip.name }, { "reset", chip.resetOutput }, { "exchanged", "" } };
   for ( char const * command : { "audit", "peek", "poke", "selftest" } )
      facts[command] = fmt::format( "clockpath {} {}", command, story.commandWords() );
   if ( chip.max24305 ) {
      facts["base"] = fmt::format( "0x{:x}", chip.max24305->configOffset );
      facts["statusOffset"] = fmt::format( "0x{:x}", chip.max24305->statusOffset );
      facts["programSeq"] = stringValue( chip.max24305->programSeq ).stdString();
      facts["reference"] =
         chip.max24305->tolvane.empty() ? "the clock at its input" : "the output of " + chip.max24305->tolvane;
   } else if ( auto const * tolvane = story.card().tolvane( chip.name ) ) {
      facts["base"] = fmt::format( "0x{:x}", tolvane->offset );
   }
   return facts;
}

std::string filledIn( std::string_view text, Facts const & facts ) {
   fmt::dynamic_format_arg_store<fmt::format_context> values;
   for ( auto const & [name, value] : facts ) values.push_back( fmt::arg( name.c_str(), std::cref( value ) ) );
   return fmt::vformat( text, values );
}

std::vector<std::string> linesOf( std::string const & text ) {
   std::vector<std::string> lines;
   std::istringstream in( text );
   for ( std::string line; std::getline( in, line ); ) lines.push_back( line );
   return lines;
}

std::string countText( std::size_t count, std::string_view thing ) {
   return fmt::format( "{} {}{}", count, thing, count == 1 ? "" : "s" );
}

std::vector<Cause> causesOf( Story const & story, std::span<ChipAudit const> looks ) {
   return Investigation( story, looks ).causes();
}

bool stands( std::vector<Cause> const & causes, bool strict ) {
   return std::ranges::any_of( causes, [strict]( Cause const & cause ) {
      return cause.weight == Weight::cause_ || ( strict && cause.weight == Weight::warning_ );
   } );
}

std::string causesText( std::vector<Cause> const & causes, Host::Style const & style ) {
   std::string text;
   for ( Cause const & cause : causes ) {
      std::string const time =
         cause.untilNs ? fmt::format( "from {} to {}", timeText( cause.sinceNs ), timeText( *cause.untilNs ) )
                       : "since " + timeText( cause.sinceNs );
      text += fmt::format(
         "{} {}: {}, {}\n", painted( style, cause.weight, fmt::format( "{}:", of( weightTexts, cause.weight ) ) ),
         cause.chip, cause.what, time );
      auto const rows = [&]( std::string_view name, std::vector<std::string> const & lines ) {
         bool first = true;
         for ( std::string const & line : lines )
            for ( std::string const & piece : Host::wrapped( line, rowWidth ) )
               text += fmt::format(
                  "  {}  {}\n", style.quiet( fmt::format( "{:<5}", std::exchange( first, false ) ? name : "" ) ),
                  piece );
      };
      rows( "do", cause.todo );
      rows( "seen", cause.seen );
      if ( !cause.ruledOut.empty() ) rows( "not", { cause.ruledOut } );
      rows( "rule", { std::string( cause.rule ) } );
   }
   return text;
}

Input::Json causesJson( std::vector<Cause> const & causes ) {
   Input::Json list = Input::Json::array();
   for ( Cause const & cause : causes )
      list.push_back(
         { { "weight", of( weightNames, cause.weight ) },
           { "rule", cause.rule },
           { "chip", cause.chip },
           { "what", cause.what },
           { "sinceNs", cause.sinceNs },
           { "untilNs", cause.untilNs ? Input::Json( *cause.untilNs ) : Input::Json() },
           { "do", cause.todo },
           { "seen", cause.seen },
           { "not", cause.ruledOut } } );
   return list;
}

}   // namespace Diagnosis
