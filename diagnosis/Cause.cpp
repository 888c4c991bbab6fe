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
      add( gone );
      for ( Loss const & absence : story_.absences() )
         if ( absence.backNs ) addEarlier( absenceCause( absence.row.sinceNs ), *absence.backNs );
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
         if ( chip.last() ) ready( chip, *chip.last() );
         return;
      }
      for ( GateRow const & row : chip.gate )
         if ( !row.met && !blamed( row.condition, chip ) ) add( gateCause( chip, row ) );
      bool const open = std::ranges::all_of( chip.gate, &GateRow::met );
      if ( !open || !chip.last() ) return;
      // Without a reference the chip cannot lock.
      bool const locking = chip.max24305 && chip.last()->programmedNs;
      if ( !locking || !blamed( chip.max24305->tolvane, chip ) ) add( causeOf( chip, *chip.last() ) );
   }

   void ready( ChipStory const & chip, BringUp const & bringUp ) {
      auto const look = std::ranges::find( looks_, chip.name, &ChipAudit::chip );
      Case const trouble{ story_, chip, bringUp, chip.stateNs, look == looks_.end() ? nullptr : &*look };
      std::optional<Cause> const cause = readyCause( trouble );
      bool const lockLost = cause && cause->rule == "lockLost";   // for want of its reference
      if ( !lockLost || !blamed( chip.max24305->tolvane, chip ) ) add( cause );
      if ( !cause ) add( readyWarning( trouble ), Weight::warning_ );
      if ( bringUp.failed() == 0 ) return;
      std::optional<Cause> retries = attemptCause( { story_, chip, bringUp } );
      if ( retries )
         retries->what = fmt::format( "ready after {} attempts: {}", bringUp.attempts.size(), retries->what );
      add( retries, Weight::warning_ );
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
      if ( !bringUp.programmedNs || !chip.max24305 ) return attemptCause( trouble );
      bool const waitsLong = bringUp.failedNs || bringUp.polls.size() >= pollsBeforeTrouble;
      return waitsLong ? lockCause( trouble ) : std::nullopt;
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
      add( std::move( cause ), Weight::earlier_ );
   }

   // One trouble of several chips is one cause; what stands already is not told of an earlier time.
   void add( std::optional<Cause> cause, Weight weight = Weight::cause_ ) {
      if ( !cause ) return;
      cause->weight = weight;
      for ( Cause & other : found_ ) {
         if ( other.rule != cause->rule || other.what != cause->what ) continue;
         if ( other.weight == weight && weight == Weight::cause_ ) other.chip += ", " + cause->chip;
         return;
      }
      found_.push_back( std::move( *cause ) );
   }

   Story const & story_;
   std::span<ChipAudit const> const looks_;
   std::vector<Cause> found_;
};

struct WeightText {
   std::string_view name;
   std::string_view heading;
   Host::Tone tone;
};

WeightText const & textOf( Weight weight ) {
   static constexpr WeightText texts[] = {
      { "cause", "Cause:", Host::Tone::bad_ },
      { "warning", "Warning:", Host::Tone::busy_ },
      { "earlier", "Earlier:", Host::Tone::quiet_ } };
   return texts[static_cast<std::size_t>( weight )];
}

constexpr std::size_t rowWidth = 91;   // beside its name

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

std::vector<ChipStory const *> Case::others() const {
   std::vector<ChipStory const *> others;
   for ( ChipStory const & other : story.chips() )
      if ( other.max24305 && &other != &chip ) others.push_back( &other );
   return others;
}

std::string Case::exchangedText( std::string_view what ) const {
   std::string text;
   for ( ChipStory const * other : others() )
      text += fmt::format( "\nor {} of {} and {} are exchanged", what, chip.name, other->name );
   return text;
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

bool provesBus( std::span<Hardware::Max24305::Op const> operations ) {
   return std::ranges::any_of( operations, []( auto const & op ) {
      return op.type == Hardware::Max24305::read_ && op.value != 0 && op.value != 0xFF;
   } );
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
      auto const & [name, heading, tone] = textOf( cause.weight );
      std::string const since = Host::momentText( cause.sinceNs ) + " s";
      text += fmt::format(
         "{} {}: {}, {}\n", style.painted( tone, heading ), cause.chip, cause.what,
         cause.untilNs ? fmt::format( "from {} to {} s", since, Host::momentText( *cause.untilNs ) )
                       : "since " + since );
      auto const rows = [&]( std::string_view row, std::vector<std::string> const & lines ) {
         bool first = true;
         for ( std::string const & line : lines )
            for ( std::string const & piece : Host::wrapped( line, rowWidth ) )
               text += fmt::format(
                  "  {}  {}\n", style.quiet( fmt::format( "{:<5}", std::exchange( first, false ) ? row : "" ) ),
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
         { { "weight", textOf( cause.weight ).name },
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
