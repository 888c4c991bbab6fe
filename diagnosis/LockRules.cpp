// Rules for a MAX24305 that is programmed and has not locked, by the pattern of its lock polls.

#include "diagnosis/Rule.h"
#include "hal/Max24305Hal.h"

#include <fmt/format.h>

#include <algorithm>

namespace Diagnosis {

using Hardware::ApllStatus;

namespace {

struct Polls : Case {
   explicit Polls( Case const & trouble ) : Case( trouble ), polls( bringUp.polls ) {
      sinceNs = polls.front().ns;
      for ( LockPoll const & poll : polls )
         for ( std::size_t i = 0; i < 2; ++i ) locked[i].push_back( lockedNow( poll, i ) );
   }

   static bool lockedNow( LockPoll const & poll, std::size_t apll ) {
      ApllStatus const status( poll.status );
      return apll == 0 ? status.apll1Locked() : status.apll2Locked();
   }
   bool ever( std::size_t apll ) const { return std::ranges::count( locked[apll], true ) > 0; }
   // How often it was locked at one poll and not at the next.
   std::size_t losses( std::size_t apll ) const {
      std::size_t count = 0;
      for ( std::size_t at = 1; at < polls.size(); ++at ) count += locked[apll][at - 1] && !locked[apll][at];
      return count;
   }
   // Whether the condition holds of one; the facts name it and the other.
   bool oneOf( Facts & facts, auto const & condition ) const {
      for ( std::size_t i = 0; i < 2; ++i ) {
         facts["apll"] = fmt::format( "APLL {}", i + 1 );
         facts["otherApll"] = fmt::format( "APLL {}", 2 - i );
         if ( condition( i ) ) return true;
      }
      return false;
   }

   std::vector<LockPoll> const & polls;
   std::vector<bool> locked[2];   // at each poll
};

bool flapping( Polls & e, Facts & facts ) {
   return e.oneOf( facts, [&]( std::size_t apll ) { return e.losses( apll ) > 1; } );
}

bool lostWhileLocking( Polls & e, Facts & facts ) {
   return e.oneOf( facts, [&]( std::size_t apll ) { return e.losses( apll ) == 1 && !e.locked[apll].back(); } );
}

bool neitherLocks( Polls & e, Facts & ) { return !e.ever( 0 ) && !e.ever( 1 ); }

// All zeros are all that has ever been read of the chip.
bool neitherLocksUnproved( Polls & e, Facts & facts ) {
   return neitherLocks( e, facts ) && std::ranges::none_of( e.chip.max24305->sequence, []( auto const & op ) {
             return op.type == Hardware::Max24305::read_ && op.value != 0 && op.value != 0xFF;
          } );
}

bool locksLate( Polls & e, Facts & facts ) {
   return e.oneOf( facts, [&]( std::size_t apll ) {
      auto const first = std::ranges::find( e.locked[apll], true ) - e.locked[apll].begin();
      facts["first"] = std::to_string( first + 1 );
      return e.locked[apll].back() && static_cast<std::size_t>( first ) * 2 > e.polls.size();
   } );
}

bool oneNeverLocks( Polls & e, Facts & facts ) {
   return e.oneOf( facts, [&]( std::size_t apll ) { return !e.ever( apll ); } );
}

constexpr char allRight[] = "the bus, the reset, the sequence: all operations were right";

constexpr Rule<Polls> rulesOfLock[] = {
   { "flapping", flapping, "{apll} flaps: it locks and loses its lock again",
     "check the quality of the reference, {reference}: jitter, level, frequency\nand the loop's supply and filter",
     allRight },
   { "lostWhileLocking", lostWhileLocking, "{apll} had locked, and lost its lock",
     "look what happened then to {reference}, and to the chip's supply and reset", allRight },
   { "neitherLocksUnproved", neitherLocksUnproved,
     "neither APLL locks: the reference is missing or has another frequency, or nothing is read",
     "measure {reference}: is it there, with the frequency that the sequence wants?\n"
     "or MISO is low, which reads as 0x00 too; {selftest} tells them apart" },
   { "neitherLocks", neitherLocks, "neither APLL locks: the reference is missing or has another frequency",
     "measure {reference}: is it there, with the frequency that the sequence wants?\n"
     "or the loops take longer than the machine waits: compare their settings with it",
     allRight },
   { "locksLate", locksLate, "{apll} locks late, at poll {first}",
     "compare the loop's settings in the sequence with the frequency of {reference}", allRight },
   { "oneNeverLocks", oneNeverLocks, "{apll} never locks, while {otherApll} does",
     "compare the settings of {apll} in the sequence: input selection, dividers; and its supply", allRight } };

}   // namespace

std::optional<Cause> lockCause( Case const & trouble ) {
   return trouble.bringUp.polls.empty() ? std::nullopt : firstOf<Polls>( rulesOfLock, Polls( trouble ) );
}

}   // namespace Diagnosis
