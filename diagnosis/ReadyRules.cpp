// Rules for chips that are published ready and are not well all the same, and for a Tolvane that is not ready.

#include "diagnosis/Rule.h"
#include "hal/KivHal.h"

#include <fmt/format.h>

#include <algorithm>

namespace Diagnosis {

namespace {

// A lock that took longer than this is worth a word.
constexpr std::size_t manyPolls = 30;

bool readyByNoAnswer( Case & e, Facts & facts ) {
   auto const & polls = e.bringUp.polls;
   if ( polls.empty() || polls.back().status != 0xFF ) return false;
   bool const byteCame = polls.back().answer == Answer::byte_;
   facts["by"] = byteCame ? "0xff, all ones" : "no answer, which reads as 0xff";
   facts["seen"] =
      fmt::format( "poll {} of register 7 {}", polls.size(), byteCame ? "brought 0xff" : "brought no valid response" );
   return true;
}

bool sharedReset( Case & e, Facts & facts ) {
   auto const & reset = e.chip.foreignReset;
   if ( !reset ) return false;
   e.sinceNs = reset->ns;
   facts["other"] = reset->by;
   facts["seen"] =
      fmt::format( "{} was set for {} after {} was programmed", e.chip.resetOutput, reset->by, e.chip.name );
   return true;
}

bool noFrequency( Case & e, Facts & ) { return e.bringUp.frequencyInHz == 0U; }

bool wrongFrequency( Case & e, Facts & facts ) {
   U32 const wanted = e.chip.max24305->outputFrequencyInHz;
   U32 const measured = e.bringUp.frequencyInHz.value_or( wanted );
   constexpr U64 million = 1'000'000;
   constexpr U64 partsPerMillion = 100;
   facts["measured"] = std::to_string( measured );
   facts["wanted"] = std::to_string( wanted );
   U64 const off = measured > wanted ? measured - wanted : wanted - measured;
   return wanted != 0 && off * million > wanted * partsPerMillion + million;
}

bool sharedClock( Case & e, Facts & facts ) {
   facts["clock"] = e.chip.max24305->clockStatus;
   facts["says"] = e.story.clock( facts["clock"] );
   for ( ChipStory const & other : e.story.chips() ) {
      facts["other"] = other.name;
      facts["seen"] = other.name + " is " + other.state;
      if ( other.max24305 && other.max24305->clockStatus == facts["clock"] && !other.ready() ) return true;
   }
   return false;
}

bool lateLock( Case & e, Facts & facts ) {
   facts["poll"] = std::to_string( e.bringUp.polls.size() );
   return e.bringUp.polls.size() > manyPolls;
}

constexpr Rule<Case> rulesOfReady[] = {
   { "readyByNoAnswer", readyByNoAnswer, "ready by {by}: both lock bits seem set",
     "check that {reset} releases its reset, and MISO\nsee whether the chip answers now: {audit}" },
   { "sharedReset", sharedReset, "reset again by the bring-up of {other}, after it was programmed: they share {reset}",
     "give each chip a resetGpoName of its own" },
   { "noFrequency", noFrequency, "ready, and no clock comes out: the FPGA measures 0 Hz",
     "check that the sequence switches the output on, and that it reaches the FPGA\n"
     "or statusOffset {statusOffset}, or an exchanged configOffset: {audit}" },
   { "wrongFrequency", wrongFrequency, "ready with {measured} Hz, where {wanted} Hz are asked for",
     "compare outputFrequencyInHz with the dividers of the sequence, which is for {programSeq}\n"
     "and measure the frequency of {reference}" },
   { "sharedClock",
     sharedClock,
     "shares the clock status {clock}, which says {says}, with {other}, which is not ready",
     "give each chip a clockStatus of its own",
     {},
     Weight::warning_ },
   { "lateLock",
     lateLock,
     "locked late, at poll {poll}",
     "compare the loop's settings in the sequence with {reference}",
     {},
     Weight::warning_ } };

// The Tolvane.

bool silent( Case & e, Facts & facts ) {
   auto const attempt =
      std::ranges::find_if( e.bringUp.attempts, []( auto const & one ) { return one.failedNs.has_value(); } );
   if ( attempt == e.bringUp.attempts.end() ) return false;
   e.sinceNs = *attempt->failedNs;
   facts["seen"] = fmt::format(
      "{} of {} failed; the register reads 0x{:x}", e.bringUp.failed(),
      countText( e.bringUp.attempts.size(), "attempt" ), attempt->enableWord.value_or( 0 ) );
   return true;
}

constexpr Rule<Case> rulesOfTolvane[] = {
   { "tolvaneSilent", silent, "neither enable nor power good reads back in {base}",
     "check its supply, and that {reset} releases its reset\n"
     "or that its register stands at {base}: {poke} {chip}.tolvaneEnable.enable=1" } };

// Either bit makes the machine publish it ready.
bool noPowerGood( Case & e, Facts & facts ) {
   U32 const word = e.bringUp.attempts.back().enableWord.value_or( 1 );
   facts["seen"] = fmt::format( "its register reads 0x{:x}", word );
   return !Hardware::TolvaneEnable( word ).powerGood();
}

bool noPowerGoodAndNeeded( Case & e, Facts & facts ) {
   return noPowerGood( e, facts ) && std::ranges::any_of( e.story.chips(), [&]( ChipStory const & chip ) {
             return chip.max24305 && chip.max24305->tolvane == e.chip.name && !chip.ready();
          } );
}

constexpr char powerGoodText[] = "ready, and power good does not read back: its output may be off";
constexpr Rule<Case> rulesOfReadyTolvane[] = {
   { "noPowerGoodAndNeeded", noPowerGoodAndNeeded, powerGoodText, "check its supply" },
   { "noPowerGood", noPowerGood, powerGoodText, "check its supply", {}, Weight::warning_ } };

}   // namespace

std::optional<Cause> readyCause( Case const & trouble ) { return firstOf<Case>( rulesOfReady, trouble ); }
std::optional<Cause> tolvaneCause( Case const & trouble ) { return firstOf<Case>( rulesOfTolvane, trouble ); }
std::optional<Cause> readyTolvaneCause( Case const & trouble ) { return firstOf<Case>( rulesOfReadyTolvane, trouble ); }

}   // namespace Diagnosis
