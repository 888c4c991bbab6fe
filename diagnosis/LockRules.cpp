// Rules for a MAX24305 that is programmed and has not locked, by the pattern of its lock polls.

#include "diagnosis/Rule.h"
#include "hal/Max24305Hal.h"

#include <fmt/format.h>

namespace Diagnosis {

using Hardware::ApllStatus;

namespace {

// What the polls say of one APLL.
struct Apll {
   std::size_t firstLock = 0;   // the number of its poll; 0: none
   std::size_t losses = 0;      // how often it was locked at one poll and not at the next
   bool locked = false;         // at the last poll

   void polled( std::size_t number, bool lockedNow ) {
      if ( lockedNow && firstLock == 0 ) firstLock = number;
      losses += locked && !lockedNow;
      locked = lockedNow;
   }
};

struct Polls : Case {
   explicit Polls( Case const & trouble ) : Case( trouble ) {
      sinceNs = bringUp.polls.front().ns;
      for ( std::size_t number = 1; LockPoll const & poll : bringUp.polls ) {
         ApllStatus const status( poll.status );
         aplls[0].polled( number, status.apll1Locked() );
         aplls[1].polled( number++, status.apll2Locked() );
      }
   }
   // Whether the condition holds of one; the facts name it and the other.
   bool oneOf( Facts & facts, auto const & condition ) const {
      for ( std::size_t i = 0; i < 2; ++i ) {
         facts["apll"] = fmt::format( "APLL {}", i + 1 );
         facts["otherApll"] = fmt::format( "APLL {}", 2 - i );
         facts["first"] = std::to_string( aplls[i].firstLock );
         if ( condition( aplls[i] ) ) return true;
      }
      return false;
   }

   Apll aplls[2];
};

bool flapping( Polls & e, Facts & facts ) {
   return e.oneOf( facts, []( Apll const & apll ) { return apll.losses > 1; } );
}

bool lostWhileLocking( Polls & e, Facts & facts ) {
   return e.oneOf( facts, []( Apll const & apll ) { return apll.losses == 1 && !apll.locked; } );
}

bool neitherLocks( Polls & e, Facts & ) { return e.aplls[0].firstLock == 0 && e.aplls[1].firstLock == 0; }

// All zeros are all that has ever been read of the chip.
bool neitherLocksUnproved( Polls & e, Facts & facts ) {
   return neitherLocks( e, facts ) && !provesBus( e.chip.max24305->sequence );
}

bool locksLate( Polls & e, Facts & facts ) {
   std::size_t const polls = e.bringUp.polls.size();
   return e.oneOf( facts, [&]( Apll const & apll ) { return apll.locked && ( apll.firstLock - 1 ) * 2 > polls; } );
}

bool oneNeverLocks( Polls & e, Facts & facts ) {
   return e.oneOf( facts, []( Apll const & apll ) { return apll.firstLock == 0; } );
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
