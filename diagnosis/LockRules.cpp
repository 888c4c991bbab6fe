// Rules for a MAX24305 that is programmed and has not locked, by the pattern of its lock polls, and for one that is
// published ready and is not well all the same.

#include "diagnosis/Rule.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Diagnosis {

using Hardware::ApllStatus;
using Hardware::TolvaneEnable;

namespace {

constexpr char programmed[] = "the bus, the reset, the sequence: all operations were right";

// One APLL over the polls.
struct Apll {
   std::string name;
   std::vector<bool> locked;

   bool ever() const { return std::ranges::count( locked, true ) > 0; }
   bool last() const { return locked.back(); }
   std::size_t losses() const {
      std::size_t count = 0;
      for ( std::size_t at = 1; at < locked.size(); ++at ) count += locked[at - 1] && !locked[at];
      return count;
   }
   std::size_t firstAt() const {
      return static_cast<std::size_t>( std::ranges::find( locked, true ) - locked.begin() ) + 1;
   }
};

struct Polls {
   explicit Polls( Case const & trouble ) : polls( trouble.bringUp.polls ) {
      for ( LockPoll const & poll : polls ) {
         aplls[0].locked.push_back( ApllStatus( poll.status ).apll1Locked() );
         aplls[1].locked.push_back( ApllStatus( poll.status ).apll2Locked() );
      }
   }
   std::string seen() const {
      std::vector<std::pair<U8, std::size_t>> runs;
      for ( LockPoll const & poll : polls )
         if ( runs.empty() || runs.back().first != poll.status )
            runs.emplace_back( poll.status, 1 );
         else
            ++runs.back().second;
      std::string text = countText( polls.size(), "poll" ) + " of register 7:";
      constexpr std::size_t shown = 6;
      for ( std::size_t i = 0; i < std::min( runs.size(), shown ); ++i )
         text += fmt::format( "{} {} times 0x{:02x}", i == 0 ? "" : ",", runs[i].second, runs[i].first );
      return text + ( runs.size() > shown ? ", and so on" : "" );
   }
   Cause cause( std::string what, std::vector<std::string> todo ) const {
      return {
         .what = std::move( what ),
         .sinceNs = polls.front().ns,
         .todo = std::move( todo ),
         .seen = { seen() },
         .ruledOut = programmed };
   }

