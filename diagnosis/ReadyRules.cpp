// Rules for chips that are published ready and are not well all the same.

#include "diagnosis/Rule.h"
#include "hal/KivHal.h"
#include "hal/Max24305Hal.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace Diagnosis {

namespace {

// A lock that took longer than this is worth a word.
constexpr std::size_t manyPolls = 30;

bool readyByNoAnswerOnce( Case & e, Facts & facts ) {
   auto const & polls = e.bringUp.polls;
   if ( polls.empty() || polls.back().status != 0xFF ) return false;
   bool const byteCame = polls.back().answer == Answer::byte_;
   facts["by"] = byteCame ? "0xff, all ones" : "no answer, which reads as 0xff";
   facts["seen"] =
      fmt::format( "poll {} of register 7 {}", polls.size(), byteCame ? "brought 0xff" : "brought no valid response" );
   return true;
}

bool readyByNoAnswer( Case & e, Facts & facts ) {
   return readyByNoAnswerOnce( e, facts ) && !( e.look && e.look->well() );
}

bool silentNow( Case & e, Facts & facts ) {
   if ( !e.look || e.look->answer == ChipAudit::Answer::yes_ ) return false;
   facts["answer"] = e.look->points().front().text;
   return true;
}

// Its registers are other than its sequence left them; the facts say how many.
bool drifted( Case & e, Facts & facts ) {
   if ( !e.look || e.look->drift.empty() ) return false;
   RegisterDifference const & first = e.look->drift.front();
   facts["drifted"] = fmt::format( "{} of {}", e.look->drift.size(), e.look->verifiedCount );
   facts["first"] = fmt::format( "0x{:x}", first.expected.address );
   facts["seen"] = fmt::format(
      "{} differ; register {} holds 0x{:02x}, and {} verified 0x{:02x}", facts["drifted"], facts["first"],
      first.found.value_or( 0 ), first.expected.place, first.expected.value );
   return true;
}

// All that were written to other than 0 hold 0: as after a reset.
bool wiped( Case & e, Facts & facts ) {
   if ( !drifted( e, facts ) ) return false;
   facts["exchanged"] = e.exchangedText( "the reset outputs" );
   return std::ranges::all_of( e.look->drift, []( auto const & register_ ) { return register_.found == U8( 0 ); } );
}

bool lockLost( Case & e, Facts & facts ) {
   if ( !e.look || !e.look->apllStatus ) return false;
   Hardware::ApllStatus const status( *e.look->apllStatus );
   facts["aplls"] = status.apll1Locked() ? "APLL 2" : status.apll2Locked() ? "APLL 1" : "APLL 1 and APLL 2";
   facts["seen"] = fmt::format( "register 7 reads 0x{:02x} now", status.value() );
   return !status.bothLocked();
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

// As it is now, where somebody looked.
std::optional<U32> frequencyOf( Case const & e ) {
   return e.look && e.look->frequencyInHz ? e.look->frequencyInHz : e.bringUp.frequencyInHz;
}

bool noFrequency( Case & e, Facts & ) { return e.chip.max24305->outputFrequencyInHz != 0 && frequencyOf( e ) == 0U; }

bool wrongFrequency( Case & e, Facts & facts ) {
   U32 const wanted = e.chip.max24305->outputFrequencyInHz;
   U32 const measured = frequencyOf( e ).value_or( wanted );
   facts["measured"] = std::to_string( measured );
   facts["wanted"] = std::to_string( wanted );
   return wanted != 0 && std::abs( double( measured ) - double( wanted ) ) > toleranceInHz( wanted );
}

bool sharedClock( Case & e, Facts & facts ) {
   facts["clock"] = e.chip.max24305->clockStatus;
   facts["says"] = e.story.clock( facts["clock"] );
   for ( ChipStory const * other : e.others() ) {
      facts["other"] = other->name;
      facts["seen"] = other->name + " is " + other->state;
      if ( other->max24305->clockStatus == facts["clock"] && !other->ready() ) return true;
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
   { "silentNow", silentNow, "was ready, and does not answer any more: {answer}",
     "check its supply, and that {reset} does not hold it in reset" },
   { "wiped", wiped, "was ready, and lost its registers: {drifted} read 0, as after a reset",
     "look at its supply, and at what else resets it{exchanged}" },
   { "lockLost", lockLost, "was ready, and lost its lock: {aplls} not locked any more",
     "check {reference}, and what happened to the chip's supply since" },
   { "drifted", drifted, "was ready, and {drifted} registers are not as its sequence left them, {first} first",
     "see them all: {audit}; look for what else writes them" },
   { "noFrequency", noFrequency, "ready, and no clock comes out: the FPGA measures 0 Hz",
     "check that the sequence switches the output on, and that it reaches the FPGA\n"
     "or statusOffset {statusOffset}, or an exchanged configOffset: {audit}" },
   { "wrongFrequency", wrongFrequency, "ready with {measured} Hz, where {wanted} Hz are asked for",
     "compare outputFrequencyInHz with the dividers of the sequence, which is for {programSeq}\n"
     "and measure the frequency of {reference}" } };

constexpr Rule<Case> warningsOfReady[] = {
   { "readyByNoAnswerOnce", readyByNoAnswerOnce, "ready by {by}: both lock bits seemed set; all is well now",
     "look at the SPI lines and the SPI master: a poll without an answer counts as a lock" },
   { "sharedClock", sharedClock, "shares the clock status {clock}, which says {says}, with {other}, which is not ready",
     "give each chip a clockStatus of its own" },
   { "lateLock", lateLock, "locked late, at poll {poll}",
     "compare the loop's settings in the sequence with {reference}" } };

// The Tolvane.

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

bool tolvaneLost( Case & e, Facts & facts ) {
   if ( !e.look || e.look->isThere() ) return false;
   facts["seen"] = fmt::format( "its register reads 0x{:x} now", e.look->enable.value_or( 0 ) );
   return true;
}

constexpr char powerGoodText[] = "ready, and power good does not read back: its output may be off";

constexpr Rule<Case> rulesOfReadyTolvane[] = {
   { "tolvaneLost", tolvaneLost, "was ready, and neither enable nor power good reads back any more",
     "check its supply, and that {reset} does not hold it in reset" },
   { "noPowerGood", noPowerGoodAndNeeded, powerGoodText, "check its supply" } };

constexpr Rule<Case> warningsOfReadyTolvane[] = { { "noPowerGood", noPowerGood, powerGoodText, "check its supply" } };

}   // namespace

std::optional<Cause> readyCause( Case const & trouble ) {
   return trouble.chip.max24305 ? firstOf<Case>( rulesOfReady, trouble )
                                : firstOf<Case>( rulesOfReadyTolvane, trouble );
}

std::optional<Cause> readyWarning( Case const & trouble ) {
   return trouble.chip.max24305 ? firstOf<Case>( warningsOfReady, trouble )
                                : firstOf<Case>( warningsOfReadyTolvane, trouble );
}

}   // namespace Diagnosis