   std::vector<LockPoll> const & polls;
   std::array<Apll, 2> aplls{ Apll{ "APLL 1", {} }, Apll{ "APLL 2", {} } };
};

std::string referenceText( Case const & trouble ) {
   auto const & chip = *trouble.chip.max24305;
   return chip.tolvane.empty() ? "the clock at its input" : "the output of " + chip.tolvane;
}

Finding flapping( Case const & trouble ) {
   Polls const polls( trouble );
   for ( Apll const & apll : polls.aplls )
      if ( apll.losses() > 1 )
         return polls.cause(
            apll.name + " flaps: it locks and loses its lock again",
            { "check the quality of the reference, " + referenceText( trouble ) + ": jitter, level, frequency",
              "and the loop's supply and filter" } );
   return {};
}

Finding lostWhileLocking( Case const & trouble ) {
   Polls const polls( trouble );
   for ( Apll const & apll : polls.aplls )
      if ( apll.losses() == 1 && !apll.last() )
         return polls.cause(
            apll.name + " had locked, and lost its lock",
            { "look what happened then to " + referenceText( trouble ) + ", and to the chip's supply and reset" } );
   return {};
}

Finding noReference( Case const & trouble ) {
   Polls const polls( trouble );
   if ( polls.aplls[0].ever() || polls.aplls[1].ever() ) return {};
   Cause cause = polls.cause(
      "neither APLL locks: the reference is missing or has another frequency",
      { "measure " + referenceText( trouble ) + ": is it there, with the frequency that the sequence wants?",
        "or the loops take longer than the machine waits: compare their settings with it" } );
   bool const answers = std::ranges::any_of( trouble.chip.max24305->sequence, []( auto const & op ) {
      return op.type == Hardware::Max24305::read_ && op.value != 0 && op.value != 0xFF;
   } );
   if ( answers ) return cause;
   // All zeros are all that has ever been read of the chip.
   cause.todo.push_back(
      "or MISO is low, which reads as 0x00 too; " + commandText( trouble, "selftest" ) + " tells them apart" );
   cause.ruledOut.clear();
   return cause;
}

Finding locksLate( Case const & trouble ) {
   Polls const polls( trouble );
   for ( Apll const & apll : polls.aplls )
      if ( apll.last() && apll.firstAt() * 2 > polls.polls.size() && polls.polls.size() > 2 )
         return polls.cause(
            fmt::format( "{} locks late, at poll {} of {}", apll.name, apll.firstAt(), polls.polls.size() ),
            { "compare the loop's settings (bandwidth, dividers) in the sequence with the reference's frequency" } );
   return {};
}

Finding oneApll( Case const & trouble ) {
   Polls const polls( trouble );
   for ( std::size_t i = 0; i < 2; ++i )
      if ( !polls.aplls[i].ever() )
         return polls.cause(
            fmt::format( "{} never locks, while {} does", polls.aplls[i].name, polls.aplls[1 - i].name ),
            { "compare the settings of " + polls.aplls[i].name +
              " in the sequence: input selection, dividers, supply" } );
   return {};
}

Finding notLocked( Case const & trouble ) {
   Polls const polls( trouble );
   return polls.cause( "the APLLs are not locked at one time", { "check the reference, " + referenceText( trouble ) } );
}

constexpr Rule rulesOfLock[] = { { "flapping", flapping },       { "lostWhileLocking", lostWhileLocking },
                                 { "noReference", noReference }, { "locksLate", locksLate },
                                 { "oneApll", oneApll },         { "notLocked", notLocked } };

// Ready, and not well.

std::string hertz( U64 frequency ) { return fmt::format( "{} Hz", frequency ); }

Cause readyCause( Case const & trouble, std::string what, std::vector<std::string> todo, std::string seen ) {
   return {
      .what = std::move( what ),
      .sinceNs = trouble.bringUp.readyNs.value_or( trouble.chip.stateNs ),
      .todo = std::move( todo ),
      .seen = { std::move( seen ) } };
}

Cause asWarning( Cause cause ) {
   cause.weight = Weight::warning_;
   return cause;
}

Finding sharedReset( Case const & trouble ) {
   auto const & reset = trouble.chip.foreignReset;
   if ( !reset ) return {};
   Cause cause = readyCause(
      trouble,
      fmt::format(
         "reset again by the bring-up of {}, after it was ready: they share {}", reset->by, trouble.chip.resetOutput ),
      { "give each chip its own resetGpoName, or bring them up as one" },
      fmt::format(
         "{} was set for {} while {} was published ready", trouble.chip.resetOutput, reset->by, trouble.chip.name ) );
   cause.sinceNs = reset->ns;
   return cause;
}

Finding readyByNoAnswer( Case const & trouble ) {
   auto const & polls = trouble.bringUp.polls;
   if ( polls.empty() || polls.back().status != 0xFF ) return {};
   bool const silent = polls.back().answer != Answer::byte_;
   return readyCause(
      trouble,
      silent ? "ready by an answer that never came: no answer reads as 0xff, in which both lock bits are set"
             : "ready by 0xff, all ones: the chip drives nothing, and both lock bits seem set",
      { "check that " + trouble.chip.resetOutput + " releases its reset, and MISO",
        "see whether the chip answers now: " + commandText( trouble, "audit" ) },
      fmt::format(
         "poll {} of register 7 {}", polls.size(), silent ? "found no valid response" : "found the byte 0xff" ) );
}

bool fits( U32 frequency, U32 wanted ) {
   constexpr U64 partsPerMillion = 100;
   U64 const off = frequency > wanted ? frequency - wanted : wanted - frequency;
   return off * 1'000'000 <= U64{ wanted } * partsPerMillion + 1'000'000;
}

Finding noFrequency( Case const & trouble ) {
   if ( trouble.bringUp.frequencyInHz.value_or( 1 ) != 0 ) return {};
   return readyCause(
      trouble, "ready, and no clock comes out: the FPGA measures 0 Hz",
      { "check that the output is switched on in the sequence, and reaches the FPGA",
        fmt::format( "or statusOffset 0x{:x}, or an exchanged configOffset: ", trouble.chip.max24305->statusOffset ) +
           commandText( trouble, "audit" ) },
      "both APLLs are locked" );
}

Finding wrongFrequency( Case const & trouble ) {
   U32 const wanted = trouble.chip.max24305->outputFrequencyInHz;
   auto const & measured = trouble.bringUp.frequencyInHz;
   if ( wanted == 0 || !measured || fits( *measured, wanted ) ) return {};
   return readyCause(
      trouble, fmt::format( "ready with {}, where {} are asked for", hertz( *measured ), hertz( wanted ) ),
      { "compare outputFrequencyInHz with the sequence's dividers (programSeq " +
           stringValue( trouble.chip.max24305->programSeq ).stdString() + ")",
        "and the frequency of " + referenceText( trouble ) },
      "both APLLs are locked" );
}

Finding sharedClock( Case const & trouble ) {
   std::string const & status = trouble.chip.max24305->clockStatus;
   for ( ChipStory const & other : trouble.story.chips() )
      if ( other.max24305 && &other != &trouble.chip && other.max24305->clockStatus == status && !other.ready() )
         return asWarning( readyCause(
            trouble,
            fmt::format(
               "shares the clock status {} with {}, which is not ready: it says {}", status, other.name,
               trouble.story.clock( status ) ),
            { "give each chip a clockStatus of its own" },
            fmt::format( "{} is {}, {} is ready", other.name, other.state, trouble.chip.name ) ) );
   return {};
}

// Long before the machine gives up, and much longer than a loop takes.
Finding lateLock( Case const & trouble ) {
   auto const & polls = trouble.bringUp.polls;
   constexpr std::size_t many = 30;
   if ( polls.size() <= many ) return {};
   return asWarning( readyCause(
      trouble, fmt::format( "locked late, at poll {}", polls.size() ),
      { "compare the loop's settings in the sequence with " + referenceText( trouble ) }, Polls( trouble ).seen() ) );
}

constexpr Rule rulesOfReady[] = { { "readyByNoAnswer", readyByNoAnswer }, { "sharedReset", sharedReset },
                                  { "noFrequency", noFrequency },         { "wrongFrequency", wrongFrequency },
                                  { "sharedClock", sharedClock },         { "lateLock", lateLock } };

// The Tolvane.

Finding tolvaneSilent( Case const & trouble ) {
   auto const & attempts = trouble.bringUp.attempts;
   auto const & attempt =
      *std::ranges::find_if( attempts, []( auto const & one ) { return one.failedNs.has_value(); } );
   auto const & chip = *trouble.story.card().tolvane( trouble.chip.name );
   return Cause{
      .what = fmt::format( "neither enable nor power good reads back in 0x{:x}", chip.offset ),
      .sinceNs = *attempt.failedNs,
      .todo =
         { "check its supply, and that " + chip.resetGpoName + " releases its reset",
           fmt::format( "or that its register stands at 0x{:x}: ", chip.offset ) + commandText( trouble, "poke" ) +
              " " + chip.name + ".tolvaneEnable.enable=1" },
      .seen = { fmt::format(
         "{} of {} attempts failed, the register reads 0x{:x}", trouble.bringUp.failed(), attempts.size(),
         attempt.enableWord.value_or( 0 ) ) } };
}

constexpr Rule rulesOfTolvane[] = { { "tolvaneSilent", tolvaneSilent } };

// Either bit makes the machine publish it ready.
Finding noPowerGood( Case const & trouble ) {
   auto const & word = trouble.bringUp.attempts.back().enableWord;
   if ( !word || TolvaneEnable( *word ).powerGood() ) return {};
   Cause cause = readyCause(
      trouble, "ready, and power good does not read back: its output may be off", { "check its supply" },
      fmt::format( "its register reads 0x{:x}", *word ) );
   bool const fedIsReady = std::ranges::all_of( trouble.story.chips(), [&]( ChipStory const & chip ) {
      return !chip.max24305 || chip.max24305->tolvane != trouble.chip.name || chip.ready();
   } );
   return fedIsReady ? asWarning( cause ) : cause;
}

constexpr Rule rulesOfReadyTolvane[] = { { "noPowerGood", noPowerGood } };

}   // namespace

std::span<Rule const> lockRules() { return rulesOfLock; }
std::span<Rule const> readyRules() { return rulesOfReady; }
std::span<Rule const> readyTolvaneRules() { return rulesOfReadyTolvane; }
std::span<Rule const> tolvaneRules() { return rulesOfTolvane; }

}   // namespace Diagnosis
